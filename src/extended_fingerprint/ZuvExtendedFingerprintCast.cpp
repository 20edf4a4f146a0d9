// Conversion from the base interface. Kept apart from the identity because
// it needs the proxy class: a remote object is wrapped in a new proxy.
#include <hidl/HidlTransportSupport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;

Return<sp<IZuvExtendedFingerprint>> IZuvExtendedFingerprint::castFrom(const sp<IBase>& parent,
                                                                      bool emitError) {
    return ::android::hardware::details::castInterface<IZuvExtendedFingerprint, IBase,
                                                       BpHwZuvExtendedFingerprint>(
            parent, descriptor, emitError);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
