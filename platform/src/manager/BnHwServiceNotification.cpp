#include <android/hidl/manager/1.0/BnHwServiceNotification.h>
#include <hidl/HidlBinderSupport.h>

#include "base/BaseWire.h"
#include "manager/ManagerWire.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::hidl_string;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
namespace base_wire = ::android::hidl::base::V1_0::wire;

BnHwServiceNotification::BnHwServiceNotification(const sp<IServiceNotification>& _hidl_impl)
    : BnHwBase(_hidl_impl, wire::kFqPackage, wire::kServiceNotification), _hidl_mImpl(_hidl_impl) {}

status_t BnHwServiceNotification::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, uint32_t _hidl_flags,
                                             TransactCallback _hidl_cb) {
    if (_hidl_code != wire::kOnRegistration) {
        return BnHwBase::onTransact(_hidl_code, _hidl_data, _hidl_reply, _hidl_flags, _hidl_cb);
    }
    if (!_hidl_data.enforceInterface(IServiceNotification::descriptor)) return BAD_TYPE;
    const hidl_string* fqName = nullptr;
    const hidl_string* name = nullptr;
    bool preexisting = false;
    status_t err = base_wire::readString(_hidl_data, &fqName);
    if (err == OK) err = base_wire::readString(_hidl_data, &name);
    if (err == OK) err = _hidl_data.readBool(&preexisting);
    if (err != OK) return err;

    wire::ServerCall call(
            this, wire::kServiceNotification, "onRegistration",
            {const_cast<hidl_string*>(fqName), const_cast<hidl_string*>(name), &preexisting});
    Return<void> ret = _hidl_mImpl->onRegistration(*fqName, *name, preexisting);
    call.results({});
    // Oneway: nobody waits for the status, and a listener's failure is its own.
    (void)ret.isOk();
    if ((_hidl_flags & ::android::hardware::IBinder::FLAG_ONEWAY) != 0) return OK;
    return ::android::hardware::writeToParcel(::android::hardware::Status::ok(), _hidl_reply);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
