// Passthrough wrapper of IZuvExtendedFingerprint: every operation is the frame's
// passthrough call for it.
#include <hidl_host/frame/PassthroughCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprint.h>

#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "frame/Interfaces.h"
#include "frame/PackageIdentity.h"

template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IZuvExtendedFingerprint>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = extended_fingerprint_methods;
using ::android::hardware::Return;

BsZuvExtendedFingerprint::BsZuvExtendedFingerprint(sp<IZuvExtendedFingerprint> _hidl_impl)
    : details::PassthroughFrame<IZuvExtendedFingerprint>(
              std::move(_hidl_impl), frame::kPackageFqName,
              frame::InterfaceInfo<IZuvExtendedFingerprint>::kShortName) {}

BsZuvExtendedFingerprint::~BsZuvExtendedFingerprint() = default;

Return<int32_t> BsZuvExtendedFingerprint::testInit() {
    return frame::passthrough<m::testInit>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::testDeinit() {
    return frame::passthrough<m::testDeinit>(this);
}

Return<void> BsZuvExtendedFingerprint::testParamGet(int32_t paramId, testParamGet_cb _hidl_cb) {
    return frame::passthrough<m::testParamGet>(this, paramId, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testParamSet(int32_t paramId, const hidl_string& value) {
    return frame::passthrough<m::testParamSet>(this, paramId, value);
}

Return<void> BsZuvExtendedFingerprint::testImageQuality(testImageQuality_cb _hidl_cb) {
    return frame::passthrough<m::testImageQuality>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::psfCalibraton(psfCalibraton_cb _hidl_cb) {
    return frame::passthrough<m::psfCalibraton>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::calibratePsfSettings(calibratePsfSettings_cb _hidl_cb) {
    return frame::passthrough<m::calibratePsfSettings>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::runPsfVerification(runPsfVerification_cb _hidl_cb) {
    return frame::passthrough<m::runPsfVerification>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testDigital(testDigital_cb _hidl_cb) {
    return frame::passthrough<m::testDigital>(this, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::bgeCalibration() {
    return frame::passthrough<m::bgeCalibration>(this);
}

Return<void> BsZuvExtendedFingerprint::testTemperature(testTemperature_cb _hidl_cb) {
    return frame::passthrough<m::testTemperature>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testContactResistance(testContactResistance_cb _hidl_cb) {
    return frame::passthrough<m::testContactResistance>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::captouchCalibration(captouchCalibration_cb _hidl_cb) {
    return frame::passthrough<m::captouchCalibration>(this, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::runBoostRegulation() {
    return frame::passthrough<m::runBoostRegulation>(this);
}

Return<void> BsZuvExtendedFingerprint::testTft(testTft_cb _hidl_cb) {
    return frame::passthrough<m::testTft>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testRx(testRx_cb _hidl_cb) {
    return frame::passthrough<m::testRx>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testTx(testTx_cb _hidl_cb) {
    return frame::passthrough<m::testTx>(this, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::bgeBinsExpiration(int32_t value) {
    return frame::passthrough<m::bgeBinsExpiration>(this, value);
}

Return<void> BsZuvExtendedFingerprint::dbiasCalibration(dbiasCalibration_cb _hidl_cb) {
    return frame::passthrough<m::dbiasCalibration>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::testNoise(testNoise_cb _hidl_cb) {
    return frame::passthrough<m::testNoise>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::readInfo(readInfo_cb _hidl_cb) {
    return frame::passthrough<m::readInfo>(this, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::getPingResult() {
    return frame::passthrough<m::getPingResult>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::sendPingCmd() {
    return frame::passthrough<m::sendPingCmd>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::writeCalibration() {
    return frame::passthrough<m::writeCalibration>(this);
}

Return<void> BsZuvExtendedFingerprint::calibrationGet(const hidl_string& key,
                                                      calibrationGet_cb _hidl_cb) {
    return frame::passthrough<m::calibrationGet>(this, key, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::calibrationSet(const hidl_string& key,
                                                      const hidl_string& value) {
    return frame::passthrough<m::calibrationSet>(this, key, value);
}

Return<int32_t> BsZuvExtendedFingerprint::toggleDumpStream(int32_t value) {
    return frame::passthrough<m::toggleDumpStream>(this, value);
}

Return<int32_t> BsZuvExtendedFingerprint::powerTest() {
    return frame::passthrough<m::powerTest>(this);
}

Return<void> BsZuvExtendedFingerprint::getOtpValue(getOtpValue_cb _hidl_cb) {
    return frame::passthrough<m::getOtpValue>(this, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::isFingerprintEnabled() {
    return frame::passthrough<m::isFingerprintEnabled>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::notifyPowerState(int32_t value) {
    return frame::passthrough<m::notifyPowerState>(this, value);
}

Return<int32_t> BsZuvExtendedFingerprint::postEvent(const hidl_vec<uint8_t>& data) {
    return frame::passthrough<m::postEvent>(this, data);
}

Return<int32_t> BsZuvExtendedFingerprint::notifyAlarm() {
    return frame::passthrough<m::notifyAlarm>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::registerAndroidServices(
        const sp<IDaxAndroidServices>& services) {
    return frame::passthrough<m::registerAndroidServices>(this, services);
}

Return<int32_t> BsZuvExtendedFingerprint::match(const sp<IZuvExtendedFingerprintCallback>& callback,
                                                int32_t intArg1, const hidl_string& strArg1,
                                                const hidl_vec<uint8_t>& data,
                                                const hidl_string& strArg2, int32_t intArg2) {
    return frame::passthrough<m::match>(this, callback, intArg1, strArg1, data, strArg2, intArg2);
}

Return<int32_t> BsZuvExtendedFingerprint::cancel() {
    return frame::passthrough<m::cancel>(this);
}

Return<void> BsZuvExtendedFingerprint::retrieveUser(uint64_t value, retrieveUser_cb _hidl_cb) {
    return frame::passthrough<m::retrieveUser>(this, value, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::enableFingerEvent(int32_t value) {
    return frame::passthrough<m::enableFingerEvent>(this, value);
}

Return<int32_t> BsZuvExtendedFingerprint::disableFingerEvent() {
    return frame::passthrough<m::disableFingerEvent>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::setLivenessEnabled(const hidl_vec<uint8_t>& data,
                                                             uint8_t enabled) {
    return frame::passthrough<m::setLivenessEnabled>(this, data, enabled);
}

Return<uint8_t> BsZuvExtendedFingerprint::getLivenessEnabled(const hidl_vec<uint8_t>& data) {
    return frame::passthrough<m::getLivenessEnabled>(this, data);
}

Return<int32_t> BsZuvExtendedFingerprint::startCapture(
        const sp<IZuvExtendedFingerprintCallback>& callback, int32_t value) {
    return frame::passthrough<m::startCapture>(this, callback, value);
}

Return<void> BsZuvExtendedFingerprint::getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) {
    return frame::passthrough<m::getFrameworkInfo>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::enumEnrollments(enumEnrollments_cb _hidl_cb) {
    return frame::passthrough<m::enumEnrollments>(this, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::getEnrollRecord(const hidl_string& key,
                                                       getEnrollRecord_cb _hidl_cb) {
    return frame::passthrough<m::getEnrollRecord>(this, key, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::getDebugData(const hidl_string& key,
                                                    getDebugData_cb _hidl_cb) {
    return frame::passthrough<m::getDebugData>(this, key, _hidl_cb);
}

Return<int8_t> BsZuvExtendedFingerprint::isIvvEnabled() {
    return frame::passthrough<m::isIvvEnabled>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::enableIvv() {
    return frame::passthrough<m::enableIvv>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::disableIvv() {
    return frame::passthrough<m::disableIvv>(this);
}

Return<void> BsZuvExtendedFingerprint::processRequest(const hidl_vec<uint8_t>& data,
                                                      processRequest_cb _hidl_cb) {
    return frame::passthrough<m::processRequest>(this, data, _hidl_cb);
}

Return<void> BsZuvExtendedFingerprint::getMfgValue(uint16_t fieldId, getMfgValue_cb _hidl_cb) {
    return frame::passthrough<m::getMfgValue>(this, fieldId, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::retrieveDebugData(
        const sp<IZuvExtendedFingerprintCallback>& callback) {
    return frame::passthrough<m::retrieveDebugData>(this, callback);
}

Return<int32_t> BsZuvExtendedFingerprint::pauseEnrollment() {
    return frame::passthrough<m::pauseEnrollment>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::resumeEnrollment() {
    return frame::passthrough<m::resumeEnrollment>(this);
}

Return<void> BsZuvExtendedFingerprint::setConfigValue(const hidl_string& key,
                                                      const hidl_string& value) {
    return frame::passthrough<m::setConfigValue>(this, key, value);
}

Return<void> BsZuvExtendedFingerprint::getConfigValue(const hidl_string& key,
                                                      getConfigValue_cb _hidl_cb) {
    return frame::passthrough<m::getConfigValue>(this, key, _hidl_cb);
}

Return<int32_t> BsZuvExtendedFingerprint::enableFingerDetect() {
    return frame::passthrough<m::enableFingerDetect>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::disableFingerDetect() {
    return frame::passthrough<m::disableFingerDetect>(this);
}

Return<int32_t> BsZuvExtendedFingerprint::skipFingerDetect() {
    return frame::passthrough<m::skipFingerDetect>(this);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
