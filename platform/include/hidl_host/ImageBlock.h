// Host-only: memory for a transaction's wire image and for the buffers of a
// parcel rebuilt from one. Fresh memory costs a page fault per page on first
// touch, which for a 256 KiB image costs more than copying it; so blocks of
// kRecycledBlockBytes and more go back to a small process-wide stock when
// freed, and the next large transaction reuses their warm pages. The stock
// holds at most kRecycledStockBytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace android {
namespace hardware {
namespace host {

constexpr size_t kRecycledBlockBytes = 64 * 1024;
constexpr size_t kRecycledStockBytes = 4 * 1024 * 1024;

class ImageBlock {
  public:
    ImageBlock() = default;
    ~ImageBlock() { reset(); }
    ImageBlock(ImageBlock&& other) noexcept;
    ImageBlock& operator=(ImageBlock&& other) noexcept;
    ImageBlock(const ImageBlock&) = delete;
    ImageBlock& operator=(const ImageBlock&) = delete;

    // At least size bytes, 8-aligned, not zeroed; empty when memory is short.
    static ImageBlock allocate(size_t size);

    uint8_t* data() const { return reinterpret_cast<uint8_t*>(mWords); }
    size_t size() const { return mSize; }
    explicit operator bool() const { return mWords != nullptr; }
    // Inline for the common case: most parcels and frames own no block.
    void reset() {
        if (mWords != nullptr) release();
    }

    // Blocks waiting in the stock, for tests.
    static size_t stockBytes();

  private:
    ImageBlock(uint64_t* words, size_t size, size_t capacity)
        : mWords(words), mSize(size), mCapacity(capacity) {}
    void release();

    uint64_t* mWords = nullptr;
    size_t mSize = 0;
    size_t mCapacity = 0;  // bytes actually allocated
};

}  // namespace host
}  // namespace hardware
}  // namespace android
