// Registry requests shared by the three interfaces.
#pragma once

#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <utils/StrongPointer.h>

#include <string>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

// Asks the service manager to report registrations of descriptor/instance.
// Every failure (no manager, transport failure, refusal) is false.
bool registerForNotifications(
        const char* descriptor, const std::string& instanceName,
        const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>& notification);

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
