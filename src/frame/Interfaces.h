// What the frame knows of each of the package's interfaces: its proxy, stub
// and wrapper classes, its identity, how many operations it has and the
// tag of its stub's fatal messages.
#pragma once

#include <hidl_host/frame/Codec.h>
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
#include <string>
#include <type_traits>

#include "frame/PackageIdentity.h"
#include "types/RecordFields.h"

namespace android {
namespace hardware {
namespace frame {

namespace fp = ::vendor::zuv::hardware::fingerprint;

// Interface I<Name> with classes BpHw<Name>, BnHw<Name>, Bs<Name>; the tag
// is "vendor.zuv.hardware.fingerprint@1.0::<Name>".
#define ZUV_INTERFACE_INFO(Name, methodCount)                                                 \
    template <>                                                                               \
    struct InterfaceInfo<fp::V1_0::I##Name> {                                                 \
        using Proxy = fp::V1_0::BpHw##Name;                                                   \
        using Stub = fp::V1_0::BnHw##Name;                                                    \
        using Passthrough = fp::V1_0::Bs##Name;                                               \
        static constexpr const char* kPackage = fp::frame::kPackageName;                      \
        static constexpr const char* kVersion = fp::frame::kPackageVersion;                   \
        static constexpr const char* kShortName = "I" #Name;                                  \
        static constexpr size_t kMethodCount = methodCount;                                   \
        static constexpr const char* kLogTag = "vendor.zuv.hardware.fingerprint@1.0::" #Name; \
        static constexpr bool kRepliesFailures = false;                                       \
    };

ZUV_INTERFACE_INFO(ZuvExtendedFingerprint, 59)
ZUV_INTERFACE_INFO(ZuvExtendedFingerprintCallback, 9)
ZUV_INTERFACE_INFO(DaxAndroidServices, 5)

#undef ZUV_INTERFACE_INFO

// The package's records are named by their field tables.
template <typename T>
struct WireName<T, std::void_t<decltype(fp::V1_0::RecordFields<T>::kName)>> {
    static std::string get() { return fp::V1_0::RecordFields<T>::kName; }
};

}  // namespace frame
}  // namespace hardware
}  // namespace android
