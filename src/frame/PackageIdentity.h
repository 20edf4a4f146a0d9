// Identity of the package, shared by the three interfaces and by their
// proxies, stubs and wrappers (instrumentation names).
#pragma once

#include <hidl_host/frame/BaseAnswers.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

inline constexpr char kPackageName[] = "vendor.zuv.hardware.fingerprint";
inline constexpr char kPackageVersion[] = "1.0";
inline constexpr char kPackageFqName[] = "vendor.zuv.hardware.fingerprint@1.0";

// The package's code names the platform's frame as its own.
using namespace ::android::hardware::frame;  // NOLINT(google-build-using-namespace)

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
