// Wrapping of local objects in their passthrough wrappers (Bs<Name>), so that
// calls on them get the same tracing, instrumentation and oneway behaviour as
// calls over the binder.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {
namespace details {

// Null stays null and a remote object is returned as it is. A local object
// gets the wrapper made by the passthrough constructor registered under its
// interface descriptor, or null when none is registered. An object that is
// already a wrapper is returned as it is rather than wrapped twice.
sp<::android::hidl::base::V1_0::IBase> wrapPassthroughInternal(
        sp<::android::hidl::base::V1_0::IBase> iface);

template <typename IType>
sp<IType> wrapPassthrough(sp<IType> iface) {
    if (iface == nullptr) return nullptr;
    sp<::android::hidl::base::V1_0::IBase> base = wrapPassthroughInternal(iface);
    return sp<IType>(static_cast<IType*>(base.get()));
}

}  // namespace details
}  // namespace hardware
}  // namespace android
