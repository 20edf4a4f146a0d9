#include "base/BaseWire.h"

#include <hidl/HidlBinderSupport.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
namespace wire {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Parcel;

status_t writeStringVec(const hidl_vec<hidl_string>& vec, Parcel* parcel) {
    size_t parentHandle = 0;
    status_t err = parcel->writeBuffer(&vec, sizeof(vec), &parentHandle);
    if (err != OK) return err;
    size_t childHandle = 0;
    err = parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(hidl_string), &childHandle,
                                      parentHandle, hidl_vec<hidl_string>::kOffsetOfBuffer);
    if (err != OK) return err;
    for (size_t i = 0; i < vec.size(); ++i) {
        err = ::android::hardware::writeEmbeddedToParcel(vec[i], parcel, childHandle,
                                                         i * sizeof(hidl_string));
        if (err != OK) return err;
    }
    return OK;
}

status_t readStringVec(const Parcel& parcel, const hidl_vec<hidl_string>** out) {
    size_t parentHandle = 0;
    const void* raw = nullptr;
    status_t err = parcel.readBuffer(sizeof(hidl_vec<hidl_string>), &parentHandle, &raw);
    if (err != OK) return err;
    const auto* vec = static_cast<const hidl_vec<hidl_string>*>(raw);
    size_t childHandle = 0;
    const void* elements = nullptr;
    err = parcel.readNullableEmbeddedBuffer(vec->size() * sizeof(hidl_string), &childHandle,
                                            parentHandle, hidl_vec<hidl_string>::kOffsetOfBuffer,
                                            &elements);
    if (err != OK) return err;
    if (elements == nullptr && vec->size() != 0) return BAD_VALUE;
    for (size_t i = 0; i < vec->size(); ++i) {
        err = ::android::hardware::readEmbeddedFromParcel((*vec)[i], parcel, childHandle,
                                                          i * sizeof(hidl_string));
        if (err != OK) return err;
    }
    *out = vec;
    return OK;
}

status_t writeString(const hidl_string& string, Parcel* parcel) {
    size_t parentHandle = 0;
    status_t err = parcel->writeBuffer(&string, sizeof(string), &parentHandle);
    if (err != OK) return err;
    return ::android::hardware::writeEmbeddedToParcel(string, parcel, parentHandle, 0);
}

status_t readString(const Parcel& parcel, const hidl_string** out) {
    size_t parentHandle = 0;
    const void* raw = nullptr;
    status_t err = parcel.readBuffer(sizeof(hidl_string), &parentHandle, &raw);
    if (err != OK) return err;
    const auto* string = static_cast<const hidl_string*>(raw);
    err = ::android::hardware::readEmbeddedFromParcel(*string, parcel, parentHandle, 0);
    if (err != OK) return err;
    *out = string;
    return OK;
}

status_t writeHashVec(const hidl_vec<hidl_array<uint8_t, 32>>& vec, Parcel* parcel) {
    size_t parentHandle = 0;
    status_t err = parcel->writeBuffer(&vec, sizeof(vec), &parentHandle);
    if (err != OK) return err;
    size_t childHandle = 0;
    return parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(hidl_array<uint8_t, 32>),
                                       &childHandle, parentHandle,
                                       hidl_vec<hidl_array<uint8_t, 32>>::kOffsetOfBuffer);
}

status_t readHashVec(const Parcel& parcel, const hidl_vec<hidl_array<uint8_t, 32>>** out) {
    size_t parentHandle = 0;
    const void* raw = nullptr;
    status_t err =
            parcel.readBuffer(sizeof(hidl_vec<hidl_array<uint8_t, 32>>), &parentHandle, &raw);
    if (err != OK) return err;
    const auto* vec = static_cast<const hidl_vec<hidl_array<uint8_t, 32>>*>(raw);
    size_t childHandle = 0;
    const void* elements = nullptr;
    err = parcel.readNullableEmbeddedBuffer(
            vec->size() * sizeof(hidl_array<uint8_t, 32>), &childHandle, parentHandle,
            hidl_vec<hidl_array<uint8_t, 32>>::kOffsetOfBuffer, &elements);
    if (err != OK) return err;
    if (elements == nullptr && vec->size() != 0) return BAD_VALUE;
    *out = vec;
    return OK;
}

status_t writeHandle(const hidl_handle& handle, Parcel* parcel) {
    size_t parentHandle = 0;
    status_t err = parcel->writeBuffer(&handle, sizeof(handle), &parentHandle);
    if (err != OK) return err;
    return ::android::hardware::writeEmbeddedToParcel(handle, parcel, parentHandle, 0);
}

status_t readHandle(const Parcel& parcel, const hidl_handle** out) {
    size_t parentHandle = 0;
    const void* raw = nullptr;
    status_t err = parcel.readBuffer(sizeof(hidl_handle), &parentHandle, &raw);
    if (err != OK) return err;
    const auto* handle = static_cast<const hidl_handle*>(raw);
    err = ::android::hardware::readEmbeddedFromParcel(*handle, parcel, parentHandle, 0);
    if (err != OK) return err;
    *out = handle;
    return OK;
}

}  // namespace wire
}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
