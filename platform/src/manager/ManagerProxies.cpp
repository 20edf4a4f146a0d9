// Client proxies of the service manager's two interfaces: every operation is
// the frame's client call.
#include <hidl_host/frame/ClientCall.h>

#include "manager/ManagerMethods.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::hidl_string;
using ::android::hardware::IBinder;
using ::android::hardware::Return;
using ::android::hardware::frame::Client;
using ::android::hidl::base::V1_0::IBase;
namespace m = manager_methods;

BpHwServiceManager::BpHwServiceManager(const sp<IBinder>& _hidl_impl)
    : details::BpHwManagerBase<IServiceManager>(_hidl_impl, "android.hidl.manager@1.0",
                                                "IServiceManager") {}

Return<sp<IBase>> BpHwServiceManager::get(const hidl_string& fqName, const hidl_string& name) {
    return Client<m::get>::call(this, this, fqName, name);
}

Return<bool> BpHwServiceManager::add(const hidl_string& name, const sp<IBase>& service) {
    return Client<m::add>::call(this, this, name, service);
}

Return<IServiceManager::Transport> BpHwServiceManager::getTransport(const hidl_string& fqName,
                                                                    const hidl_string& name) {
    return Client<m::getTransport>::call(this, this, fqName, name);
}

Return<void> BpHwServiceManager::list(list_cb _hidl_cb) {
    return Client<m::list>::call(this, this, _hidl_cb);
}

Return<void> BpHwServiceManager::listByInterface(const hidl_string& fqName,
                                                 listByInterface_cb _hidl_cb) {
    return Client<m::listByInterface>::call(this, this, fqName, _hidl_cb);
}

Return<bool> BpHwServiceManager::registerForNotifications(
        const hidl_string& fqName, const hidl_string& name,
        const sp<IServiceNotification>& callback) {
    return Client<m::registerForNotifications>::call(this, this, fqName, name, callback);
}

Return<void> BpHwServiceManager::debugDump(debugDump_cb _hidl_cb) {
    return Client<m::debugDump>::call(this, this, _hidl_cb);
}

Return<void> BpHwServiceManager::registerPassthroughClient(const hidl_string& fqName,
                                                           const hidl_string& name) {
    return Client<m::registerPassthroughClient>::call(this, this, fqName, name);
}

BpHwServiceNotification::BpHwServiceNotification(const sp<IBinder>& _hidl_impl)
    : details::BpHwManagerBase<IServiceNotification>(_hidl_impl, "android.hidl.manager@1.0",
                                                     "IServiceNotification") {}

Return<void> BpHwServiceNotification::onRegistration(const hidl_string& fqName,
                                                     const hidl_string& name, bool preexisting) {
    return Client<m::onRegistration>::call(this, this, fqName, name, preexisting);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
