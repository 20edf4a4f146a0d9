// How a stub takes requests apart: code dispatch, the token check, requests
// it cannot read, flags it ignores, and the callback contract it enforces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <atomic>
#include <tuple>

#include "FrameTestSupport.h"
#include "TraceCapture.h"

namespace zuv_test {
namespace {

using ::testing::NiceMock;

struct CountingFingerprint : fp::MockZuvExtendedFingerprint {
    Return<int32_t> cancel() override {
        ++calls;
        return 36;
    }
    Return<void> getConfigValue(const hidl_string&, getConfigValue_cb cb) override {
        ++calls;
        cb("v");
        return Void();
    }
    Return<void> ping() override {
        ++calls;
        return Status::fromExceptionCode(Status::EX_ILLEGAL_STATE);
    }
    std::atomic<int> calls{0};
};

class StubDispatchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        impl = new NiceMock<CountingFingerprint>;
        stub = new fp::BnHwZuvExtendedFingerprint(impl);
        takeTraceMarkers();
    }

    // Sends a raw request to the stub; reply callback calls are counted.
    status_t send(uint32_t code, const Parcel& request, Parcel* reply, uint32_t flags = 0) {
        return stub->transact(code, request, reply, flags, [this](Parcel&) { ++delivered; });
    }

    sp<CountingFingerprint> impl;
    sp<IBinder> stub;
    int delivered = 0;
};

// A request holding the interface token followed by whatever `fill` writes.
std::unique_ptr<Parcel> request(const std::function<void(Parcel*)>& fill = nullptr,
                                const char* token = fp::IZuvExtendedFingerprint::descriptor) {
    auto p = std::make_unique<Parcel>();
    p->writeInterfaceToken(token);
    if (fill) fill(p.get());
    return p;
}

TEST_F(StubDispatchTest, UnknownCodesAndForeignTokensNeverReachTheImplementation) {
    for (uint32_t code : {0u, 60u, 0x0effffffu}) {
        Parcel reply;
        EXPECT_EQ(::android::UNKNOWN_TRANSACTION, send(code, *request(), &reply)) << code;
    }
    Parcel reply;
    EXPECT_EQ(::android::BAD_TYPE,
              send(36, *request(nullptr, fp::IDaxAndroidServices::descriptor), &reply));
    EXPECT_EQ(0u, reply.dataSize());
    EXPECT_EQ(0, delivered);
    // ping is the stub's own, not the implementation's.
    sp<fp::IZuvExtendedFingerprint> proxy =
            new fp::BpHwZuvExtendedFingerprint(::android::hardware::host::loopbackProxyFor(
                    static_cast<::android::hardware::BHwBinder*>(stub.get())));
    EXPECT_TRUE(proxy->ping().isOk());
    EXPECT_EQ(0, impl->calls.load());
}

TEST_F(StubDispatchTest, UnreadableArgumentsStopBeforeTheImplementation) {
    setHalTracing(true);
    static hidl_string key("key");
    // No string header at all; a header whose characters never follow.
    std::function<void(Parcel*)> headerOnly = [](Parcel* p) {
        size_t handle = 0;
        p->writeBuffer(&key, sizeof(key), &handle);
    };
    for (const auto& fill : {std::function<void(Parcel*)>(), headerOnly}) {
        Parcel reply;
        EXPECT_NE(OK, send(56, *request(fill), &reply));
        EXPECT_EQ(0u, reply.dataSize());
    }
    setHalTracing(false);
    EXPECT_TRUE(takeTraceMarkers().empty());

    // A null buffer where a string must be is answered with an exception.
    Parcel reply;
    EXPECT_EQ(OK, send(56, *request([](Parcel* p) {
                           size_t handle = 0;
                           p->writeBuffer(nullptr, 0, &handle);
                       }),
                       &reply));
    Status status;
    reply.setDataPosition(0);
    ASSERT_EQ(OK, ::android::hardware::readFromParcel(&status, reply));
    EXPECT_EQ(Status::EX_NULL_POINTER, status.exceptionCode());
    EXPECT_EQ(0, impl->calls.load());
}

