// Calls from a proxy through the loopback transport to a stub and an
// implementation, and back, for a representative of every request/reply
// shape of the main interface. Requests and replies cross the wire image, so
// nothing the implementation sees shares memory with what the client wrote.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServicesDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallbackDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include <algorithm>
#include <string>
#include <vector>

#include "FrameTestSupport.h"

namespace zuv_test {
namespace {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NiceMock;
using ::testing::SizeIs;

hidl_vec<uint8_t> bytes(std::initializer_list<uint8_t> list) {
    return hidl_vec<uint8_t>(list);
}

// Answers with values derived from the arguments, so a swapped or truncated
// item shows up as a wrong answer.
struct EchoFingerprint : fp::MockZuvExtendedFingerprint {
    Return<int32_t> cancel() override { return -123456; }
    Return<int8_t> isIvvEnabled() override { return -1; }
    Return<void> testTx(testTx_cb cb) override {
        fp::TxTestResult r;
        for (size_t i = 0; i < r.raw.size(); ++i) r.raw[i] = static_cast<uint8_t>(0xA0 + i);
        cb(r);
        return Void();
    }
    Return<void> readInfo(readInfo_cb cb) override {
        fp::ReadInfoResult r;
        r.bytes1 = bytes({1, 2, 3});
        r.middle.fill(2);
        r.bytes3 = bytes({9});  // bytes2 stays empty
        cb(r);
        return Void();
    }
    Return<void> testParamGet(int32_t paramId, testParamGet_cb cb) override {
        cb(hidl_string("param " + std::to_string(paramId)));
        return Void();
    }
    Return<void> setConfigValue(const hidl_string& key, const hidl_string& value) override {
        lastKey = key;
        lastValue = value;
        return Void();
    }
    Return<int32_t> registerAndroidServices(const sp<fp::IDaxAndroidServices>& services) override {
        if (services == nullptr) return -1;
        services->setTimer(0xFFFFFFFFu);
        services->setWakelock(-128, 127);
        return services->checkRequestingAppType();
    }
    Return<int32_t> match(const sp<fp::IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
                          const hidl_string& strArg1, const hidl_vec<uint8_t>& data,
                          const hidl_string& strArg2, int32_t intArg2) override {
        matchArgs = {intArg1, static_cast<int32_t>(strArg1.size()),
                     static_cast<int32_t>(data.size()), static_cast<int32_t>(strArg2.size()),
                     intArg2};
        if (callback != nullptr) {
            callback->onMatch(intArg1, strArg1, 1ull << 63, data, bytes({7, 7}));
        }
        return callback == nullptr ? 0 : 1;
    }
    Return<int32_t> setLivenessEnabled(const hidl_vec<uint8_t>& data, uint8_t enabled) override {
        return static_cast<int32_t>(data.size()) * 1000 + enabled;
    }
    Return<uint8_t> getLivenessEnabled(const hidl_vec<uint8_t>& data) override {
        return data.size() == 2 ? 255 : 0;
    }
    Return<int32_t> startCapture(const sp<fp::IZuvExtendedFingerprintCallback>& callback,
                                 int32_t value) override {
        callback->onCapture(0x80000000u, 0xFFFFFFFFu, bytes({static_cast<uint8_t>(value)}));
        return value;
    }
    Return<void> enumEnrollments(enumEnrollments_cb cb) override {
        cb(hidl_vec<hidl_string>({"alpha", "", "gamma"}));
        return Void();
    }
    Return<void> getEnrollRecord(const hidl_string& key, getEnrollRecord_cb cb) override {
        fp::EnrollRecord r;
        r.text = key;
        r.middle.fill(0x22);
        r.texts = hidl_vec<hidl_string>({"one", "two"});
        r.tail.fill(0x33);
        cb(r);
        return Void();
    }
    Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb cb) override {
        std::vector<uint8_t> reversed(data.begin(), data.end());
        std::reverse(reversed.begin(), reversed.end());
        cb(hidl_vec<uint8_t>(reversed));
        return Void();
    }
    Return<void> getMfgValue(uint16_t fieldId, getMfgValue_cb cb) override {
        fp::FieldMfgFormat f;
        f.text = std::to_string(fieldId);
        cb(f);
        return Void();
    }

