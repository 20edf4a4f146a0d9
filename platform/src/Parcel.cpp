// The scatter-gather parcel: scalars, strings, buffer objects, binder objects
// and native handles. Reads check every object they use against the object
// table, so a parcel rebuilt from a peer's image never leads a reader outside
// its own memory.
#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace android {
namespace hardware {

namespace {

constexpr size_t pad4(size_t n) {
    return (n + 3) & ~static_cast<size_t>(3);
}

// No single item may be larger than this; keeps every size sum far from
// overflow.
constexpr size_t kMaxItemSize = std::numeric_limits<int32_t>::max();

constexpr size_t kInitialCapacity = 256;

size_t objectSizeForType(uint32_t type) {
    switch (type) {
        case BINDER_TYPE_PTR:
            return sizeof(binder_buffer_object);
        case BINDER_TYPE_FDA:
            return sizeof(binder_fd_array_object);
        case BINDER_TYPE_BINDER:
        case BINDER_TYPE_HANDLE:
            return sizeof(flat_binder_object);
        default:
            return 0;
    }
}

}  // namespace

Parcel::Parcel() = default;

// The members go in reverse order: descriptors, then owned buffers, as
// releaseOwned() lets go of them.
Parcel::~Parcel() = default;

void Parcel::releaseOwned() {
    mOwnedFds.clear();
    mOwnedBuffers.reset();
}

void Parcel::freeData() {
    mData.clear();
    mObjects.clear();
    mObjectsEnd = 0;
    mBinders.clear();
    releaseOwned();
    mDataPos = 0;
    mNextObjectHint = 0;
}

const uint8_t* Parcel::data() const {
    return mData.data();
}

size_t Parcel::dataSize() const {
    return mData.size();
}

size_t Parcel::dataAvail() const {
    return mDataPos < mData.size() ? mData.size() - mDataPos : 0;
}

size_t Parcel::dataPosition() const {
    return mDataPos;
}

size_t Parcel::dataCapacity() const {
    return mData.capacity();
}

status_t Parcel::setDataSize(size_t size) {
    if (size > kMaxItemSize) return BAD_VALUE;
    // Objects cut by the new end are no longer objects.
    while (!mObjects.empty() && mObjectsEnd > size) {
        mObjects.pop_back();
        if (mObjects.empty()) {
            mObjectsEnd = 0;
        } else {
            uint32_t type;
            memcpy(&type, mData.data() + mObjects.back(), sizeof(type));
            mObjectsEnd = mObjects.back() + objectSizeForType(type);
        }
    }
    const size_t old = mData.size();
    mData.resize(size);
    // Grown storage is not zeroed by itself, and blocks are reused.
    if (size > old) memset(mData.data() + old, 0, size - old);
    if (mDataPos > size) mDataPos = size;
    return OK;
}

void Parcel::setDataPosition(size_t pos) const {
    mDataPos = pos;
}

status_t Parcel::setDataCapacity(size_t size) {
    if (size > kMaxItemSize) return BAD_VALUE;
    mData.reserve(size);
    return OK;
}

// ---------------------------------------------------------------------------
// Writing

uint8_t* Parcel::reserveWrite(size_t len) {
    if (len > kMaxItemSize || mDataPos > kMaxItemSize) return nullptr;
    const size_t padded = pad4(len);
    const size_t pos = mDataPos;
    const size_t end = pos + padded;
    if (pos < mObjectsEnd && !mObjects.empty()) {
        // Raw data must not overwrite a recorded object: the last object
        // starting before end must also end at or before pos.
        auto it = std::lower_bound(mObjects.begin(), mObjects.end(), end);
        if (it != mObjects.begin()) {
            const size_t off = *(it - 1);
            uint32_t type;
            memcpy(&type, mData.data() + off, sizeof(type));
            if (off + objectSizeForType(type) > pos) return nullptr;
        }
    }
    if (end > mData.size()) {
        if (end > mData.capacity()) {
            mData.reserve(std::max({end, mData.capacity() * 2, kInitialCapacity}));
        }
        mData.resize(end);
    }
    uint8_t* out = mData.data() + pos;
    if (padded > len) memset(out + len, 0, padded - len);
    mDataPos = end;
    return out;
}

template <typename T>
status_t Parcel::writeAligned(T val) {
    static_assert(sizeof(T) <= 8, "scalars only");
    uint8_t* out = reserveWrite(sizeof(T));
    if (out == nullptr) return BAD_VALUE;
    memcpy(out, &val, sizeof(T));
    return OK;
}

status_t Parcel::write(const void* data, size_t len) {
    if (data == nullptr && len != 0) return BAD_VALUE;
    uint8_t* out = reserveWrite(len);
    if (out == nullptr) return BAD_VALUE;
    if (len != 0) memcpy(out, data, len);
    return OK;
}

void* Parcel::writeInplace(size_t len) {
    return reserveWrite(len);
}

status_t Parcel::writeInt8(int8_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint8(uint8_t val) {
    return writeAligned(val);
}
status_t Parcel::writeInt16(int16_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint16(uint16_t val) {
    return writeAligned(val);
}
status_t Parcel::writeInt32(int32_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint32(uint32_t val) {
    return writeAligned(val);
}
status_t Parcel::writeInt64(int64_t val) {
    return writeAligned(val);
}
status_t Parcel::writeUint64(uint64_t val) {
    return writeAligned(val);
}
status_t Parcel::writeFloat(float val) {
    return writeAligned(val);
}
status_t Parcel::writeDouble(double val) {
    return writeAligned(val);
}
status_t Parcel::writeBool(bool val) {
    return writeAligned<int32_t>(val ? 1 : 0);
}

status_t Parcel::writeCString(const char* str) {
    if (str == nullptr) return BAD_VALUE;
    return write(str, strlen(str) + 1);
}

status_t Parcel::writeString16(const String16& str) {
    return writeString16(str.string(), str.size());
}

status_t Parcel::writeString16(const char16_t* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len >= kMaxItemSize / sizeof(char16_t)) return BAD_VALUE;
    const size_t start = mDataPos;
    status_t err = writeInt32(static_cast<int32_t>(len));
    if (err != OK) return err;
    const size_t bytes = len * sizeof(char16_t);
    uint8_t* out = reserveWrite(bytes + sizeof(char16_t));
    if (out == nullptr) {
        mDataPos = start;
        return BAD_VALUE;
    }
    if (bytes != 0) memcpy(out, str, bytes);
    out[bytes] = 0;
    out[bytes + 1] = 0;
    return OK;
}

status_t Parcel::writeInterfaceToken(const char* interface) {
    return writeCString(interface);
}

status_t Parcel::writeObject(const void* object, size_t size, size_t* index) {
    // Objects are only appended, so handles (indices) stay stable and the
    // table stays sorted.
    if ((mDataPos & 3) != 0 || mDataPos < mObjectsEnd) return BAD_VALUE;
    const size_t pos = mDataPos;
    uint8_t* out = reserveWrite(size);
    if (out == nullptr) return BAD_VALUE;
    memcpy(out, object, size);
    mObjects.push_back(pos);
    mObjectsEnd = pos + size;
    if (index != nullptr) *index = mObjects.size() - 1;
    return OK;
}

status_t Parcel::writeBuffer(const void* buffer, size_t length, size_t* handle) {
    if (buffer == nullptr && length != 0) return BAD_VALUE;
    binder_buffer_object obj{};
    obj.hdr.type = BINDER_TYPE_PTR;
    obj.flags = 0;
    obj.buffer = reinterpret_cast<binder_uintptr_t>(buffer);
    obj.length = length;
    return writeObject(&obj, sizeof(obj), handle);
}

status_t Parcel::writeEmbeddedBuffer(const void* buffer, size_t length, size_t* handle,
                                     size_t parent_buffer_handle, size_t parent_offset) {
    if (buffer == nullptr && length != 0) return BAD_VALUE;
    binder_buffer_object parent;
    if (!bufferAt(parent_buffer_handle, &parent)) return BAD_VALUE;
    if (parent.length < sizeof(uint64_t) || parent_offset > parent.length - sizeof(uint64_t)) {
        return BAD_VALUE;
    }
    binder_buffer_object obj{};
    obj.hdr.type = BINDER_TYPE_PTR;
    obj.flags = BINDER_BUFFER_FLAG_HAS_PARENT;
    obj.buffer = reinterpret_cast<binder_uintptr_t>(buffer);
    obj.length = length;
    obj.parent = parent_buffer_handle;
    obj.parent_offset = parent_offset;
    return writeObject(&obj, sizeof(obj), handle);
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& val) {
    flat_binder_object obj{};
    if (val == nullptr) {
        obj.hdr.type = BINDER_TYPE_BINDER;
        obj.binder = 0;
        return writeObject(&obj, sizeof(obj), nullptr);
    }
    obj.hdr.type = val->localBinder() != nullptr ? BINDER_TYPE_BINDER : BINDER_TYPE_HANDLE;
    mBinders.push_back(val);
    obj.binder = mBinders.size();
    status_t err = writeObject(&obj, sizeof(obj), nullptr);
    if (err != OK) mBinders.pop_back();
    return err;
}

status_t Parcel::writeNativeHandle(const native_handle_t* handle, bool embedded,
                                   size_t parent_buffer_handle, size_t parent_offset) {
    size_t bufferHandle;
    if (handle == nullptr) {
        return embedded ? writeEmbeddedBuffer(nullptr, 0, &bufferHandle, parent_buffer_handle,
                                              parent_offset)
                        : writeBuffer(nullptr, 0, &bufferHandle);
    }
    if (handle->version != static_cast<int>(sizeof(native_handle_t)) || handle->numFds < 0 ||
        handle->numFds > NATIVE_HANDLE_MAX_FDS || handle->numInts < 0 ||
        handle->numInts > NATIVE_HANDLE_MAX_INTS) {
        return BAD_VALUE;
    }
    const size_t size = sizeof(native_handle_t) +
                        sizeof(int) * static_cast<size_t>(handle->numFds + handle->numInts);
    status_t err = embedded ? writeEmbeddedBuffer(handle, size, &bufferHandle, parent_buffer_handle,
                                                  parent_offset)
                            : writeBuffer(handle, size, &bufferHandle);
    if (err != OK) return err;
    binder_fd_array_object fda{};
    fda.hdr.type = BINDER_TYPE_FDA;
    fda.num_fds = static_cast<binder_size_t>(handle->numFds);
    fda.parent = bufferHandle;
    fda.parent_offset = offsetof(native_handle_t, data);
    return writeObject(&fda, sizeof(fda), nullptr);
}

status_t Parcel::writeNativeHandleNoDup(const native_handle_t* handle) {
    return writeNativeHandle(handle, false, 0, 0);
}

status_t Parcel::writeEmbeddedNativeHandle(const native_handle_t* handle,
                                           size_t parent_buffer_handle, size_t parent_offset) {
    return writeNativeHandle(handle, true, parent_buffer_handle, parent_offset);
}

// ---------------------------------------------------------------------------
// Reading

template <typename T>
status_t Parcel::readAligned(T* out) const {
    static_assert(sizeof(T) <= 8, "scalars only");
    if (out == nullptr) return BAD_VALUE;
    constexpr size_t padded = pad4(sizeof(T));
    if (mDataPos > mData.size() || mData.size() - mDataPos < padded) return NOT_ENOUGH_DATA;
    memcpy(out, mData.data() + mDataPos, sizeof(T));
    mDataPos += padded;
    return OK;
}

status_t Parcel::read(void* outData, size_t len) const {
    const void* in = readInplace(len);
    if (in == nullptr) return NOT_ENOUGH_DATA;
    if (len != 0) memcpy(outData, in, len);
    return OK;
}

const void* Parcel::readInplace(size_t len) const {
    if (mDataPos > mData.size()) return nullptr;
    const size_t avail = mData.size() - mDataPos;
    if (len > avail || pad4(len) > avail) return nullptr;
    const void* in = mData.data() + mDataPos;
    mDataPos += pad4(len);
    return in;
}

status_t Parcel::readInt8(int8_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint8(uint8_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readInt16(int16_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint16(uint16_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readInt32(int32_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint32(uint32_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readInt64(int64_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readUint64(uint64_t* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readFloat(float* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readDouble(double* pArg) const {
    return readAligned(pArg);
}
status_t Parcel::readBool(bool* pArg) const {
    if (pArg == nullptr) return BAD_VALUE;
    int32_t val;
    status_t err = readAligned(&val);
    if (err == OK) *pArg = val != 0;
    return err;
}

const char* Parcel::readCString() const {
    if (mDataPos >= mData.size()) return nullptr;
    const size_t avail = mData.size() - mDataPos;
    const char* str = reinterpret_cast<const char*>(mData.data() + mDataPos);
    const void* eos = memchr(str, 0, avail);
    if (eos == nullptr) return nullptr;
    const size_t len = static_cast<const char*>(eos) - str;
    mDataPos += std::min(pad4(len + 1), avail);
    return str;
}

const char16_t* Parcel::readString16Inplace(size_t* outLen) const {
    *outLen = 0;
    const size_t start = mDataPos;
    int32_t len;
    if (readAligned(&len) != OK) return nullptr;
    if (len == -1) return nullptr;  // the null string
    // Characters must be 2-aligned to be read in place.
    if (len < 0 || (mDataPos & 1) != 0) {
        mDataPos = start;
        return nullptr;
    }
    const size_t bytes = (static_cast<size_t>(len) + 1) * sizeof(char16_t);
    const size_t avail = mData.size() - mDataPos;
    if (bytes > avail) {
        mDataPos = start;
        return nullptr;
    }
    const char16_t* str = reinterpret_cast<const char16_t*>(mData.data() + mDataPos);
    if (str[len] != 0) {
        mDataPos = start;
        return nullptr;
    }
    mDataPos += std::min(pad4(bytes), avail);
    *outLen = static_cast<size_t>(len);
    return str;
}

status_t Parcel::readString16(String16* pArg) const {
    if (pArg == nullptr) return BAD_VALUE;
    const size_t start = mDataPos;
    size_t len;
    const char16_t* str = readString16Inplace(&len);
    if (str != nullptr) {
        *pArg = String16(str, len);
        return OK;
    }
    *pArg = String16();
    // Moved past a -1 length: a null string; otherwise the data was bad.
    return mDataPos != start ? UNEXPECTED_NULL : BAD_VALUE;
}

bool Parcel::enforceInterface(const char* interface) const {
    const char* token = readCString();
    return token != nullptr && interface != nullptr && strcmp(token, interface) == 0;
}

bool Parcel::findObjectAt(size_t pos, size_t* index) const {
    // Reads usually walk the objects in order; try the next one first.
    if (mNextObjectHint < mObjects.size() && mObjects[mNextObjectHint] == pos) {
        *index = mNextObjectHint;
        return true;
    }
    auto it = std::lower_bound(mObjects.begin(), mObjects.end(), pos);
    if (it == mObjects.end() || *it != pos) return false;
    *index = static_cast<size_t>(it - mObjects.begin());
    return true;
}

bool Parcel::bufferAt(size_t index, binder_buffer_object* out) const {
    if (index >= mObjects.size()) return false;
    const size_t off = mObjects[index];
    if (off > mData.size() || mData.size() - off < sizeof(*out)) return false;
    memcpy(out, mData.data() + off, sizeof(*out));
    return out->hdr.type == BINDER_TYPE_PTR;
}

status_t Parcel::readBufferObject(bool embedded, size_t parent_buffer_handle, size_t parent_offset,
                                  size_t* buffer_handle, const void** buffer_out,
                                  size_t* length_out) const {
    size_t index;
    if (!findObjectAt(mDataPos, &index)) return BAD_VALUE;
    binder_buffer_object obj;
    if (!bufferAt(index, &obj)) return BAD_TYPE;
    if ((obj.flags & ~static_cast<uint32_t>(BINDER_BUFFER_FLAG_HAS_PARENT)) != 0) return BAD_VALUE;
    if (embedded) {
        if ((obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) == 0 ||
            obj.parent != parent_buffer_handle || obj.parent_offset != parent_offset) {
            return BAD_VALUE;
        }
        // The parent must be an earlier buffer holding this child's pointer.
        binder_buffer_object parent;
        if (parent_buffer_handle >= index || !bufferAt(parent_buffer_handle, &parent)) {
            return BAD_VALUE;
        }
        if (parent.buffer == 0 || parent.length < sizeof(uint64_t) ||
            parent_offset > parent.length - sizeof(uint64_t)) {
            return BAD_VALUE;
        }
        uint64_t slot;
        memcpy(&slot, reinterpret_cast<const uint8_t*>(parent.buffer) + parent_offset,
               sizeof(slot));
        if (slot != obj.buffer) return BAD_VALUE;
    } else if ((obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
        return BAD_VALUE;
    }
    if (obj.buffer == 0 && obj.length != 0) return BAD_VALUE;
    *buffer_handle = index;
    *buffer_out = reinterpret_cast<const void*>(obj.buffer);
    *length_out = obj.length;
    return OK;
}

status_t Parcel::readCheckedBuffer(bool embedded, bool nullable, size_t buffer_size,
                                   size_t parent_buffer_handle, size_t parent_offset,
                                   size_t* buffer_handle, const void** buffer_out) const {
    size_t handle, length;
    const void* buffer;
    status_t err = readBufferObject(embedded, parent_buffer_handle, parent_offset, &handle, &buffer,
                                    &length);
    if (err != OK) return err;
    if (buffer == nullptr && !nullable) return UNEXPECTED_NULL;
    if (length != buffer_size) return BAD_VALUE;
    mDataPos += sizeof(binder_buffer_object);
    mNextObjectHint = handle + 1;
    *buffer_handle = handle;
    *buffer_out = buffer;
    return OK;
}

status_t Parcel::readBuffer(size_t buffer_size, size_t* buffer_handle,
                            const void** buffer_out) const {
    return readCheckedBuffer(false, false, buffer_size, 0, 0, buffer_handle, buffer_out);
}

status_t Parcel::readNullableBuffer(size_t buffer_size, size_t* buffer_handle,
                                    const void** buffer_out) const {
    return readCheckedBuffer(false, true, buffer_size, 0, 0, buffer_handle, buffer_out);
}

status_t Parcel::readEmbeddedBuffer(size_t buffer_size, size_t* buffer_handle,
                                    size_t parent_buffer_handle, size_t parent_offset,
                                    const void** buffer_out) const {
    return readCheckedBuffer(true, false, buffer_size, parent_buffer_handle, parent_offset,
                             buffer_handle, buffer_out);
}

status_t Parcel::readNullableEmbeddedBuffer(size_t buffer_size, size_t* buffer_handle,
                                            size_t parent_buffer_handle, size_t parent_offset,
                                            const void** buffer_out) const {
    return readCheckedBuffer(true, true, buffer_size, parent_buffer_handle, parent_offset,
                             buffer_handle, buffer_out);
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* val) const {
    if (val == nullptr) return BAD_VALUE;
    size_t index;
    if (!findObjectAt(mDataPos, &index)) return BAD_VALUE;
    if (mData.size() - mDataPos < sizeof(flat_binder_object)) return BAD_VALUE;
    flat_binder_object obj;
    memcpy(&obj, mData.data() + mDataPos, sizeof(obj));
    if (obj.hdr.type != BINDER_TYPE_BINDER && obj.hdr.type != BINDER_TYPE_HANDLE) return BAD_TYPE;
    if (obj.binder > mBinders.size()) return BAD_VALUE;
    *val = obj.binder == 0 ? nullptr : mBinders[obj.binder - 1];
    mDataPos += sizeof(obj);
    mNextObjectHint = index + 1;
    return OK;
}

status_t Parcel::readStrongBinder(sp<IBinder>* val) const {
    status_t err = readNullableStrongBinder(val);
    if (err == OK && *val == nullptr) return UNEXPECTED_NULL;
    return err;
}

sp<IBinder> Parcel::readStrongBinder() const {
    sp<IBinder> val;
    readNullableStrongBinder(&val);
    return val;
}

status_t Parcel::readNativeHandle(bool nullable, bool embedded, size_t parent_buffer_handle,
                                  size_t parent_offset, const native_handle_t** handle) const {
    if (handle == nullptr) return BAD_VALUE;
    size_t bufferHandle, length;
    const void* buffer;
    status_t err = readBufferObject(embedded, parent_buffer_handle, parent_offset, &bufferHandle,
                                    &buffer, &length);
    if (err != OK) return err;
    if (buffer == nullptr) {
        if (!nullable) return UNEXPECTED_NULL;
        mDataPos += sizeof(binder_buffer_object);
        mNextObjectHint = bufferHandle + 1;
        *handle = nullptr;
        return OK;
    }
    if (length < sizeof(native_handle_t) ||
        reinterpret_cast<uintptr_t>(buffer) % alignof(native_handle_t) != 0) {
        return BAD_VALUE;
    }
    native_handle_t header;
    memcpy(&header, buffer, sizeof(header));
    if (header.version != static_cast<int>(sizeof(native_handle_t)) || header.numFds < 0 ||
        header.numFds > NATIVE_HANDLE_MAX_FDS || header.numInts < 0 ||
        header.numInts > NATIVE_HANDLE_MAX_INTS ||
        length != sizeof(native_handle_t) +
                          sizeof(int) * static_cast<size_t>(header.numFds + header.numInts)) {
        return BAD_VALUE;
    }
    // The fd array object follows and must describe exactly this handle's fds.
    const size_t fdaPos = mDataPos + sizeof(binder_buffer_object);
    size_t fdaIndex;
    if (!findObjectAt(fdaPos, &fdaIndex)) return BAD_VALUE;
    if (mData.size() - fdaPos < sizeof(binder_fd_array_object)) return BAD_VALUE;
    binder_fd_array_object fda;
    memcpy(&fda, mData.data() + fdaPos, sizeof(fda));
    if (fda.hdr.type != BINDER_TYPE_FDA) return BAD_TYPE;
    if (fda.parent != bufferHandle || fda.parent_offset != offsetof(native_handle_t, data) ||
        fda.num_fds != static_cast<binder_size_t>(header.numFds)) {
        return BAD_VALUE;
    }
    mDataPos = fdaPos + sizeof(fda);
    mNextObjectHint = fdaIndex + 1;
    *handle = static_cast<const native_handle_t*>(buffer);
    return OK;
}

status_t Parcel::readNativeHandleNoDup(const native_handle_t** handle) const {
    return readNativeHandle(false, false, 0, 0, handle);
}

status_t Parcel::readNullableNativeHandleNoDup(const native_handle_t** handle) const {
    return readNativeHandle(true, false, 0, 0, handle);
}

status_t Parcel::readEmbeddedNativeHandle(size_t parent_buffer_handle, size_t parent_offset,
                                          const native_handle_t** handle) const {
    return readNativeHandle(false, true, parent_buffer_handle, parent_offset, handle);
}

status_t Parcel::readNullableEmbeddedNativeHandle(size_t parent_buffer_handle, size_t parent_offset,
                                                  const native_handle_t** handle) const {
    return readNativeHandle(true, true, parent_buffer_handle, parent_offset, handle);
}

size_t Parcel::objectsCount() const {
    return mObjects.size();
}

const binder_size_t* Parcel::objects() const {
    return mObjects.data();
}

}  // namespace hardware
}  // namespace android
