// libzuv_atrace.so: preloaded (LD_PRELOAD), it takes the place of libcutils'
// three trace functions, whose host build answers "not ready" and discards
// every marker, and hands the markers to the trace recorder instead.
//
//   ZUV_HIDL_ATRACE_TAGS  the enabled tag mask (decimal or 0x hex; default
//                         ATRACE_TAG_HAL)
//
// Sections are recorded only while the recorder records (ZUV_HIDL_TRACE_FILE
// or startTrace()).
#include <cutils/trace.h>
#include <hidl_host/TraceExport.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

uint64_t tagsFromEnvironment() {
    const char* value = std::getenv("ZUV_HIDL_ATRACE_TAGS");
    if (value == nullptr || *value == '\0') return ATRACE_TAG_HAL;
    char* end = nullptr;
    errno = 0;
    const unsigned long long tags = std::strtoull(value, &end, 0);
    if (errno != 0 || *end != '\0') {
        std::fprintf(stderr, "ZUV_HIDL_ATRACE_TAGS=%s ignored: wants a number\n", value);
        return ATRACE_TAG_HAL;
    }
    return tags;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) uint64_t atrace_get_enabled_tags() {
    static const uint64_t tags = tagsFromEnvironment();
    return tags;
}

extern "C" __attribute__((visibility("default"))) void atrace_begin_body(const char* name) {
    ::android::hardware::host::traceSectionBegin(name);
}

extern "C" __attribute__((visibility("default"))) void atrace_end_body() {
    ::android::hardware::host::traceSectionEnd();
}
