// What a default implementation answers, through the loopback transport.
// Every operation's values both ways are checked in the package's
// DescribeTest; interface arguments calling back into the client, in
// RecordTest (the example session across processes).
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServicesDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallbackDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

#include <string>

#include "FrameTestSupport.h"

namespace zuv_test {
namespace {

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
