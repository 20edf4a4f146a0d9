// What the frame knows of each of the package's interfaces: its proxy, stub
// and wrapper classes, its short name, how many operations it has and the
// tag of its stub's fatal messages.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprintCallback.h>

#include <cstddef>

#include "frame/Codec.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

// Interface I<Name> with classes BpHw<Name>, BnHw<Name>, Bs<Name>; the tag
// is "vendor.zuv.hardware.fingerprint@1.0::<Name>".
#define ZUV_INTERFACE_INFO(Name, methodCount)                                                 \
    template <>                                                                               \
    struct InterfaceInfo<V1_0::I##Name> {                                                     \
        using Proxy = V1_0::BpHw##Name;                                                       \
        using Stub = V1_0::BnHw##Name;                                                        \
        using Passthrough = V1_0::Bs##Name;                                                   \
        static constexpr const char* kShortName = "I" #Name;                                  \
        static constexpr size_t kMethodCount = methodCount;                                   \
        static constexpr const char* kLogTag = "vendor.zuv.hardware.fingerprint@1.0::" #Name; \
    };

ZUV_INTERFACE_INFO(ZuvExtendedFingerprint, 59)
ZUV_INTERFACE_INFO(ZuvExtendedFingerprintCallback, 9)
ZUV_INTERFACE_INFO(DaxAndroidServices, 5)

#undef ZUV_INTERFACE_INFO

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
