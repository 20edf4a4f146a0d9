#include "TraceCapture.h"

#include <cutils/trace.h>

#include <atomic>
#include <mutex>

namespace {
std::atomic<uint64_t> gEnabledTags{0};
std::mutex gMarkersLock;
std::vector<zuv_test::TraceMarker> gMarkers;
}  // namespace

// Debian's host cutils answers a fixed "not ready" mask, so the tag switch
// lives here too.
extern "C" uint64_t atrace_get_enabled_tags() {
    return gEnabledTags.load();
}

extern "C" void atrace_begin_body(const char* name) {
    std::lock_guard<std::mutex> lock(gMarkersLock);
    gMarkers.push_back({true, name});
}

extern "C" void atrace_end_body() {
    std::lock_guard<std::mutex> lock(gMarkersLock);
    gMarkers.push_back({false, ""});
}

namespace zuv_test {

void setHalTracing(bool on) {
    gEnabledTags = on ? ATRACE_TAG_HAL : 0;
}

std::vector<TraceMarker> takeTraceMarkers() {
    std::lock_guard<std::mutex> lock(gMarkersLock);
    std::vector<TraceMarker> out;
    out.swap(gMarkers);
    return out;
}

}  // namespace zuv_test
