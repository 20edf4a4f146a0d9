// Ending the process over a broken rule, with the message printed once.
#pragma once

namespace android {
namespace hardware {
namespace host {

// Logs `format` at fatal priority under `tag` and aborts. liblog's own
// assertion writes its message to stderr and then logs it, and on a host the
// log is stderr too, so every fatal message would appear twice.
[[noreturn]] void fatal(const char* tag, const char* format, ...)
        __attribute__((format(printf, 2, 3)));

}  // namespace host
}  // namespace hardware
}  // namespace android
