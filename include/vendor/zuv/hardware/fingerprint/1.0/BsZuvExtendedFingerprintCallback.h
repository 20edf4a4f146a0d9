// Passthrough wrapper of IZuvExtendedFingerprintCallback: stands in front of
// an implementation in this process and gives each call the frame a binder
// call would have, without a parcel. Every report runs on the caller's thread.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/PassthroughFrame.h>

// The shared operations are instantiated once, in the library.
extern template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IZuvExtendedFingerprintCallback>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BsZuvExtendedFingerprintCallback
    : public details::PassthroughFrame<IZuvExtendedFingerprintCallback> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    template <typename T>
    using sp = ::android::sp<T>;
    template <typename T>
    using hidl_vec = ::android::hardware::hidl_vec<T>;
    using hidl_string = ::android::hardware::hidl_string;

  public:
    explicit BsZuvExtendedFingerprintCallback(sp<IZuvExtendedFingerprintCallback> _hidl_impl);
    ~BsZuvExtendedFingerprintCallback() override;

    // The operations, in code order, each forwarded to the implementation.
    Return<void> onMatch(int32_t intArg1, const hidl_string& strArg1, uint64_t value,
                         const hidl_vec<uint8_t>& data, const hidl_vec<uint8_t>& data2) override;
    Return<void> onError(int32_t value) override;
    Return<void> onStatus(int32_t value, const hidl_vec<uint8_t>& data) override;
    Return<void> onEnroll(const hidl_string& strArg1, int32_t intArg1, int32_t intArg2) override;
    Return<void> onRemove(const hidl_string& strArg1, int32_t intArg1) override;
    Return<void> onEnumerate(const hidl_string& strArg1, int32_t intArg1, int32_t intArg2) override;
    Return<void> onRemoveUser(const hidl_string& strArg1) override;
    Return<void> onCaptureDebugData(const hidl_vec<CaptureDebugData>& debugData) override;
    Return<void> onCapture(uint32_t uintArg1, uint32_t uintArg2,
                           const hidl_vec<uint8_t>& data) override;
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
