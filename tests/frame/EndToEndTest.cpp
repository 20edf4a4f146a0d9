// Calls from a proxy through the loopback transport to a stub and an
// implementation, and back, for a representative of every request/reply
// shape of the main interface. Requests and replies cross the wire image, so
// nothing the implementation sees shares memory with what the client wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprint.h"
#include "FakeExtendedFingerprintCallback.h"
#include "FrameTestSupport.h"

namespace zuv_test {
namespace {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

hidl_vec<uint8_t> bytes(std::initializer_list<uint8_t> list) {
    return hidl_vec<uint8_t>(list);
}

// Answers with values derived from the arguments, so a swapped or truncated
// item shows up as a wrong answer.
struct EchoFingerprint : FakeExtendedFingerprint {
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

struct RecordingCallback : FakeExtendedFingerprintCallback {
    Return<void> onMatch(int32_t intArg1, const hidl_string& strArg1, uint64_t value,
                         const hidl_vec<uint8_t>& data, const hidl_vec<uint8_t>& data2) override {
        calls.push_back(std::to_string(intArg1) + "|" + std::string(strArg1) + "|" +
                        std::to_string(value) + "|" + std::to_string(data.size()) + "|" +
                        std::to_string(data2.size()));
        return Void();
    }
    Return<void> onCapture(uint32_t a, uint32_t b, const hidl_vec<uint8_t>& data) override {
        calls.push_back(std::to_string(a) + "|" + std::to_string(b) + "|" +
                        std::to_string(data.size() == 1 ? data[0] : -1));
        return Void();
    }
    std::vector<std::string> calls;
};

struct RecordingServices : FakeDaxAndroidServices {
    Return<void> setTimer(uint32_t value) override {
        timers.push_back(value);
        return Void();
    }
    Return<int32_t> checkRequestingAppType() override { return 77; }
    std::vector<uint32_t> timers;
};

class EndToEndTest : public ::testing::Test {
  protected:
    sp<EchoFingerprint> impl = new EchoFingerprint;
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
    sp<RecordingCallback> callback = new RecordingCallback;
    EXPECT_EQ(1, static_cast<int32_t>(proxy->match(callback, 5, "", hidl_vec<uint8_t>(), "", -5)));
    EXPECT_EQ((std::vector<int32_t>{5, 0, 0, 0, -5}), impl->matchArgs);
    EXPECT_EQ(9, static_cast<int32_t>(proxy->startCapture(callback, 9)));
    EXPECT_EQ((std::vector<std::string>{"5||9223372036854775808|0|2", "2147483648|4294967295|9"}),
              callback->calls);
    EXPECT_EQ(0, static_cast<int32_t>(proxy->match(nullptr, 1, "a", bytes({1}), "b", 2)));

    sp<RecordingServices> services = new RecordingServices;
    EXPECT_EQ(77, static_cast<int32_t>(proxy->registerAndroidServices(services)));
    EXPECT_EQ(std::vector<uint32_t>{0xFFFFFFFFu}, services->timers);
    EXPECT_EQ(-1, static_cast<int32_t>(proxy->registerAndroidServices(nullptr)));

    std::vector<std::string> chain;
    ASSERT_TRUE(proxy->interfaceChain([&](const hidl_vec<hidl_string>& v) {
                         for (const auto& s : v) chain.push_back(s);
                     }).isOk());
    EXPECT_EQ((std::vector<std::string>{fp::IZuvExtendedFingerprint::descriptor,
                                        "android.hidl.base@1.0::IBase"}),
              chain);
}

}  // namespace
}  // namespace zuv_test