// The oneway flag does not change how a stub serves a two-way operation;
// one without results writes its status but leaves sending to the transport.
// Sent two-way, a oneway operation is answered with the status alone.
TEST_F(StubDispatchTest, FlagsDoNotChangeHowAnOperationIsServed) {
    Parcel reply;
    EXPECT_EQ(OK, send(36, *request(), &reply, IBinder::FLAG_ONEWAY));
    EXPECT_EQ(1, impl->calls.load());
    EXPECT_EQ(1, delivered);
    int32_t exception = -1, value = 0;
    reply.setDataPosition(0);
    ASSERT_EQ(OK, reply.readInt32(&exception));
    ASSERT_EQ(OK, reply.readInt32(&value));
    EXPECT_EQ(0, exception);
    EXPECT_EQ(36, value);

    sp<NiceMock<fp::MockZuvExtendedFingerprintCallback>> callback =
            new NiceMock<fp::MockZuvExtendedFingerprintCallback>;
    EXPECT_CALL(*callback, onError(-2));
    sp<IBinder> callbackStub = new fp::BnHwZuvExtendedFingerprintCallback(callback);
    sp<NiceMock<fp::MockDaxAndroidServices>> services = new NiceMock<fp::MockDaxAndroidServices>;
    EXPECT_CALL(*services, showLivenessAlert());
    sp<IBinder> servicesStub = new fp::BnHwDaxAndroidServices(services);
    const char* callbackToken = fp::IZuvExtendedFingerprintCallback::descriptor;
    for (uint32_t code : {0u, 10u}) {
        Parcel other;
        EXPECT_EQ(::android::UNKNOWN_TRANSACTION,
                  callbackStub->transact(code, *request(nullptr, callbackToken), &other))
                << code;
    }
    auto onError = request([](Parcel* p) { p->writeInt32(-2); }, callbackToken);
    auto alert = request(nullptr, fp::IDaxAndroidServices::descriptor);
    for (auto [target, code, req, flags] :
         {std::make_tuple(callbackStub, 2u, onError.get(), uint32_t{IBinder::FLAG_ONEWAY}),
          std::make_tuple(servicesStub, 4u, alert.get(), 0u)}) {
        Parcel statusOnly;
        EXPECT_EQ(OK, target->transact(code, *req, &statusOnly, flags,
                                       [this](Parcel&) { ++delivered; }));
        statusOnly.setDataPosition(0);
        ASSERT_EQ(OK, statusOnly.readInt32(&exception));
        EXPECT_EQ(0, exception);
        EXPECT_EQ(statusOnly.dataSize(), statusOnly.dataPosition());
    }
    EXPECT_EQ(1, delivered);
}

// Breaking the result-callback contract ends the service process.
struct CallsTwice : fp::MockZuvExtendedFingerprint {
    Return<void> testParamGet(int32_t, testParamGet_cb cb) override {
        cb("first");
        cb("second");
        return Void();
    }
};
struct NeverCalls : fp::MockZuvExtendedFingerprint {
    Return<void> getConfigValue(const hidl_string&, getConfigValue_cb) override { return Void(); }
};

void serveOnce(const sp<fp::IZuvExtendedFingerprint>& impl, uint32_t code,
               const std::function<void(Parcel*)>& writeArgs) {
    sp<IBinder> stub = new fp::BnHwZuvExtendedFingerprint(impl);
    Parcel reply;
    stub->transact(code, *request(writeArgs), &reply, 0, [](Parcel&) {});
}

TEST(StubCallbackContractDeathTest, SecondOrMissingCallIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(serveOnce(new NiceMock<CallsTwice>, 3, [](Parcel* p) { p->writeInt32(1); }),
                 "testParamGet: _hidl_cb called a second time, but must be called once\\.");
    static hidl_string key("k");
    EXPECT_DEATH(serveOnce(new NiceMock<NeverCalls>, 56,
                           [](Parcel* p) {
                               size_t handle = 0;
                               p->writeBuffer(&key, sizeof(key), &handle);
                               ::android::hardware::writeEmbeddedToParcel(key, p, handle, 0);
                           }),
                 "getConfigValue: _hidl_cb not called, but must be called once\\.");
}

}  // namespace
}  // namespace zuv_test
