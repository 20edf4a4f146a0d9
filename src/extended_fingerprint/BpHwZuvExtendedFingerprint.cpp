// Client proxy of IZuvExtendedFingerprint: every procedure is the frame's client call for its
// operation.
#include <hidl_host/frame/ClientCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>

#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = extended_fingerprint_methods;
using ::android::hardware::IInterface;
using ::android::hardware::Return;
using ::android::hardware::details::HidlInstrumentor;
using frame::Client;

BpHwZuvExtendedFingerprint::BpHwZuvExtendedFingerprint(
        const ::android::sp<::android::hardware::IBinder>& _hidl_impl)
    : details::ProxyFrame<IZuvExtendedFingerprint>(
              _hidl_impl, frame::kPackageFqName,
              frame::InterfaceInfo<IZuvExtendedFingerprint>::kShortName) {}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_testInit(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::testInit>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_testDeinit(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::testDeinit>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testParamGet(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t paramId,
        testParamGet_cb _hidl_cb) {
    return Client<m::testParamGet>::call(_hidl_this, _hidl_this_instrumentor, paramId, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testParamSet(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t paramId,
        const ::android::hardware::hidl_string& value) {
    return Client<m::testParamSet>::call(_hidl_this, _hidl_this_instrumentor, paramId, value);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testImageQuality(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        testImageQuality_cb _hidl_cb) {
    return Client<m::testImageQuality>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_psfCalibraton(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        psfCalibraton_cb _hidl_cb) {
    return Client<m::psfCalibraton>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_calibratePsfSettings(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        calibratePsfSettings_cb _hidl_cb) {
    return Client<m::calibratePsfSettings>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_runPsfVerification(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        runPsfVerification_cb _hidl_cb) {
    return Client<m::runPsfVerification>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testDigital(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        testDigital_cb _hidl_cb) {
    return Client<m::testDigital>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_bgeCalibration(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::bgeCalibration>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testTemperature(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        testTemperature_cb _hidl_cb) {
    return Client<m::testTemperature>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testContactResistance(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        testContactResistance_cb _hidl_cb) {
    return Client<m::testContactResistance>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_captouchCalibration(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        captouchCalibration_cb _hidl_cb) {
    return Client<m::captouchCalibration>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_runBoostRegulation(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::runBoostRegulation>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testTft(IInterface* _hidl_this,
                                                       HidlInstrumentor* _hidl_this_instrumentor,
                                                       testTft_cb _hidl_cb) {
    return Client<m::testTft>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testRx(IInterface* _hidl_this,
                                                      HidlInstrumentor* _hidl_this_instrumentor,
                                                      testRx_cb _hidl_cb) {
    return Client<m::testRx>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testTx(IInterface* _hidl_this,
                                                      HidlInstrumentor* _hidl_this_instrumentor,
                                                      testTx_cb _hidl_cb) {
    return Client<m::testTx>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_bgeBinsExpiration(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value) {
    return Client<m::bgeBinsExpiration>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_dbiasCalibration(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        dbiasCalibration_cb _hidl_cb) {
    return Client<m::dbiasCalibration>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_testNoise(IInterface* _hidl_this,
                                                         HidlInstrumentor* _hidl_this_instrumentor,
                                                         testNoise_cb _hidl_cb) {
    return Client<m::testNoise>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_readInfo(IInterface* _hidl_this,
                                                        HidlInstrumentor* _hidl_this_instrumentor,
                                                        readInfo_cb _hidl_cb) {
    return Client<m::readInfo>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_getPingResult(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::getPingResult>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_sendPingCmd(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::sendPingCmd>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_writeCalibration(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::writeCalibration>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_calibrationGet(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key, calibrationGet_cb _hidl_cb) {
    return Client<m::calibrationGet>::call(_hidl_this, _hidl_this_instrumentor, key, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_calibrationSet(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key,
        const ::android::hardware::hidl_string& value) {
    return Client<m::calibrationSet>::call(_hidl_this, _hidl_this_instrumentor, key, value);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_toggleDumpStream(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value) {
    return Client<m::toggleDumpStream>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_powerTest(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::powerTest>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getOtpValue(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        getOtpValue_cb _hidl_cb) {
    return Client<m::getOtpValue>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_isFingerprintEnabled(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::isFingerprintEnabled>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_notifyPowerState(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value) {
    return Client<m::notifyPowerState>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_postEvent(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_vec<uint8_t>& data) {
    return Client<m::postEvent>::call(_hidl_this, _hidl_this_instrumentor, data);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_notifyAlarm(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::notifyAlarm>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_registerAndroidServices(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::sp<IDaxAndroidServices>& services) {
    return Client<m::registerAndroidServices>::call(_hidl_this, _hidl_this_instrumentor, services);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_match(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t intArg1,
        const ::android::hardware::hidl_string& strArg1,
        const ::android::hardware::hidl_vec<uint8_t>& data,
        const ::android::hardware::hidl_string& strArg2, int32_t intArg2) {
    return Client<m::match>::call(_hidl_this, _hidl_this_instrumentor, callback, intArg1, strArg1,
                                  data, strArg2, intArg2);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_cancel(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::cancel>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_retrieveUser(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, uint64_t value,
        retrieveUser_cb _hidl_cb) {
    return Client<m::retrieveUser>::call(_hidl_this, _hidl_this_instrumentor, value, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_enableFingerEvent(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value) {
    return Client<m::enableFingerEvent>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_disableFingerEvent(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::disableFingerEvent>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_setLivenessEnabled(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_vec<uint8_t>& data, uint8_t enabled) {
    return Client<m::setLivenessEnabled>::call(_hidl_this, _hidl_this_instrumentor, data, enabled);
}

Return<uint8_t> BpHwZuvExtendedFingerprint::_hidl_getLivenessEnabled(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_vec<uint8_t>& data) {
    return Client<m::getLivenessEnabled>::call(_hidl_this, _hidl_this_instrumentor, data);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_startCapture(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::sp<IZuvExtendedFingerprintCallback>& callback, int32_t value) {
    return Client<m::startCapture>::call(_hidl_this, _hidl_this_instrumentor, callback, value);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getFrameworkInfo(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        getFrameworkInfo_cb _hidl_cb) {
    return Client<m::getFrameworkInfo>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_enumEnrollments(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        enumEnrollments_cb _hidl_cb) {
    return Client<m::enumEnrollments>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getEnrollRecord(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key, getEnrollRecord_cb _hidl_cb) {
    return Client<m::getEnrollRecord>::call(_hidl_this, _hidl_this_instrumentor, key, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getDebugData(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key, getDebugData_cb _hidl_cb) {
    return Client<m::getDebugData>::call(_hidl_this, _hidl_this_instrumentor, key, _hidl_cb);
}

Return<int8_t> BpHwZuvExtendedFingerprint::_hidl_isIvvEnabled(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::isIvvEnabled>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_enableIvv(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::enableIvv>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_disableIvv(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::disableIvv>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_processRequest(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_vec<uint8_t>& data, processRequest_cb _hidl_cb) {
    return Client<m::processRequest>::call(_hidl_this, _hidl_this_instrumentor, data, _hidl_cb);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getMfgValue(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, uint16_t fieldId,
        getMfgValue_cb _hidl_cb) {
    return Client<m::getMfgValue>::call(_hidl_this, _hidl_this_instrumentor, fieldId, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_retrieveDebugData(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::sp<IZuvExtendedFingerprintCallback>& callback) {
    return Client<m::retrieveDebugData>::call(_hidl_this, _hidl_this_instrumentor, callback);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_pauseEnrollment(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::pauseEnrollment>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_resumeEnrollment(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::resumeEnrollment>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_setConfigValue(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key,
        const ::android::hardware::hidl_string& value) {
    return Client<m::setConfigValue>::call(_hidl_this, _hidl_this_instrumentor, key, value);
}

Return<void> BpHwZuvExtendedFingerprint::_hidl_getConfigValue(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& key, getConfigValue_cb _hidl_cb) {
    return Client<m::getConfigValue>::call(_hidl_this, _hidl_this_instrumentor, key, _hidl_cb);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_enableFingerDetect(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::enableFingerDetect>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_disableFingerDetect(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::disableFingerDetect>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<int32_t> BpHwZuvExtendedFingerprint::_hidl_skipFingerDetect(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::skipFingerDetect>::call(_hidl_this, _hidl_this_instrumentor);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
