#include "frame/ServiceRegistry.h"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

bool registerForNotifications(
        const char* descriptor, const std::string& instanceName,
        const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>& notification) {
    const ::android::sp<::android::hidl::manager::V1_0::IServiceManager> manager =
            ::android::hardware::defaultServiceManager();
    if (manager == nullptr) {
        return false;
    }
    ::android::hardware::Return<bool> accepted = manager->registerForNotifications(
            ::android::hardware::hidl_string(descriptor),
            ::android::hardware::hidl_string(instanceName), notification);
    // The status first: taking the value out of a failed Return is fatal.
    return accepted.isOk() && static_cast<bool>(accepted);
}

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
