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
    : details::BpHwManagerBase<IServiceNotification>(_hidl_impl, wire::kFqPackage,
                                                     wire::kServiceNotification) {}

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

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
