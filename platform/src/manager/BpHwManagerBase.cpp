#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BpHwManagerBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl_host/frame/ProxyDeaths.h>

#include <utility>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace details {

using ::android::hardware::hidl_death_recipient;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::BpHwBase;
namespace frame = ::android::hardware::frame;

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
    return frame::linkProxyToDeath(this, this->remote(), recipient, cookie, &_hidl_mMutex,
                                   &_hidl_mDeathRecipients);
}

template <typename IType>
Return<bool> BpHwManagerBase<IType>::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return frame::unlinkProxyFromDeath(this->remote(), recipient, &_hidl_mMutex,
                                       &_hidl_mDeathRecipients);
}

template <typename IType>
void BpHwManagerBase<IType>::onLastStrongRef(const void* id) {
    frame::dropDeathRecipients(&_hidl_mMutex, &_hidl_mDeathRecipients);
    ::android::hardware::BpHwRefBase::onLastStrongRef(id);
}

template class BpHwManagerBase<IServiceManager>;
template class BpHwManagerBase<IServiceNotification>;

}  // namespace details
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
