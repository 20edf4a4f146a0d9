// Client proxy of the service manager: what defaultServiceManager() answers
// in a process that reaches the service-manager daemon.
#pragma once

#include <android/hidl/manager/1.0/BpHwManagerBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
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

class BpHwServiceManager : public details::BpHwManagerBase<IServiceManager> {
  public:
    explicit BpHwServiceManager(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    using Pure = IServiceManager;

    ::android::hardware::Return<::android::sp<::android::hidl::base::V1_0::IBase>> get(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) override;
    ::android::hardware::Return<bool> add(
            const ::android::hardware::hidl_string& name,
            const ::android::sp<::android::hidl::base::V1_0::IBase>& service) override;
    ::android::hardware::Return<Transport> getTransport(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) override;
    ::android::hardware::Return<void> list(list_cb _hidl_cb) override;
    ::android::hardware::Return<void> listByInterface(
            const ::android::hardware::hidl_string& fqName, listByInterface_cb _hidl_cb) override;
    ::android::hardware::Return<bool> registerForNotifications(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name,
            const ::android::sp<IServiceNotification>& callback) override;
    ::android::hardware::Return<void> debugDump(debugDump_cb _hidl_cb) override;
    ::android::hardware::Return<void> registerPassthroughClient(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) override;
};

extern template class details::BpHwManagerBase<IServiceManager>;

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
