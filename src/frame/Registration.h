// The package's entries in the platform's constructor maps: how to make a
// server stub and a passthrough wrapper for a local object of each interface.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Static.h>
#include <hwbinder/IBinder.h>
#include <utils/StrongPointer.h>

#include <string>

#include "frame/Interfaces.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

// The object arrives untyped: the platform passes the implementation's
// IBase, which every interface of the package has at its own address.
template <typename IType>
void registerConstructors() {
    using Info = InterfaceInfo<IType>;
    ::android::hardware::details::getBnConstructorMap().set(
            std::string(IType::descriptor), [](void* iface) -> sp<IBinder> {
                return new typename Info::Stub(static_cast<IType*>(iface));
            });
    ::android::hardware::details::getBsConstructorMap().set(
            std::string(IType::descriptor),
            [](void* iface) -> sp<::android::hidl::base::V1_0::IBase> {
                return new typename Info::Passthrough(static_cast<IType*>(iface));
            });
}

template <typename IType>
void unregisterConstructors() {
    ::android::hardware::details::getBnConstructorMap().erase(IType::descriptor);
    ::android::hardware::details::getBsConstructorMap().erase(IType::descriptor);
}

// Run when the library is loaded and unloaded; exposed for tests.
void registerPackage();
void unregisterPackage();

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
