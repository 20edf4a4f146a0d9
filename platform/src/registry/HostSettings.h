// Settings shared by the registry sources: environment parsing.
#pragma once

namespace android {
namespace hardware {
namespace details {

// "1", "true", "on", "yes" -> true; "0", "false", "off", "no" -> false;
// missing or anything else -> def.
bool envFlag(const char* name, bool def);

}  // namespace details
}  // namespace hardware
}  // namespace android
