// A unit test as a user of the package writes one: the service is a GoogleMock
// object, reached through a real proxy and stub over the loopback transport,
// so every call crosses a parcel as it would between processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl_host/Loopback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

using namespace vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Void;
using ::testing::_;
using ::testing::Return;

TEST(SensorTest, MockedServiceAnswersThroughProxyAndStub) {
    sp<MockZuvExtendedFingerprint> service = new ::testing::NiceMock<MockZuvExtendedFingerprint>;
    sp<IZuvExtendedFingerprint> fp = new BpHwZuvExtendedFingerprint(
            ::android::hardware::host::loopbackProxyFor(new BnHwZuvExtendedFingerprint(service)));

    EXPECT_CALL(*service, getConfigValue(hidl_string("mode"), _))
            .WillOnce([](const hidl_string&, auto cb) {
                cb("fast");
                return Void();
            });
    EXPECT_CALL(*service, testInit()).WillOnce(Return(7));
    // The callback object crosses as a reference; the service calls it back.
    EXPECT_CALL(*service, match(_, 1, hidl_string("user"), _, _, 2))
            .WillOnce([](const sp<IZuvExtendedFingerprintCallback>& cb, auto&&...) {
                EXPECT_TRUE(cb->onMatch(0, "finger-1", 42, {}, {}).isOk());
                return 0;
            });
    sp<MockZuvExtendedFingerprintCallback> callback = new MockZuvExtendedFingerprintCallback;
    EXPECT_CALL(*callback, onMatch(0, hidl_string("finger-1"), 42u, _, _));

    hidl_string mode;
    EXPECT_TRUE(fp->getConfigValue("mode", [&](const hidl_string& v) { mode = v; }).isOk());
    EXPECT_EQ(mode, "fast");
    EXPECT_EQ(fp->testInit(), 7);
    EXPECT_EQ(fp->match(callback, 1, "user", hidl_vec<uint8_t>{1, 2}, "", 2), 0);
    // Operations nobody expected answer zero or a default value.
    EXPECT_EQ(fp->cancel(), 0);
    hidl_string user = "unset";
    EXPECT_TRUE(fp->retrieveUser(1, [&](const hidl_string& u) { user = u; }).isOk());
    EXPECT_EQ(user, "");

    EXPECT_TRUE(::testing::Mock::VerifyAndClearExpectations(service.get()));
    EXPECT_TRUE(::testing::Mock::VerifyAndClearExpectations(callback.get()));
}
