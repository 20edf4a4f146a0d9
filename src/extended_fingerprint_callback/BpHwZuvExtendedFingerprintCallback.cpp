// Client proxy of IZuvExtendedFingerprintCallback: every procedure is the frame's client call for
// its operation.
#include <hidl_host/frame/ClientCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>

#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace m = extended_fingerprint_callback_methods;
using ::android::hardware::IInterface;
using ::android::hardware::Return;
using ::android::hardware::details::HidlInstrumentor;
using frame::Client;

BpHwZuvExtendedFingerprintCallback::BpHwZuvExtendedFingerprintCallback(
        const ::android::sp<::android::hardware::IBinder>& _hidl_impl)
    : details::ProxyFrame<IZuvExtendedFingerprintCallback>(
              _hidl_impl, frame::kPackageFqName,
              frame::InterfaceInfo<IZuvExtendedFingerprintCallback>::kShortName) {}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onMatch(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t intArg1,
        const ::android::hardware::hidl_string& strArg1, uint64_t value,
        const ::android::hardware::hidl_vec<uint8_t>& data,
        const ::android::hardware::hidl_vec<uint8_t>& data2) {
    return Client<m::onMatch>::call(_hidl_this, _hidl_this_instrumentor, intArg1, strArg1, value,
                                    data, data2);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onError(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value) {
    return Client<m::onError>::call(_hidl_this, _hidl_this_instrumentor, value);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onStatus(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, int32_t value,
        const ::android::hardware::hidl_vec<uint8_t>& data) {
    return Client<m::onStatus>::call(_hidl_this, _hidl_this_instrumentor, value, data);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onEnroll(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& strArg1, int32_t intArg1, int32_t intArg2) {
    return Client<m::onEnroll>::call(_hidl_this, _hidl_this_instrumentor, strArg1, intArg1,
                                     intArg2);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onRemove(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& strArg1, int32_t intArg1) {
    return Client<m::onRemove>::call(_hidl_this, _hidl_this_instrumentor, strArg1, intArg1);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onEnumerate(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& strArg1, int32_t intArg1, int32_t intArg2) {
    return Client<m::onEnumerate>::call(_hidl_this, _hidl_this_instrumentor, strArg1, intArg1,
                                        intArg2);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onRemoveUser(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_string& strArg1) {
    return Client<m::onRemoveUser>::call(_hidl_this, _hidl_this_instrumentor, strArg1);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onCaptureDebugData(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor,
        const ::android::hardware::hidl_vec<CaptureDebugData>& debugData) {
    return Client<m::onCaptureDebugData>::call(_hidl_this, _hidl_this_instrumentor, debugData);
}

Return<void> BpHwZuvExtendedFingerprintCallback::_hidl_onCapture(
        IInterface* _hidl_this, HidlInstrumentor* _hidl_this_instrumentor, uint32_t uintArg1,
        uint32_t uintArg2, const ::android::hardware::hidl_vec<uint8_t>& data) {
    return Client<m::onCapture>::call(_hidl_this, _hidl_this_instrumentor, uintArg1, uintArg2,
                                      data);
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
