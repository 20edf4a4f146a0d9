// Every operation, called from JSON through the public descriptions, crosses
// a proxy and a stub (loopback) and comes out of the call observer on both
// sides as the same JSON: each wire type's codec both ways, the typed values
// the frame hands an observer, and the parameter names.
#include <gtest/gtest.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/frame/CallObserver.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <map>
#include <ostream>
#include <string>
#include <tuple>

namespace {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0;            // NOLINT
using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;  // NOLINT
namespace frame = ::android::hardware::frame;
using ::android::hardware::IInterface;
using ::testing::NiceMock;

// A sample value of a type as `describe` names it.
json sample(const std::string& type) {
    if (type == "bool") return true;
    if (type == "string") return "text";
    if (type == "vec<uint8_t>") return "0a0b";  // bytes print as hex
    if (type.rfind("vec<", 0) == 0) {
        const json v = sample(type.substr(4, type.size() - 5));
        return json::array({v, v});
    }
    if (type.back() == ']') {  // uint8_t[N]
        const size_t n = std::stoul(type.substr(type.find('[') + 1));
        return std::string(2 * n, 'a');
    }
    if (type[0] == 'I') return nullptr;  // an interface object
    if (const RecordInfo* r = findRecord(type)) {
        json out = json::object();
        for (const Param& m : r->members) out[m.name] = sample(m.type);
        return out;
    }
    return 7;  // an integer that fits every width
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

sp<IBase> loopbackOf(const std::string& interface) {
    using ::android::hardware::host::loopbackProxyFor;
    if (interface == "IZuvExtendedFingerprint")
        return new BpHwZuvExtendedFingerprint(loopbackProxyFor(
                new BnHwZuvExtendedFingerprint(new NiceMock<MockZuvExtendedFingerprint>)));
    if (interface == "IZuvExtendedFingerprintCallback")
        return new BpHwZuvExtendedFingerprintCallback(
                loopbackProxyFor(new BnHwZuvExtendedFingerprintCallback(
                        new NiceMock<MockZuvExtendedFingerprintCallback>)));
    return new BpHwDaxAndroidServices(
            loopbackProxyFor(new BnHwDaxAndroidServices(new NiceMock<MockDaxAndroidServices>)));
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

TEST_P(DescribeTest, ArgumentsAndResultCrossAsTheSameJson) {
    const Operation& op = *GetParam().op;
    json args = json::array(), byName = json::object();
    for (const Param& p : op.params) {
        byName[p.name] = p.isCallbackObject ? json() : sample(p.type);
        if (!p.isCallbackObject) args.push_back(byName[p.name]);
    }
    Capture capture;
    frame::setCallObserver(&capture);
    const Outcome out = op.invoke(loopbackOf(GetParam().iface->name), args, nullptr);
    frame::setCallObserver(nullptr);

    ASSERT_TRUE(out.ok) << out.status;
    EXPECT_EQ(byName, capture.args[0]);
    EXPECT_EQ(byName, capture.args[1]);
    EXPECT_EQ(op.result.type.empty(), out.result.is_null());
    if (op.shape != "oneway") {
        EXPECT_EQ(out.result, capture.results[0]);
        EXPECT_EQ(out.result, capture.results[1]);
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
