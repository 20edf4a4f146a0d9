// Wire details of the base interface shared by its proxy and stub.
#pragma once

#include <hidl/HidlSupport.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>

#include <cstdint>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
namespace wire {

// The platform's transaction codes of the base operations.
enum : uint32_t {
    kInterfaceChain = 0x0f43484e,
    kDebug = 0x0f444247,
    kInterfaceDescriptor = 0x0f445343,
    kGetHashChain = 0x0f485348,
    kSetHALInstrumentation = 0x0f494e54,
    kPing = 0x0f504e47,
    kGetDebugInfo = 0x0f524546,
    kNotifySyspropsChanged = 0x0f535953,
};

// Names used in traces and instrumentation.
constexpr const char* kPackage = "android.hidl.base";
constexpr const char* kVersion = "1.0";
constexpr const char* kInterface = "IBase";
constexpr const char* kFqPackage = "android.hidl.base@1.0";

// A vector of strings: the vector, its element array, then each string's
// characters.
::android::status_t writeStringVec(
        const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& vec,
        ::android::hardware::Parcel* parcel);
// On success *out points into the parcel.
::android::status_t readStringVec(
        const ::android::hardware::Parcel& parcel,
        const ::android::hardware::hidl_vec<::android::hardware::hidl_string>** out);

::android::status_t writeString(const ::android::hardware::hidl_string& string,
                                ::android::hardware::Parcel* parcel);
::android::status_t readString(const ::android::hardware::Parcel& parcel,
                               const ::android::hardware::hidl_string** out);

// A vector of 32-byte hashes: the vector, then its element array.
::android::status_t writeHashVec(
        const ::android::hardware::hidl_vec<::android::hardware::hidl_array<uint8_t, 32>>& vec,
        ::android::hardware::Parcel* parcel);
::android::status_t readHashVec(
        const ::android::hardware::Parcel& parcel,
        const ::android::hardware::hidl_vec<::android::hardware::hidl_array<uint8_t, 32>>** out);

// A handle: the hidl_handle, then the native handle inside it.
::android::status_t writeHandle(const ::android::hardware::hidl_handle& handle,
                                ::android::hardware::Parcel* parcel);
::android::status_t readHandle(const ::android::hardware::Parcel& parcel,
                               const ::android::hardware::hidl_handle** out);

}  // namespace wire
}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
