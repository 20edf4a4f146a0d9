// Client proxy of IDaxAndroidServices: stands for an object in another process; each
// operation becomes one transaction on its binder.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/ProxyFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BpHwDaxAndroidServices : public details::ProxyFrame<IDaxAndroidServices> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using IInterface = ::android::hardware::IInterface;
    using HidlInstrumentor = ::android::hardware::details::HidlInstrumentor;

  public:
    explicit BpHwDaxAndroidServices(const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    // One transaction procedure per operation, in code order: the proxy to
    // send through, its instrumentation, then the operation's own arguments.
    static Return<void> _hidl_setTimer(IInterface* _hidl_this,
                                       HidlInstrumentor* _hidl_this_instrumentor, uint32_t value);
    static Return<void> _hidl_setWakelock(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          int8_t byteArg1, int8_t byteArg2);
    static Return<int32_t> _hidl_checkRequestingAppType(IInterface* _hidl_this,
                                                        HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_showLivenessAlert(IInterface* _hidl_this,
                                                HidlInstrumentor* _hidl_this_instrumentor);
    static Return<void> _hidl_resetLivenessAlert(IInterface* _hidl_this,
                                                 HidlInstrumentor* _hidl_this_instrumentor);

    Return<void> setTimer(uint32_t value) override { return _hidl_setTimer(this, this, value); }
    Return<void> setWakelock(int8_t byteArg1, int8_t byteArg2) override {
        return _hidl_setWakelock(this, this, byteArg1, byteArg2);
    }
    Return<int32_t> checkRequestingAppType() override {
        return _hidl_checkRequestingAppType(this, this);
    }
    Return<void> showLivenessAlert() override { return _hidl_showLivenessAlert(this, this); }
    Return<void> resetLivenessAlert() override { return _hidl_resetLivenessAlert(this, this); }
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
