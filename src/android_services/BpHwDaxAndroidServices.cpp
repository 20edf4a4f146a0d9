// Client proxy of IDaxAndroidServices: every procedure is the frame's client call for its
// operation.
#include <hidl_host/frame/ClientCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>

#include "android_services/AndroidServicesMethods.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = android_services_methods;
using ::android::hardware::IInterface;
using ::android::hardware::Return;
using ::android::hardware::details::HidlInstrumentor;
using frame::Client;

BpHwDaxAndroidServices::BpHwDaxAndroidServices(
        const ::android::sp<::android::hardware::IBinder>& _hidl_impl)
    : details::ProxyFrame<IDaxAndroidServices>(
              _hidl_impl, frame::kPackageFqName,
              frame::InterfaceInfo<IDaxAndroidServices>::kShortName) {}

Return<void> BpHwDaxAndroidServices::_hidl_setTimer(IInterface* _hidl_this,
                                                    HidlInstrumentor* _hidl_this_instrumentor,
                                                    uint32_t value) {
    return Client<m::setTimer>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<void> BpHwDaxAndroidServices::_hidl_setWakelock(IInterface* _hidl_this,
                                                       HidlInstrumentor* _hidl_this_instrumentor,
                                                       int8_t byteArg1, int8_t byteArg2) {
    return Client<m::setWakelock>::call(_hidl_this, _hidl_this_instrumentor, byteArg1, byteArg2);
}

Return<int32_t> BpHwDaxAndroidServices::_hidl_checkRequestingAppType(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::checkRequestingAppType>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwDaxAndroidServices::_hidl_showLivenessAlert(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::showLivenessAlert>::call(_hidl_this, _hidl_this_instrumentor);
}

Return<void> BpHwDaxAndroidServices::_hidl_resetLivenessAlert(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor) {
    return Client<m::resetLivenessAlert>::call(_hidl_this, _hidl_this_instrumentor);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
