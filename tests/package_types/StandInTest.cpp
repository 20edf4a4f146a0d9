// Stand-in objects answer the same whether called in this process or across
// their stub: results from JSON, zero values by default, objects handed over,
// exceptions and transport failures by name.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <mutex>
#include <vector>

namespace {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0;            // NOLINT
using namespace ::vendor::zuv::hardware::fingerprint::V1_0::describe;  // NOLINT

TEST(StandInTest, AnswersInProcessAndAcrossItsStub) {
    std::mutex lock;
    std::vector<StandInCall> calls;
    const InterfaceOps& iface = *findInterface("IZuvExtendedFingerprint");
    sp<IBase> standIn = makeStandIn(iface, [&](const StandInCall& call) {
        std::lock_guard<std::mutex> hold(lock);
        calls.push_back(call);
        StandInAnswer a;
        const std::string& op = call.operation->name;
        if (op == "getConfigValue") a.result = "50";
        if (op == "cancel") a = {json(), "EX_ILLEGAL_STATE", "busy", nullptr};
        if (op == "testInit") a.failure = "FAILED_TRANSACTION";
        return a;
    });
    sp<IBase> callback = makeStandIn(*findInterface("IZuvExtendedFingerprintCallback"),
                                     [](const StandInCall&) { return StandInAnswer(); });
    auto stub = ::android::hardware::getOrCreateCachedBinder(standIn.get());
    ASSERT_NE(nullptr, stub);
    sp<IBase> remote = new BpHwZuvExtendedFingerprint(::android::hardware::host::loopbackProxyFor(
            static_cast<::android::hardware::BHwBinder*>(stub.get())));

    for (const sp<IBase>& target : {standIn, remote}) {
        calls.clear();
        CallOutcome got = invokeWith(*iface.find("getConfigValue"), target, {{"key", "k"}}, {});
        EXPECT_EQ("OK", got.status);
        EXPECT_EQ(json("50"), got.result);

        got = invokeWith(*iface.find("cancel"), target, json::object(), {});
        EXPECT_EQ("EX_ILLEGAL_STATE", got.status);
        EXPECT_EQ("busy", got.message);
        EXPECT_EQ("FAILED_TRANSACTION",
                  invokeWith(*iface.find("testInit"), target, json::object(), {}).status);

        got = invokeWith(*iface.find("getEnrollRecord"), target, {{"key", "k"}}, {});
        EXPECT_EQ(json::array(), got.result["texts"]);  // the zero record

        got = invokeWith(*iface.find("startCapture"), target, {{"value", 1}},
                         {{"callback", callback}});
        EXPECT_EQ(json(0), got.result);
        ASSERT_EQ(5u, calls.size());
        EXPECT_EQ((json{{"key", "k"}}), calls[0].args);
        EXPECT_EQ((json{{"callback", nullptr}, {"value", 1}}), calls[4].args);
        EXPECT_NE(nullptr, calls[4].objects.at("callback"));
    }
}

TEST(StandInTest, CheckedValuesNameTheMember) {
    const Operation& op = *findInterface("IZuvExtendedFingerprint")->find("getConfigValue");
    auto error = [&](const json& args) {
        try {
            checkArguments(op, args);
        } catch (const ArgumentError& e) {
            return std::string(e.what());
        }
        return std::string();
    };
    EXPECT_EQ("args.key: missing", error(json::object()));
    EXPECT_EQ("args.other: getConfigValue has no such parameter",
              error({{"key", "k"}, {"other", 1}}));
    EXPECT_EQ("", error({{"key", "k"}}));
    EXPECT_THROW(checkResult(op, 5, "result.value"), ArgumentError);
}

}  // namespace
