// Passthrough wrapper of IZuvExtendedFingerprintCallback: every operation is the frame's
// passthrough call for it.
#include <hidl_host/frame/PassthroughCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprintCallback.h>

#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"
#include "frame/Interfaces.h"
#include "frame/PackageIdentity.h"

template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IZuvExtendedFingerprintCallback>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = extended_fingerprint_callback_methods;
using ::android::hardware::Return;

BsZuvExtendedFingerprintCallback::BsZuvExtendedFingerprintCallback(
        sp<IZuvExtendedFingerprintCallback> _hidl_impl)
    : details::PassthroughFrame<IZuvExtendedFingerprintCallback>(
              std::move(_hidl_impl), frame::kPackageFqName,
              frame::InterfaceInfo<IZuvExtendedFingerprintCallback>::kShortName) {}

BsZuvExtendedFingerprintCallback::~BsZuvExtendedFingerprintCallback() = default;

Return<void> BsZuvExtendedFingerprintCallback::onMatch(int32_t intArg1, const hidl_string& strArg1,
                                                       uint64_t value,
                                                       const hidl_vec<uint8_t>& data,
                                                       const hidl_vec<uint8_t>& data2) {
    return frame::passthrough<m::onMatch>(this, intArg1, strArg1, value, data, data2);
}

Return<void> BsZuvExtendedFingerprintCallback::onError(int32_t value) {
    return frame::passthrough<m::onError>(this, value);
}

Return<void> BsZuvExtendedFingerprintCallback::onStatus(int32_t value,
                                                        const hidl_vec<uint8_t>& data) {
    return frame::passthrough<m::onStatus>(this, value, data);
}

Return<void> BsZuvExtendedFingerprintCallback::onEnroll(const hidl_string& strArg1, int32_t intArg1,
                                                        int32_t intArg2) {
    return frame::passthrough<m::onEnroll>(this, strArg1, intArg1, intArg2);
}

Return<void> BsZuvExtendedFingerprintCallback::onRemove(const hidl_string& strArg1,
                                                        int32_t intArg1) {
    return frame::passthrough<m::onRemove>(this, strArg1, intArg1);
}

Return<void> BsZuvExtendedFingerprintCallback::onEnumerate(const hidl_string& strArg1,
                                                           int32_t intArg1, int32_t intArg2) {
    return frame::passthrough<m::onEnumerate>(this, strArg1, intArg1, intArg2);
}

Return<void> BsZuvExtendedFingerprintCallback::onRemoveUser(const hidl_string& strArg1) {
    return frame::passthrough<m::onRemoveUser>(this, strArg1);
}

Return<void> BsZuvExtendedFingerprintCallback::onCaptureDebugData(
        const hidl_vec<CaptureDebugData>& debugData) {
    return frame::passthrough<m::onCaptureDebugData>(this, debugData);
}

Return<void> BsZuvExtendedFingerprintCallback::onCapture(uint32_t uintArg1, uint32_t uintArg2,
                                                         const hidl_vec<uint8_t>& data) {
    return frame::passthrough<m::onCapture>(this, uintArg1, uintArg2, data);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
