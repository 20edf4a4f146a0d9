// Identity of IZuvExtendedFingerprintCallback and its answers to the base operations.
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include "frame/BaseOperations.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::sp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

const char* IZuvExtendedFingerprintCallback::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprintCallback";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("ed2f99e64ac9288f8b6ba19ae48b1cad204c5584152e32704f36a118495aaec0");
}  // namespace

Return<void> IZuvExtendedFingerprintCallback::interfaceChain(interfaceChain_cb _hidl_cb) {
    return frame::reportInterfaceChain(descriptor, _hidl_cb);
}

Return<void> IZuvExtendedFingerprintCallback::debug(const hidl_handle& /*fd*/,
                                                    const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> IZuvExtendedFingerprintCallback::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return frame::reportInterfaceDescriptor(descriptor, _hidl_cb);
}

Return<void> IZuvExtendedFingerprintCallback::getHashChain(getHashChain_cb _hidl_cb) {
    return frame::reportHashChain(kOwnHash, _hidl_cb);
}

Return<void> IZuvExtendedFingerprintCallback::setHALInstrumentation() {
    return Void();
}

Return<bool> IZuvExtendedFingerprintCallback::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                                          uint64_t /*cookie*/) {
    return frame::acceptRecipient(recipient);
}

Return<void> IZuvExtendedFingerprintCallback::ping() {
    return Void();
}

Return<void> IZuvExtendedFingerprintCallback::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return frame::reportLocalDebugInfo(_hidl_cb);
}

Return<void> IZuvExtendedFingerprintCallback::notifySyspropsChanged() {
    return frame::reportSyspropsChanged();
}

Return<bool> IZuvExtendedFingerprintCallback::unlinkToDeath(
        const sp<hidl_death_recipient>& recipient) {
    return frame::acceptRecipient(recipient);
}

Return<sp<IZuvExtendedFingerprintCallback>> IZuvExtendedFingerprintCallback::castFrom(
        const sp<IZuvExtendedFingerprintCallback>& parent, bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
