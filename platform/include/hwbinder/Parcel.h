// The hardware binder's scatter-gather parcel: a flat data stream with typed
// objects inside it (buffer objects, binder objects, fd arrays) at recorded
// offsets. Buffer objects follow the kernel's binder_buffer_object layout;
// a buffer's handle is its index in the object table.
//
// A parcel that was written locally holds pointers to the writer's buffers,
// which must outlive it. A parcel rebuilt from a wire image owns all of its
// memory. Every read checks what it finds and fails with a status instead of
// reaching outside the parcel.
#pragma once

#include <cutils/native_handle.h>
#include <hidl_host/ImageBlock.h>
#include <hidl_host/ParcelBytes.h>
#include <hidl_host/UniqueFd.h>
#include <linux/android/binder.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace android {
namespace hardware {

class IBinder;

namespace host {
class WireImageCodec;
}  // namespace host

class Parcel {
  public:
    Parcel();
    ~Parcel();

    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    const uint8_t* data() const;
    size_t dataSize() const;
    size_t dataAvail() const;
    size_t dataPosition() const;
    size_t dataCapacity() const;

    status_t setDataSize(size_t size);
    void setDataPosition(size_t pos) const;
    status_t setDataCapacity(size_t size);

    // Drops all data, objects, held binders and owned memory.
    void freeData();

    // Raw data, padded to 4 bytes like every item.
    status_t write(const void* data, size_t len);
    void* writeInplace(size_t len);

    status_t writeInt8(int8_t val);
    status_t writeUint8(uint8_t val);
    status_t writeInt16(int16_t val);
    status_t writeUint16(uint16_t val);
    status_t writeInt32(int32_t val);
    status_t writeUint32(uint32_t val);
    status_t writeInt64(int64_t val);
    status_t writeUint64(uint64_t val);
    status_t writeFloat(float val);
    status_t writeDouble(double val);
    status_t writeBool(bool val);
    status_t writeCString(const char* str);
    status_t writeString16(const String16& str);
    status_t writeString16(const char16_t* str, size_t len);

    // The interface token: the descriptor as a C string.
    status_t writeInterfaceToken(const char* interface);
    // True when the next item is exactly this token; the position moves past
    // it either way.
    bool enforceInterface(const char* interface) const;

    // Buffer objects. The parcel records the pointer, not a copy: the memory
    // must stay valid until the parcel is sent or destroyed.
    status_t writeBuffer(const void* buffer, size_t length, size_t* handle);
    status_t writeEmbeddedBuffer(const void* buffer, size_t length, size_t* handle,
                                 size_t parent_buffer_handle, size_t parent_offset);

    status_t writeStrongBinder(const sp<IBinder>& val);

    // Native handles travel as a buffer holding the native_handle_t followed
    // by an fd-array object whose parent is that buffer.
    status_t writeNativeHandleNoDup(const native_handle_t* handle);
    status_t writeEmbeddedNativeHandle(const native_handle_t* handle, size_t parent_buffer_handle,
                                       size_t parent_offset);

    status_t read(void* outData, size_t len) const;
    const void* readInplace(size_t len) const;

    status_t readInt8(int8_t* pArg) const;
    status_t readUint8(uint8_t* pArg) const;
    status_t readInt16(int16_t* pArg) const;
    status_t readUint16(uint16_t* pArg) const;
    status_t readInt32(int32_t* pArg) const;
    status_t readUint32(uint32_t* pArg) const;
    status_t readInt64(int64_t* pArg) const;
    status_t readUint64(uint64_t* pArg) const;
    status_t readFloat(float* pArg) const;
    status_t readDouble(double* pArg) const;
    status_t readBool(bool* pArg) const;
    // nullptr when no NUL-terminated string lies within the data.
    const char* readCString() const;
    status_t readString16(String16* pArg) const;
    // nullptr (with *outLen set) for the null string (length -1).
    const char16_t* readString16Inplace(size_t* outLen) const;

