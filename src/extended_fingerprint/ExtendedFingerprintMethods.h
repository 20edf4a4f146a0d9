// The operations of IZuvExtendedFingerprint: code, name, member and parameter names of each. The
// frame reads arguments, result and delivery off the member's type.
#pragma once

#include <hidl_host/frame/Method.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/OperationLists.h>

#include "frame/Interfaces.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace extended_fingerprint_methods {

#define ZUV_INTERFACE IZuvExtendedFingerprint
#define ZUV_DECLARE(kind, code, name, names) ZUV_##kind(code, name, names)
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_DECLARE)
#undef ZUV_DECLARE
#undef ZUV_INTERFACE

#define ZUV_CODE(kind, code, name, names) code,
static_assert(frame::codesAreSequential({ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_CODE)}),
              "operations are listed in code order");
#undef ZUV_CODE

}  // namespace extended_fingerprint_methods
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
