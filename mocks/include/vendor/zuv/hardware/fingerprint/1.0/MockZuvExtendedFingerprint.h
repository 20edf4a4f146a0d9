// A GoogleMock implementation of IZuvExtendedFingerprint for unit tests.
#pragma once

#include <gmock/gmock.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/MockDefaults.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

// Every operation is mocked; the base operations keep the interface's own
// answers, so the mock registers as a service and crosses proxies and stubs
// like any implementation. A new operation on the interface that is not
// added here leaves the mock abstract, and it no longer compiles.
class MockZuvExtendedFingerprint : public IZuvExtendedFingerprint {
  public:
    MockZuvExtendedFingerprint() {
        details::useZeroForUnsetResults();
        // A stub ends the process when a result callback is not called, as
        // on a device; unless told otherwise, answer a default value.
        ON_CALL(*this, testParamGet).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testImageQuality).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, psfCalibraton).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, calibratePsfSettings).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, runPsfVerification).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testDigital).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testTemperature).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testContactResistance).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, captouchCalibration).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testTft).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testRx).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testTx).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, dbiasCalibration).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, testNoise).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, readInfo).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, calibrationGet).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getOtpValue).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, retrieveUser).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getFrameworkInfo).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, enumEnrollments).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getEnrollRecord).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getDebugData).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, processRequest).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getMfgValue).WillByDefault(details::AnswerWithDefaultValue());
        ON_CALL(*this, getConfigValue).WillByDefault(details::AnswerWithDefaultValue());
    }

    MOCK_METHOD(::android::hardware::Return<int32_t>, testInit, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, testDeinit, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testParamGet, (int32_t, testParamGet_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, testParamSet,
                (int32_t, const ::android::hardware::hidl_string&), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testImageQuality, (testImageQuality_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, psfCalibraton, (psfCalibraton_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, calibratePsfSettings, (calibratePsfSettings_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, runPsfVerification, (runPsfVerification_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, testDigital, (testDigital_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, bgeCalibration, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testTemperature, (testTemperature_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, testContactResistance,
                (testContactResistance_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, captouchCalibration, (captouchCalibration_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, runBoostRegulation, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testTft, (testTft_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testRx, (testRx_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, testTx, (testTx_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, bgeBinsExpiration, (int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, dbiasCalibration, (dbiasCalibration_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, testNoise, (testNoise_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, readInfo, (readInfo_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, getPingResult, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, sendPingCmd, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, writeCalibration, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, calibrationGet,
                (const ::android::hardware::hidl_string&, calibrationGet_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, calibrationSet,
                (const ::android::hardware::hidl_string&, const ::android::hardware::hidl_string&),
                (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, toggleDumpStream, (int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, powerTest, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, getOtpValue, (getOtpValue_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, isFingerprintEnabled, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, notifyPowerState, (int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, postEvent,
                (const ::android::hardware::hidl_vec<uint8_t>&), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, notifyAlarm, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, registerAndroidServices,
                (const ::android::sp<IDaxAndroidServices>&), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, match,
                (const ::android::sp<IZuvExtendedFingerprintCallback>&, int32_t,
                 const ::android::hardware::hidl_string&,
                 const ::android::hardware::hidl_vec<uint8_t>&,
                 const ::android::hardware::hidl_string&, int32_t),
                (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, cancel, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, retrieveUser, (uint64_t, retrieveUser_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, enableFingerEvent, (int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, disableFingerEvent, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, setLivenessEnabled,
                (const ::android::hardware::hidl_vec<uint8_t>&, uint8_t), (override));
    MOCK_METHOD(::android::hardware::Return<uint8_t>, getLivenessEnabled,
                (const ::android::hardware::hidl_vec<uint8_t>&), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, startCapture,
                (const ::android::sp<IZuvExtendedFingerprintCallback>&, int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, getFrameworkInfo, (getFrameworkInfo_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, enumEnrollments, (enumEnrollments_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, getEnrollRecord,
                (const ::android::hardware::hidl_string&, getEnrollRecord_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, getDebugData,
                (const ::android::hardware::hidl_string&, getDebugData_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int8_t>, isIvvEnabled, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, enableIvv, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, disableIvv, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, processRequest,
                (const ::android::hardware::hidl_vec<uint8_t>&, processRequest_cb), (override));
    MOCK_METHOD(::android::hardware::Return<void>, getMfgValue, (uint16_t, getMfgValue_cb),
                (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, retrieveDebugData,
                (const ::android::sp<IZuvExtendedFingerprintCallback>&), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, pauseEnrollment, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, resumeEnrollment, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, setConfigValue,
                (const ::android::hardware::hidl_string&, const ::android::hardware::hidl_string&),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, getConfigValue,
                (const ::android::hardware::hidl_string&, getConfigValue_cb), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, enableFingerDetect, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, disableFingerDetect, (), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, skipFingerDetect, (), (override));
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
