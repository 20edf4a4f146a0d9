// The bytes of a parcel. Most calls carry a few hundred bytes at most, and
// a call builds and drops several parcels: those bytes live inside the
// parcel, and only a larger parcel takes memory from the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace android {
namespace hardware {
namespace host {

class ParcelBytes {
  public:
    static constexpr size_t kInline = 256;

    ParcelBytes() = default;
    ParcelBytes(const ParcelBytes&) = delete;
    ParcelBytes& operator=(const ParcelBytes&) = delete;

    uint8_t* data() { return mData; }
    const uint8_t* data() const { return mData; }
    size_t size() const { return mSize; }
    size_t capacity() const { return mCapacity; }
    const uint8_t* begin() const { return mData; }
    const uint8_t* end() const { return mData + mSize; }

    // Grows the storage, keeping the bytes; throws std::bad_alloc.
    void reserve(size_t capacity) {
        if (capacity <= mCapacity) return;
        std::unique_ptr<uint8_t[]> bigger(new uint8_t[capacity]);
        if (mSize != 0) memcpy(bigger.get(), mData, mSize);
        mHeap = std::move(bigger);
        mData = mHeap.get();
        mCapacity = capacity;
    }
    // New bytes are not zeroed: whoever grows the size fills what it grew.
    void resize(size_t size) {
        if (size > mCapacity) reserve(size);
        mSize = size;
    }
    void clear() { mSize = 0; }
    void assign(const uint8_t* first, const uint8_t* last) {
        const auto size = static_cast<size_t>(last - first);
        mSize = 0;
        resize(size);
        if (size != 0) memcpy(mData, first, size);
    }

  private:
    alignas(8) uint8_t mInline[kInline];
    std::unique_ptr<uint8_t[]> mHeap;
    uint8_t* mData = mInline;
    size_t mSize = 0;
    size_t mCapacity = kInline;
};

}  // namespace host
}  // namespace hardware
}  // namespace android
