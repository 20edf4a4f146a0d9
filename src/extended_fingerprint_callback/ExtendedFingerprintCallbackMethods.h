// The operations of IZuvExtendedFingerprintCallback: code, name and member of each. The frame
// reads arguments, result and delivery off the member's type.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include "frame/Interfaces.h"
#include "frame/Method.h"

#define ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(X) \
    X(METHOD, 1, onMatch)                            \
    X(METHOD, 2, onError)                            \
    X(METHOD, 3, onStatus)                           \
    X(METHOD, 4, onEnroll)                           \
    X(METHOD, 5, onRemove)                           \
    X(METHOD, 6, onEnumerate)                        \
    X(METHOD, 7, onRemoveUser)                       \
    X(METHOD, 8, onCaptureDebugData)                 \
    X(METHOD, 9, onCapture)

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace extended_fingerprint_callback_methods {

#define ZUV_INTERFACE IZuvExtendedFingerprintCallback
#define ZUV_DECLARE(kind, code, name) ZUV_##kind(code, name)
ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_DECLARE)
#undef ZUV_DECLARE
#undef ZUV_INTERFACE

#define ZUV_CODE(kind, code, name) code,
static_assert(frame::codesAreSequential({ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_CODE)}),
              "operations are listed in code order");
#undef ZUV_CODE

}  // namespace extended_fingerprint_callback_methods
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
