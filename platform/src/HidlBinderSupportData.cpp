// Embedded strings and handles, and the reply status, in parcels.
#include <hidl/HidlBinderSupport.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <limits>

namespace android {
namespace hardware {

namespace {

bool addOffset(size_t base, size_t add, size_t* out) {
    if (base > std::numeric_limits<size_t>::max() - add) return false;
    *out = base + add;
    return true;
}

}  // namespace

status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    size_t slot;
    if (!addOffset(parentOffset, hidl_string::kOffsetOfBuffer, &slot)) return BAD_VALUE;
    size_t childHandle;
    return parcel->writeEmbeddedBuffer(string.c_str(), string.size() + 1, &childHandle,
                                       parentHandle, slot);
}

status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    size_t slot;
    if (!addOffset(parentOffset, hidl_string::kOffsetOfBuffer, &slot)) return BAD_VALUE;
    size_t childHandle;
    const void* data;
    // The parent slot already points at the characters; the read proves the
    // buffer is there, of the right length.
    status_t err =
            parcel.readEmbeddedBuffer(string.size() + 1, &childHandle, parentHandle, slot, &data);
    if (err != OK) return err;
    if (static_cast<const char*>(data)[string.size()] != '\0') return BAD_VALUE;
    return OK;
}

status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    size_t slot;
    if (!addOffset(parentOffset, hidl_handle::kOffsetOfNativeHandle, &slot)) return BAD_VALUE;
    return parcel->writeEmbeddedNativeHandle(handle.getNativeHandle(), parentHandle, slot);
}

status_t readEmbeddedFromParcel(const hidl_handle& /*handle*/, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    size_t slot;
    if (!addOffset(parentOffset, hidl_handle::kOffsetOfNativeHandle, &slot)) return BAD_VALUE;
    const native_handle_t* nativeHandle;
    return parcel.readNullableEmbeddedNativeHandle(parentHandle, slot, &nativeHandle);
}

status_t writeToParcel(const Status& status, Parcel* parcel) {
    if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED) {
        const status_t err = status.transactionError();
        return err != OK ? err : FAILED_TRANSACTION;
    }
    status_t err = parcel->writeInt32(status.exceptionCode());
    if (err != OK || status.isOk()) return err;
    return parcel->writeString16(String16(status.exceptionMessage()));
}

status_t readFromParcel(Status* status, const Parcel& parcel) {
    int32_t exception;
    status_t err = parcel.readInt32(&exception);
    if (err != OK) {
        status->setFromStatusT(err);
        return err;
    }
    if (exception == Status::EX_NONE) {
        *status = Status::ok();
        return OK;
    }
    size_t length;
    const size_t start = parcel.dataPosition();
    const char16_t* message = parcel.readString16Inplace(&length);
    if (message == nullptr && parcel.dataPosition() == start) {
        // Neither a string nor the null string (-1): the reply is malformed.
        status->setFromStatusT(BAD_VALUE);
        return BAD_VALUE;
    }
    const String8 utf8 = message != nullptr ? String8(message, length) : String8();
    status->setException(exception, utf8.c_str());
    return OK;
}

}  // namespace hardware
}  // namespace android
