// Server stub of IZuvExtendedFingerprintCallback: the binder object published for a local
// implementation; it reads each request, calls the implementation and
// writes the reply.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/StubFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BnHwZuvExtendedFingerprintCallback
    : public details::StubFrame<IZuvExtendedFingerprintCallback> {
    using BnHwBase = ::android::hidl::base::V1_0::BnHwBase;
    using Parcel = ::android::hardware::Parcel;

  public:
    explicit BnHwZuvExtendedFingerprintCallback(
            const ::android::sp<IZuvExtendedFingerprintCallback>& _hidl_impl);
    ~BnHwZuvExtendedFingerprintCallback() override;

    // One handler per operation, in code order.
    static ::android::status_t _hidl_onMatch(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onError(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onStatus(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onEnroll(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onRemove(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                              Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onEnumerate(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                 Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onRemoveUser(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                                  Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onCaptureDebugData(BnHwBase* _hidl_this,
                                                        const Parcel& _hidl_data,
                                                        Parcel* _hidl_reply,
                                                        TransactCallback _hidl_cb);
    static ::android::status_t _hidl_onCapture(BnHwBase* _hidl_this, const Parcel& _hidl_data,
                                               Parcel* _hidl_reply, TransactCallback _hidl_cb);
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
