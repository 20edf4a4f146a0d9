// Identity of IZuvExtendedFingerprint: its descriptor and interface hash, and with them the
// answers to the base operations, the casts and the registry functions.
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

#include "frame/InterfaceDefinition.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

const char* IZuvExtendedFingerprint::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("7a603395cc5f4754d82af8c9b9cb5202b6ece595b46fdc6715a835287c5d313a");
}  // namespace

ZUV_DEFINE_INTERFACE(IZuvExtendedFingerprint, BpHwZuvExtendedFingerprint, kOwnHash)

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
