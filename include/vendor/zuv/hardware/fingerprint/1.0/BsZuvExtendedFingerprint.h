// Passthrough wrapper of IZuvExtendedFingerprint: stands in front of an
// implementation in this process and gives each call the frame a binder call
// would have, without a parcel. Callback objects handed to it that live in
// this process reach the implementation inside their own wrappers.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/PassthroughFrame.h>

// The shared operations are instantiated once, in the library.
extern template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IZuvExtendedFingerprint>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BsZuvExtendedFingerprint : public details::PassthroughFrame<IZuvExtendedFingerprint> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    template <typename T>
    using sp = ::android::sp<T>;
    template <typename T>
    using hidl_vec = ::android::hardware::hidl_vec<T>;
    using hidl_string = ::android::hardware::hidl_string;

  public:
    explicit BsZuvExtendedFingerprint(sp<IZuvExtendedFingerprint> _hidl_impl);
    ~BsZuvExtendedFingerprint() override;

    // The operations, in code order, each forwarded to the implementation.
    Return<int32_t> testInit() override;
    Return<int32_t> testDeinit() override;
    Return<void> testParamGet(int32_t paramId, testParamGet_cb _hidl_cb) override;
    Return<void> testParamSet(int32_t paramId, const hidl_string& value) override;
    Return<void> testImageQuality(testImageQuality_cb _hidl_cb) override;
    Return<void> psfCalibraton(psfCalibraton_cb _hidl_cb) override;
    Return<void> calibratePsfSettings(calibratePsfSettings_cb _hidl_cb) override;
    Return<void> runPsfVerification(runPsfVerification_cb _hidl_cb) override;
    Return<void> testDigital(testDigital_cb _hidl_cb) override;
    Return<int32_t> bgeCalibration() override;
    Return<void> testTemperature(testTemperature_cb _hidl_cb) override;
    Return<void> testContactResistance(testContactResistance_cb _hidl_cb) override;
    Return<void> captouchCalibration(captouchCalibration_cb _hidl_cb) override;
    Return<int32_t> runBoostRegulation() override;
    Return<void> testTft(testTft_cb _hidl_cb) override;
    Return<void> testRx(testRx_cb _hidl_cb) override;
    Return<void> testTx(testTx_cb _hidl_cb) override;
    Return<int32_t> bgeBinsExpiration(int32_t value) override;
    Return<void> dbiasCalibration(dbiasCalibration_cb _hidl_cb) override;
    Return<void> testNoise(testNoise_cb _hidl_cb) override;
    Return<void> readInfo(readInfo_cb _hidl_cb) override;
    Return<int32_t> getPingResult() override;
    Return<int32_t> sendPingCmd() override;
    Return<int32_t> writeCalibration() override;
    Return<void> calibrationGet(const hidl_string& key, calibrationGet_cb _hidl_cb) override;
    Return<void> calibrationSet(const hidl_string& key, const hidl_string& value) override;
    Return<int32_t> toggleDumpStream(int32_t value) override;
    Return<int32_t> powerTest() override;
    Return<void> getOtpValue(getOtpValue_cb _hidl_cb) override;
    Return<int32_t> isFingerprintEnabled() override;
    Return<int32_t> notifyPowerState(int32_t value) override;
    Return<int32_t> postEvent(const hidl_vec<uint8_t>& data) override;
    Return<int32_t> notifyAlarm() override;
    Return<int32_t> registerAndroidServices(const sp<IDaxAndroidServices>& services) override;
    Return<int32_t> match(const sp<IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
                          const hidl_string& strArg1, const hidl_vec<uint8_t>& data,
                          const hidl_string& strArg2, int32_t intArg2) override;
    Return<int32_t> cancel() override;
    Return<void> retrieveUser(uint64_t value, retrieveUser_cb _hidl_cb) override;
    Return<int32_t> enableFingerEvent(int32_t value) override;
    Return<int32_t> disableFingerEvent() override;
    Return<int32_t> setLivenessEnabled(const hidl_vec<uint8_t>& data, uint8_t enabled) override;
    Return<uint8_t> getLivenessEnabled(const hidl_vec<uint8_t>& data) override;
    Return<int32_t> startCapture(const sp<IZuvExtendedFingerprintCallback>& callback,
                                 int32_t value) override;
    Return<void> getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) override;
    Return<void> enumEnrollments(enumEnrollments_cb _hidl_cb) override;
    Return<void> getEnrollRecord(const hidl_string& key, getEnrollRecord_cb _hidl_cb) override;
    Return<void> getDebugData(const hidl_string& key, getDebugData_cb _hidl_cb) override;
    Return<int8_t> isIvvEnabled() override;
    Return<int32_t> enableIvv() override;
    Return<int32_t> disableIvv() override;
    Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb _hidl_cb) override;
    Return<void> getMfgValue(uint16_t fieldId, getMfgValue_cb _hidl_cb) override;
    Return<int32_t> retrieveDebugData(const sp<IZuvExtendedFingerprintCallback>& callback) override;
    Return<int32_t> pauseEnrollment() override;
    Return<int32_t> resumeEnrollment() override;
    Return<void> setConfigValue(const hidl_string& key, const hidl_string& value) override;
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb _hidl_cb) override;
    Return<int32_t> enableFingerDetect() override;
    Return<int32_t> disableFingerDetect() override;
    Return<int32_t> skipFingerDetect() override;
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
