// What every client proxy of the package shares, whatever its interface: the
// remote binder, the instrumentation, the base operations sent as the
// platform's transactions, and the platform's death-recipient bookkeeping.
#pragma once

#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hidl_host/frame/ProxyDeaths.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/IInterface.h>
#include <utils/StrongPointer.h>

#include <mutex>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

template <typename IType>
class ProxyFrame : public ::android::hardware::BpInterface<IType>,
                   public ::android::hardware::details::HidlInstrumentor {
    using BpHwBase = ::android::hidl::base::V1_0::BpHwBase;
    using IBase = ::android::hidl::base::V1_0::IBase;
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using DeathRecipient = ::android::hardware::hidl_death_recipient;

  public:
    ProxyFrame(const ::android::sp<::android::hardware::IBinder>& remote, const char* package,
               const char* interfaceName)
        : ::android::hardware::BpInterface<IType>(remote),
          ::android::hardware::details::HidlInstrumentor(package, interfaceName) {}

    bool isRemote() const override { return true; }

    Return<void> interfaceChain(typename IBase::interfaceChain_cb _hidl_cb) override {
        return BpHwBase::_hidl_interfaceChain(this, this, _hidl_cb);
    }
    Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override {
        return BpHwBase::_hidl_debug(this, this, fd, options);
    }
    Return<void> interfaceDescriptor(typename IBase::interfaceDescriptor_cb _hidl_cb) override {
        return BpHwBase::_hidl_interfaceDescriptor(this, this, _hidl_cb);
    }
    Return<void> getHashChain(typename IBase::getHashChain_cb _hidl_cb) override {
        return BpHwBase::_hidl_getHashChain(this, this, _hidl_cb);
    }
    Return<void> setHALInstrumentation() override {
        return BpHwBase::_hidl_setHALInstrumentation(this, this);
    }
    Return<void> ping() override { return BpHwBase::_hidl_ping(this, this); }
    Return<void> getDebugInfo(typename IBase::getDebugInfo_cb _hidl_cb) override {
        return BpHwBase::_hidl_getDebugInfo(this, this, _hidl_cb);
    }
    Return<void> notifySyspropsChanged() override {
        return BpHwBase::_hidl_notifySyspropsChanged(this, this);
    }

    // The platform's bookkeeping, as every proxy keeps it.
    Return<bool> linkToDeath(const ::android::sp<DeathRecipient>& recipient,
                             uint64_t cookie) override {
        return ::android::hardware::frame::linkProxyToDeath(
                this, this->remote(), recipient, cookie, &mDeathRecipientsMutex, &mDeathRecipients);
    }
    Return<bool> unlinkToDeath(const ::android::sp<DeathRecipient>& recipient) override {
        return ::android::hardware::frame::unlinkProxyFromDeath(
                this->remote(), recipient, &mDeathRecipientsMutex, &mDeathRecipients);
    }
    void onLastStrongRef(const void* id) override {
        ::android::hardware::frame::dropDeathRecipients(&mDeathRecipientsMutex, &mDeathRecipients);
        ::android::hardware::BpHwRefBase::onLastStrongRef(id);
    }

  private:
    std::mutex mDeathRecipientsMutex;
    ::android::hardware::frame::DeathRecipients mDeathRecipients;
};

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
