// Finding IZuvExtendedFingerprintCallback in the service registry.
#include <hidl/HidlTransportSupport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::hardware::details::getServiceInternal;

// Only the retry flag differs: getService waits for the service to appear.
sp<IZuvExtendedFingerprintCallback> IZuvExtendedFingerprintCallback::getService(
        const std::string& serviceName, bool getStub) {
    return getServiceInternal<BpHwZuvExtendedFingerprintCallback, IZuvExtendedFingerprintCallback>(
            serviceName, /*retry=*/true, getStub);
}

sp<IZuvExtendedFingerprintCallback> IZuvExtendedFingerprintCallback::tryGetService(
        const std::string& serviceName, bool getStub) {
    return getServiceInternal<BpHwZuvExtendedFingerprintCallback, IZuvExtendedFingerprintCallback>(
            serviceName, /*retry=*/false, getStub);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
