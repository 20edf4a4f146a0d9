#include <hidl_host/Log.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace android {
namespace hardware {
namespace host {

namespace {

// Settings (which warns through here) is above the log, so the log reads its
// two variables itself.
int threshold() {
    static const int level = [] {
        const char* debug = std::getenv("ZUV_HIDL_DEBUG");
        if (debug != nullptr && (strcasecmp(debug, "1") == 0 || strcasecmp(debug, "true") == 0 ||
                                 strcasecmp(debug, "on") == 0 || strcasecmp(debug, "yes") == 0))
            return 0;
        const char* v = std::getenv("ZUV_HIDL_LOG");
        if (v == nullptr || *v == '\0') return 1;
        static const char* const names[] = {"debug", "info", "warning", "error", "off"};
        for (int i = 0; i < 5; ++i)
            if (strcasecmp(v, names[i]) == 0) return i;
        std::fprintf(stderr,
                     "zuv: ignoring ZUV_HIDL_LOG=%s (accepted: debug, info, warning, error, off); "
                     "using info\n",
                     v);
        return 1;
    }();
    return level;
}

}  // namespace

bool logEnabled(LogLevel level) {
    return static_cast<int>(level) >= threshold();
}

void logf(LogLevel level, const char* format, ...) {
    if (!logEnabled(level)) return;
    char line[1024];
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(line, sizeof(line) - 1, format, args);
    va_end(args);
    if (n < 0) return;
    size_t len = std::min<size_t>(static_cast<size_t>(n), sizeof(line) - 2);
    if (len == 0 || line[len - 1] != '\n') line[len++] = '\n';
    // One write: a line is never split by another thread's.
    ssize_t ignored = ::write(STDERR_FILENO, line, len);
    (void)ignored;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
