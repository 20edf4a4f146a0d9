// Passthrough wrapper of IDaxAndroidServices: every operation is the frame's
// passthrough call for it.
#include <hidl_host/frame/PassthroughCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>

#include "android_services/AndroidServicesMethods.h"
#include "frame/Interfaces.h"
#include "frame/PackageIdentity.h"

template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IDaxAndroidServices>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = android_services_methods;
using ::android::hardware::Return;

BsDaxAndroidServices::BsDaxAndroidServices(sp<IDaxAndroidServices> _hidl_impl)
    : details::PassthroughFrame<IDaxAndroidServices>(
              std::move(_hidl_impl), frame::kPackageFqName,
              frame::InterfaceInfo<IDaxAndroidServices>::kShortName) {}

BsDaxAndroidServices::~BsDaxAndroidServices() = default;

Return<void> BsDaxAndroidServices::setTimer(uint32_t value) {
    return frame::passthrough<m::setTimer>(this, value);
}

Return<void> BsDaxAndroidServices::setWakelock(int8_t byteArg1, int8_t byteArg2) {
    return frame::passthrough<m::setWakelock>(this, byteArg1, byteArg2);
}

Return<int32_t> BsDaxAndroidServices::checkRequestingAppType() {
    return frame::passthrough<m::checkRequestingAppType>(this);
}

Return<void> BsDaxAndroidServices::showLivenessAlert() {
    return frame::passthrough<m::showLivenessAlert>(this);
}

Return<void> BsDaxAndroidServices::resetLivenessAlert() {
    return frame::passthrough<m::resetLivenessAlert>(this);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
