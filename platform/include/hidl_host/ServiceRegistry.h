// Host-only knobs of service lookup and registration. Not part of the platform
// API; the package never includes this header.
//
// Environment variables (read at each use unless a setter below overrides them):
//   ZUV_HIDL_GET_SERVICE_TIMEOUT_MS  how long getService() waits for a service
//                                    to be registered (default 5000)
//   ZUV_HIDL_PASSTHROUGH_PATH        colon-separated directories searched for
//                                    "<package>@<version>-impl.so" (default: the
//                                    "hw" directory beside libhidlbase)
//   ZUV_HIDL_DEBUGGABLE              "0"/"false"/"off" makes details::debuggable()
//                                    answer false (default true on the host)
//   ZUV_HIDL_DEBUG                   "1"/"true"/"on": diagnostics of lookups,
//                                    registrations and library loading on stderr
//   ZUV_HIDL_SERVICE_MANAGER         which registry defaultServiceManager() answers:
//                                    "daemon" the service-manager daemon serving
//                                    the runtime directory (null while none ever
//                                    did); "inprocess" this process's own
//                                    registry; "auto" (default) the daemon when
//                                    one serves, else the in-process registry.
//                                    Once a process has reached a daemon it stays
//                                    with it: while the daemon is gone, calls fail
//                                    with DEAD_OBJECT until another one serves.
#pragma once

#include <stdint.h>  // utils/StrongPointer.h uses uintptr_t without it
#include <utils/StrongPointer.h>

#include <chrono>
#include <string>
#include <vector>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
struct IServiceManager;
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl

namespace hardware {
namespace host {

constexpr const char* kGetServiceTimeoutEnvVar = "ZUV_HIDL_GET_SERVICE_TIMEOUT_MS";
constexpr const char* kPassthroughPathEnvVar = "ZUV_HIDL_PASSTHROUGH_PATH";
constexpr const char* kDebuggableEnvVar = "ZUV_HIDL_DEBUGGABLE";
constexpr const char* kDebugEnvVar = "ZUV_HIDL_DEBUG";
constexpr const char* kServiceManagerEnvVar = "ZUV_HIDL_SERVICE_MANAGER";

constexpr std::chrono::milliseconds kDefaultGetServiceTimeout{5000};

// The bounded wait of a retrying lookup. The setter overrides the environment;
// resetGetServiceTimeout() returns to it.
void setGetServiceTimeout(std::chrono::milliseconds timeout);
void resetGetServiceTimeout();
std::chrono::milliseconds getGetServiceTimeout();

// Directories searched by the passthrough loader, in order. The setter takes
// a colon-separated list and overrides the environment.
void setPassthroughSearchPath(const std::string& colonSeparated);
void resetPassthroughSearchPath();
std::vector<std::string> getPassthroughSearchPath();

// A new, empty in-process registry, independent of the process-wide one.
sp<::android::hidl::manager::V1_0::IServiceManager> makeInProcessServiceManager();

// Replaces what defaultServiceManager() answers (and so what every lookup and
// registration uses), whatever ZUV_HIDL_SERVICE_MANAGER says; null restores
// the choice it makes.
void setDefaultServiceManager(const sp<::android::hidl::manager::V1_0::IServiceManager>& sm);

}  // namespace host
}  // namespace hardware
}  // namespace android
