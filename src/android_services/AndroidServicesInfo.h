// What the frame needs to know of IDaxAndroidServices.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

#include <cstddef>

#include "frame/Codec.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

template <>
struct InterfaceInfo<V1_0::IDaxAndroidServices> {
    using Proxy = V1_0::BpHwDaxAndroidServices;
    using Stub = V1_0::BnHwDaxAndroidServices;
    using Passthrough = V1_0::BsDaxAndroidServices;
    static constexpr const char* kShortName = "IDaxAndroidServices";
    static constexpr size_t kMethodCount = 5;
    // Tag of the fatal messages of the stub's callback checks.
    static constexpr const char* kLogTag =
            "vendor.zuv.hardware.fingerprint@1.0::DaxAndroidServices";
};

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
