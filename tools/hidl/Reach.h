// Why a service could not be reached, told apart for people: not
// registered, registered by a process that has died, or registered by a live
// one that did not answer in time (stopped by a signal or a debugger, or busy).
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <sys/types.h>

#include <chrono>
#include <string>

namespace zuv_hidl {

// Bounds this tool's calls to other processes by ZUV_HIDL_CALL_TIMEOUT_MS,
// or kToolCallTimeout when it is not set, so a stopped service is reported
// rather than waited for.
constexpr std::chrono::milliseconds kToolCallTimeout{5000};
void boundCalls();

// The pid the service manager lists for descriptor/instance, or -1.
pid_t registeredPid(::android::hidl::manager::V1_0::IServiceManager& sm,
                    const std::string& descriptor, const std::string& instance);

// The daemon's `get` answered nothing: which of the three it is, as one
// sentence naming descriptor/instance, the pid and what to do.
std::string whyNotFound(::android::hidl::manager::V1_0::IServiceManager& sm,
                        const std::string& descriptor, const std::string& instance);

// A call to the service at pid failed with `status`: says whether it died or
// did not answer within the call timeout; empty when neither.
std::string whyCallFailed(pid_t pid, const std::string& status);

// No service manager answered for the runtime directory: names it, what is
// wrong with it (kind, owner, mode) or that none runs, and the fix.
std::string noServiceManager();

// "died", "no answer" or "not registered", for a table's column.
std::string shortReason(const std::string& why);

}  // namespace zuv_hidl
