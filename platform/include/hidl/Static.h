// The process-wide tables through which an interface library tells the
// runtime how to make a server stub (Bn) and a passthrough wrapper (Bs) for
// objects of its interfaces. Keyed by interface descriptor; the argument is
// the implementation object, passed as an untyped pointer.
#pragma once

#include <hidl/ConcurrentMap.h>
#include <hwbinder/IBinder.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <string>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
struct IBase;
}  // namespace V1_0
}  // namespace base
}  // namespace hidl

namespace hardware {
namespace details {

using BnConstructorMap = ConcurrentMap<std::string, std::function<sp<IBinder>(void*)>>;
// Stub constructors: descriptor -> function making a BnHw<Name> for an object.
BnConstructorMap& getBnConstructorMap();

using BsConstructorMap =
        ConcurrentMap<std::string, std::function<sp<::android::hidl::base::V1_0::IBase>(void*)>>;
// Passthrough constructors: descriptor -> function making a Bs<Name> for an object.
BsConstructorMap& getBsConstructorMap();

}  // namespace details
}  // namespace hardware
}  // namespace android
