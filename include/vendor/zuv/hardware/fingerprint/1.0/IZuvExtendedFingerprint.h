// The fingerprint service's extension interface: sensor and factory tests,
// calibration, configuration, enrolment records, matching and capture.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <cstdint>
#include <functional>
#include <string>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
struct IServiceNotification;
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

struct IZuvExtendedFingerprint : public ::android::hidl::base::V1_0::IBase {
    static const char* descriptor;

    bool isRemote() const override { return false; }

    // Base operations answered with this interface's identity.
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> setHALInstrumentation() override;
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<void> notifySyspropsChanged() override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

    // Result callbacks: called exactly once, before the operation returns;
    // the value is valid only during that call.
    using testParamGet_cb = std::function<void(const ::android::hardware::hidl_string& value)>;
    using testImageQuality_cb = std::function<void(const ImageQualityTestResult& result)>;
    using psfCalibraton_cb = std::function<void(const PsfCalibrationResult& result)>;
    using calibratePsfSettings_cb = std::function<void(const PsfSettingFormat& result)>;
    using runPsfVerification_cb = std::function<void(const PsfVerificationResult& result)>;
    using testDigital_cb = std::function<void(const DigitalTestResult& result)>;
    using testTemperature_cb = std::function<void(const TemperatureTestResult& result)>;
    using testContactResistance_cb = std::function<void(const ContactResistanceTestResult& result)>;
    using captouchCalibration_cb = std::function<void(const CaptouchCalibrationResult& result)>;
    using testTft_cb = std::function<void(const BiasTestResult& result)>;
    using testRx_cb = std::function<void(const BiasTestResult& result)>;
    using testTx_cb = std::function<void(const TxTestResult& result)>;
    using dbiasCalibration_cb = std::function<void(const DbiasCalibrationResult& result)>;
    using testNoise_cb = std::function<void(const NoiseTestResult& result)>;
    using readInfo_cb = std::function<void(const ReadInfoResult& result)>;
    using calibrationGet_cb = std::function<void(const ::android::hardware::hidl_string& value)>;
    using getOtpValue_cb = std::function<void(const OtpTestResult& result)>;
    using retrieveUser_cb = std::function<void(const ::android::hardware::hidl_string& user)>;
    using getFrameworkInfo_cb = std::function<void(const FrameworkInfo& info)>;
    using enumEnrollments_cb = std::function<void(
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& enrollments)>;
    using getEnrollRecord_cb = std::function<void(const EnrollRecord& record)>;
    using getDebugData_cb =
            std::function<void(const ::android::hardware::hidl_vec<uint8_t>& debugData)>;
    using processRequest_cb =
            std::function<void(const ::android::hardware::hidl_vec<uint8_t>& response)>;
    using getMfgValue_cb = std::function<void(const FieldMfgFormat& value)>;
    using getConfigValue_cb = std::function<void(const ::android::hardware::hidl_string& value)>;

