// Client proxy of IZuvExtendedFingerprint: stands for an object in another process; each
// operation becomes one transaction on its binder.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/ProxyFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BpHwZuvExtendedFingerprint : public details::ProxyFrame<IZuvExtendedFingerprint> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using IInterface = ::android::hardware::IInterface;
    using HidlInstrumentor = ::android::hardware::details::HidlInstrumentor;

  public:
    explicit BpHwZuvExtendedFingerprint(
            const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    // One transaction procedure per operation, in code order: the proxy to
    // send through, its instrumentation, then the operation's own arguments.
    static Return<int32_t> _hidl_testInit(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_testDeinit(IInterface* _hidl_this,
                                            HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_testParamGet(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           int32_t paramId, testParamGet_cb _hidl_cb);
    static Return<void> _hidl_testParamSet(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           int32_t paramId,
                                           const ::android::hardware::hidl_string& value);
    static Return<void> _hidl_testImageQuality(IInterface* _hidl_this,
                                               HidlInstrumentor* _hidl_this_instrumentor,
                                               testImageQuality_cb _hidl_cb);
    static Return<void> _hidl_psfCalibraton(IInterface* _hidl_this,
                                            HidlInstrumentor* _hidl_this_instrumentor,
                                            psfCalibraton_cb _hidl_cb);
    static Return<void> _hidl_calibratePsfSettings(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor,
                                                   calibratePsfSettings_cb _hidl_cb);
    static Return<void> _hidl_runPsfVerification(IInterface* _hidl_this,
                                                 HidlInstrumentor* _hidl_this_instrumentor,
                                                 runPsfVerification_cb _hidl_cb);
    static Return<void> _hidl_testDigital(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          testDigital_cb _hidl_cb);
    static Return<int32_t> _hidl_bgeCalibration(IInterface* _hidl_this,
                                                HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_testTemperature(IInterface* _hidl_this,
                                              HidlInstrumentor* _hidl_this_instrumentor,
                                              testTemperature_cb _hidl_cb);
    static Return<void> _hidl_testContactResistance(IInterface* _hidl_this,
                                                    HidlInstrumentor* _hidl_this_instrumentor,
                                                    testContactResistance_cb _hidl_cb);
    static Return<void> _hidl_captouchCalibration(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor,
                                                  captouchCalibration_cb _hidl_cb);
    static Return<int32_t> _hidl_runBoostRegulation(IInterface* _hidl_this,
                                                    HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_testTft(IInterface* _hidl_this,
                                      HidlInstrumentor* _hidl_this_instrumentor,
                                      testTft_cb _hidl_cb);
    static Return<void> _hidl_testRx(IInterface* _hidl_this,
                                     HidlInstrumentor* _hidl_this_instrumentor, testRx_cb _hidl_cb);
    static Return<void> _hidl_testTx(IInterface* _hidl_this,
                                     HidlInstrumentor* _hidl_this_instrumentor, testTx_cb _hidl_cb);
    static Return<int32_t> _hidl_bgeBinsExpiration(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor,
                                                   int32_t value);
    static Return<void> _hidl_dbiasCalibration(IInterface* _hidl_this,
                                               HidlInstrumentor* _hidl_this_instrumentor,
                                               dbiasCalibration_cb _hidl_cb);
    static Return<void> _hidl_testNoise(IInterface* _hidl_this,
                                        HidlInstrumentor* _hidl_this_instrumentor,
                                        testNoise_cb _hidl_cb);
    static Return<void> _hidl_readInfo(IInterface* _hidl_this,
                                       HidlInstrumentor* _hidl_this_instrumentor,
                                       readInfo_cb _hidl_cb);
    static Return<int32_t> _hidl_getPingResult(IInterface* _hidl_this,
                                               HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_sendPingCmd(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_writeCalibration(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_calibrationGet(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor,
                                             const ::android::hardware::hidl_string& key,
                                             calibrationGet_cb _hidl_cb);
    static Return<void> _hidl_calibrationSet(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor,
                                             const ::android::hardware::hidl_string& key,
                                             const ::android::hardware::hidl_string& value);
    static Return<int32_t> _hidl_toggleDumpStream(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor,
                                                  int32_t value);
    static Return<int32_t> _hidl_powerTest(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_getOtpValue(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          getOtpValue_cb _hidl_cb);
    static Return<int32_t> _hidl_isFingerprintEnabled(IInterface* _hidl_this,
                                                      HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_notifyPowerState(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor,
                                                  int32_t value);
    static Return<int32_t> _hidl_postEvent(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           const ::android::hardware::hidl_vec<uint8_t>& data);
    static Return<int32_t> _hidl_notifyAlarm(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_registerAndroidServices(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::sp<IDaxAndroidServices>& services);
    static Return<int32_t> _hidl_match(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
            const ::android::hardware::hidl_string& strArg1,
            const ::android::hardware::hidl_vec<uint8_t>& data,
            const ::android::hardware::hidl_string& strArg2, int32_t intArg2);
    static Return<int32_t> _hidl_cancel(IInterface* _hidl_this,
                                        HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_retrieveUser(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           uint64_t value, retrieveUser_cb _hidl_cb);
    static Return<int32_t> _hidl_enableFingerEvent(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor,
                                                   int32_t value);
    static Return<int32_t> _hidl_disableFingerEvent(IInterface* _hidl_this,
                                                    HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_setLivenessEnabled(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::hardware::hidl_vec<uint8_t>& data, uint8_t enabled);
    static Return<uint8_t> _hidl_getLivenessEnabled(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::hardware::hidl_vec<uint8_t>& data);
    static Return<int32_t> _hidl_startCapture(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t value);
    static Return<void> _hidl_getFrameworkInfo(IInterface* _hidl_this,
                                               HidlInstrumentor* _hidl_this_instrumentor,
                                               getFrameworkInfo_cb _hidl_cb);
    static Return<void> _hidl_enumEnrollments(IInterface* _hidl_this,
                                              HidlInstrumentor* _hidl_this_instrumentor,
                                              enumEnrollments_cb _hidl_cb);
    static Return<void> _hidl_getEnrollRecord(IInterface* _hidl_this,
                                              HidlInstrumentor* _hidl_this_instrumentor,
                                              const ::android::hardware::hidl_string& key,
                                              getEnrollRecord_cb _hidl_cb);
    static Return<void> _hidl_getDebugData(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           const ::android::hardware::hidl_string& key,
                                           getDebugData_cb _hidl_cb);
    static Return<int8_t> _hidl_isIvvEnabled(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_enableIvv(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_disableIvv(IInterface* _hidl_this,
                                            HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_processRequest(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor,
                                             const ::android::hardware::hidl_vec<uint8_t>& data,
                                             processRequest_cb _hidl_cb);
    static Return<void> _hidl_getMfgValue(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          uint16_t fieldId, getMfgValue_cb _hidl_cb);
    static Return<int32_t> _hidl_retrieveDebugData(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback);
    static Return<int32_t> _hidl_pauseEnrollment(IInterface* _hidl_this,
                                                 HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_resumeEnrollment(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_setConfigValue(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor,
                                             const ::android::hardware::hidl_string& key,
                                             const ::android::hardware::hidl_string& value);
    static Return<void> _hidl_getConfigValue(IInterface* _hidl_this,
                                             HidlInstrumentor* _hidl_this_instrumentor,
                                             const ::android::hardware::hidl_string& key,
                                             getConfigValue_cb _hidl_cb);
    static Return<int32_t> _hidl_enableFingerDetect(IInterface* _hidl_this,
                                                    HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_disableFingerDetect(IInterface* _hidl_this,
                                                     HidlInstrumentor* _hidl_this_instrumentor);
    static Return<int32_t> _hidl_skipFingerDetect(IInterface* _hidl_this,
                                                  HidlInstrumentor* _hidl_this_instrumentor);

    Return<int32_t> testInit() override { return _hidl_testInit(this, this); }
    Return<int32_t> testDeinit() override { return _hidl_testDeinit(this, this); }
    Return<void> testParamGet(int32_t paramId, testParamGet_cb _hidl_cb) override {
        return _hidl_testParamGet(this, this, paramId, _hidl_cb);
    }
    Return<void> testParamSet(int32_t paramId,
                              const ::android::hardware::hidl_string& value) override {
        return _hidl_testParamSet(this, this, paramId, value);
    }
    Return<void> testImageQuality(testImageQuality_cb _hidl_cb) override {
        return _hidl_testImageQuality(this, this, _hidl_cb);
    }
    Return<void> psfCalibraton(psfCalibraton_cb _hidl_cb) override {
        return _hidl_psfCalibraton(this, this, _hidl_cb);
    }
    Return<void> calibratePsfSettings(calibratePsfSettings_cb _hidl_cb) override {
        return _hidl_calibratePsfSettings(this, this, _hidl_cb);
    }
    Return<void> runPsfVerification(runPsfVerification_cb _hidl_cb) override {
        return _hidl_runPsfVerification(this, this, _hidl_cb);
    }
    Return<void> testDigital(testDigital_cb _hidl_cb) override {
        return _hidl_testDigital(this, this, _hidl_cb);
    }
    Return<int32_t> bgeCalibration() override { return _hidl_bgeCalibration(this, this); }
    Return<void> testTemperature(testTemperature_cb _hidl_cb) override {
        return _hidl_testTemperature(this, this, _hidl_cb);
    }
    Return<void> testContactResistance(testContactResistance_cb _hidl_cb) override {
        return _hidl_testContactResistance(this, this, _hidl_cb);
    }
    Return<void> captouchCalibration(captouchCalibration_cb _hidl_cb) override {
        return _hidl_captouchCalibration(this, this, _hidl_cb);
    }
    Return<int32_t> runBoostRegulation() override { return _hidl_runBoostRegulation(this, this); }
    Return<void> testTft(testTft_cb _hidl_cb) override {
        return _hidl_testTft(this, this, _hidl_cb);
    }
    Return<void> testRx(testRx_cb _hidl_cb) override { return _hidl_testRx(this, this, _hidl_cb); }
    Return<void> testTx(testTx_cb _hidl_cb) override { return _hidl_testTx(this, this, _hidl_cb); }
    Return<int32_t> bgeBinsExpiration(int32_t value) override {
        return _hidl_bgeBinsExpiration(this, this, value);
    }
    Return<void> dbiasCalibration(dbiasCalibration_cb _hidl_cb) override {
        return _hidl_dbiasCalibration(this, this, _hidl_cb);
    }
    Return<void> testNoise(testNoise_cb _hidl_cb) override {
        return _hidl_testNoise(this, this, _hidl_cb);
    }
    Return<void> readInfo(readInfo_cb _hidl_cb) override {
        return _hidl_readInfo(this, this, _hidl_cb);
    }
    Return<int32_t> getPingResult() override { return _hidl_getPingResult(this, this); }
    Return<int32_t> sendPingCmd() override { return _hidl_sendPingCmd(this, this); }
    Return<int32_t> writeCalibration() override { return _hidl_writeCalibration(this, this); }
    Return<void> calibrationGet(const ::android::hardware::hidl_string& key,
                                calibrationGet_cb _hidl_cb) override {
        return _hidl_calibrationGet(this, this, key, _hidl_cb);
    }
    Return<void> calibrationSet(const ::android::hardware::hidl_string& key,
                                const ::android::hardware::hidl_string& value) override {
        return _hidl_calibrationSet(this, this, key, value);
    }
    Return<int32_t> toggleDumpStream(int32_t value) override {
        return _hidl_toggleDumpStream(this, this, value);
    }
    Return<int32_t> powerTest() override { return _hidl_powerTest(this, this); }
    Return<void> getOtpValue(getOtpValue_cb _hidl_cb) override {
        return _hidl_getOtpValue(this, this, _hidl_cb);
    }
    Return<int32_t> isFingerprintEnabled() override {
        return _hidl_isFingerprintEnabled(this, this);
    }
    Return<int32_t> notifyPowerState(int32_t value) override {
        return _hidl_notifyPowerState(this, this, value);
    }
    Return<int32_t> postEvent(const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return _hidl_postEvent(this, this, data);
    }
    Return<int32_t> notifyAlarm() override { return _hidl_notifyAlarm(this, this); }
    Return<int32_t> registerAndroidServices(
            const ::android::sp<IDaxAndroidServices>& services) override {
        return _hidl_registerAndroidServices(this, this, services);
    }
    Return<int32_t> match(const ::android::sp<IZuvExtendedFingerprintCallback>& callback,
                          int32_t intArg1, const ::android::hardware::hidl_string& strArg1,
                          const ::android::hardware::hidl_vec<uint8_t>& data,
                          const ::android::hardware::hidl_string& strArg2,
                          int32_t intArg2) override {
        return _hidl_match(this, this, callback, intArg1, strArg1, data, strArg2, intArg2);
    }
    Return<int32_t> cancel() override { return _hidl_cancel(this, this); }
    Return<void> retrieveUser(uint64_t value, retrieveUser_cb _hidl_cb) override {
        return _hidl_retrieveUser(this, this, value, _hidl_cb);
    }
    Return<int32_t> enableFingerEvent(int32_t value) override {
        return _hidl_enableFingerEvent(this, this, value);
    }
    Return<int32_t> disableFingerEvent() override { return _hidl_disableFingerEvent(this, this); }
    Return<int32_t> setLivenessEnabled(const ::android::hardware::hidl_vec<uint8_t>& data,
                                       uint8_t enabled) override {
        return _hidl_setLivenessEnabled(this, this, data, enabled);
    }
    Return<uint8_t> getLivenessEnabled(
            const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return _hidl_getLivenessEnabled(this, this, data);
    }
    Return<int32_t> startCapture(const ::android::sp<IZuvExtendedFingerprintCallback>& callback,
                                 int32_t value) override {
        return _hidl_startCapture(this, this, callback, value);
    }
    Return<void> getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) override {
        return _hidl_getFrameworkInfo(this, this, _hidl_cb);
    }
    Return<void> enumEnrollments(enumEnrollments_cb _hidl_cb) override {
        return _hidl_enumEnrollments(this, this, _hidl_cb);
    }
    Return<void> getEnrollRecord(const ::android::hardware::hidl_string& key,
                                 getEnrollRecord_cb _hidl_cb) override {
        return _hidl_getEnrollRecord(this, this, key, _hidl_cb);
    }
    Return<void> getDebugData(const ::android::hardware::hidl_string& key,
                              getDebugData_cb _hidl_cb) override {
        return _hidl_getDebugData(this, this, key, _hidl_cb);
    }
    Return<int8_t> isIvvEnabled() override { return _hidl_isIvvEnabled(this, this); }
    Return<int32_t> enableIvv() override { return _hidl_enableIvv(this, this); }
    Return<int32_t> disableIvv() override { return _hidl_disableIvv(this, this); }
    Return<void> processRequest(const ::android::hardware::hidl_vec<uint8_t>& data,
                                processRequest_cb _hidl_cb) override {
        return _hidl_processRequest(this, this, data, _hidl_cb);
    }
    Return<void> getMfgValue(uint16_t fieldId, getMfgValue_cb _hidl_cb) override {
        return _hidl_getMfgValue(this, this, fieldId, _hidl_cb);
    }
    Return<int32_t> retrieveDebugData(
            const ::android::sp<IZuvExtendedFingerprintCallback>& callback) override {
        return _hidl_retrieveDebugData(this, this, callback);
    }
    Return<int32_t> pauseEnrollment() override { return _hidl_pauseEnrollment(this, this); }
    Return<int32_t> resumeEnrollment() override { return _hidl_resumeEnrollment(this, this); }
    Return<void> setConfigValue(const ::android::hardware::hidl_string& key,
                                const ::android::hardware::hidl_string& value) override {
        return _hidl_setConfigValue(this, this, key, value);
    }
    Return<void> getConfigValue(const ::android::hardware::hidl_string& key,
                                getConfigValue_cb _hidl_cb) override {
        return _hidl_getConfigValue(this, this, key, _hidl_cb);
    }
    Return<int32_t> enableFingerDetect() override { return _hidl_enableFingerDetect(this, this); }
    Return<int32_t> disableFingerDetect() override { return _hidl_disableFingerDetect(this, this); }
    Return<int32_t> skipFingerDetect() override { return _hidl_skipFingerDetect(this, this); }
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
