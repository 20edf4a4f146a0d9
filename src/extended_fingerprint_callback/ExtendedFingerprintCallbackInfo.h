// What the frame needs to know of IZuvExtendedFingerprintCallback.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include <cstddef>

#include "frame/Codec.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

template <>
struct InterfaceInfo<V1_0::IZuvExtendedFingerprintCallback> {
    using Proxy = V1_0::BpHwZuvExtendedFingerprintCallback;
    using Stub = V1_0::BnHwZuvExtendedFingerprintCallback;
    using Passthrough = V1_0::BsZuvExtendedFingerprintCallback;
    static constexpr const char* kShortName = "IZuvExtendedFingerprintCallback";
    static constexpr size_t kMethodCount = 9;
    // Tag of the fatal messages of the stub's callback checks.
    static constexpr const char* kLogTag =
            "vendor.zuv.hardware.fingerprint@1.0::ZuvExtendedFingerprintCallback";
};

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
