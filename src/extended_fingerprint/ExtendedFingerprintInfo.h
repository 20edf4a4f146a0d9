// What the frame needs to know of IZuvExtendedFingerprint.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

#include <cstddef>

#include "frame/Codec.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

template <>
struct InterfaceInfo<V1_0::IZuvExtendedFingerprint> {
    using Proxy = V1_0::BpHwZuvExtendedFingerprint;
    using Stub = V1_0::BnHwZuvExtendedFingerprint;
    using Passthrough = V1_0::BsZuvExtendedFingerprint;
    static constexpr const char* kShortName = "IZuvExtendedFingerprint";
    static constexpr size_t kMethodCount = 59;
    // Tag of the fatal messages of the stub's callback checks.
    static constexpr const char* kLogTag =
            "vendor.zuv.hardware.fingerprint@1.0::ZuvExtendedFingerprint";
};

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
