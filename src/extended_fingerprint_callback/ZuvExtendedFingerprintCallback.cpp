// Identity of IZuvExtendedFingerprintCallback: its descriptor and interface hash, and with them the
// answers to the base operations, the casts and the registry functions.
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include "frame/InterfaceDefinition.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

const char* IZuvExtendedFingerprintCallback::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprintCallback";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("ed2f99e64ac9288f8b6ba19ae48b1cad204c5584152e32704f36a118495aaec0");
}  // namespace

ZUV_DEFINE_INTERFACE(IZuvExtendedFingerprintCallback, BpHwZuvExtendedFingerprintCallback, kOwnHash)

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
