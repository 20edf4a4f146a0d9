// Marshalling helpers shared by every interface's proxy and stub: embedded
// strings and handles, the reply status, and (below) the binder glue.
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>

#include <cstddef>

namespace android {
namespace hardware {

// ---------------------------------------------------------------------------
// Data: strings, handles and statuses inside parcels.

// The character data travels as an embedded buffer of size() + 1 bytes (the
// terminating NUL included) whose pointer slot is the string's buffer field.
status_t writeEmbeddedToParcel(const hidl_string& string, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);
// Points string (which lives inside the parent buffer) at the received
// characters; fails unless exactly size() + 1 bytes arrived ending in NUL.
status_t readEmbeddedFromParcel(const hidl_string& string, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);

// A null handle travels as a null buffer.
status_t writeEmbeddedToParcel(const hidl_handle& handle, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset);
status_t readEmbeddedFromParcel(const hidl_handle& handle, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset);

// The reply status: int32 exception code, then the message as a String16 when
// the code is not EX_NONE. A transport failure is not written; its error is
// returned instead.
status_t writeToParcel(const Status& status, Parcel* parcel);
status_t readFromParcel(Status* status, const Parcel& parcel);

// ---------------------------------------------------------------------------
// Binder glue (death recipients, cached binders, fromBinder) follows here.

}  // namespace hardware
}  // namespace android
