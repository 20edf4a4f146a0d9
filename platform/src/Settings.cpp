#include <hidl_host/Log.h>
#include <hidl_host/Settings.h>
#include <strings.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>

namespace android {
namespace hardware {
namespace host {

namespace {

// Once per variable and process: settings are read again and again.
void warn(const char* name, const char* value, const std::string& accepted,
          const std::string& used) {
    static std::mutex lock;
    static std::set<std::string> warned;
    std::lock_guard<std::mutex> guard(lock);
    if (!warned.insert(name).second) return;
    logf(LogLevel::Warning, "zuv: ignoring %s=%s (accepted: %s); using %s\n", name, value,
         accepted.c_str(), used.c_str());
}

}  // namespace

int64_t settingInteger(const char* name, int64_t def, int64_t min, int64_t max) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return def;
    char* end = nullptr;
    errno = 0;
    const long long n = std::strtoll(value, &end, 10);
    if (errno != 0 || *end != '\0' || n < min || n > max) {
        warn(name, value,
             "a whole number from " + std::to_string(min) + " to " + std::to_string(max),
             std::to_string(def));
        return def;
    }
    return n;
}

std::string settingChoice(const char* name, std::initializer_list<const char*> choices,
                          const char* def) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return def;
    std::string accepted;
    for (const char* c : choices) {
        if (strcasecmp(value, c) == 0) return c;
        accepted += (accepted.empty() ? "" : ", ") + std::string(c);
    }
    warn(name, value, accepted, def);
    return def;
}

bool settingFlag(const char* name, bool def) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return def;
    for (const char* yes : {"1", "true", "on", "yes"})
        if (strcasecmp(value, yes) == 0) return true;
    for (const char* no : {"0", "false", "off", "no"})
        if (strcasecmp(value, no) == 0) return false;
    warn(name, value, "1, true, on, yes, 0, false, off, no", def ? "true" : "false");
    return def;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
