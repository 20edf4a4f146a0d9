// Trace sections of calls. The hardware-interface tag is asked
// each time a marker would be written, so a section begun before tracing was
// switched on may end without its begin, as on the device.
#pragma once

#include <cutils/trace.h>
#include <hidl/Status.h>
#include <hidl_host/CallOutcome.h>

#include <string>

// Declared by cutils only inside its inline helpers; the frame calls them
// directly because it asks for the tag itself.
extern "C" void atrace_begin_body(const char* name);
extern "C" void atrace_end_body();

namespace android {
namespace hardware {
namespace frame {

inline bool hwTraceEnabled() {
    return (atrace_get_enabled_tags() & ATRACE_TAG_HAL) != 0;
}

// "HIDL::<interface>::<method>::<side>". Kept out of line so that the
// check in traceBegin stays in every caller and the untraced call costs
// only the tag query.
[[gnu::noinline, gnu::cold]] inline void traceBeginNamed(const char* interfaceName,
                                                         const char* method, const char* side) {
    std::string name;
    name.reserve(64);
    name.append("HIDL::")
            .append(interfaceName)
            .append("::")
            .append(method)
            .append("::")
            .append(side);
    atrace_begin_body(name.c_str());
}

inline void traceBegin(const char* interfaceName, const char* method, const char* side) {
    if (hwTraceEnabled()) traceBeginNamed(interfaceName, method, side);
}

inline void traceEnd() {
    if (hwTraceEnabled()) atrace_end_body();
}

using tracing::recordCallOutcome;
using tracing::recordServedOutcome;

inline void traceEnd(const Status& outcome) {
    traceEnd();
    recordCallOutcome(outcome);
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
