// The operations of the package's interfaces, for tools: each one's code,
// name, shape, parameter names and types, and a way to call it with JSON
// arguments. `zuv_hidl describe`, `call` and `watch` are built on this; link
// ZuvFingerprint::describe (pkg-config: zuv-describe) to use it.
//
//   const Operation* op = findInterface("IZuvExtendedFingerprint")->find("getConfigValue");
//   Outcome out = op->invoke(service, json::array({"threshold"}), nullptr);
//   if (out.ok) std::cout << out.result.dump() << "\n";
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <vendor/zuv/hardware/fingerprint/1.0/JsonCodec.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {

using ::android::hidl::base::V1_0::IBase;

struct Param {
    std::string name;
    std::string type;
    bool isCallbackObject = false;  // an IZuvExtendedFingerprintCallback the caller supplies
};

// What one call gave: a status, and the result when there is one.
struct Outcome {
    bool ok = true;
    std::string status;  // the failure, for people
    json result;         // null when the operation has none
};

// Names an interface object met among a call's values: the JSON standing for
// `object` (null for none), an object of the interface named `interfaceName`.
using ObjectNamer = std::function<json(IBase* object, const std::string& interfaceName)>;

struct Operation {
    uint32_t code = 0;
    std::string name;
    std::string shape;  // direct, callback, none, oneway
    std::vector<Param> params;
    Param result;  // type empty when there is none; name empty for a direct result
    // Calls the operation on `service` (an object of the interface) with one
    // JSON value per parameter; callback-object parameters take `callback`
    // and are not among `args`. Throws ArgumentError for an argument that
    // does not fit. With a null service it only checks the arguments.
    std::function<Outcome(const sp<IBase>& service, const json& args,
                          const sp<IZuvExtendedFingerprintCallback>& callback)>
            invoke;
    // The typed values of one call as the runtime holds them (see
    // hidl_host/frame/CallObserver.h): `args` has the address of each
    // parameter's value in declaration order, callback objects included and
    // the result callback left out; the JSON is an object keyed by parameter
    // name. Interface objects are what `name` makes of them.
    std::function<json(const void* const* args, const ObjectNamer& name)> argsToJson;
    // The address of a result of `result.type`; null when there is none.
    std::function<json(const void* value)> resultToJson;
    size_t argCount() const {
        size_t n = 0;
        for (const Param& p : params) n += p.isCallbackObject ? 0 : 1;
        return n;
    }
};

struct InterfaceOps {
    std::string name;        // short name, IZuvExtendedFingerprint
    std::string descriptor;  // vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint
    std::vector<Operation> operations;  // in code order, from code 1
    // The object of this interface behind a service, or null.
    std::function<sp<IBase>(const sp<IBase>&)> cast;
    const Operation* find(const std::string& op) const {
        for (const Operation& o : operations)
            if (o.name == op) return &o;
        return nullptr;
    }
};

// A record: its members in declaration order, each with the type name
// `describe` shows (a record member names another record).
struct RecordInfo {
    std::string name;
    std::vector<Param> members;
};

// The package's records, in declaration order.
const std::vector<RecordInfo>& allRecords();
// By name; null for another name.
const RecordInfo* findRecord(const std::string& name);

// The three interfaces, in the package's order.
const std::vector<InterfaceOps>& allInterfaces();

// By short name or descriptor; null for another name.
const InterfaceOps* findInterface(const std::string& name);

}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
