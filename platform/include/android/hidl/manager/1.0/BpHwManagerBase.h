// What the two manager proxies share: the remote binder, the instrumentation,
// the base operations sent as BpHwBase sends them, and the death-recipient
// bookkeeping. Defined once in the platform library for both interfaces.
#pragma once

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
namespace details {

template <typename IType>
class BpHwManagerBase : public ::android::hardware::BpInterface<IType>,
                        public ::android::hardware::details::HidlInstrumentor {
  public:
    BpHwManagerBase(const ::android::sp<::android::hardware::IBinder>& impl, const char* package,
                    const char* interfaceName);

    bool isRemote() const override { return true; }

    ::android::hardware::Return<void> interfaceChain(
            typename IType::interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> interfaceDescriptor(
            typename IType::interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(
            typename IType::getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(
            typename IType::getDebugInfo_cb _hidl_cb) override;
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

}  // namespace details
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
