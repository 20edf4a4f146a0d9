// An IZuvExtendedFingerprint whose every operation succeeds trivially:
// direct results are 0 and each result callback is called once with a
// default value. The fuzzers and benchmarks serve it: plain code, since a
// mock's bookkeeping would weigh on what they measure. Unit tests use the
// package's mocks.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

#include <functional>

namespace zuv_test {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

struct FakeExtendedFingerprint : fp::IZuvExtendedFingerprint {
    Return<int32_t> testInit() override { return 0; }
    Return<int32_t> testDeinit() override { return 0; }
    Return<void> testParamGet(int32_t, testParamGet_cb cb) override { return reply(cb); }
    Return<void> testParamSet(int32_t, const hidl_string&) override { return Void(); }
    Return<void> testImageQuality(testImageQuality_cb cb) override { return reply(cb); }
    Return<void> psfCalibraton(psfCalibraton_cb cb) override { return reply(cb); }
    Return<void> calibratePsfSettings(calibratePsfSettings_cb cb) override { return reply(cb); }
    Return<void> runPsfVerification(runPsfVerification_cb cb) override { return reply(cb); }
    Return<void> testDigital(testDigital_cb cb) override { return reply(cb); }
    Return<int32_t> bgeCalibration() override { return 0; }
    Return<void> testTemperature(testTemperature_cb cb) override { return reply(cb); }
    Return<void> testContactResistance(testContactResistance_cb cb) override { return reply(cb); }
    Return<void> captouchCalibration(captouchCalibration_cb cb) override { return reply(cb); }
    Return<int32_t> runBoostRegulation() override { return 0; }
    Return<void> testTft(testTft_cb cb) override { return reply(cb); }
    Return<void> testRx(testRx_cb cb) override { return reply(cb); }
    Return<void> testTx(testTx_cb cb) override { return reply(cb); }
    Return<int32_t> bgeBinsExpiration(int32_t) override { return 0; }
    Return<void> dbiasCalibration(dbiasCalibration_cb cb) override { return reply(cb); }
    Return<void> testNoise(testNoise_cb cb) override { return reply(cb); }
    Return<void> readInfo(readInfo_cb cb) override { return reply(cb); }
    Return<int32_t> getPingResult() override { return 0; }
    Return<int32_t> sendPingCmd() override { return 0; }
    Return<int32_t> writeCalibration() override { return 0; }
    Return<void> calibrationGet(const hidl_string&, calibrationGet_cb cb) override {
        return reply(cb);
    }
    Return<void> calibrationSet(const hidl_string&, const hidl_string&) override { return Void(); }
    Return<int32_t> toggleDumpStream(int32_t) override { return 0; }
    Return<int32_t> powerTest() override { return 0; }
    Return<void> getOtpValue(getOtpValue_cb cb) override { return reply(cb); }
    Return<int32_t> isFingerprintEnabled() override { return 0; }
    Return<int32_t> notifyPowerState(int32_t) override { return 0; }
    Return<int32_t> postEvent(const hidl_vec<uint8_t>&) override { return 0; }
    Return<int32_t> notifyAlarm() override { return 0; }
    Return<int32_t> registerAndroidServices(const sp<fp::IDaxAndroidServices>&) override {
        return 0;
    }
    Return<int32_t> match(const sp<fp::IZuvExtendedFingerprintCallback>&, int32_t,
                          const hidl_string&, const hidl_vec<uint8_t>&, const hidl_string&,
                          int32_t) override {
        return 0;
    }
    Return<int32_t> cancel() override { return 0; }
    Return<void> retrieveUser(uint64_t, retrieveUser_cb cb) override { return reply(cb); }
    Return<int32_t> enableFingerEvent(int32_t) override { return 0; }
    Return<int32_t> disableFingerEvent() override { return 0; }
    Return<int32_t> setLivenessEnabled(const hidl_vec<uint8_t>&, uint8_t) override { return 0; }
    Return<uint8_t> getLivenessEnabled(const hidl_vec<uint8_t>&) override { return 0; }
    Return<int32_t> startCapture(const sp<fp::IZuvExtendedFingerprintCallback>&, int32_t) override {
        return 0;
    }
    Return<void> getFrameworkInfo(getFrameworkInfo_cb cb) override { return reply(cb); }
    Return<void> enumEnrollments(enumEnrollments_cb cb) override { return reply(cb); }
    Return<void> getEnrollRecord(const hidl_string&, getEnrollRecord_cb cb) override {
        return reply(cb);
    }
    Return<void> getDebugData(const hidl_string&, getDebugData_cb cb) override { return reply(cb); }
    Return<int8_t> isIvvEnabled() override { return 0; }
    Return<int32_t> enableIvv() override { return 0; }
    Return<int32_t> disableIvv() override { return 0; }
    Return<void> processRequest(const hidl_vec<uint8_t>&, processRequest_cb cb) override {
        return reply(cb);
    }
    Return<void> getMfgValue(uint16_t, getMfgValue_cb cb) override { return reply(cb); }
    Return<int32_t> retrieveDebugData(const sp<fp::IZuvExtendedFingerprintCallback>&) override {
        return 0;
    }
    Return<int32_t> pauseEnrollment() override { return 0; }
    Return<int32_t> resumeEnrollment() override { return 0; }
    Return<void> setConfigValue(const hidl_string&, const hidl_string&) override { return Void(); }
    Return<void> getConfigValue(const hidl_string&, getConfigValue_cb cb) override {
        return reply(cb);
    }
    Return<int32_t> enableFingerDetect() override { return 0; }
    Return<int32_t> disableFingerDetect() override { return 0; }
    Return<int32_t> skipFingerDetect() override { return 0; }

  protected:
    // Calls cb once with a default-constructed value of its parameter type.
    template <typename R>
    static Return<void> reply(const std::function<void(const R&)>& cb) {
        cb(R{});
        return Void();
    }
};

}  // namespace zuv_test
