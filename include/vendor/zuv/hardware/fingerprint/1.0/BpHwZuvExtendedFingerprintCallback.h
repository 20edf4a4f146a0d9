// Client proxy of IZuvExtendedFingerprintCallback: stands for an object in another process; each
// operation becomes one transaction on its binder.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/ProxyFrame.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

class BpHwZuvExtendedFingerprintCallback
    : public details::ProxyFrame<IZuvExtendedFingerprintCallback> {
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using IInterface = ::android::hardware::IInterface;
    using HidlInstrumentor = ::android::hardware::details::HidlInstrumentor;

  public:
    explicit BpHwZuvExtendedFingerprintCallback(
            const ::android::sp<::android::hardware::IBinder>& _hidl_impl);

    // One transaction procedure per operation, in code order: the proxy to
    // send through, its instrumentation, then the operation's own arguments.
    static Return<void> _hidl_onMatch(IInterface* _hidl_this,
                                      HidlInstrumentor* _hidl_this_instrumentor, int32_t intArg1,
                                      const ::android::hardware::hidl_string& strArg1,
                                      uint64_t value,
                                      const ::android::hardware::hidl_vec<uint8_t>& data,
                                      const ::android::hardware::hidl_vec<uint8_t>& data2);
    static Return<void> _hidl_onError(IInterface* _hidl_this,
                                      HidlInstrumentor* _hidl_this_instrumentor, int32_t value);
    static Return<void> _hidl_onStatus(IInterface* _hidl_this,
                                       HidlInstrumentor* _hidl_this_instrumentor, int32_t value,
                                       const ::android::hardware::hidl_vec<uint8_t>& data);
    static Return<void> _hidl_onEnroll(IInterface* _hidl_this,
                                       HidlInstrumentor* _hidl_this_instrumentor,
                                       const ::android::hardware::hidl_string& strArg1,
                                       int32_t intArg1, int32_t intArg2);
    static Return<void> _hidl_onRemove(IInterface* _hidl_this,
                                       HidlInstrumentor* _hidl_this_instrumentor,
                                       const ::android::hardware::hidl_string& strArg1,
                                       int32_t intArg1);
    static Return<void> _hidl_onEnumerate(IInterface* _hidl_this,
                                          HidlInstrumentor* _hidl_this_instrumentor,
                                          const ::android::hardware::hidl_string& strArg1,
                                          int32_t intArg1, int32_t intArg2);
    static Return<void> _hidl_onRemoveUser(IInterface* _hidl_this,
                                           HidlInstrumentor* _hidl_this_instrumentor,
                                           const ::android::hardware::hidl_string& strArg1);
    static Return<void> _hidl_onCaptureDebugData(
            IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
            const ::android::hardware::hidl_vec<CaptureDebugData>& debugData);
    static Return<void> _hidl_onCapture(IInterface* _hidl_this,
                                        HidlInstrumentor* _hidl_this_instrumentor,
                                        uint32_t uintArg1, uint32_t uintArg2,
                                        const ::android::hardware::hidl_vec<uint8_t>& data);

    Return<void> onMatch(int32_t intArg1, const ::android::hardware::hidl_string& strArg1,
                         uint64_t value, const ::android::hardware::hidl_vec<uint8_t>& data,
                         const ::android::hardware::hidl_vec<uint8_t>& data2) override {
        return _hidl_onMatch(this, this, intArg1, strArg1, value, data, data2);
    }
    Return<void> onError(int32_t value) override { return _hidl_onError(this, this, value); }
    Return<void> onStatus(int32_t value,
                          const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return _hidl_onStatus(this, this, value, data);
    }
    Return<void> onEnroll(const ::android::hardware::hidl_string& strArg1, int32_t intArg1,
                          int32_t intArg2) override {
        return _hidl_onEnroll(this, this, strArg1, intArg1, intArg2);
    }
    Return<void> onRemove(const ::android::hardware::hidl_string& strArg1,
                          int32_t intArg1) override {
        return _hidl_onRemove(this, this, strArg1, intArg1);
    }
    Return<void> onEnumerate(const ::android::hardware::hidl_string& strArg1, int32_t intArg1,
                             int32_t intArg2) override {
        return _hidl_onEnumerate(this, this, strArg1, intArg1, intArg2);
    }
    Return<void> onRemoveUser(const ::android::hardware::hidl_string& strArg1) override {
        return _hidl_onRemoveUser(this, this, strArg1);
    }
    Return<void> onCaptureDebugData(
            const ::android::hardware::hidl_vec<CaptureDebugData>& debugData) override {
        return _hidl_onCaptureDebugData(this, this, debugData);
    }
    Return<void> onCapture(uint32_t uintArg1, uint32_t uintArg2,
                           const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return _hidl_onCapture(this, this, uintArg1, uintArg2, data);
    }
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
