#include <hidl_host/RecycledBytes.h>

#include <new>

namespace android {
namespace hardware {
namespace host {
namespace recycled {
namespace {

// Blocks of 64 bytes to 4 KiB, in powers of two, and at most a few of each
// kept per thread: what a thread holds back stays small.
constexpr size_t kSmallest = 64;
constexpr int kClasses = 7;
constexpr int kKept = 8;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZUV_NO_RECYCLING
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(ZUV_NO_RECYCLING)
constexpr bool kRecycle = false;  // the sanitizer must see every block freed
#else
constexpr bool kRecycle = true;
#endif

int classOf(size_t bytes) {
    if (bytes <= kSmallest) return 0;
    // The power of two at or above bytes, counted from kSmallest.
    const int c = 64 - __builtin_clzll(bytes - 1) - 6;
    return c < kClasses ? c : -1;
}
static_assert(kSmallest == 64, "classOf counts from 2^6");

struct Shelf {
    void* blocks[kClasses][kKept];
    int count[kClasses] = {};
    bool open = true;
    ~Shelf() {
        // Parcels dropped later in the thread's exit bypass the shelf.
        open = false;
        for (int c = 0; c < kClasses; ++c) {
            for (int i = 0; i < count[c]; ++i) ::operator delete(blocks[c][i]);
            count[c] = 0;
        }
    }
};
thread_local Shelf tShelf;

}  // namespace

void* take(size_t bytes) {
    const int c = kRecycle ? classOf(bytes) : -1;
    if (c < 0) return ::operator new(bytes);
    Shelf& shelf = tShelf;
    if (shelf.open && shelf.count[c] > 0) return shelf.blocks[c][--shelf.count[c]];
    return ::operator new(kSmallest << c);
}

void give(void* block, size_t bytes) noexcept {
    if (block == nullptr) return;
    const int c = kRecycle ? classOf(bytes) : -1;
    if (c >= 0) {
        Shelf& shelf = tShelf;
        if (shelf.open && shelf.count[c] < kKept) {
            shelf.blocks[c][shelf.count[c]++] = block;
            return;
        }
    }
    ::operator delete(block);
}

}  // namespace recycled
}  // namespace host
}  // namespace hardware
}  // namespace android
