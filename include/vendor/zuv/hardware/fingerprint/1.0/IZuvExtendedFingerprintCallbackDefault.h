// IZuvExtendedFingerprintCallback with every operation implemented: zero or empty results with an
// OK status, a result callback called once, and a log line the first time
// each operation answers so. Derive from it and override what you have.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/DefaultFrame.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/OperationLists.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class IZuvExtendedFingerprintCallbackDefault : public IZuvExtendedFingerprintCallback {
  protected:
    using Interface = IZuvExtendedFingerprintCallback;

  public:
    ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_DEFAULT_DECLARE)
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
