// Identity of the package, shared by the three interfaces and by their
// proxies, stubs and wrappers (instrumentation names, hash chains).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

inline constexpr char kPackageName[] = "vendor.zuv.hardware.fingerprint";
inline constexpr char kPackageVersion[] = "1.0";
inline constexpr char kPackageFqName[] = "vendor.zuv.hardware.fingerprint@1.0";

using InterfaceHash = std::array<uint8_t, 32>;

// Hashes are published as 64 hex digits, byte 0 first; parsing them at
// compile time keeps the source comparable with the published text. A bad
// digit fails the build.
constexpr uint8_t hexNibble(char c) {
    if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
    throw std::invalid_argument("interface hash digit");
}

constexpr InterfaceHash hashFromHex(const char (&hex)[65]) {
    InterfaceHash hash{};
    for (size_t i = 0; i < hash.size(); ++i) {
        hash[i] = static_cast<uint8_t>(hexNibble(hex[2 * i]) << 4 | hexNibble(hex[2 * i + 1]));
    }
    return hash;
}

// Hash of android.hidl.base@1.0::IBase; every hash chain ends with it.
inline constexpr InterfaceHash kBaseInterfaceHash =
        hashFromHex("ec7fd79ed02dfa85bc499426adae3ebe23ef0524f3cd6957139324b83b18ca4c");

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
