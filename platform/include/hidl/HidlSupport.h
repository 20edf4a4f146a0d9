// Value types of the hardware-interface runtime: hidl_string, hidl_vec,
// hidl_array, hidl_handle and the death-recipient interface. The string,
// vector and handle have the platform's fixed 16-byte layouts because they are
// copied verbatim into parcels and their pointers are fixed up by the transport.
#pragma once

#include <cutils/native_handle.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

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

// Fatal error helper shared by the value types; ends the process with a
// message through the platform logger.
[[noreturn]] void logAlwaysFatal(const char* message);

// A pointer stored in a 64-bit slot so the layout is the same for 32- and
// 64-bit processes.
template <typename T>
union hidl_pointer {
    hidl_pointer() : _pad(0) {}
    hidl_pointer(T* ptr) : _pad(0) { mPointer = ptr; }  // NOLINT(google-explicit-constructor)
    hidl_pointer& operator=(T* ptr) {
        _pad = 0;
        mPointer = ptr;
        return *this;
    }
    operator T*() const { return mPointer; }  // NOLINT(google-explicit-constructor)
    T& operator*() const { return *mPointer; }
    T* operator->() const { return mPointer; }
    T& operator[](size_t index) const { return mPointer[index]; }
    T* get() const { return mPointer; }

private:
    T* mPointer;
    uint64_t _pad;
};
static_assert(sizeof(hidl_pointer<char>) == 8, "hidl_pointer must be 64 bits");

}  // namespace details

// ---------------------------------------------------------------------------
// hidl_handle: a native_handle_t pointer, optionally owned.
struct hidl_handle {
    hidl_handle();
    ~hidl_handle();

    // The handle is not owned; the caller keeps it alive.
    hidl_handle(const native_handle_t* handle);  // NOLINT(google-explicit-constructor)
    // Copies clone the handle (dup of every fd) and own the clone.
    hidl_handle(const hidl_handle& other);
    hidl_handle(hidl_handle&& other) noexcept;

    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(const native_handle_t* native_handle);
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    // Points at handle; when shouldOwn the handle is closed and deleted with
    // this object.
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* operator->() const;
    operator const native_handle_t*() const;  // NOLINT(google-explicit-constructor)
    const native_handle_t* getNativeHandle() const;

    static const size_t kOffsetOfNativeHandle;

private:
    void freeHandle();

    details::hidl_pointer<const native_handle_t> mHandle;
    bool mOwnsHandle;
    [[maybe_unused]] uint8_t mPad[7];  // keeps the platform's 16-byte layout
};

// ---------------------------------------------------------------------------
// hidl_string: character data with a length, NUL-terminated, owned or
// pointing at external memory.
struct hidl_string {
    hidl_string();
    ~hidl_string();

    hidl_string(const hidl_string& other);
    hidl_string(const char* s);  // NOLINT(google-explicit-constructor)
    hidl_string(const char* s, size_t length);
    hidl_string(const std::string& s);  // NOLINT(google-explicit-constructor)
    hidl_string(hidl_string&& other) noexcept;

    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(const char* s);
    hidl_string& operator=(const std::string& s);
    hidl_string& operator=(hidl_string&& other) noexcept;

    const char* c_str() const;
    size_t size() const;
    bool empty() const;

    operator std::string() const;  // NOLINT(google-explicit-constructor)

    void clear();

    // Points at data without copying; data must hold size characters followed
    // by a NUL and outlive this string (or its next assignment).
    void setToExternal(const char* data, size_t size);

    static const size_t kOffsetOfBuffer;

private:
    void copyFrom(const char* data, size_t size);
    void moveFrom(hidl_string&& other);

    details::hidl_pointer<const char> mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
    [[maybe_unused]] uint8_t mPad[3];  // keeps the platform's 16-byte layout
};

bool operator==(const hidl_string& a, const hidl_string& b);
bool operator!=(const hidl_string& a, const hidl_string& b);
bool operator<(const hidl_string& a, const hidl_string& b);
bool operator==(const hidl_string& a, const char* b);
bool operator!=(const hidl_string& a, const char* b);
bool operator==(const char* a, const hidl_string& b);
bool operator!=(const char* a, const hidl_string& b);
bool operator==(const hidl_string& a, const std::string& b);
bool operator!=(const hidl_string& a, const std::string& b);
bool operator==(const std::string& a, const hidl_string& b);
bool operator!=(const std::string& a, const hidl_string& b);
std::ostream& operator<<(std::ostream& os, const hidl_string& s);

