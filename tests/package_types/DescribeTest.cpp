// Every operation, called from JSON through the public descriptions, crosses
// a proxy and a stub (loopback) to a stand-in and back, with each type's
// extremes and its empty values: arguments and result arrive unchanged, and
// the call observer on both sides shows them as the same JSON. Each wire
// type's marshalling both ways, the typed values the frame hands an observer,
// and the parameter names.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/frame/CallObserver.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <map>
#include <ostream>
#include <string>
#include <tuple>

#include "TestNames.h"

namespace {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0;            // NOLINT
using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;  // NOLINT
namespace frame = ::android::hardware::frame;
using ::android::hardware::IInterface;
using ::android::hardware::host::loopbackProxyFor;

// A value of a type as `describe` names it: its extremes (a value that
// comes back truncated or sign-extended differs), or with `empty` its zero
// value and empty strings and vectors.
json sample(const std::string& type, bool empty) {
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

// What the observer was shown of each side of one call, as JSON.
class Capture final : public frame::CallObserver {
  public:
    json args[2], results[2];  // [client, server]

    void* clientBegin(const frame::ObservedOperation& o, IInterface*,
                      const void* const* a) override {
        return begin(o, a, 0);
    }
    void* serverBegin(const frame::ObservedOperation& o, IBase*, const void* const* a) override {
        return begin(o, a, 1);
    }
    void result(void* token, const void* value) override {
        const Side* s = static_cast<Side*>(token);
        results[s->side] = s->op->resultToJson(value);
    }
    void end(void* token, const ::android::hardware::Status&) override {
        delete static_cast<Side*>(token);
    }
    void serviceFound(const std::string&, IBase*) override {}
    void serviceRegistered(const std::string&, IBase*) override {}

  private:
    struct Side {
        const Operation* op;
        int side;
    };
    void* begin(const frame::ObservedOperation& o, const void* const* a, int side) {
        const Operation* op = &findInterface(o.descriptor)->operations.at(o.code - 1);
        args[side] = op->argsToJson(
                a, [](IBase* obj, const std::string& i) { return obj ? json(i) : json(); });
        return new Side{op, side};
    }
};

// A proxy, through the loopback transport, of a stand-in answering `result`.
sp<IBase> loopbackOf(const InterfaceOps& iface, const json& result) {
    sp<IBase> standIn = makeStandIn(iface, [result](const StandInCall&) {
        StandInAnswer a;
        a.result = result;
        return a;
    });
    sp<IBinder> stub = loopbackProxyFor(static_cast<BHwBinder*>(
            ::android::hardware::getOrCreateCachedBinder(standIn.get()).get()));
    if (iface.name == "IZuvExtendedFingerprint") return new BpHwZuvExtendedFingerprint(stub);
    if (iface.name == "IZuvExtendedFingerprintCallback") {
        return new BpHwZuvExtendedFingerprintCallback(stub);
    }
    return new BpHwDaxAndroidServices(stub);
}

struct Case {
    const InterfaceOps* iface;
    const Operation* op;
};

// Names the case in test output instead of its bytes.
void PrintTo(const Case& c, std::ostream* os) {
    *os << c.iface->name << "::" << c.op->name;
}

class DescribeTest : public ::testing::TestWithParam<Case> {};

// Both sides see the arguments sent and the caller the result answered.
TEST_P(DescribeTest, ArgumentsAndResultCrossAsTheSameJson) {
    const Operation& op = *GetParam().op;
    for (bool empty : {false, true}) {
        SCOPED_TRACE(empty ? "zero values" : "extremes");
        json args = json::array(), byName = json::object();
        for (const Param& p : op.params) {
            byName[p.name] = p.isCallbackObject ? json() : sample(p.type, empty);
            if (!p.isCallbackObject) args.push_back(byName[p.name]);
        }
        const json result = op.result.type.empty() ? json() : sample(op.result.type, empty);
        Capture capture;
        frame::setCallObserver(&capture);
        const Outcome out = op.invoke(loopbackOf(*GetParam().iface, result), args, nullptr);
        frame::setCallObserver(nullptr);

        ASSERT_TRUE(out.ok) << out.status;
        EXPECT_EQ(byName, capture.args[0]);
        EXPECT_EQ(byName, capture.args[1]);
        if (op.shape != "oneway") {
            EXPECT_EQ(result, out.result);
            EXPECT_EQ(result, capture.results[0]);
            EXPECT_EQ(result, capture.results[1]);
        }
    }
}

std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (const InterfaceOps& i : allInterfaces())
        for (const Operation& o : i.operations) cases.push_back({&i, &o});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AllOperations, DescribeTest, ::testing::ValuesIn(allCases()),
                         [](const auto& p) {
                             return p.param.iface->name + "_" + p.param.op->name;
                         });

}  // namespace
