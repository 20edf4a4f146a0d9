// Records the trace markers the library writes. The test executable defines
// the tag query and the two marker functions itself, so the library's calls
// land here instead of in cutils (whose host build discards them).
#pragma once

#include <string>
#include <vector>

namespace zuv_test {

struct TraceMarker {
    bool begin;
    std::string name;  // empty for an end marker
    bool operator==(const TraceMarker& other) const {
        return begin == other.begin && name == other.name;
    }
};

// Switches the hardware-interface tag on or off for the whole process.
void setHalTracing(bool on);
// Markers written since the last take, in order; clears the record.
std::vector<TraceMarker> takeTraceMarkers();

inline TraceMarker traceBegin(const std::string& name) {
    return {true, name};
}
inline TraceMarker traceEnd() {
    return {false, ""};
}

}  // namespace zuv_test
