// How a stub takes requests apart: code dispatch, the token check, requests
// it cannot read, flags it ignores, and the callback contract it enforces.
#include <gtest/gtest.h>

#include <atomic>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprint.h"
#include "FakeExtendedFingerprintCallback.h"
#include "FrameTestSupport.h"
#include "TraceRecorder.h"

namespace zuv_test {
namespace {

using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;

struct CountingFingerprint : FakeExtendedFingerprint {
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
        impl = new CountingFingerprint;
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

TEST_F(StubDispatchTest, CodesOutsideTheInterfaceGoToTheBaseStub) {
    for (uint32_t code : {0u, 60u, 0x0effffffu}) {
        Parcel request;
        request.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
        Parcel reply;
        EXPECT_EQ(::android::UNKNOWN_TRANSACTION, send(code, request, &reply)) << code;
    }
    EXPECT_EQ(0, impl->calls.load());
}

TEST_F(StubDispatchTest, ForeignTokenIsRefusedUntouched) {
    Parcel request;
    request.writeInterfaceToken(fp::IDaxAndroidServices::descriptor);
    Parcel reply;
    EXPECT_EQ(::android::BAD_TYPE, send(36, request, &reply));
    EXPECT_EQ(0, impl->calls.load());
    EXPECT_EQ(0u, reply.dataSize());
    EXPECT_EQ(0, delivered);
}

TEST_F(StubDispatchTest, UnreadableArgumentsStopBeforeTheImplementation) {
    setHalTracing(true);
    // The string's header is missing altogether.
    Parcel request;
    request.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
    Parcel reply;
    EXPECT_NE(OK, send(56, request, &reply));
    // A string header whose characters never follow.
    Parcel request2;
    request2.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
    hidl_string key("key");
    size_t handle = 0;
    request2.writeBuffer(&key, sizeof(key), &handle);
    Parcel reply2;
    EXPECT_NE(OK, send(56, request2, &reply2));
    setHalTracing(false);

    EXPECT_EQ(0, impl->calls.load());
    EXPECT_EQ(0u, reply.dataSize());
    EXPECT_EQ(0u, reply2.dataSize());
    EXPECT_TRUE(takeTraceMarkers().empty());
}

TEST_F(StubDispatchTest, NullWhereAValueMustBeBecomesNullPointerException) {
    Parcel request;
    request.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
    size_t handle = 0;
    request.writeBuffer(nullptr, 0, &handle);
    Parcel reply;
    EXPECT_EQ(OK, send(56, request, &reply));
    Status status;
    reply.setDataPosition(0);
    ASSERT_EQ(OK, ::android::hardware::readFromParcel(&status, reply));
    EXPECT_EQ(Status::EX_NULL_POINTER, status.exceptionCode());
    EXPECT_EQ(0, impl->calls.load());
}

TEST_F(StubDispatchTest, OnewayFlagOnATwoWayOperationIsServedAnyway) {
    Parcel request;
    request.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
    Parcel reply;
    EXPECT_EQ(OK, send(36, request, &reply, IBinder::FLAG_ONEWAY));
    EXPECT_EQ(1, impl->calls.load());
    EXPECT_EQ(1, delivered);
    int32_t exception = -1, value = 0;
    reply.setDataPosition(0);
    ASSERT_EQ(OK, reply.readInt32(&exception));
    ASSERT_EQ(OK, reply.readInt32(&value));
    EXPECT_EQ(0, exception);
    EXPECT_EQ(36, value);
}

TEST_F(StubDispatchTest, NoResultOperationsWriteTheStatusButLeaveSendingToTheTransport) {
    sp<IBinder> callbackStub =
            new fp::BnHwZuvExtendedFingerprintCallback(new FakeExtendedFingerprintCallback);
    Parcel request;
    request.writeInterfaceToken(fp::IZuvExtendedFingerprintCallback::descriptor);
    request.writeInt32(-2);
    Parcel reply;
    // Code 2 (onError), sent oneway although it is two-way.
    EXPECT_EQ(OK, callbackStub->transact(2, request, &reply, IBinder::FLAG_ONEWAY,
                                         [this](Parcel&) { ++delivered; }));
    EXPECT_EQ(0, delivered);
    reply.setDataPosition(0);
    int32_t exception = -1;
    ASSERT_EQ(OK, reply.readInt32(&exception));
    EXPECT_EQ(0, exception);
    EXPECT_EQ(reply.dataSize(), reply.dataPosition());
}

TEST_F(StubDispatchTest, PingIsAnsweredByTheStubItself) {
    sp<fp::IZuvExtendedFingerprint> proxy =
            new fp::BpHwZuvExtendedFingerprint(::android::hardware::host::loopbackProxyFor(
                    static_cast<::android::hardware::BHwBinder*>(stub.get())));
    EXPECT_TRUE(proxy->ping().isOk());
    EXPECT_EQ(0, impl->calls.load());
}

// Breaking the result-callback contract ends the service process.
struct CallsTwice : FakeExtendedFingerprint {
    Return<void> testParamGet(int32_t, testParamGet_cb cb) override {
        cb("first");
        cb("second");
        return Void();
    }
};
struct NeverCalls : FakeExtendedFingerprint {
    Return<void> getConfigValue(const hidl_string&, getConfigValue_cb) override { return Void(); }
};

void serveOnce(const sp<fp::IZuvExtendedFingerprint>& impl, uint32_t code,
               const std::function<void(Parcel*)>& writeArgs) {
    sp<IBinder> stub = new fp::BnHwZuvExtendedFingerprint(impl);
    Parcel request;
    request.writeInterfaceToken(fp::IZuvExtendedFingerprint::descriptor);
    writeArgs(&request);
    Parcel reply;
    stub->transact(code, request, &reply, 0, [](Parcel&) {});
}

TEST(StubCallbackContractDeathTest, SecondCallIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(serveOnce(new CallsTwice, 3, [](Parcel* p) { p->writeInt32(1); }),
                 "testParamGet: _hidl_cb called a second time, but must be called once\\.");
}

TEST(StubCallbackContractDeathTest, MissingCallIsFatal) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static hidl_string key("k");
    EXPECT_DEATH(serveOnce(new NeverCalls, 56,
                           [](Parcel* p) {
                               size_t handle = 0;
                               p->writeBuffer(&key, sizeof(key), &handle);
                               ::android::hardware::writeEmbeddedToParcel(key, p, handle, 0);
                           }),
                 "getConfigValue: _hidl_cb not called, but must be called once\\.");
}

}  // namespace
}  // namespace zuv_test
