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

// ===========================================================================
// Binder glue: death recipients, the binder standing for an interface object,
// and turning a received binder back into an interface.

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hwbinder/IBinder.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <atomic>

namespace android {
namespace hardware {

// Adapts an interface-level death recipient to the binder's: when the remote
// binder dies, the recipient is told (once) with the cookie and the proxy.
// The recipient and the proxy are held weakly, as on the platform: whoever
// registered the recipient keeps it alive.
struct hidl_binder_death_recipient : IBinder::DeathRecipient {
    hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient, uint64_t cookie,
                                const sp<::android::hidl::base::V1_0::IBase>& base);
    void binderDied(const wp<IBinder>& who) override;
    wp<hidl_death_recipient> getRecipient();

private:
    wp<hidl_death_recipient> mRecipient;
    uint64_t mCookie;
    wp<::android::hidl::base::V1_0::IBase> mBase;
    std::atomic<bool> mTold{false};
};

// The binder that stands for an interface object: a proxy's remote binder,
// or for a local object its server stub, made through the stub constructor
// map under the object's descriptor. The stub is cached weakly, so one object
// has one stub while anyone holds it. Null for null, and for a local object
// whose interface has no registered stub constructor.
sp<IBinder> getOrCreateCachedBinder(::android::hidl::base::V1_0::IBase* ifacePtr);

namespace details {
// Whether the object implements the interface named castTo (declared here
// for fromBinder; see hidl/HidlTransportSupport.h).
Return<bool> canCastInterface(::android::hidl::base::V1_0::IBase* interface, const char* castTo,
                              bool emitError = false);
}  // namespace details

// The interface a received binder stands for: a proxy over a remote binder
// (and over a local binder that is not a base-interface stub); for a stub of
// this process, its implementation itself when it implements IType, else null.
template <typename IType, typename ProxyType, typename StubType>
sp<IType> fromBinder(const sp<IBinder>& binderIface) {
    using ::android::hidl::base::V1_0::BnHwBase;
    using ::android::hidl::base::V1_0::IBase;

    if (binderIface.get() == nullptr) {
        return nullptr;
    }
    if (binderIface->localBinder() == nullptr) {
        return new ProxyType(binderIface);
    }
    if (!binderIface->checkSubclass(IBase::descriptor)) {
        return new ProxyType(binderIface);
    }
    sp<IBase> base = static_cast<BnHwBase*>(binderIface.get())->getImpl();
    if (details::canCastInterface(base.get(), IType::descriptor)) {
        return static_cast<IType*>(base.get());
    }
    return nullptr;
}

}  // namespace hardware
}  // namespace android
