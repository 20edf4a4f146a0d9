// Interface arguments through the loopback transport: an object the client
// passes arrives as a proxy that calls back into the client. Every
// operation's values both ways are checked in the package's DescribeTest;
// here, also, what a default implementation answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServicesDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallbackDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <string>

#include "FrameTestSupport.h"
#include "TestNames.h"

namespace zuv_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NiceMock;
using ::testing::SizeIs;

// Calls back the objects it is handed with values above the signed range,
// which must not be sign-extended or clipped.
struct CallingBack : fp::MockZuvExtendedFingerprint {
    Return<int32_t> registerAndroidServices(const sp<fp::IDaxAndroidServices>& services) override {
        if (services == nullptr) return -1;
        services->setTimer(0xFFFFFFFFu);
        services->setWakelock(-128, 127);
        return services->checkRequestingAppType();
    }
    Return<int32_t> match(const sp<fp::IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
                          const hidl_string& strArg1, const hidl_vec<uint8_t>& data,
                          const hidl_string&, int32_t) override {
        if (callback == nullptr) return 0;
        callback->onMatch(intArg1, strArg1, 1ull << 63, data, hidl_vec<uint8_t>{7, 7});
        callback->onCapture(0x80000000u, 0xFFFFFFFFu, hidl_vec<uint8_t>{9});
        return 1;
    }
};

TEST(EndToEndTest, InterfaceArgumentsCallBackIntoTheClient) {
    auto proxy = loopbackProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(
            sp<fp::IZuvExtendedFingerprint>(new NiceMock<CallingBack>));
    sp<NiceMock<fp::MockZuvExtendedFingerprintCallback>> callback =
            new NiceMock<fp::MockZuvExtendedFingerprintCallback>;
    EXPECT_CALL(*callback, onMatch(5, hidl_string(""), 1ull << 63, IsEmpty(), SizeIs(2)));
    EXPECT_CALL(*callback, onCapture(0x80000000u, 0xFFFFFFFFu, ElementsAre(9)));
    EXPECT_EQ(1, static_cast<int32_t>(proxy->match(callback, 5, "", hidl_vec<uint8_t>(), "", -5)));
    EXPECT_EQ(0, static_cast<int32_t>(proxy->match(nullptr, 1, "a", {1}, "b", 2)));

    sp<NiceMock<fp::MockDaxAndroidServices>> services = new NiceMock<fp::MockDaxAndroidServices>;
    EXPECT_CALL(*services, setTimer(0xFFFFFFFFu));
    EXPECT_CALL(*services, setWakelock(-128, 127));
    ON_CALL(*services, checkRequestingAppType).WillByDefault([] { return Return<int32_t>(77); });
    EXPECT_EQ(77, static_cast<int32_t>(proxy->registerAndroidServices(services)));
    EXPECT_EQ(-1, static_cast<int32_t>(proxy->registerAndroidServices(nullptr)));
}

// A service that overrides one operation: the rest answer zero or empty, a
// result callback exactly once (a stub ends the process otherwise), and the
// log names the operation to override, once.
TEST(DefaultImplementationTest, AnswersEveryShapeAndKeepsOverrides) {
    struct OneOperation : fp::IZuvExtendedFingerprintDefault {
        Return<int32_t> testInit() override { return 7; }
    };
    sp<fp::IZuvExtendedFingerprint> impl = new OneOperation;
    auto proxy =
            loopbackProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(impl);
    EXPECT_EQ(7, static_cast<int32_t>(proxy->testInit()));
    EXPECT_EQ(0, static_cast<int32_t>(proxy->match(nullptr, 1, "a", hidl_vec<uint8_t>{1}, "b", 2)));
    EXPECT_EQ(0, static_cast<uint8_t>(proxy->getLivenessEnabled(hidl_vec<uint8_t>{1})));
    EXPECT_TRUE(proxy->setConfigValue("k", "v").isOk());

    int calls = 0;
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(proxy->getConfigValue("k", [&](const hidl_string& v) {
                             ++calls;
                             EXPECT_EQ("", std::string(v));
                         }).isOk());
        ASSERT_TRUE(impl->readInfo([&](const fp::ReadInfoResult& r) {
                            ++calls;
                            EXPECT_EQ(0u, r.bytes1.size());
                        }).isOk());
    }
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(4, calls);
    const std::string line = "IZuvExtendedFingerprint::getConfigValue is not overridden";
    ASSERT_NE(std::string::npos, log.find(line)) << log;
    EXPECT_EQ(log.find(line), log.rfind(line)) << log;
    EXPECT_NE(std::string::npos, log.find("derived from IZuvExtendedFingerprintDefault"));

    sp<fp::IDaxAndroidServices> services = new fp::IDaxAndroidServicesDefault;
    EXPECT_TRUE(services->setTimer(1).isOk());
    EXPECT_EQ(0, static_cast<int32_t>(services->checkRequestingAppType()));
    sp<fp::IZuvExtendedFingerprintCallback> callback =
            new fp::IZuvExtendedFingerprintCallbackDefault;
    EXPECT_TRUE(callback->onMatch(1, "", 2, {}, {}).isOk());
}

}  // namespace
}  // namespace zuv_test
