// Reading fuzz bytes front to back, and writing them in the same encoding so
// the seed program can produce inputs the fuzzers understand. Running out of
// bytes yields zeros, never a failure: every input is a valid program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace zuv_fuzz {

class ByteReader {
  public:
    ByteReader(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

    bool empty() const { return mPos >= mSize; }
    size_t remaining() const { return mSize - mPos; }

    template <typename T>
    T take() {
        T value{};
        const size_t n = sizeof(T) < remaining() ? sizeof(T) : remaining();
        if (n != 0) memcpy(&value, mData + mPos, n);
        mPos += n;
        return value;
    }

    uint8_t u8() { return take<uint8_t>(); }
    uint16_t u16() { return take<uint16_t>(); }
    uint32_t u32() { return take<uint32_t>(); }
    uint64_t u64() { return take<uint64_t>(); }

    // A length-prefixed run of bytes, at most max long.
    std::vector<uint8_t> bytes(size_t max) {
        size_t n = u16() % (max + 1);
        if (n > remaining()) n = remaining();
        std::vector<uint8_t> out(mData + mPos, mData + mPos + n);
        mPos += n;
        return out;
    }

    // Everything left.
    std::vector<uint8_t> rest() {
        std::vector<uint8_t> out(mData + mPos, mData + mSize);
        mPos = mSize;
        return out;
    }

  private:
    const uint8_t* mData;
    size_t mSize;
    size_t mPos = 0;
};

class ByteWriter {
  public:
    template <typename T>
    ByteWriter& put(T value) {
        const auto* p = reinterpret_cast<const uint8_t*>(&value);
        mOut.insert(mOut.end(), p, p + sizeof(T));
        return *this;
    }
    ByteWriter& u8(uint8_t v) { return put(v); }
    ByteWriter& u16(uint16_t v) { return put(v); }
    ByteWriter& u32(uint32_t v) { return put(v); }
    ByteWriter& u64(uint64_t v) { return put(v); }
    ByteWriter& bytes(const void* data, size_t size) {
        u16(static_cast<uint16_t>(size));
        return raw(data, size);
    }
    ByteWriter& bytes(const std::string& s) { return bytes(s.data(), s.size()); }
    ByteWriter& raw(const void* data, size_t size) {
        const auto* p = static_cast<const uint8_t*>(data);
        mOut.insert(mOut.end(), p, p + size);
        return *this;
    }

    const std::vector<uint8_t>& data() const { return mOut; }

  private:
    std::vector<uint8_t> mOut;
};

}  // namespace zuv_fuzz
