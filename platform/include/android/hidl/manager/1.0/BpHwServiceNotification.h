// Client proxy of a registration listener: how the service-manager daemon
// reaches a listener in another process.
#pragma once

#include <android/hidl/manager/1.0/BpHwManagerBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlInstrumentor.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/IInterface.h>

#include <mutex>
#include <vector>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

class BpHwServiceNotification : public details::BpHwManagerBase<IServiceNotification> {
  public:
    explicit BpHwServiceNotification(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    using Pure = IServiceNotification;

    // Oneway: a slow or stuck listener never holds up a registration.
    ::android::hardware::Return<void> onRegistration(const ::android::hardware::hidl_string& fqName,
                                                     const ::android::hardware::hidl_string& name,
                                                     bool preexisting) override;
};

extern template class details::BpHwManagerBase<IServiceNotification>;

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
