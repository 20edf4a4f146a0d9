// Every ZUV_* environment setting is read through here: a value that is not
// accepted gives one warning on stderr naming the variable, the value, what
// is accepted and the value used instead, and the default applies.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace android {
namespace hardware {
namespace host {

// The longest time a *_MS setting accepts: a day.
constexpr int64_t kMaxTimeoutMs = 24 * 60 * 60 * 1000;

// A whole number in min..max; unset or empty gives def.
int64_t settingInteger(const char* name, int64_t def, int64_t min, int64_t max);

// One of choices (case ignored), returned as listed; unset or empty gives def.
std::string settingChoice(const char* name, std::initializer_list<const char*> choices,
                          const char* def);

// 1/true/on/yes or 0/false/off/no; unset or empty gives def.
bool settingFlag(const char* name, bool def);

}  // namespace host
}  // namespace hardware
}  // namespace android
