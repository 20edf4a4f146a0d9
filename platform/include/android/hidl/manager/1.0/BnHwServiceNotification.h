// Server stub of a registration listener: made for a local listener when it
// is handed to the service manager of another process.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hwbinder/Parcel.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

struct BnHwServiceNotification : public ::android::hidl::base::V1_0::BnHwBase {
    explicit BnHwServiceNotification(const ::android::sp<IServiceNotification>& _hidl_impl);

    using Pure = IServiceNotification;

    ::android::status_t onTransact(uint32_t _hidl_code,
                                   const ::android::hardware::Parcel& _hidl_data,
                                   ::android::hardware::Parcel* _hidl_reply,
                                   uint32_t _hidl_flags = 0,
                                   TransactCallback _hidl_cb = nullptr) override;

    ::android::sp<IServiceNotification> getImpl() { return _hidl_mImpl; }
    ::android::sp<IServiceNotification> getImplAs() const { return _hidl_mImpl; }

  private:
    ::android::sp<IServiceNotification> _hidl_mImpl;
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
