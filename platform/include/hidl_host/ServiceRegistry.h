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
//                                    with DEAD_OBJECT until another one serves, and
//                                    the new one is given again, from a background
//                                    thread, the services and listeners this
//                                    process gave the old one.
#pragma once

#include <stdint.h>  // utils/StrongPointer.h uses uintptr_t without it
#include <sys/types.h>
#include <utils/StrongPointer.h>

#include <chrono>
#include <cstddef>
#include <functional>
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

constexpr const char* kMaxNamesEnvVar = "ZUV_HIDL_MAX_NAMES";
constexpr const char* kMaxListenersEnvVar = "ZUV_HIDL_MAX_LISTENERS";
constexpr const char* kMaxNameLengthEnvVar = "ZUV_HIDL_MAX_NAME_LENGTH";
constexpr const char* kMaxQueuedNotificationsEnvVar = "ZUV_HIDL_MAX_QUEUED_NOTIFICATIONS";

constexpr std::chrono::milliseconds kDefaultGetServiceTimeout{5000};

// What one process may cost a registry. The registry's own process is not
// counted.
struct RegistryLimits {
    // (interface, instance) entries held: a service counts once for every
    // interface of its chain, IBase included.
    size_t maxNames = 256;
    // Notification registrations held; the same listener for the same
    // interface and instance again is not a second one.
    size_t maxListeners = 256;
    // Bytes of an interface or instance name.
    size_t maxNameLength = 4096;
    // Notifications waiting for all the process's listeners together; a
    // listener whose notification would go beyond it is dropped.
    size_t maxQueuedNotifications = 256;
};

// The defaults above, overridden by ZUV_HIDL_MAX_NAMES, ZUV_HIDL_MAX_LISTENERS,
// ZUV_HIDL_MAX_NAME_LENGTH and ZUV_HIDL_MAX_QUEUED_NOTIFICATIONS.
RegistryLimits registryLimitsFromEnvironment();

// debugDump answers what fits in one transaction; when entries were left
// out, its last record has this interface name, the number left out as pid
// and a sentence saying so as instance name.
constexpr const char* kDebugDumpTruncated = "(truncated)";

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

// Decides whether the process pid (running as uid) may add name under the
// interface fqName: an empty answer allows it, anything else is the reason it
// may not (logged, and returned to the caller in an EX_SECURITY status).
// Asked for every interface of the service's chain but IBase, which every
// service has.
using AddPolicy = std::function<std::string(pid_t pid, uid_t uid, const std::string& fqName,
                                            const std::string& name)>;

// A new, empty in-process registry, independent of the process-wide one.
// Every registration belongs to the process that added it: while that process
// lives, nobody else may replace it. policy, when given, is asked first.
// Limits default to registryLimitsFromEnvironment().
sp<::android::hidl::manager::V1_0::IServiceManager> makeInProcessServiceManager(
        AddPolicy policy = nullptr);
sp<::android::hidl::manager::V1_0::IServiceManager> makeInProcessServiceManager(
        AddPolicy policy, const RegistryLimits& limits);

// Replaces what defaultServiceManager() answers (and so what every lookup and
// registration uses), whatever ZUV_HIDL_SERVICE_MANAGER says; null restores
// the choice it makes.
void setDefaultServiceManager(const sp<::android::hidl::manager::V1_0::IServiceManager>& sm);

// Why no service manager serves the runtime directory dir, and what to do, as
// one clause for a person: a missing parent, a path that is no directory, a
// directory of another owner or open to others (what is wrong, and chmod 700
// or another directory), else how to start a daemon.
std::string whyNoServiceManager(const std::string& dir);

}  // namespace host
}  // namespace hardware
}  // namespace android
