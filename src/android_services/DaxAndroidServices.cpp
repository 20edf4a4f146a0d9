// Identity of IDaxAndroidServices: its descriptor and interface hash, and with them the
// answers to the base operations, the casts and the registry functions.
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

#include "frame/InterfaceDefinition.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

const char* IDaxAndroidServices::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IDaxAndroidServices";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("6a72d94f767d808a71a49cc31be0f4484e14664570f8a65d6f7045190bc75e92");
}  // namespace

ZUV_DEFINE_INTERFACE(IDaxAndroidServices, BpHwDaxAndroidServices, kOwnHash)

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
