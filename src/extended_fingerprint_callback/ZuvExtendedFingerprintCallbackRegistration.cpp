// Publishing IZuvExtendedFingerprintCallback and watching for its registrations.
#include <hidl/ServiceManagement.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include "frame/ServiceRegistry.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::status_t;
using ::android::hidl::manager::V1_0::IServiceNotification;

status_t IZuvExtendedFingerprintCallback::registerAsService(const std::string& serviceName) {
    // The strong pointer made from this lives only for the call, so the
    // object must already be owned by one.
    return ::android::hardware::details::registerAsServiceInternal(this, serviceName);
}

bool IZuvExtendedFingerprintCallback::registerForNotifications(
        const std::string& serviceName, const sp<IServiceNotification>& notification) {
    return frame::registerForNotifications(descriptor, serviceName, notification);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
