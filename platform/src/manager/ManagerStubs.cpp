// Server stubs of the service manager's two interfaces: every operation is
// the frame's handler. Both enter their stub constructors at load time, like
// any package's interfaces, so that a local listener or manager can be handed
// to another process.
#include <hidl/Static.h>
#include <hidl_host/frame/ServerCall.h>

#include <utility>

#include "manager/ManagerMethods.h"

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::frame::serve;
namespace m = manager_methods;

BnHwServiceManager::BnHwServiceManager(const sp<IServiceManager>& _hidl_impl)
    : BnHwBase(_hidl_impl, "android.hidl.manager@1.0", "IServiceManager"),
      _hidl_mImpl(_hidl_impl) {}

status_t BnHwServiceManager::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data,
                                        Parcel* _hidl_reply, uint32_t _hidl_flags,
                                        TransactCallback _hidl_cb) {
    switch (_hidl_code) {
#define ZUV_CASE(kind, code, name, names) \
    case code:                            \
        return serve<m::name>(this, _hidl_data, _hidl_reply, std::move(_hidl_cb));
        ZUV_SERVICE_MANAGER_METHODS(ZUV_CASE)
#undef ZUV_CASE
        default:
            return BnHwBase::onTransact(_hidl_code, _hidl_data, _hidl_reply, _hidl_flags,
                                        std::move(_hidl_cb));
    }
}

BnHwServiceNotification::BnHwServiceNotification(const sp<IServiceNotification>& _hidl_impl)
    : BnHwBase(_hidl_impl, "android.hidl.manager@1.0", "IServiceNotification"),
      _hidl_mImpl(_hidl_impl) {}

status_t BnHwServiceNotification::onTransact(uint32_t _hidl_code, const Parcel& _hidl_data,
                                             Parcel* _hidl_reply, uint32_t _hidl_flags,
                                             TransactCallback _hidl_cb) {
    if (_hidl_code != m::onRegistration::kCode) {
        return BnHwBase::onTransact(_hidl_code, _hidl_data, _hidl_reply, _hidl_flags,
                                    std::move(_hidl_cb));
    }
    return serve<m::onRegistration>(this, _hidl_data, _hidl_reply, std::move(_hidl_cb));
}

namespace {

__attribute__((constructor)) void registerManagerStubs() {
    auto& map = ::android::hardware::details::getBnConstructorMap();
    map.set(IServiceManager::descriptor, [](void* iface) -> sp<IBinder> {
        return new BnHwServiceManager(static_cast<IServiceManager*>(iface));
    });
    map.set(IServiceNotification::descriptor, [](void* iface) -> sp<IBinder> {
        return new BnHwServiceNotification(static_cast<IServiceNotification*>(iface));
    });
}

}  // namespace
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
