// Loads passthrough implementations: "pkg@ver::IName" is served by
// "pkg@ver-impl.so" on the search path through its HIDL_FETCH_IName entry point.
#pragma once

#include <stdint.h>  // utils/StrongPointer.h uses uintptr_t without it
#include <utils/StrongPointer.h>

#include <string>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {
namespace details {

// Library file name for a descriptor, or empty when the descriptor is not of
// the form "pkg@ver::IName".
std::string passthroughLibraryName(const std::string& descriptor);

// The object the library's entry point makes for instance, or null when no
// library, no entry point or no object is found. A library that yields an
// object stays loaded for the life of the process.
sp<::android::hidl::base::V1_0::IBase> fetchPassthroughService(const std::string& descriptor,
                                                               const std::string& instance);

// True when a library for descriptor exists on the search path (not loaded).
bool hasPassthroughLibrary(const std::string& descriptor);

}  // namespace details
}  // namespace hardware
}  // namespace android
