// fuzzService's own checks, driven by inputs written from calls: each fault
// ends the process with a report naming every call made.
#include <gtest/gtest.h>
#include <hidl_host/FuzzService.h>
#include <vendor/zuv/hardware/fingerprint/1.0/FuzzCalls.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "TestNames.h"

namespace {

using namespace ::vendor::zuv::hardware::fingerprint::V1_0;  // NOLINT
using ::android::hardware::host::fuzzService;
using ::vendor::zuv::hardware::fingerprint::V1_0::fuzz::encodeCalls;
using ::vendor::zuv::hardware::fingerprint::V1_0::fuzz::json;

struct Faulty : IZuvExtendedFingerprintDefault {
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb cb) override {
        cb(key);
        if (key == "twice") cb(key);
        return Void();
    }
    Return<int32_t> testInit() override {
        std::this_thread::sleep_for(std::chrono::seconds(3));
        return 0;
    }
};

int run(const std::vector<::vendor::zuv::hardware::fingerprint::V1_0::fuzz::PlannedCall>& calls) {
    const std::vector<uint8_t> input = encodeCalls(calls);
    return fuzzService(new Faulty, input.data(), input.size());
}

TEST(FuzzServiceDeathTest, ResultCallbackCalledTwiceIsReportedWithTheCallsBefore) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    const std::string recording = ::testing::TempDir() + "fuzz-twice.jsonl";
    EXPECT_DEATH(
            {
                setenv("ZUV_FUZZ_RECORDING", recording.c_str(), 1);
                run({{"IZuvExtendedFingerprint", "setConfigValue", {{"key", "k"}, {"value", "v"}}},
                     {"IZuvExtendedFingerprint", "getConfigValue", {{"key", "twice"}}}});
            },
            "called a second time.*1\\. IZuvExtendedFingerprint::setConfigValue "
            "\\{\"key\":\"k\",\"value\":\"v\"\\} -> OK.*2\\. "
            "IZuvExtendedFingerprint::getConfigValue \\{\"key\":\"twice\"\\} -> \\(running\\)"
            ".*zuv_hidl call setConfigValue '\"k\"' '\"v\"'.*zuv_hidl call getConfigValue "
            "'\"twice\"'.*zuv_hidl replay");
    // The recording holds the call that completed, for replay and mock.
    std::ifstream in(recording);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_NE(text.str().find("\"format\":\"zuv-hidl-recording\""), std::string::npos);
    EXPECT_NE(text.str().find("\"operation\":\"setConfigValue\""), std::string::npos);
}

TEST(FuzzServiceDeathTest, CallPastTheLimitIsReported) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
            {
                setenv("ZUV_FUZZ_CALL_TIMEOUT_MS", "200", 1);
                // Its report's recording goes to the test's own directory.
                setenv("ZUV_FUZZ_RECORDING", (::testing::TempDir() + "fuzz-late.jsonl").c_str(), 1);
                run({{"IZuvExtendedFingerprint", "getConfigValue", {{"key", "once"}}},
                     {"IZuvExtendedFingerprint", "testInit", json::object()}});
            },
            "IZuvExtendedFingerprint::testInit did not return within 200 ms "
            "\\(ZUV_FUZZ_CALL_TIMEOUT_MS\\).*getConfigValue \\{\"key\":\"once\"\\} -> OK "
            "\"once\"");
}

// A recording's calls, written as an input, are the calls the implementation
// is then made: the seeds of `zuv_hidl corpus` say what they were recorded
// saying, boundary and raw values, records and vectors included.
TEST(FuzzServiceTest, EncodedCallsArriveWithTheirArguments) {
    struct Seen : IZuvExtendedFingerprintDefault {
        std::vector<std::string> calls;
        Return<void> setConfigValue(const hidl_string& k, const hidl_string& v) override {
            calls.push_back(std::string(k) + "=" + std::string(v));
            return Void();
        }
        Return<int32_t> notifyPowerState(int32_t value) override {
            calls.push_back("power " + std::to_string(value));
            return 0;
        }
        Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb cb) override {
            calls.push_back("request of " + std::to_string(data.size()));
            cb({});
            return Void();
        }
    };
    ::android::sp<Seen> seen = new Seen;
    const std::string longValue(100, 'x');  // past what the short form holds
    const std::vector<uint8_t> input = encodeCalls(
            {{"IZuvExtendedFingerprint", "setConfigValue", {{"key", "mode"}, {"value", "odd\n"}}},
             {"IZuvExtendedFingerprint", "setConfigValue", {{"key", ""}, {"value", longValue}}},
             {"IZuvExtendedFingerprint", "notifyPowerState", {{"value", -2147483647 - 1}}},
             {"IZuvExtendedFingerprint", "processRequest", {{"data", "010203"}}}});
    fuzzService(seen, input.data(), input.size());
    EXPECT_EQ(seen->calls, (std::vector<std::string>{"mode=odd\n", "=" + longValue,
                                                     "power -2147483648", "request of 3"}));
}

}  // namespace
