#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BpHwServiceNotification.h>

#include <utility>

#include "base/BaseWire.h"
#include "manager/ManagerWire.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_string;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::BpHwBase;
namespace base_wire = ::android::hidl::base::V1_0::wire;

BpHwServiceNotification::BpHwServiceNotification(const sp<IBinder>& _hidl_impl)
    : BpInterface<IServiceNotification>(_hidl_impl),
      HidlInstrumentor(wire::kFqPackage, wire::kServiceNotification) {}

Return<void> BpHwServiceNotification::onRegistration(const hidl_string& fqName,
                                                     const hidl_string& name, bool preexisting) {
    const wire::Call call{IServiceNotification::descriptor, wire::kServiceNotification,
                          "onRegistration", wire::kOnRegistration, true};
    return wire::clientCall(
            this, this, call,
            {const_cast<hidl_string*>(&fqName), const_cast<hidl_string*>(&name), &preexisting},
            [&](Parcel* data) -> status_t {
                status_t err = base_wire::writeString(fqName, data);
                if (err == OK) err = base_wire::writeString(name, data);
                if (err == OK) err = data->writeBool(preexisting);
                return err;
            },
            nullptr);
}

Return<void> BpHwServiceNotification::interfaceChain(interfaceChain_cb _hidl_cb) {
    return BpHwBase::_hidl_interfaceChain(this, this, std::move(_hidl_cb));
}

Return<void> BpHwServiceNotification::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return BpHwBase::_hidl_interfaceDescriptor(this, this, std::move(_hidl_cb));
}

Return<void> BpHwServiceNotification::getHashChain(getHashChain_cb _hidl_cb) {
    return BpHwBase::_hidl_getHashChain(this, this, std::move(_hidl_cb));
}

Return<void> BpHwServiceNotification::ping() {
    return BpHwBase::_hidl_ping(this, this);
}

Return<void> BpHwServiceNotification::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return BpHwBase::_hidl_getDebugInfo(this, this, std::move(_hidl_cb));
}

Return<bool> BpHwServiceNotification::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                                  uint64_t cookie) {
    return wire::linkToDeath(this, remote(), recipient, cookie, &_hidl_mMutex,
                             &_hidl_mDeathRecipients);
}

Return<bool> BpHwServiceNotification::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return wire::unlinkToDeath(remote(), recipient, &_hidl_mMutex, &_hidl_mDeathRecipients);
}

void BpHwServiceNotification::onLastStrongRef(const void* id) {
    wire::dropDeathRecipients(&_hidl_mMutex, &_hidl_mDeathRecipients);
    BpHwRefBase::onLastStrongRef(id);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
