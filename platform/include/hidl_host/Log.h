// The runtime's one path for diagnostics: a level, one line, one write(2) to
// stderr so lines of concurrent threads and processes never interleave.
//
// ZUV_HIDL_LOG chooses the least level shown: debug, info (the default),
// warning, error or off. ZUV_HIDL_DEBUG=1 is the older spelling of debug.
#pragma once

#include <atomic>

namespace android {
namespace hardware {
namespace host {

enum class LogLevel { Debug = 0, Info = 1, Warning = 2, Error = 3 };

// Whether a line of this level is shown; decided at the first call.
bool logEnabled(LogLevel level);

// printf-style; a newline is added when the text has none.
void logf(LogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace host
}  // namespace hardware
}  // namespace android

// A condition reported once per process at this site, not once per occurrence.
#define ZUV_LOG_ONCE(level, ...)                                                            \
    do {                                                                                    \
        static std::atomic<bool> zuvLogSaid_{false};                                        \
        if (!zuvLogSaid_.exchange(true, std::memory_order_relaxed))                         \
            ::android::hardware::host::logf(::android::hardware::host::level, __VA_ARGS__); \
    } while (0)

// Debug lines cost one load when debug is off: the arguments are not evaluated.
#define ZUV_LOG_DEBUG(...)                                                                     \
    do {                                                                                       \
        if (::android::hardware::host::logEnabled(::android::hardware::host::LogLevel::Debug)) \
            ::android::hardware::host::logf(::android::hardware::host::LogLevel::Debug,        \
                                            __VA_ARGS__);                                      \
    } while (0)
