// The package's passthrough wrappers stand on the platform's wrapper base;
// the name stays for the wrapper headers and their users.
#pragma once

#include <hidl_host/frame/PassthroughBase.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

template <typename IType>
using PassthroughFrame = ::android::hardware::frame::PassthroughBase<IType>;

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
