#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/IInterface.h>

namespace android {
namespace hardware {

using ::android::hidl::base::V1_0::IBase;

IInterface::IInterface() : RefBase() {}

IInterface::~IInterface() = default;

IBinder* IInterface::onAsBinder() {
    return nullptr;
}

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    if (iface == nullptr) {
        return nullptr;
    }
    auto* self = const_cast<IInterface*>(iface);
    if (IBinder* own = self->onAsBinder(); own != nullptr) {
        return own;
    }
    // A local interface object is reached through its cached stub.
    if (auto* base = dynamic_cast<IBase*>(self); base != nullptr) {
        return getOrCreateCachedBinder(base);
    }
    return nullptr;
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) {
    return asBinder(iface.get());
}

}  // namespace hardware
}  // namespace android
