// Server stub of the service manager: what the service-manager daemon
// publishes as the context object.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hwbinder/Parcel.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

struct BnHwServiceManager : public ::android::hidl::base::V1_0::BnHwBase {
    explicit BnHwServiceManager(const ::android::sp<IServiceManager>& _hidl_impl);

    using Pure = IServiceManager;

    // The manager's own codes; BAD_TYPE for a wrong interface token. The base
    // operations go to BnHwBase.
    ::android::status_t onTransact(uint32_t _hidl_code,
                                   const ::android::hardware::Parcel& _hidl_data,
                                   ::android::hardware::Parcel* _hidl_reply,
                                   uint32_t _hidl_flags = 0,
                                   TransactCallback _hidl_cb = nullptr) override;

    ::android::sp<IServiceManager> getImpl() { return _hidl_mImpl; }
    ::android::sp<IServiceManager> getImplAs() const { return _hidl_mImpl; }

  private:
    ::android::sp<IServiceManager> _hidl_mImpl;
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
