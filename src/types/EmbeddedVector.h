// Child buffers of vectors, shared by the record marshalling and by the
// proxies and stubs for their top-level vector arguments and results.
//
// A vector lying at parentOffset inside buffer parentHandle sends its element
// array (count x sizeof(T) bytes) as one embedded buffer there; elements that
// own children of their own (strings, records with children) then attach
// them to that element array at i x sizeof(T). For a top-level vector the
// caller first moves the 16-byte header with writeBuffer/readBuffer and passes
// its handle with offset 0.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

// parentOffset + memberOffset; a wrap means the caller's offsets are corrupt,
// and no status can describe where the child would go, so the process ends.
inline size_t embeddedOffset(size_t parentOffset, size_t memberOffset) {
    size_t offset = 0;
    if (__builtin_add_overflow(parentOffset, memberOffset, &offset)) {
        std::abort();
    }
    return offset;
}

template <typename T>
::android::status_t writeEmbeddedVector(const ::android::hardware::hidl_vec<T>& vec,
                                        ::android::hardware::Parcel* parcel, size_t parentHandle,
                                        size_t parentOffset) {
    size_t childHandle = 0;
    ::android::status_t err = parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(T),
                                                          &childHandle, parentHandle, parentOffset);
    if (err != ::android::OK) return err;
    if constexpr (!std::is_arithmetic_v<T>) {
        for (size_t i = 0; i < vec.size(); ++i) {
            err = writeEmbeddedToParcel(vec[i], parcel, childHandle, i * sizeof(T));
            if (err != ::android::OK) return err;
        }
    }
    return ::android::OK;
}

// Nullable read: an empty vector arrives with a null element array.
template <typename T>
::android::status_t readEmbeddedVector(const ::android::hardware::hidl_vec<T>& vec,
                                       const ::android::hardware::Parcel& parcel,
                                       size_t parentHandle, size_t parentOffset) {
    size_t childHandle = 0;
    const void* elements = nullptr;
    ::android::status_t err = parcel.readNullableEmbeddedBuffer(
            vec.size() * sizeof(T), &childHandle, parentHandle, parentOffset, &elements);
    if (err != ::android::OK) return err;
    if constexpr (!std::is_arithmetic_v<T>) {
        for (size_t i = 0; i < vec.size(); ++i) {
            err = readEmbeddedFromParcel(vec[i], parcel, childHandle, i * sizeof(T));
            if (err != ::android::OK) return err;
        }
    }
    return ::android::OK;
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
