// Child buffers of vectors inside the package's records: the frame's rule,
// the same one its codecs use for top-level vectors.
#pragma once

#include <hidl_host/frame/Codec.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::hardware::frame::embeddedOffset;
using ::android::hardware::frame::readEmbeddedVector;
using ::android::hardware::frame::writeEmbeddedVector;

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
