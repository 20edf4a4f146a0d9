// Every operation, called from JSON through the public descriptions, crosses
// a proxy and the interface's stub (loopback) to a stand-in and back, with
// each type's extremes and its empty values: arguments and result arrive
// unchanged, and the call observer on both sides shows them as the same JSON.
// Each wire type's marshalling both ways, the typed values the frame hands an
// observer, and the parameter names.
#include <gtest/gtest.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/frame/CallObserver.h>

#include <ostream>

#include "OperationSamples.h"

namespace zuv_test {
namespace {

namespace frame = ::android::hardware::frame;
using ::android::hardware::IInterface;
using ::android::hardware::host::loopbackProxyFor;

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
        json args, byName;
        sampleArgs(op, empty, &args, &byName);
        const json result = op.result.type.empty() ? json() : sample(op.result.type, empty);
        Capture capture;
        frame::setCallObserver(&capture);
        const Outcome out = op.invoke(
                standInProxy(*GetParam().iface, result,
                             [](const sp<BHwBinder>& stub) { return loopbackProxyFor(stub); }),
                args, nullptr);
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
}  // namespace zuv_test
