// Passthrough wrapper of IDaxAndroidServices: stands in front of an
// implementation in this process and gives each call the frame a binder call
// would have, without a parcel. The oneway operations run on the wrapper's
// queue, in order, and return before the implementation has run.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/PassthroughFrame.h>

// The shared operations are instantiated once, in the library.
extern template class ::android::hardware::frame::PassthroughBase<
        ::vendor::zuv::hardware::fingerprint::V1_0::IDaxAndroidServices>;

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BsDaxAndroidServices : public details::PassthroughFrame<IDaxAndroidServices> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    template <typename T>
    using sp = ::android::sp<T>;

  public:
    explicit BsDaxAndroidServices(sp<IDaxAndroidServices> _hidl_impl);
    ~BsDaxAndroidServices() override;

    // The operations, in code order, each forwarded to the implementation.
    Return<void> setTimer(uint32_t value) override;
    Return<void> setWakelock(int8_t byteArg1, int8_t byteArg2) override;
    Return<int32_t> checkRequestingAppType() override;
    Return<void> showLivenessAlert() override;
    Return<void> resetLivenessAlert() override;
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