// ---------------------------------------------------------------------------
// hidl_vec<T>: a counted array of T, owned or pointing at external memory.
template <typename T>
struct hidl_vec {
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    hidl_vec() : mBuffer(nullptr), mSize(0), mOwnsBuffer(true), mPad{} {}

    explicit hidl_vec(size_t size) : hidl_vec() { resize(size); }

    hidl_vec(const hidl_vec<T>& other) : hidl_vec() { *this = other; }
    hidl_vec(hidl_vec<T>&& other) noexcept : hidl_vec() { *this = std::move(other); }

    hidl_vec(std::initializer_list<T> list) : hidl_vec() {
        assignRange(list.begin(), list.end(), list.size());
    }

    hidl_vec(const std::vector<T>& other) : hidl_vec() {  // NOLINT(google-explicit-constructor)
        assignRange(other.begin(), other.end(), other.size());
    }

    template <typename InputIterator,
              typename = typename std::enable_if<std::is_convertible<
                      typename std::iterator_traits<InputIterator>::iterator_category,
                      std::input_iterator_tag>::value>::type>
    hidl_vec(InputIterator first, InputIterator last) : hidl_vec() {
        assignRange(first, last, static_cast<size_t>(std::distance(first, last)));
    }

    ~hidl_vec() { release(); }

    hidl_vec& operator=(hidl_vec<T>&& other) noexcept {
        if (this == &other) return *this;
        release();
        mBuffer = other.mBuffer.get();
        mSize = other.mSize;
        mOwnsBuffer = other.mOwnsBuffer;
        other.mBuffer = nullptr;
        other.mSize = 0;
        other.mOwnsBuffer = true;
        return *this;
    }

    hidl_vec& operator=(const hidl_vec<T>& other) {
        if (this != &other) assignRange(other.begin(), other.end(), other.size());
        return *this;
    }

    hidl_vec& operator=(const std::vector<T>& other) {
        assignRange(other.begin(), other.end(), other.size());
        return *this;
    }

    operator std::vector<T>() const {  // NOLINT(google-explicit-constructor)
        return std::vector<T>(begin(), end());
    }

    // Points at data without copying. When shouldOwn the memory must come
    // from new[] and is released with delete[].
    void setToExternal(T* data, size_t size, bool shouldOwn = false) {
        checkSize(size);
        release();
        mBuffer = data;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = shouldOwn;
    }

    // Hands the data to the caller, who then owns it if this vector did.
    T* releaseData() {
        if (!mOwnsBuffer && mBuffer != nullptr) {
            resize(mSize);  // take an owned copy first
        }
        mOwnsBuffer = false;
        T* data = mBuffer;
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
        return data;
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }

    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }

    iterator begin() { return mBuffer.get(); }
    iterator end() { return mBuffer.get() + mSize; }
    const_iterator begin() const { return mBuffer.get(); }
    const_iterator end() const { return mBuffer.get() + mSize; }

    void resize(size_t size) {
        checkSize(size);
        T* newBuffer = size == 0 ? nullptr : new T[size]();
        const size_t keep = std::min(size, static_cast<size_t>(mSize));
        for (size_t i = 0; i < keep; ++i) newBuffer[i] = std::move(mBuffer[i]);
        release();
        mBuffer = newBuffer;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }

    bool operator==(const hidl_vec<T>& other) const {
        return mSize == other.mSize && std::equal(begin(), end(), other.begin());
    }
    bool operator!=(const hidl_vec<T>& other) const { return !(*this == other); }

    static const size_t kOffsetOfBuffer;

private:
    static void checkSize(size_t size) {
        if (size > std::numeric_limits<uint32_t>::max()) {
            details::logAlwaysFatal("hidl_vec can't hold more than 2^32 elements.");
        }
    }

    template <typename Iter>
    void assignRange(Iter first, Iter last, size_t size) {
        checkSize(size);
        T* newBuffer = size == 0 ? nullptr : new T[size]();
        size_t i = 0;
        for (; first != last; ++first) newBuffer[i++] = *first;
        release();
        mBuffer = newBuffer;
        mSize = static_cast<uint32_t>(size);
        mOwnsBuffer = true;
    }

    void release() {
        if (mOwnsBuffer && mBuffer != nullptr) delete[] mBuffer.get();
        mBuffer = nullptr;
        mSize = 0;
        mOwnsBuffer = true;
    }

    details::hidl_pointer<T> mBuffer;
    uint32_t mSize;
    bool mOwnsBuffer;
    [[maybe_unused]] uint8_t mPad[3];  // keeps the platform's 16-byte layout
};

