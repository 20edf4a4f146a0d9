#include "frame/Registration.h"

#include "frame/Interfaces.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

void registerPackage() {
    registerConstructors<V1_0::IDaxAndroidServices>();
    registerConstructors<V1_0::IZuvExtendedFingerprint>();
    registerConstructors<V1_0::IZuvExtendedFingerprintCallback>();
}

void unregisterPackage() {
    unregisterConstructors<V1_0::IZuvExtendedFingerprintCallback>();
    unregisterConstructors<V1_0::IZuvExtendedFingerprint>();
    unregisterConstructors<V1_0::IDaxAndroidServices>();
}

namespace {

// The maps outlive every library that fills them, so the unload side may run
// at process exit too.
__attribute__((constructor)) void onLoad() {
    registerPackage();
}

__attribute__((destructor)) void onUnload() {
    unregisterPackage();
}

}  // namespace

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
