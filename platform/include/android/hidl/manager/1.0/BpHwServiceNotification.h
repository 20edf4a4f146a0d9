// Client proxy of a registration listener: how the service-manager daemon
// reaches a listener in another process.
#pragma once

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

class BpHwServiceNotification : public ::android::hardware::BpInterface<IServiceNotification>,
                                public ::android::hardware::details::HidlInstrumentor {
  public:
    explicit BpHwServiceNotification(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    using Pure = IServiceNotification;

    bool isRemote() const override { return true; }

    // Oneway: a slow or stuck listener never holds up a registration.
    ::android::hardware::Return<void> onRegistration(const ::android::hardware::hidl_string& fqName,
                                                     const ::android::hardware::hidl_string& name,
                                                     bool preexisting) override;

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