    // The operations, in transaction-code order (code 1 first).
    virtual ::android::hardware::Return<int32_t> testInit() = 0;
    virtual ::android::hardware::Return<int32_t> testDeinit() = 0;
    virtual ::android::hardware::Return<void> testParamGet(int32_t paramId,
                                                           testParamGet_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testParamSet(
            int32_t paramId, const ::android::hardware::hidl_string& value) = 0;
    virtual ::android::hardware::Return<void> testImageQuality(testImageQuality_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> psfCalibraton(psfCalibraton_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> calibratePsfSettings(
            calibratePsfSettings_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> runPsfVerification(
            runPsfVerification_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testDigital(testDigital_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> bgeCalibration() = 0;
    virtual ::android::hardware::Return<void> testTemperature(testTemperature_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testContactResistance(
            testContactResistance_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> captouchCalibration(
            captouchCalibration_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> runBoostRegulation() = 0;
    virtual ::android::hardware::Return<void> testTft(testTft_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testRx(testRx_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testTx(testTx_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> bgeBinsExpiration(int32_t value) = 0;
    virtual ::android::hardware::Return<void> dbiasCalibration(dbiasCalibration_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> testNoise(testNoise_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> readInfo(readInfo_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> getPingResult() = 0;
    virtual ::android::hardware::Return<int32_t> sendPingCmd() = 0;
    virtual ::android::hardware::Return<int32_t> writeCalibration() = 0;
    virtual ::android::hardware::Return<void> calibrationGet(
            const ::android::hardware::hidl_string& key, calibrationGet_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> calibrationSet(
            const ::android::hardware::hidl_string& key,
            const ::android::hardware::hidl_string& value) = 0;
    virtual ::android::hardware::Return<int32_t> toggleDumpStream(int32_t value) = 0;
    virtual ::android::hardware::Return<int32_t> powerTest() = 0;
    virtual ::android::hardware::Return<void> getOtpValue(getOtpValue_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> isFingerprintEnabled() = 0;
    virtual ::android::hardware::Return<int32_t> notifyPowerState(int32_t value) = 0;
    virtual ::android::hardware::Return<int32_t> postEvent(
            const ::android::hardware::hidl_vec<uint8_t>& data) = 0;
    virtual ::android::hardware::Return<int32_t> notifyAlarm() = 0;
    virtual ::android::hardware::Return<int32_t> registerAndroidServices(
            const ::android::sp<IDaxAndroidServices>& services) = 0;
    virtual ::android::hardware::Return<int32_t> match(
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
            const ::android::hardware::hidl_string& strArg1,
            const ::android::hardware::hidl_vec<uint8_t>& data,
            const ::android::hardware::hidl_string& strArg2, int32_t intArg2) = 0;
    virtual ::android::hardware::Return<int32_t> cancel() = 0;
    virtual ::android::hardware::Return<void> retrieveUser(uint64_t value,
                                                           retrieveUser_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> enableFingerEvent(int32_t value) = 0;
    virtual ::android::hardware::Return<int32_t> disableFingerEvent() = 0;
    virtual ::android::hardware::Return<int32_t> setLivenessEnabled(
            const ::android::hardware::hidl_vec<uint8_t>& data, uint8_t enabled) = 0;
    virtual ::android::hardware::Return<uint8_t> getLivenessEnabled(
            const ::android::hardware::hidl_vec<uint8_t>& data) = 0;
    virtual ::android::hardware::Return<int32_t> startCapture(
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t value) = 0;
    virtual ::android::hardware::Return<void> getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> enumEnrollments(enumEnrollments_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> getEnrollRecord(
            const ::android::hardware::hidl_string& key, getEnrollRecord_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> getDebugData(
            const ::android::hardware::hidl_string& key, getDebugData_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int8_t> isIvvEnabled() = 0;
    virtual ::android::hardware::Return<int32_t> enableIvv() = 0;
    virtual ::android::hardware::Return<int32_t> disableIvv() = 0;
    virtual ::android::hardware::Return<void> processRequest(
            const ::android::hardware::hidl_vec<uint8_t>& data, processRequest_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<void> getMfgValue(uint16_t fieldId,
                                                          getMfgValue_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> retrieveDebugData(
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback) = 0;
    virtual ::android::hardware::Return<int32_t> pauseEnrollment() = 0;
    virtual ::android::hardware::Return<int32_t> resumeEnrollment() = 0;
    virtual ::android::hardware::Return<void> setConfigValue(
            const ::android::hardware::hidl_string& key,
            const ::android::hardware::hidl_string& value) = 0;
    virtual ::android::hardware::Return<void> getConfigValue(
            const ::android::hardware::hidl_string& key, getConfigValue_cb _hidl_cb) = 0;
    virtual ::android::hardware::Return<int32_t> enableFingerDetect() = 0;
    virtual ::android::hardware::Return<int32_t> disableFingerDetect() = 0;
    virtual ::android::hardware::Return<int32_t> skipFingerDetect() = 0;

    // Conversions. The identity form never fails; the base form yields null
    // (with an OK status) for objects of other interfaces, a proxy for remote
    // objects and the object itself for local ones.
    static ::android::hardware::Return<::android::sp<IZuvExtendedFingerprint>> castFrom(
            const ::android::sp<IZuvExtendedFingerprint>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IZuvExtendedFingerprint>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);

    // Service registry. getService waits a bounded time for the service to
    // appear; tryGetService does not wait. getStub asks for the in-process
    // (passthrough) implementation.
    static ::android::sp<IZuvExtendedFingerprint> getService(
            const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IZuvExtendedFingerprint> tryGetService(
            const std::string& serviceName = "default", bool getStub = false);
    // Publishes this object; it must already be owned by a strong pointer.
    ::android::status_t registerAsService(const std::string& serviceName = "default");
    static bool registerForNotifications(
            const std::string& serviceName,
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&
                    notification);
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
