// The hook between the instrumentation registry and the trace recorder: the
// registry asks, when it is first built, whether the environment wants the
// recorder installed before any object copies the callbacks.
#pragma once

#include <hidl/HidlInstrumentor.h>

namespace android {
namespace hardware {
namespace tracing {

// True once per process when ZUV_HIDL_TRACE_FILE is set and the recorder was
// not installed yet; recording is then on and the exit handler registered.
bool claimInstallFromEnvironment();

details::InstrumentationCallback recorderCallback();
// An instant event in the trace being recorded: process `pid`, a peer, died.
void recordPeerDeath(int32_t pid);

}  // namespace tracing
}  // namespace hardware
}  // namespace android