    // Reads of buffer objects: the object at the read position must be a
    // buffer of exactly buffer_size bytes; an embedded one must name exactly
    // this parent and offset, and the parent must hold the pointer to it.
    status_t readBuffer(size_t buffer_size, size_t* buffer_handle, const void** buffer_out) const;
    status_t readNullableBuffer(size_t buffer_size, size_t* buffer_handle,
                                const void** buffer_out) const;
    status_t readEmbeddedBuffer(size_t buffer_size, size_t* buffer_handle,
                                size_t parent_buffer_handle, size_t parent_offset,
                                const void** buffer_out) const;
    status_t readNullableEmbeddedBuffer(size_t buffer_size, size_t* buffer_handle,
                                        size_t parent_buffer_handle, size_t parent_offset,
                                        const void** buffer_out) const;

    status_t readStrongBinder(sp<IBinder>* val) const;
    status_t readNullableStrongBinder(sp<IBinder>* val) const;
    sp<IBinder> readStrongBinder() const;

    status_t readNativeHandleNoDup(const native_handle_t** handle) const;
    status_t readNullableNativeHandleNoDup(const native_handle_t** handle) const;
    status_t readEmbeddedNativeHandle(size_t parent_buffer_handle, size_t parent_offset,
                                      const native_handle_t** handle) const;
    status_t readNullableEmbeddedNativeHandle(size_t parent_buffer_handle, size_t parent_offset,
                                              const native_handle_t** handle) const;

    // Objects recorded in the parcel, in data order.
    size_t objectsCount() const;
    const binder_size_t* objects() const;

  private:
    friend class host::WireImageCodec;

    // Room for len bytes (padded to 4) at the write position; nullptr when
    // that would overwrite a recorded object or overflow.
    uint8_t* reserveWrite(size_t len);
    template <typename T>
    status_t writeAligned(T val);
    template <typename T>
    status_t readAligned(T* out) const;
    // Appends an object at the write position and records its offset.
    status_t writeObject(const void* object, size_t size, size_t* index);
    // Index of the object recorded exactly at pos, if any.
    bool findObjectAt(size_t pos, size_t* index) const;
    // The buffer object at the read position, checked against the parent
    // the reader expects; the caller moves past it once it accepts it.
    // The buffer reads: the object at the read position, then its nullness
    // and exact size; the position moves only on success.
    status_t readCheckedBuffer(bool embedded, bool nullable, size_t buffer_size,
                               size_t parent_buffer_handle, size_t parent_offset,
                               size_t* buffer_handle, const void** buffer_out) const;
    status_t readBufferObject(bool embedded, size_t parent_buffer_handle, size_t parent_offset,
                              size_t* buffer_handle, const void** buffer_out,
                              size_t* length_out) const;
    // The buffer object recorded as object index, if it is one.
    bool bufferAt(size_t index, binder_buffer_object* out) const;
    status_t writeNativeHandle(const native_handle_t* handle, bool embedded,
                               size_t parent_buffer_handle, size_t parent_offset);
    status_t readNativeHandle(bool nullable, bool embedded, size_t parent_buffer_handle,
                              size_t parent_offset, const native_handle_t** handle) const;
    void releaseOwned();

    host::ParcelBytes mData;
    // Offsets of the objects in mData, ascending and non-overlapping.
    std::vector<binder_size_t> mObjects;
    size_t mObjectsEnd = 0;  // end of the last object in mData
    // Binders written into this parcel; a binder object in the data holds
    // its 1-based index here (0 for a null binder), never a pointer.
    std::vector<sp<IBinder>> mBinders;
    // Memory and fds owned by a parcel rebuilt from a wire image.
    host::ImageBlock mOwnedBuffers;
    std::vector<host::UniqueFd> mOwnedFds;
    mutable size_t mDataPos = 0;
    mutable size_t mNextObjectHint = 0;
};

}  // namespace hardware
}  // namespace android
