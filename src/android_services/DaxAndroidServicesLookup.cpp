// Finding IDaxAndroidServices in the service registry.
#include <hidl/HidlTransportSupport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::hardware::details::getServiceInternal;

// Only the retry flag differs: getService waits for the service to appear.
sp<IDaxAndroidServices> IDaxAndroidServices::getService(const std::string& serviceName,
                                                        bool getStub) {
    return getServiceInternal<BpHwDaxAndroidServices, IDaxAndroidServices>(serviceName,
                                                                           /*retry=*/true, getStub);
}

sp<IDaxAndroidServices> IDaxAndroidServices::tryGetService(const std::string& serviceName,
                                                           bool getStub) {
    return getServiceInternal<BpHwDaxAndroidServices, IDaxAndroidServices>(
            serviceName, /*retry=*/false, getStub);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
