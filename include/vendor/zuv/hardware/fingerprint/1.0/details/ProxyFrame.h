// What every client proxy of the package shares, whatever its interface: the
// remote binder, the instrumentation, the base operations sent as the
// platform's transactions, and the death-recipient bookkeeping.
#pragma once

#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/ProcessState.h>
#include <utils/StrongPointer.h>

#include <mutex>
#include <vector>

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
    using BinderDeathRecipient = ::android::hardware::hidl_binder_death_recipient;

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

    // Every attempt is remembered, even one the remote refused, so a later
    // unlink finds it.
    Return<bool> linkToDeath(const ::android::sp<DeathRecipient>& recipient,
                             uint64_t cookie) override {
        // Death notices arrive on the binder threads.
        ::android::hardware::ProcessState::self()->startThreadPool();
        ::android::sp<BinderDeathRecipient> binderRecipient =
                new BinderDeathRecipient(recipient, cookie, this);
        std::unique_lock<std::mutex> lock(mDeathRecipientsMutex);
        mDeathRecipients.push_back(binderRecipient);
        return this->remote()->linkToDeath(binderRecipient, nullptr, 0) == ::android::OK;
    }

    // Removes the most recent registration of recipient.
    Return<bool> unlinkToDeath(const ::android::sp<DeathRecipient>& recipient) override {
        std::unique_lock<std::mutex> lock(mDeathRecipientsMutex);
        for (auto it = mDeathRecipients.rbegin(); it != mDeathRecipients.rend(); ++it) {
            if ((*it)->getRecipient().unsafe_get() == recipient.get()) {
                ::android::status_t status =
                        this->remote()->unlinkToDeath(*it, nullptr, 0, nullptr);
                mDeathRecipients.erase(std::next(it).base());
                return status == ::android::OK;
            }
        }
        return false;
    }

    void onLastStrongRef(const void* id) override {
        {
            std::unique_lock<std::mutex> lock(mDeathRecipientsMutex);
            while (!mDeathRecipients.empty()) mDeathRecipients.pop_back();
        }
        ::android::hardware::BpHwRefBase::onLastStrongRef(id);
    }

  private:
    std::mutex mDeathRecipientsMutex;
    std::vector<::android::sp<BinderDeathRecipient>> mDeathRecipients;
};

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
