// Host-only: how a call ended, for the trace being recorded (see
// TraceExport.h). The frame reports every call here, on the thread that made
// or served it; with no trace recorded each report is one relaxed load.
#pragma once

#include <hidl/Status.h>

namespace android {
namespace hardware {
namespace tracing {

// How the call this thread is making ended (OK, the transport's error or the
// exception); a failed call, which reports no exit, ends its slice here.
void recordCallOutcome(const Status& outcome);

// The same for the call this thread serves: the status its stub answered
// with (OK, the exception, or the transport's error writing the reply).
void recordServedOutcome(const Status& outcome);

}  // namespace tracing
}  // namespace hardware
}  // namespace android
