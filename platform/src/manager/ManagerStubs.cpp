// The manager's two interfaces enter their stub constructors at load time,
// like any package's interfaces, so that a local listener or manager can be
// handed to another process.
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BnHwServiceNotification.h>
#include <hidl/Static.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace {

using ::android::hardware::IBinder;

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
