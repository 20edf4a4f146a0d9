// Calls of every operation of the package with known values, for the tests
// that send them: a sample value of each type, and a proxy of a stand-in
// that answers with one, reached through the interface's own stub.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <functional>
#include <map>
#include <string>

#include "TestNames.h"

namespace zuv_test {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;  // NOLINT

// A value of a type as `describe` names it: its extremes (a value that
// comes back truncated or sign-extended differs), or with `empty` its zero
// value and empty strings and vectors.
inline json sample(const std::string& type, bool empty) {
    static const std::map<std::string, json> kExtremes = {
            {"bool", true},
            {"int8_t", -128},
            {"uint8_t", 255},
            {"uint16_t", 65535},
            {"int32_t", -2147483647 - 1},
            {"uint32_t", 4294967295u},
            {"uint64_t", uint64_t{1} << 63},
            {"string", "text \"quoted\""},
            {"vec<uint8_t>", "00ff80"},  // bytes print as hex
    };
    if (type.back() == ']') {  // uint8_t[N], as hex
        const size_t n = std::stoul(type.substr(type.find('[') + 1));
        std::string hex;
        for (size_t i = 0; i < n; ++i) hex += empty ? "00" : i % 2 ? "f0" : "0f";
        return hex;
    }
    if (findInterface(type) != nullptr) return nullptr;  // an interface object
    if (const RecordInfo* r = findRecord(type)) {
        json out = json::object();
        for (const Param& m : r->members) out[m.name] = sample(m.type, empty);
        return out;
    }
    if (empty) {
        if (type == "string" || type == "vec<uint8_t>") return "";
        return type.rfind("vec<", 0) == 0 ? json::array() : json(0);
    }
    if (type.rfind("vec<", 0) == 0 && type != "vec<uint8_t>") {
        const json v = sample(type.substr(4, type.size() - 5), false);
        return json::array({v, sample(type.substr(4, type.size() - 5), true), v});
    }
    return kExtremes.at(type);
}

// A proxy of a stand-in of `iface` answering `result`; its stub, the
// interface's own, is reached through what `route` makes of it.
inline sp<IBase> standInProxy(const InterfaceOps& iface, const json& result,
                              const std::function<sp<IBinder>(const sp<BHwBinder>&)>& route) {
    namespace pkg = ::vendor::zuv::hardware::fingerprint::V1_0;
    sp<IBase> standIn = makeStandIn(iface, [result](const StandInCall&) {
        StandInAnswer a;
        a.result = result;
        return a;
    });
    if (iface.name == "IZuvExtendedFingerprint") {
        return new pkg::BpHwZuvExtendedFingerprint(route(new pkg::BnHwZuvExtendedFingerprint(
                static_cast<pkg::IZuvExtendedFingerprint*>(standIn.get()))));
    }
    if (iface.name == "IZuvExtendedFingerprintCallback") {
        return new pkg::BpHwZuvExtendedFingerprintCallback(
                route(new pkg::BnHwZuvExtendedFingerprintCallback(
                        static_cast<pkg::IZuvExtendedFingerprintCallback*>(standIn.get()))));
    }
    return new pkg::BpHwDaxAndroidServices(route(new pkg::BnHwDaxAndroidServices(
            static_cast<pkg::IDaxAndroidServices*>(standIn.get()))));
}

// The arguments of one call of `op`, as a list and keyed by name; callback
// objects are null.
inline void sampleArgs(const Operation& op, bool empty, json* list, json* byName) {
    *list = json::array();
    *byName = json::object();
    for (const Param& p : op.params) {
        (*byName)[p.name] = p.isCallbackObject ? json() : sample(p.type, empty);
        if (!p.isCallbackObject) list->push_back((*byName)[p.name]);
    }
}

}  // namespace zuv_test
