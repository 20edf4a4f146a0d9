// Host-only: process-wide instrumentation settings. Every HidlInstrumentor
// copies them when it is constructed and whenever configureInstrumentation()
// runs (a service also re-reads them on setHALInstrumentation).
//
// Instrumentation starts enabled when the environment variable
// ZUV_HIDL_INSTRUMENTATION is "1", "true" or "on" at the first use; code can
// switch it at any time with setInstrumentationEnabled().
#pragma once

#include <hidl/HidlInstrumentor.h>

#include <cstdint>

namespace android {
namespace hardware {
namespace host {

constexpr const char* kInstrumentationEnvVar = "ZUV_HIDL_INSTRUMENTATION";

using InstrumentationCallbackId = uint64_t;

// Appends callback to the registered list; the id removes it again.
InstrumentationCallbackId addInstrumentationCallback(details::InstrumentationCallback callback);
// False when id is not registered.
bool removeInstrumentationCallback(InstrumentationCallbackId id);
void clearInstrumentationCallbacks();

void setInstrumentationEnabled(bool enabled);
bool isInstrumentationEnabled();

}  // namespace host
}  // namespace hardware
}  // namespace android