template <typename T>
const size_t hidl_vec<T>::kOffsetOfBuffer = 0;

// ---------------------------------------------------------------------------
// hidl_array<T, N...>: a fixed-size, possibly multi-dimensional array with the
// plain layout of T[N1][N2]...
namespace details {
template <typename T, size_t... SIZES>
struct array_type;
template <typename T, size_t SIZE1, size_t... SIZES>
struct array_type<T, SIZE1, SIZES...> {
    using type = typename array_type<T, SIZES...>::type[SIZE1];
};
template <typename T>
struct array_type<T> {
    using type = T;
};
template <size_t... SIZES>
struct product;
template <size_t SIZE1, size_t... SIZES>
struct product<SIZE1, SIZES...> {
    static constexpr size_t value = SIZE1 * product<SIZES...>::value;
};
template <>
struct product<> {
    static constexpr size_t value = 1;
};
}  // namespace details

template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array {
    using inner_type = typename details::array_type<T, SIZES...>::type;
    static constexpr size_t kElementCount = details::product<SIZE1, SIZES...>::value;

    hidl_array() = default;

    // Copies kElementCount elements from source.
    explicit hidl_array(const typename details::array_type<T, SIZE1, SIZES...>::type& source) {
        std::copy_n(&source[0][0], kElementCount, data());
    }

    T* data() { return reinterpret_cast<T*>(&mBuffer); }
    const T* data() const { return reinterpret_cast<const T*>(&mBuffer); }

    inner_type& operator[](size_t index) { return mBuffer[index]; }
    const inner_type& operator[](size_t index) const { return mBuffer[index]; }

    static constexpr std::array<size_t, 1 + sizeof...(SIZES)> size() { return {{SIZE1, SIZES...}}; }

    bool operator==(const hidl_array& other) const {
        return std::equal(data(), data() + kElementCount, other.data());
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    typename details::array_type<T, SIZE1, SIZES...>::type mBuffer{};
};

// One-dimensional specialisation, convertible from a plain array.
template <typename T, size_t SIZE1>
struct hidl_array<T, SIZE1> {
    hidl_array() = default;

    hidl_array(const T (&source)[SIZE1]) {  // NOLINT(google-explicit-constructor)
        std::copy_n(source, SIZE1, mBuffer);
    }
    hidl_array(const std::array<T, SIZE1>& source) {  // NOLINT(google-explicit-constructor)
        std::copy_n(source.data(), SIZE1, mBuffer);
    }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }

    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }

    static constexpr size_t size() { return SIZE1; }

    operator std::array<T, SIZE1>() const {  // NOLINT(google-explicit-constructor)
        std::array<T, SIZE1> out;
        std::copy_n(mBuffer, SIZE1, out.data());
        return out;
    }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + SIZE1, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    T mBuffer[SIZE1]{};
};

// ---------------------------------------------------------------------------
// Told when the process behind a remote interface object dies.
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie,
                             const ::android::wp<::android::hidl::base::V1_0::IBase>& who) = 0;
};

// ---------------------------------------------------------------------------
// Layout guarantees the wire format relies on.
static_assert(sizeof(hidl_string) == 16, "hidl_string is 16 bytes");
static_assert(alignof(hidl_string) == 8, "hidl_string is 8-aligned");
static_assert(sizeof(hidl_vec<uint8_t>) == 16, "hidl_vec is 16 bytes");
static_assert(alignof(hidl_vec<uint8_t>) == 8, "hidl_vec is 8-aligned");
static_assert(sizeof(hidl_handle) == 16, "hidl_handle is 16 bytes");
static_assert(alignof(hidl_handle) == 8, "hidl_handle is 8-aligned");
static_assert(sizeof(hidl_array<uint8_t, 32>) == 32, "hidl_array has no overhead");

// Version of an interface package, as the registry reports it.
struct hidl_version {
    constexpr hidl_version(uint16_t major, uint16_t minor) : mMajor(major), mMinor(minor) {}
    constexpr uint16_t get_major() const { return mMajor; }
    constexpr uint16_t get_minor() const { return mMinor; }
    bool operator==(const hidl_version& other) const {
        return mMajor == other.mMajor && mMinor == other.mMinor;
    }

private:
    uint16_t mMajor;
    uint16_t mMinor;
};

inline hidl_version make_hidl_version(uint16_t major, uint16_t minor) {
    return hidl_version(major, minor);
}

}  // namespace hardware
}  // namespace android
