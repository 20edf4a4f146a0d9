// Records of the platform's base interface android.hidl.base@1.0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

struct DebugInfo final {
    enum class Architecture : int32_t {
        UNKNOWN = 0,
        IS_64BIT = 1,
        IS_32BIT = 2,
    };

    int32_t pid __attribute__((aligned(4)));
    uint64_t ptr __attribute__((aligned(8)));
    Architecture arch __attribute__((aligned(4)));
};

// The wire layout: the record travels as one flat buffer.
static_assert(offsetof(DebugInfo, pid) == 0, "DebugInfo::pid at 0");
static_assert(offsetof(DebugInfo, ptr) == 8, "DebugInfo::ptr at 8");
static_assert(offsetof(DebugInfo, arch) == 16, "DebugInfo::arch at 16");
static_assert(sizeof(DebugInfo) == 24, "DebugInfo is 24 bytes");
static_assert(alignof(DebugInfo) == 8, "DebugInfo is 8-aligned");

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
