#include <hidl_host/ImageBlock.h>

#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace host {

namespace {

// Large blocks come in powers of two, so that one freed block serves any
// later request of its class.
size_t capacityFor(size_t size) {
    if (size < kRecycledBlockBytes) return (size + 7) & ~static_cast<size_t>(7);
    size_t capacity = kRecycledBlockBytes;
    while (capacity < size) capacity *= 2;
    return capacity;
}

struct Stock {
    std::mutex lock;
    std::vector<std::pair<size_t, uint64_t*>> blocks;  // guarded by lock
    size_t bytes = 0;                                  // guarded by lock

    uint64_t* take(size_t capacity) {
        std::lock_guard<std::mutex> guard(lock);
        for (auto it = blocks.begin(); it != blocks.end(); ++it) {
            if (it->first != capacity) continue;
            uint64_t* words = it->second;
            bytes -= capacity;
            blocks.erase(it);
            return words;
        }
        return nullptr;
    }

    bool keep(size_t capacity, uint64_t* words) {
        std::lock_guard<std::mutex> guard(lock);
        if (bytes + capacity > kRecycledStockBytes) return false;
        try {
            blocks.emplace_back(capacity, words);
        } catch (const std::bad_alloc&) {
            return false;
        }
        bytes += capacity;
        return true;
    }
};

// Never destroyed: parcels may be freed by static destructors.
Stock& stock() {
    static Stock* s = new Stock;
    return *s;
}

}  // namespace

ImageBlock::ImageBlock(ImageBlock&& other) noexcept
    : mWords(std::exchange(other.mWords, nullptr)),
      mSize(std::exchange(other.mSize, 0)),
      mCapacity(std::exchange(other.mCapacity, 0)) {}

ImageBlock& ImageBlock::operator=(ImageBlock&& other) noexcept {
    if (this != &other) {
        reset();
        mWords = std::exchange(other.mWords, nullptr);
        mSize = std::exchange(other.mSize, 0);
        mCapacity = std::exchange(other.mCapacity, 0);
    }
    return *this;
}

ImageBlock ImageBlock::allocate(size_t size) {
    const size_t capacity = capacityFor(size);
    if (capacity < size) return ImageBlock();  // wrapped
    uint64_t* words = capacity >= kRecycledBlockBytes ? stock().take(capacity) : nullptr;
    if (words == nullptr) words = new (std::nothrow) uint64_t[capacity / sizeof(uint64_t)];
    if (words == nullptr) return ImageBlock();
    return ImageBlock(words, size, capacity);
}

void ImageBlock::release() {
    if (mCapacity < kRecycledBlockBytes || !stock().keep(mCapacity, mWords)) delete[] mWords;
    mWords = nullptr;
    mSize = 0;
    mCapacity = 0;
}

size_t ImageBlock::stockBytes() {
    Stock& s = stock();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.bytes;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
