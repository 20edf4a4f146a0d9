// Server stub of IZuvExtendedFingerprint: the binder object published for a local
// implementation; it reads each request, calls the implementation and
// writes the reply.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/StubFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BnHwZuvExtendedFingerprint : public details::StubFrame<IZuvExtendedFingerprint> {
    using BnHwBase = ::android::hidl::base::V1_0::BnHwBase;
    using Parcel = ::android::hardware::Parcel;

  public:
    explicit BnHwZuvExtendedFingerprint(const ::android::sp<IZuvExtendedFingerprint>& _hidl_impl);
    ~BnHwZuvExtendedFingerprint() override;

    // One handler per operation, in code order.
    static ::android::status_t _hidl_testInit(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testDeinit(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testParamGet(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testParamSet(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testImageQuality(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_psfCalibraton(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                   Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_calibratePsfSettings(BnHwBase* _hidl_this,
                                                          const Parcel& _hidl_data,
                                                          Parcel* _hidl_reply,
                                                          TransactCallback _hidl_cb);
    static ::android::status_t _hidl_runPsfVerification(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testDigital(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_bgeCalibration(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testTemperature(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                     Parcel* _hidl_reply,
                                                     TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testContactResistance(BnHwBase* _hidl_this,
                                                           const Parcel& _hidl_data,
                                                           Parcel* _hidl_reply,
                                                           TransactCallback _hidl_cb);
    static ::android::status_t _hidl_captouchCalibration(BnHwBase* _hidl_this,
                                                         const Parcel& _hidl_data,
                                                         Parcel* _hidl_reply,
                                                         TransactCallback _hidl_cb);
    static ::android::status_t _hidl_runBoostRegulation(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testTft(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testRx(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                            Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testTx(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                            Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_bgeBinsExpiration(BnHwBase* _hidl_this,
                                                       const Parcel& _hidl_data,
                                                       Parcel* _hidl_reply,
                                                       TransactCallback _hidl_cb);
    static ::android::status_t _hidl_dbiasCalibration(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_testNoise(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_readInfo(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getPingResult(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                   Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_sendPingCmd(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_writeCalibration(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_calibrationGet(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_calibrationSet(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_toggleDumpStream(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_powerTest(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getOtpValue(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_isFingerprintEnabled(BnHwBase* _hidl_this,
                                                          const Parcel& _hidl_data,
                                                          Parcel* _hidl_reply,
                                                          TransactCallback _hidl_cb);
    static ::android::status_t _hidl_notifyPowerState(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_postEvent(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_notifyAlarm(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_registerAndroidServices(BnHwBase* _hidl_this,
                                                             const Parcel& _hidl_data,
                                                             Parcel* _hidl_reply,
                                                             TransactCallback _hidl_cb);
    static ::android::status_t _hidl_match(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                           Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_cancel(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                            Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_retrieveUser(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_enableFingerEvent(BnHwBase* _hidl_this,
                                                       const Parcel& _hidl_data,
                                                       Parcel* _hidl_reply,
                                                       TransactCallback _hidl_cb);
    static ::android::status_t _hidl_disableFingerEvent(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_setLivenessEnabled(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getLivenessEnabled(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_startCapture(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getFrameworkInfo(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_enumEnrollments(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                     Parcel* _hidl_reply,
                                                     TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getEnrollRecord(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                     Parcel* _hidl_reply,
                                                     TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getDebugData(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_isIvvEnabled(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_enableIvv(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_disableIvv(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_processRequest(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getMfgValue(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_retrieveDebugData(BnHwBase* _hidl_this,
                                                       const Parcel& _hidl_data,
                                                       Parcel* _hidl_reply,
                                                       TransactCallback _hidl_cb);
    static ::android::status_t _hidl_pauseEnrollment(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                     Parcel* _hidl_reply,
                                                     TransactCallback _hidl_cb);
    static ::android::status_t _hidl_resumeEnrollment(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
    static ::android::status_t _hidl_setConfigValue(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getConfigValue(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                    Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_enableFingerDetect(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_disableFingerDetect(BnHwBase* _hidl_this,
                                                         const Parcel& _hidl_data,
                                                         Parcel* _hidl_reply,
                                                         TransactCallback _hidl_cb);
    static ::android::status_t _hidl_skipFingerDetect(BnHwBase* _hidl_this,
                                                      const Parcel& _hidl_data, Parcel* _hidl_reply,
                                                      TransactCallback _hidl_cb);
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
