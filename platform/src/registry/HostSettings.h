// Settings shared by the registry sources: environment parsing and the
// opt-in diagnostics.
#pragma once

#include <cstdio>

namespace android {
namespace hardware {
namespace details {

// "1", "true", "on", "yes" -> true; "0", "false", "off", "no" -> false;
// missing or anything else -> def.
bool envFlag(const char* name, bool def);

// True when ZUV_HIDL_DEBUG is on; decided at the first call.
bool registryDebugEnabled();

}  // namespace details
}  // namespace hardware
}  // namespace android

// printf-style diagnostics on stderr, only when ZUV_HIDL_DEBUG is on.
#define ZUV_REGISTRY_DEBUG(...)                                     \
    do {                                                            \
        if (::android::hardware::details::registryDebugEnabled()) { \
            std::fprintf(stderr, "hidl-registry: " __VA_ARGS__);    \
            std::fputc('\n', stderr);                               \
        }                                                           \
    } while (0)
