#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BpHwManagerBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hwbinder/ProcessState.h>

#include <iterator>
#include <utility>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace details {

using ::android::hardware::hidl_binder_death_recipient;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::BpHwBase;

template <typename IType>
BpHwManagerBase<IType>::BpHwManagerBase(const sp<::android::hardware::IBinder>& impl,
                                        const char* package, const char* interfaceName)
    : ::android::hardware::BpInterface<IType>(impl),
      ::android::hardware::details::HidlInstrumentor(package, interfaceName) {}

template <typename IType>
Return<void> BpHwManagerBase<IType>::interfaceChain(typename IType::interfaceChain_cb _hidl_cb) {
    return BpHwBase::_hidl_interfaceChain(this, this, std::move(_hidl_cb));
}

template <typename IType>
Return<void> BpHwManagerBase<IType>::interfaceDescriptor(
        typename IType::interfaceDescriptor_cb _hidl_cb) {
    return BpHwBase::_hidl_interfaceDescriptor(this, this, std::move(_hidl_cb));
}

template <typename IType>
Return<void> BpHwManagerBase<IType>::getHashChain(typename IType::getHashChain_cb _hidl_cb) {
    return BpHwBase::_hidl_getHashChain(this, this, std::move(_hidl_cb));
}

template <typename IType>
Return<void> BpHwManagerBase<IType>::ping() {
    return BpHwBase::_hidl_ping(this, this);
}

template <typename IType>
Return<void> BpHwManagerBase<IType>::getDebugInfo(typename IType::getDebugInfo_cb _hidl_cb) {
    return BpHwBase::_hidl_getDebugInfo(this, this, std::move(_hidl_cb));
}

template <typename IType>
Return<bool> BpHwManagerBase<IType>::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                                 uint64_t cookie) {
    // Death notices arrive on the pool's threads. The wrapper stays in the
    // list even when the remote link fails.
    ::android::hardware::ProcessState::self()->startThreadPool();
    sp<hidl_binder_death_recipient> wrapper =
            new hidl_binder_death_recipient(recipient, cookie, this);
    std::lock_guard<std::mutex> guard(_hidl_mMutex);
    _hidl_mDeathRecipients.push_back(wrapper);
    return this->remote()->linkToDeath(wrapper, nullptr, 0) == OK;
}

template <typename IType>
Return<bool> BpHwManagerBase<IType>::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    // The most recent registration of the recipient goes.
    std::lock_guard<std::mutex> guard(_hidl_mMutex);
    for (auto it = _hidl_mDeathRecipients.rbegin(); it != _hidl_mDeathRecipients.rend(); ++it) {
        if ((*it)->getRecipient() == recipient) {
            status_t status = this->remote()->unlinkToDeath(*it, nullptr, 0, nullptr);
            _hidl_mDeathRecipients.erase(std::next(it).base());
            return status == OK;
        }
    }
    return false;
}

template <typename IType>
void BpHwManagerBase<IType>::onLastStrongRef(const void* id) {
    // Released outside the lock: a wrapper's destructor may call back in.
    std::vector<sp<hidl_binder_death_recipient>> dropped;
    {
        std::lock_guard<std::mutex> guard(_hidl_mMutex);
        dropped.swap(_hidl_mDeathRecipients);
    }
    ::android::hardware::BpHwRefBase::onLastStrongRef(id);
}

template class BpHwManagerBase<IServiceManager>;
template class BpHwManagerBase<IServiceNotification>;

}  // namespace details
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
