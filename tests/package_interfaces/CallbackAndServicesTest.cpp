// The two interfaces a service calls back on, end to end over the loopback
// transport and against raw requests: values at the edges of their types,
// record vectors, flags the stubs ignore, and what a oneway caller is told.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprintCallback.h"
#include "FrameTestSupport.h"

namespace zuv_test {
namespace {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;

struct ReportRecorder : FakeExtendedFingerprintCallback {
    Return<void> onMatch(int32_t, const hidl_string&, uint64_t value, const hidl_vec<uint8_t>&,
                         const hidl_vec<uint8_t>&) override {
        matchValues.push_back(value);
        return Void();
    }
    Return<void> onError(int32_t value) override {
        errors.push_back(value);
        return Void();
    }
    Return<void> onCaptureDebugData(const hidl_vec<fp::CaptureDebugData>& data) override {
        debugData.emplace_back(data);
        return Void();
    }
    Return<void> onCapture(uint32_t a, uint32_t b, const hidl_vec<uint8_t>&) override {
        captures.push_back({a, b});
        return Void();
    }
    std::vector<uint64_t> matchValues;
    std::vector<int32_t> errors;
    std::vector<hidl_vec<fp::CaptureDebugData>> debugData;
    std::vector<std::vector<uint32_t>> captures;
};

struct ServicesRecorder : FakeDaxAndroidServices {
    Return<void> setTimer(uint32_t value) override {
        timers.push_back(value);
        return Void();
    }
    Return<void> setWakelock(int8_t a, int8_t b) override {
        wakelocks.push_back({a, b});
        return Void();
    }
    Return<void> showLivenessAlert() override {
        ++alerts;
        return Void();
    }
    std::vector<uint32_t> timers;
    std::vector<std::vector<int8_t>> wakelocks;
    int alerts = 0;
};

sp<fp::IZuvExtendedFingerprintCallback> callbackProxy(const sp<ReportRecorder>& impl) {
    return loopbackProxy<fp::BnHwZuvExtendedFingerprintCallback,
                         fp::BpHwZuvExtendedFingerprintCallback>(
            sp<fp::IZuvExtendedFingerprintCallback>(impl));
}

TEST(CallbackInterfaceTest, RecordVectorsAndUnsignedValuesArriveUnchanged) {
    sp<ReportRecorder> impl = new ReportRecorder;
    auto proxy = callbackProxy(impl);
    hidl_vec<fp::CaptureDebugData> three(3);
    three[0].text = "first";
    three[0].bytes = hidl_vec<uint8_t>({0, 255});
    three[0].tail.fill(0x11);
    three[2].text = std::string(300, 'z');
    three[2].bytes = hidl_vec<uint8_t>(std::vector<uint8_t>(70000, 0x5a));
    ASSERT_TRUE(proxy->onCaptureDebugData(hidl_vec<fp::CaptureDebugData>()).isOk());
    ASSERT_TRUE(proxy->onCaptureDebugData(three).isOk());
    ASSERT_EQ(2u, impl->debugData.size());
    EXPECT_EQ(0u, impl->debugData[0].size());
    EXPECT_EQ(three, impl->debugData[1]);

    // Values above the signed range must not be sign-extended or clipped.
    ASSERT_TRUE(proxy->onMatch(0, "", UINT64_MAX, {}, {}).isOk());
    ASSERT_TRUE(proxy->onCapture((1u << 31) + 1, UINT32_MAX, {}).isOk());
    EXPECT_EQ(std::vector<uint64_t>{UINT64_MAX}, impl->matchValues);
    EXPECT_EQ((std::vector<std::vector<uint32_t>>{{(1u << 31) + 1, UINT32_MAX}}), impl->captures);
}

// Sends a raw request to a stub; the reply is rewound for reading.
status_t sendRaw(const sp<IBinder>& stub, const char* token, uint32_t code, uint32_t flags,
                 Parcel* reply, int* delivered, const std::function<void(Parcel*)>& args = {}) {
    Parcel request;
    request.writeInterfaceToken(token);
    if (args) args(&request);
    status_t err = stub->transact(code, request, reply, flags, [&](Parcel&) { ++*delivered; });
    reply->setDataPosition(0);
    return err;
}

// A reply that holds an OK status and nothing after it.
void expectStatusAlone(const Parcel& reply) {
    Status status = Status::fromExceptionCode(Status::EX_ILLEGAL_STATE);
    ASSERT_EQ(OK, ::android::hardware::readFromParcel(&status, reply));
    EXPECT_TRUE(status.isOk());
    EXPECT_EQ(reply.dataSize(), reply.dataPosition());
}

TEST(StubTest, OperationsAreServedWhateverTheFlagsAndOtherCodesPassedOn) {
    sp<ReportRecorder> impl = new ReportRecorder;
    sp<IBinder> stub = new fp::BnHwZuvExtendedFingerprintCallback(impl);
    const char* token = fp::IZuvExtendedFingerprintCallback::descriptor;
    int delivered = 0;
    Parcel reply;
    ASSERT_EQ(OK, sendRaw(stub, token, 2, IBinder::FLAG_ONEWAY, &reply, &delivered,
                          [](Parcel* p) { p->writeInt32(-77); }));
    EXPECT_EQ(std::vector<int32_t>{-77}, impl->errors);
    expectStatusAlone(reply);
    for (uint32_t code : {0u, 10u}) {
        Parcel other;
        EXPECT_EQ(::android::UNKNOWN_TRANSACTION, sendRaw(stub, token, code, 0, &other, &delivered,
                                                          [](Parcel* p) { p->writeInt32(1); }))
                << code;
    }
    EXPECT_EQ(1u, impl->errors.size());
    EXPECT_EQ(0, delivered);

    // A oneway operation sent two-way is answered with the status alone.
    sp<ServicesRecorder> services = new ServicesRecorder;
    Parcel alertReply;
    ASSERT_EQ(OK, sendRaw(new fp::BnHwDaxAndroidServices(services),
                          fp::IDaxAndroidServices::descriptor, 4, 0, &alertReply, &delivered));
    EXPECT_EQ(1, services->alerts);
    expectStatusAlone(alertReply);
}

TEST(ServicesInterfaceTest, OnewayValuesAtTheEdgesOfTheirTypes) {
    sp<ServicesRecorder> impl = new ServicesRecorder;
    auto proxy = loopbackProxy<fp::BnHwDaxAndroidServices, fp::BpHwDaxAndroidServices>(
            sp<fp::IDaxAndroidServices>(impl));
    ASSERT_TRUE(proxy->setTimer(0xFFFFFFFFu).isOk());
    ASSERT_TRUE(proxy->setWakelock(-128, 127).isOk());
    EXPECT_EQ(std::vector<uint32_t>{4294967295u}, impl->timers);
    EXPECT_EQ((std::vector<std::vector<int8_t>>{{-128, 127}}), impl->wakelocks);
}

TEST(ServicesInterfaceTest, OnewayCallerIsNotToldOfARefusalButATwoWayCallerIs) {
    // The stub behind the proxy is another interface's: it refuses the token.
    sp<ReportRecorder> other = new ReportRecorder;
    sp<fp::IDaxAndroidServices> proxy =
            new fp::BpHwDaxAndroidServices(::android::hardware::host::loopbackProxyFor(
                    new fp::BnHwZuvExtendedFingerprintCallback(other)));
    EXPECT_TRUE(proxy->setTimer(1).isOk());
    EXPECT_TRUE(proxy->showLivenessAlert().isOk());
    EXPECT_TRUE(other->matchValues.empty() && other->errors.empty());
    EXPECT_FALSE(proxy->checkRequestingAppType().isOk());
}

TEST(ServicesInterfaceTest, PeerExceptionIsReturnedAndNoValueRead) {
    sp<RecordingBinder> remote =
            new RecordingBinder([](Parcel* reply, const std::function<void()>& deliver) {
                ::android::hardware::writeToParcel(
                        Status::fromExceptionCode(Status::EX_SECURITY, "not for you"), reply);
                reply->writeInt32(55);
                deliver();
                return OK;
            });
    Return<int32_t> ret = sp<fp::IDaxAndroidServices>(new fp::BpHwDaxAndroidServices(remote))
                                  ->checkRequestingAppType();
    EXPECT_EQ(-1, ret.withDefault(-1));
    EXPECT_EQ(Status::EX_SECURITY, ret.getStatus().exceptionCode());
    EXPECT_STREQ("not for you", ret.getStatus().exceptionMessage());
    ASSERT_EQ(1u, remote->transactions.size());
    EXPECT_EQ(3u, remote->transactions[0].code);
    EXPECT_EQ(0u, remote->transactions[0].flags);
}

}  // namespace
}  // namespace zuv_test