    std::string lastKey = "unset";
    std::string lastValue = "unset";
    std::vector<int32_t> matchArgs;
};

class EndToEndTest : public ::testing::Test {
  protected:
    sp<EchoFingerprint> impl = new NiceMock<EchoFingerprint>;
    sp<fp::IZuvExtendedFingerprint> proxy =
            loopbackProxy<fp::BnHwZuvExtendedFingerprint, fp::BpHwZuvExtendedFingerprint>(
                    sp<fp::IZuvExtendedFingerprint>(impl));
};

TEST_F(EndToEndTest, DirectResultsKeepTheirWidthAndSign) {
    EXPECT_TRUE(proxy->isRemote());
    EXPECT_EQ(-123456, static_cast<int32_t>(proxy->cancel()));
    EXPECT_EQ(-1, static_cast<int8_t>(proxy->isIvvEnabled()));
    EXPECT_EQ(255, static_cast<uint8_t>(proxy->getLivenessEnabled(bytes({1, 2}))));
    EXPECT_EQ(3 * 1000 + 255,
              static_cast<int32_t>(proxy->setLivenessEnabled(bytes({1, 2, 3}), 255)));
}

TEST_F(EndToEndTest, RecordsArriveWhole) {
    fp::TxTestResult tx;
    ASSERT_TRUE(proxy->testTx([&](const fp::TxTestResult& r) { tx = r; }).isOk());
    for (size_t i = 0; i < tx.raw.size(); ++i) EXPECT_EQ(0xA0 + i, tx.raw[i]);

    fp::ReadInfoResult info;
    ASSERT_TRUE(proxy->readInfo([&](const fp::ReadInfoResult& r) { info = r; }).isOk());
    EXPECT_EQ(bytes({1, 2, 3}), info.bytes1);
    EXPECT_EQ(0u, info.bytes2.size());
    EXPECT_EQ(bytes({9}), info.bytes3);
    EXPECT_EQ(2, info.middle[15]);

    fp::EnrollRecord record;
    ASSERT_TRUE(proxy->getEnrollRecord("finger-1", [&](const fp::EnrollRecord& r) {
                         record = r;
                     }).isOk());
    EXPECT_EQ("finger-1", record.text);
    EXPECT_EQ(hidl_vec<hidl_string>({"one", "two"}), record.texts);
    EXPECT_EQ(0x22, record.middle[0]);
    EXPECT_EQ(0x33, record.tail[7]);

    std::string mfg;
    ASSERT_TRUE(
            proxy->getMfgValue(0xFFFF, [&](const fp::FieldMfgFormat& r) { mfg = r.text; }).isOk());
    EXPECT_EQ("65535", mfg);
}

TEST_F(EndToEndTest, StringsAndVectorsBothWays) {
    std::string got;
    ASSERT_TRUE(proxy->testParamGet(-7, [&](const hidl_string& s) { got = s; }).isOk());
    EXPECT_EQ("param -7", got);

    ASSERT_TRUE(proxy->setConfigValue("", "").isOk());
    EXPECT_EQ("", impl->lastKey);
    EXPECT_EQ("", impl->lastValue);

    hidl_vec<hidl_string> names;
    ASSERT_TRUE(proxy->enumEnrollments([&](const hidl_vec<hidl_string>& v) { names = v; }).isOk());
    EXPECT_EQ(hidl_vec<hidl_string>({"alpha", "", "gamma"}), names);

    hidl_vec<uint8_t> data;
    ASSERT_TRUE(proxy->processRequest(bytes({1, 2, 3}), [&](const hidl_vec<uint8_t>& v) {
                         data = v;
                     }).isOk());
    EXPECT_EQ(bytes({3, 2, 1}), data);
}

TEST_F(EndToEndTest, InterfaceArgumentsCallBackIntoTheClient) {
    // Values above the signed range must not be sign-extended or clipped.
    sp<NiceMock<fp::MockZuvExtendedFingerprintCallback>> callback =
            new NiceMock<fp::MockZuvExtendedFingerprintCallback>;
    EXPECT_CALL(*callback, onMatch(5, hidl_string(""), 1ull << 63, IsEmpty(), SizeIs(2)));
    EXPECT_CALL(*callback, onCapture(0x80000000u, 0xFFFFFFFFu, ElementsAre(9)));
    EXPECT_EQ(1, static_cast<int32_t>(proxy->match(callback, 5, "", hidl_vec<uint8_t>(), "", -5)));
    EXPECT_EQ((std::vector<int32_t>{5, 0, 0, 0, -5}), impl->matchArgs);
    EXPECT_EQ(9, static_cast<int32_t>(proxy->startCapture(callback, 9)));
    EXPECT_EQ(0, static_cast<int32_t>(proxy->match(nullptr, 1, "a", bytes({1}), "b", 2)));

    sp<NiceMock<fp::MockDaxAndroidServices>> services = new NiceMock<fp::MockDaxAndroidServices>;
    EXPECT_CALL(*services, setTimer(0xFFFFFFFFu));
    EXPECT_CALL(*services, setWakelock(-128, 127));
    ON_CALL(*services, checkRequestingAppType).WillByDefault([] { return Return<int32_t>(77); });
    EXPECT_EQ(77, static_cast<int32_t>(proxy->registerAndroidServices(services)));
    EXPECT_EQ(-1, static_cast<int32_t>(proxy->registerAndroidServices(nullptr)));

    std::vector<std::string> chain;
    ASSERT_TRUE(proxy->interfaceChain([&](const hidl_vec<hidl_string>& v) {
                         for (const auto& s : v) chain.push_back(s);
                     }).isOk());
    EXPECT_EQ((std::vector<std::string>{fp::IZuvExtendedFingerprint::descriptor,
                                        "android.hidl.base@1.0::IBase"}),
              chain);
}

// Record vectors with children at every level, empty and large, cross whole.
TEST(CallbackEndToEndTest, RecordVectorsArriveUnchanged) {
    sp<NiceMock<fp::MockZuvExtendedFingerprintCallback>> impl =
            new NiceMock<fp::MockZuvExtendedFingerprintCallback>;
    auto proxy = loopbackProxy<fp::BnHwZuvExtendedFingerprintCallback,
                               fp::BpHwZuvExtendedFingerprintCallback>(
            sp<fp::IZuvExtendedFingerprintCallback>(impl));
    hidl_vec<fp::CaptureDebugData> three(3);
    three[0].text = "first";
    three[0].bytes = hidl_vec<uint8_t>({0, 255});
    three[0].tail.fill(0x11);
    three[2].text = std::string(300, 'z');
    three[2].bytes = hidl_vec<uint8_t>(std::vector<uint8_t>(70000, 0x5a));
    EXPECT_CALL(*impl, onCaptureDebugData(IsEmpty()));
    EXPECT_CALL(*impl, onCaptureDebugData(three));
    ASSERT_TRUE(proxy->onCaptureDebugData(hidl_vec<fp::CaptureDebugData>()).isOk());
    ASSERT_TRUE(proxy->onCaptureDebugData(three).isOk());
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
    EXPECT_EQ(0, static_cast<int32_t>(proxy->match(nullptr, 1, "a", bytes({1}), "b", 2)));
    EXPECT_EQ(0, static_cast<uint8_t>(proxy->getLivenessEnabled(bytes({1}))));
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
