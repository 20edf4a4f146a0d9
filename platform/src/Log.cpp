#include <hidl_host/Log.h>
#include <hidl_host/Settings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace android {
namespace hardware {
namespace host {

namespace {

int threshold() {
    static const int level = [] {
        if (settingFlag("ZUV_HIDL_DEBUG", false)) return 0;
        const std::string v =
                settingChoice("ZUV_HIDL_LOG", {"debug", "info", "warning", "error", "off"}, "info");
        if (v == "debug") return 0;
        if (v == "info") return 1;
        if (v == "warning") return 2;
        if (v == "error") return 3;
        return 4;
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
