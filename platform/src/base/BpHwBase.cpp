#include <android/hidl/base/1.0/BpHwBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/frame/BaseMethods.h>
#include <hidl_host/frame/ClientCall.h>
#include <hidl_host/frame/ProxyDeaths.h>

#include <utility>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::IInterface;
using ::android::hardware::Return;
using ::android::hardware::details::HidlInstrumentor;
using ::android::hardware::frame::Client;
namespace frame = ::android::hardware::frame;
namespace m = base_methods;

BpHwBase::BpHwBase(const sp<IBinder>& _hidl_impl)
    : BpInterface<IBase>(_hidl_impl), HidlInstrumentor("android.hidl.base@1.0", "IBase") {}

Return<void> BpHwBase::_hidl_interfaceChain(IInterface* _hidl_this,
                                            HidlInstrumentor* _hidl_this_instrumentor,
                                            IBase::interfaceChain_cb _hidl_cb) {
    return Client<m::interfaceChain>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwBase::_hidl_debug(IInterface* _hidl_this,
                                   HidlInstrumentor* _hidl_this_instrumentor, const hidl_handle& fd,
                                   const hidl_vec<hidl_string>& options) {
    return Client<m::debug>::call(_hidl_this, _hidl_this_instrumentor, fd, options);
}

Return<void> BpHwBase::_hidl_interfaceDescriptor(IInterface* _hidl_this,
                                                 HidlInstrumentor* _hidl_this_instrumentor,
                                                 IBase::interfaceDescriptor_cb _hidl_cb) {
    return Client<m::interfaceDescriptor>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwBase::_hidl_getHashChain(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          IBase::getHashChain_cb _hidl_cb) {
    return Client<m::getHashChain>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwBase::_hidl_setHALInstrumentation(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::setHALInstrumentation>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwBase::_hidl_ping(IInterface* _hidl_this,
                                  HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::ping>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwBase::_hidl_getDebugInfo(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          IBase::getDebugInfo_cb _hidl_cb) {
    return Client<m::getDebugInfo>::call(_hidl_this, _hidl_this_instrumentor, _hidl_cb);
}

Return<void> BpHwBase::_hidl_notifySyspropsChanged(IInterface* _hidl_this,
                                                   HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::notifySyspropsChanged>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwBase::interfaceChain(interfaceChain_cb _hidl_cb) {
    return _hidl_interfaceChain(this, this, _hidl_cb);
}

Return<void> BpHwBase::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    return _hidl_debug(this, this, fd, options);
}

Return<void> BpHwBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return _hidl_interfaceDescriptor(this, this, _hidl_cb);
}

Return<void> BpHwBase::getHashChain(getHashChain_cb _hidl_cb) {
    return _hidl_getHashChain(this, this, _hidl_cb);
}

Return<void> BpHwBase::setHALInstrumentation() {
    return _hidl_setHALInstrumentation(this, this);
}

Return<void> BpHwBase::ping() {
    return _hidl_ping(this, this);
}

Return<void> BpHwBase::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return _hidl_getDebugInfo(this, this, _hidl_cb);
}

Return<void> BpHwBase::notifySyspropsChanged() {
    return _hidl_notifySyspropsChanged(this, this);
}

Return<bool> BpHwBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) {
    return frame::linkProxyToDeath(this, remote(), recipient, cookie, &_hidl_mMutex,
                                   &_hidl_mDeathRecipients);
}

Return<bool> BpHwBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return frame::unlinkProxyFromDeath(remote(), recipient, &_hidl_mMutex, &_hidl_mDeathRecipients);
}

void BpHwBase::onLastStrongRef(const void* id) {
    frame::dropDeathRecipients(&_hidl_mMutex, &_hidl_mDeathRecipients);
    BpHwRefBase::onLastStrongRef(id);
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
