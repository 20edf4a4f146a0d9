// Server stub of IDaxAndroidServices: the binder object published for a local
// implementation; it reads each request, calls the implementation and
// writes the reply.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/StubFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BnHwDaxAndroidServices : public details::StubFrame<IDaxAndroidServices> {
    using BnHwBase = ::android::hidl::base::V1_0::BnHwBase;
    using Parcel = ::android::hardware::Parcel;

  public:
    explicit BnHwDaxAndroidServices(const ::android::sp<IDaxAndroidServices>& _hidl_impl);
    ~BnHwDaxAndroidServices() override;

    // One handler per operation, in code order.
    static ::android::status_t _hidl_setTimer(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_setWakelock(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_checkRequestingAppType(BnHwBase* _hidl_this,
                                                            const Parcel& _hidl_data,
                                                            Parcel* _hidl_reply,
                                                            TransactCallback _hidl_cb);
    static ::android::status_t _hidl_showLivenessAlert(BnHwBase* _hidl_this,
                                                       const Parcel& _hidl_data,
                                                       Parcel* _hidl_reply,
                                                       TransactCallback _hidl_cb);
    static ::android::status_t _hidl_resetLivenessAlert(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
