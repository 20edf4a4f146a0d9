// Conversion from the base interface. Kept apart from the identity because
// it needs the proxy class: a remote object is wrapped in a new proxy.
#include <hidl/HidlTransportSupport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;

Return<sp<IZuvExtendedFingerprintCallback>> IZuvExtendedFingerprintCallback::castFrom(
        const sp<IBase>& parent, bool emitError) {
    return ::android::hardware::details::castInterface<IZuvExtendedFingerprintCallback, IBase,
                                                       BpHwZuvExtendedFingerprintCallback>(
            parent, descriptor, emitError);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
