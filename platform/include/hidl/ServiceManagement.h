// Service lookup and registration: the registry every process publishes its
// services in and finds others' services through.
#pragma once

#include <stdint.h>  // utils/StrongPointer.h uses uintptr_t without it
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <string>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
namespace manager {
namespace V1_0 {
struct IServiceManager;
struct IServiceNotification;
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl

namespace hardware {

// The registry this process publishes in and looks up from: on the host the
// service-manager daemon when one serves the runtime directory, else a
// registry inside this process (see hidl_host/ServiceRegistry.h). Null only
// when the daemon is required and none was ever reached.
sp<::android::hidl::manager::V1_0::IServiceManager> defaultServiceManager();
sp<::android::hidl::manager::V1_0::IServiceManager> defaultServiceManager1_0();

// A registry view over the passthrough loader: get() loads the implementation
// in this process; nothing can be added to it.
sp<::android::hidl::manager::V1_0::IServiceManager> getPassthroughServiceManager();

namespace details {

// The service registered as descriptor/instance, or null. retry waits a
// bounded time (see hidl_host/ServiceRegistry.h) for it to be registered.
// getStub loads the passthrough implementation instead of asking the registry.
sp<::android::hidl::base::V1_0::IBase> getRawServiceInternal(const std::string& descriptor,
                                                             const std::string& instance,
                                                             bool retry, bool getStub);

// Registers service as name under every interface of its interfaceChain.
// UNEXPECTED_NULL for a null service, UNKNOWN_ERROR when the registry refuses.
status_t registerAsServiceInternal(const sp<::android::hidl::base::V1_0::IBase>& service,
                                   const std::string& name);

// Every interface's registerForNotifications: asks the service manager to
// report registrations of descriptor/instance. Every failure (no manager,
// transport failure, refusal) is false.
bool registerForNotificationsInternal(
        const char* descriptor, const std::string& instance,
        const sp<::android::hidl::manager::V1_0::IServiceNotification>& notification);

// This process's pid when the build is debuggable, else -1.
int32_t getPidIfSharable();

// The host counts as a debuggable build unless ZUV_HIDL_DEBUGGABLE says otherwise.
bool debuggable();

}  // namespace details
}  // namespace hardware
}  // namespace android
