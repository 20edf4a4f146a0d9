// Client proxy of the service manager: what defaultServiceManager() answers
// in a process that reaches the service-manager daemon.
#pragma once

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

class BpHwServiceManager : public ::android::hardware::BpInterface<IServiceManager>,
                           public ::android::hardware::details::HidlInstrumentor {
  public:
    explicit BpHwServiceManager(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    using Pure = IServiceManager;

    bool isRemote() const override { return true; }

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

    // The base operations travel as BpHwBase sends them.
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

  protected:
    void onLastStrongRef(const void* id) override;

  private:
    std::mutex _hidl_mMutex;
    std::vector<::android::sp<::android::hardware::hidl_binder_death_recipient>>
            _hidl_mDeathRecipients;
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
