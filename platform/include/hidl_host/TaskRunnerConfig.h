// Host-only tuning of details::TaskRunner. Not part of the platform API.
#pragma once

#include <chrono>

namespace android {
namespace hardware {
namespace host {

// How long a task runner's worker thread waits for work before it exits; the
// next push starts a new one. Applies to waits that begin after the call.
void setTaskRunnerIdleTimeout(std::chrono::milliseconds timeout);
std::chrono::milliseconds getTaskRunnerIdleTimeout();

}  // namespace host
}  // namespace hardware
}  // namespace android
