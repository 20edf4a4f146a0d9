// Byte storage for parcels that a thread recycles: every call builds and
// drops a few small parcels, and taking their blocks from a short list of
// this thread's own is cheaper than the general allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace host {

namespace recycled {
void* take(size_t bytes);
void give(void* block, size_t bytes) noexcept;
}  // namespace recycled

template <typename T>
struct RecyclingAllocator {
    using value_type = T;

    RecyclingAllocator() = default;
    template <typename U>
    RecyclingAllocator(const RecyclingAllocator<U>&) noexcept {}

    T* allocate(size_t n) { return static_cast<T*>(recycled::take(n * sizeof(T))); }
    void deallocate(T* p, size_t n) noexcept { recycled::give(p, n * sizeof(T)); }

    // Growing leaves the new bytes as they are: whoever grows the storage
    // fills what it grew, so zeroing first would be paid twice.
    template <typename U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <typename U, typename... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }

    template <typename U>
    bool operator==(const RecyclingAllocator<U>&) const noexcept {
        return true;
    }
    template <typename U>
    bool operator!=(const RecyclingAllocator<U>&) const noexcept {
        return false;
    }
};

using RecycledBytes = std::vector<uint8_t, RecyclingAllocator<uint8_t>>;

}  // namespace host
}  // namespace hardware
}  // namespace android
