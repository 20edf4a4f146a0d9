// Client proxy of the base interface. Its static _hidl_<op> procedures send
// the base operations over a remote binder; every interface's proxy uses them
// for its inherited operations.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/IInterface.h>

#include <mutex>
#include <vector>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

class BpHwBase : public ::android::hardware::BpInterface<IBase>,
                 public ::android::hardware::details::HidlInstrumentor {
  public:
    explicit BpHwBase(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    using Pure = IBase;

    bool isRemote() const override { return true; }

    // Transaction procedures. _hidl_this supplies the binder (through
    // IInterface::asBinder), _hidl_this_instrumentor the instrumentation
    // settings; the token sent is IBase::descriptor.
    static ::android::hardware::Return<void> _hidl_interfaceChain(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor,
            IBase::interfaceChain_cb _hidl_cb);
    static ::android::hardware::Return<void> _hidl_debug(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::hardware::hidl_handle& fd,
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options);
    static ::android::hardware::Return<void> _hidl_interfaceDescriptor(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor,
            IBase::interfaceDescriptor_cb _hidl_cb);
    static ::android::hardware::Return<void> _hidl_getHashChain(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor,
            IBase::getHashChain_cb _hidl_cb);
    // Oneway.
    static ::android::hardware::Return<void> _hidl_setHALInstrumentation(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor);
    static ::android::hardware::Return<void> _hidl_ping(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor);
    static ::android::hardware::Return<void> _hidl_getDebugInfo(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor,
            IBase::getDebugInfo_cb _hidl_cb);
    // Oneway.
    static ::android::hardware::Return<void> _hidl_notifySyspropsChanged(
            ::android::hardware::IInterface* _hidl_this,
            ::android::hardware::details::HidlInstrumentor* _hidl_this_instrumentor);

    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> setHALInstrumentation() override;
    // The recipient is told once when the remote object dies. The wrapper is
    // kept in the proxy's list even when the remote link fails.
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<void> notifySyspropsChanged() override;
    // Removes the most recent registration of recipient.
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
}  // namespace base
}  // namespace hidl
}  // namespace android
