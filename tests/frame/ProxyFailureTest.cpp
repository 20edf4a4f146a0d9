// How a proxy reports what goes wrong: transport failures, remote
// exceptions, short replies, dead peers, and its death-recipient bookkeeping.
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>

#include "EventRecorder.h"
#include "FrameTestSupport.h"

namespace zuv_test {
namespace {

using ::android::hardware::hidl_death_recipient;

sp<fp::IZuvExtendedFingerprint> proxyAnswering(ScriptedBinder::Responder responder) {
    return new fp::BpHwZuvExtendedFingerprint(new ScriptedBinder(std::move(responder)));
}

// A failed call reports its entry but no exit, and never calls the caller's
// result callback.
TEST(ProxyFailureTest, TransportFailureAndRemoteExceptionBecomeTheCallStatus) {
    EventRecorder counter;
    auto failing = proxyAnswering(
            [](Parcel*, const std::function<void()>&) { return ::android::FAILED_TRANSACTION; });
    auto direct = failing->cancel();
    ASSERT_FALSE(direct.isOk());
    EXPECT_EQ(Status::EX_TRANSACTION_FAILED, direct.getStatus().exceptionCode());
    EXPECT_EQ(::android::FAILED_TRANSACTION, direct.getStatus().transactionError());
    bool called = false;
    EXPECT_FALSE(failing->getConfigValue("k", [&](const hidl_string&) { called = true; }).isOk());
    EXPECT_FALSE(failing->setConfigValue("k", "v").isOk());

    auto throwing = proxyAnswering([](Parcel* reply, const std::function<void()>& deliver) {
        ::android::hardware::writeToParcel(
                Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "sensor busy"), reply);
        reply->writeInt32(99);  // must not be read
        deliver();
        return OK;
    });
    auto thrown = throwing->testInit();
    ASSERT_FALSE(thrown.isOk());
    EXPECT_EQ(Status::EX_ILLEGAL_STATE, thrown.getStatus().exceptionCode());
    EXPECT_STREQ("sensor busy", thrown.getStatus().exceptionMessage());
    auto withCallback = throwing->testParamGet(1, [&](const hidl_string&) { called = true; });
    EXPECT_EQ(Status::EX_ILLEGAL_STATE, withCallback.getStatus().exceptionCode());
    EXPECT_FALSE(called);
    EXPECT_EQ((std::vector<int>{2, 2, 2, 2, 2}), counter.numbers());
}

TEST(ProxyFailureTest, ShortReplies) {
    // OK status and nothing after it: a missing direct result is a failure...
    auto empty = proxyAnswering(replyOk());
    EXPECT_FALSE(empty->cancel().isOk());
    // ...but a missing callback result is deliberately let through: OK, and
    // the caller's callback is never called.
    bool called = false;
    EXPECT_TRUE(empty->getConfigValue("key", [&](const hidl_string&) { called = true; }).isOk());
    // A string header whose character data is missing is just as short.
    auto headerOnly = proxyAnswering(replyOk([](Parcel* reply) {
        static hidl_string value("abc");
        size_t handle = 0;
        reply->writeBuffer(&value, sizeof(value), &handle);
    }));
    EXPECT_TRUE(
            headerOnly->getConfigValue("key", [&](const hidl_string&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

TEST(ProxyFailureTest, OnewayReadsNoReply) {
    EventRecorder counter;
    // Even an exception in the reply is not looked at.
    sp<ScriptedBinder> remote = new ScriptedBinder([](Parcel* reply, const std::function<void()>&) {
        ::android::hardware::writeToParcel(Status::fromExceptionCode(-5, "no"), reply);
        return OK;
    });
    sp<fp::IDaxAndroidServices> proxy = new fp::BpHwDaxAndroidServices(remote);
    EXPECT_TRUE(proxy->showLivenessAlert().isOk());
    EXPECT_EQ((std::vector<int>{2, 3}), counter.numbers());
}

// A remote binder whose death-link answers are scripted.
class LinkScriptBinder : public BHwBinder {
  public:
    status_t linkResult = OK;
    int unlinkCalls = 0;
    status_t linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) override { return linkResult; }
    status_t unlinkToDeath(const ::android::wp<DeathRecipient>&, void*, uint32_t,
                           ::android::wp<DeathRecipient>*) override {
        ++unlinkCalls;
        return OK;
    }
};

struct Recipient : hidl_death_recipient {
    void serviceDied(uint64_t, const wp<IBase>&) override {}
};

TEST(ProxyDeathTest, UnlinkFindsEveryLinkEvenARefusedOneOnceEach) {
    sp<LinkScriptBinder> remote = new LinkScriptBinder;
    sp<fp::IZuvExtendedFingerprint> proxy = new fp::BpHwZuvExtendedFingerprint(remote);
    sp<Recipient> a = new Recipient, b = new Recipient;
    EXPECT_TRUE(proxy->linkToDeath(a, 1));
    remote->linkResult = ::android::INVALID_OPERATION;
    EXPECT_FALSE(proxy->linkToDeath(a, 2));
    EXPECT_FALSE(proxy->linkToDeath(b, 3));
    EXPECT_TRUE(proxy->unlinkToDeath(a));
    EXPECT_TRUE(proxy->unlinkToDeath(a));
    EXPECT_FALSE(proxy->unlinkToDeath(a));
    EXPECT_FALSE(proxy->unlinkToDeath(nullptr));
    EXPECT_TRUE(proxy->unlinkToDeath(b));
    EXPECT_EQ(3, remote->unlinkCalls);
}

// Recipients told once with their cookie: BaseOverLoopback's Death cases, on
// the same bookkeeping every proxy shares.
TEST(ProxyDeathTest, UncheckedFailureFromADeadPeerEndsTheProcessNamingTheCall) {
    sp<IBinder> stub;
    auto proxy = loopbackProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(
            sp<fp::IZuvExtendedFingerprint>(
                    new ::testing::NiceMock<fp::MockZuvExtendedFingerprint>),
            &stub);
    ASSERT_TRUE(::android::hardware::host::killLoopbackTarget(stub));
    EXPECT_TRUE(proxy->cancel().isDeadObject());
    EXPECT_DEATH(
            (void)proxy->cancel(),
            "^[^\n]*IZuvExtendedFingerprint::cancel: Failed HIDL return status not "
            "checked: Status\\(EX_TRANSACTION_FAILED, DEAD_OBJECT\\)[^\n]*isOk\\(\\)[^\n]*\n$");
}

}  // namespace
}  // namespace zuv_test
