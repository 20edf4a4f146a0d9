// hidl_string, hidl_handle and the shared fatal-error helper.
#include <android/log.h>
#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>
#include <hidl_host/Fatal.h>

#include <cstdlib>
#include <cstring>

namespace android {
namespace hardware {

namespace details {

void logAlwaysFatal(const char* message) {
    host::fatal("HidlSupport", "%s", message);
}

}  // namespace details

// ---------------------------------------------------------------------------
// hidl_handle

const size_t hidl_handle::kOffsetOfNativeHandle = 0;
static_assert(offsetof(native_handle_t, data) == 12, "native_handle_t header is three ints");

hidl_handle::hidl_handle() : mHandle(nullptr), mOwnsHandle(false), mPad{} {}

hidl_handle::~hidl_handle() {
    freeHandle();
}

hidl_handle::hidl_handle(const native_handle_t* handle)
    : mHandle(handle), mOwnsHandle(false), mPad{} {}

hidl_handle::hidl_handle(const hidl_handle& other) : hidl_handle() {
    *this = other;
}

hidl_handle::hidl_handle(hidl_handle&& other) noexcept : hidl_handle() {
    *this = std::move(other);
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    freeHandle();
    if (other.mHandle != nullptr) {
        native_handle_t* clone = native_handle_clone(other.mHandle);
        if (clone == nullptr)
            details::logAlwaysFatal("Failed to clone native_handle in hidl_handle");
        mHandle = clone;
        mOwnsHandle = true;
    }
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* native_handle) {
    freeHandle();
    mHandle = native_handle;
    mOwnsHandle = false;
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    freeHandle();
    mHandle = other.mHandle.get();
    mOwnsHandle = other.mOwnsHandle;
    other.mHandle = nullptr;
    other.mOwnsHandle = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

const native_handle_t* hidl_handle::operator->() const {
    return mHandle;
}

hidl_handle::operator const native_handle_t*() const {
    return mHandle;
}

const native_handle_t* hidl_handle::getNativeHandle() const {
    return mHandle;
}

void hidl_handle::freeHandle() {
    if (mOwnsHandle && mHandle != nullptr) {
        // Only owned handles came from native_handle_create/clone.
        native_handle_t* handle = const_cast<native_handle_t*>(mHandle.get());
        native_handle_close(handle);
        native_handle_delete(handle);
    }
    mHandle = nullptr;
    mOwnsHandle = false;
}

// ---------------------------------------------------------------------------
// hidl_string

namespace {
const char kEmptyString[1] = {'\0'};
}  // namespace

const size_t hidl_string::kOffsetOfBuffer = 0;

hidl_string::hidl_string() : mBuffer(kEmptyString), mSize(0), mOwnsBuffer(false), mPad{} {}

hidl_string::~hidl_string() {
    clear();
}

hidl_string::hidl_string(const hidl_string& other) : hidl_string() {
    copyFrom(other.c_str(), other.size());
}

hidl_string::hidl_string(const char* s) : hidl_string() {
    if (s != nullptr) copyFrom(s, strlen(s));
}

hidl_string::hidl_string(const char* s, size_t length) : hidl_string() {
    copyFrom(s, length);
}

hidl_string::hidl_string(const std::string& s) : hidl_string() {
    copyFrom(s.data(), s.size());
}

hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() {
    moveFrom(std::move(other));
}

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) copyFrom(other.c_str(), other.size());
    return *this;
}

hidl_string& hidl_string::operator=(const char* s) {
    if (s == nullptr) {
        clear();
    } else {
        copyFrom(s, strlen(s));
    }
    return *this;
}

hidl_string& hidl_string::operator=(const std::string& s) {
    copyFrom(s.data(), s.size());
    return *this;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) moveFrom(std::move(other));
    return *this;
}

const char* hidl_string::c_str() const {
    return mBuffer;
}

size_t hidl_string::size() const {
    return mSize;
}

bool hidl_string::empty() const {
    return mSize == 0;
}

hidl_string::operator std::string() const {
    return std::string(mBuffer, mSize);
}

void hidl_string::clear() {
    if (mOwnsBuffer && mBuffer != nullptr) delete[] const_cast<char*>(mBuffer.get());
    mBuffer = kEmptyString;
    mSize = 0;
    mOwnsBuffer = false;
}

void hidl_string::setToExternal(const char* data, size_t size) {
    if (size > UINT32_MAX) details::logAlwaysFatal("string size can't exceed 2^32 bytes");
    clear();
    mBuffer = data;
    mSize = static_cast<uint32_t>(size);
    mOwnsBuffer = false;
}

void hidl_string::copyFrom(const char* data, size_t size) {
    if (size > UINT32_MAX) details::logAlwaysFatal("string size can't exceed 2^32 bytes");
    // data may alias our own buffer (e.g. assigning a substring of ourselves).
    char* copy = new char[size + 1];
    if (size > 0) memcpy(copy, data, size);
    copy[size] = '\0';
    clear();
    mBuffer = copy;
    mSize = static_cast<uint32_t>(size);
    mOwnsBuffer = true;
}

void hidl_string::moveFrom(hidl_string&& other) {
    clear();
    mBuffer = other.mBuffer.get();
    mSize = other.mSize;
    mOwnsBuffer = other.mOwnsBuffer;
    other.mBuffer = kEmptyString;
    other.mSize = 0;
    other.mOwnsBuffer = false;
}

namespace {
int compareStrings(const char* a, size_t aLen, const char* b, size_t bLen) {
    const int cmp = memcmp(a, b, std::min(aLen, bLen));
    if (cmp != 0) return cmp;
    return aLen < bLen ? -1 : (aLen > bLen ? 1 : 0);
}
}  // namespace

bool operator==(const hidl_string& a, const hidl_string& b) {
    return compareStrings(a.c_str(), a.size(), b.c_str(), b.size()) == 0;
}
bool operator!=(const hidl_string& a, const hidl_string& b) {
    return !(a == b);
}
bool operator<(const hidl_string& a, const hidl_string& b) {
    return compareStrings(a.c_str(), a.size(), b.c_str(), b.size()) < 0;
}
bool operator==(const hidl_string& a, const char* b) {
    if (b == nullptr) return false;
    return compareStrings(a.c_str(), a.size(), b, strlen(b)) == 0;
}
bool operator!=(const hidl_string& a, const char* b) {
    return !(a == b);
}
bool operator==(const char* a, const hidl_string& b) {
    return b == a;
}
bool operator!=(const char* a, const hidl_string& b) {
    return !(b == a);
}
bool operator==(const hidl_string& a, const std::string& b) {
    return compareStrings(a.c_str(), a.size(), b.data(), b.size()) == 0;
}
bool operator!=(const hidl_string& a, const std::string& b) {
    return !(a == b);
}
bool operator==(const std::string& a, const hidl_string& b) {
    return b == a;
}
bool operator!=(const std::string& a, const hidl_string& b) {
    return !(b == a);
}

std::ostream& operator<<(std::ostream& os, const hidl_string& s) {
    return os.write(s.c_str(), static_cast<std::streamsize>(s.size()));
}

}  // namespace hardware
}  // namespace android
