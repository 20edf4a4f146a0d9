#include <android/log.h>
#include <hidl_host/Fatal.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace android {
namespace hardware {
namespace host {

void fatal(const char* tag, const char* format, ...) {
    char message[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    __android_log_write(ANDROID_LOG_FATAL, tag, message);
    std::abort();
}

}  // namespace host
}  // namespace hardware
}  // namespace android
