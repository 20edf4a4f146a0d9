// Identity of IZuvExtendedFingerprint and its answers to the base operations.
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

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

const char* IZuvExtendedFingerprint::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("7a603395cc5f4754d82af8c9b9cb5202b6ece595b46fdc6715a835287c5d313a");
}  // namespace

Return<void> IZuvExtendedFingerprint::interfaceChain(interfaceChain_cb _hidl_cb) {
    return frame::reportInterfaceChain(descriptor, _hidl_cb);
}

Return<void> IZuvExtendedFingerprint::debug(const hidl_handle& /*fd*/,
                                            const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> IZuvExtendedFingerprint::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return frame::reportInterfaceDescriptor(descriptor, _hidl_cb);
}

Return<void> IZuvExtendedFingerprint::getHashChain(getHashChain_cb _hidl_cb) {
    return frame::reportHashChain(kOwnHash, _hidl_cb);
}

Return<void> IZuvExtendedFingerprint::setHALInstrumentation() {
    return Void();
}

Return<bool> IZuvExtendedFingerprint::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                                  uint64_t /*cookie*/) {
    return frame::acceptRecipient(recipient);
}

Return<void> IZuvExtendedFingerprint::ping() {
    return Void();
}

Return<void> IZuvExtendedFingerprint::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return frame::reportLocalDebugInfo(_hidl_cb);
}

Return<void> IZuvExtendedFingerprint::notifySyspropsChanged() {
    return frame::reportSyspropsChanged();
}

Return<bool> IZuvExtendedFingerprint::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return frame::acceptRecipient(recipient);
}

Return<sp<IZuvExtendedFingerprint>> IZuvExtendedFingerprint::castFrom(
        const sp<IZuvExtendedFingerprint>& parent, bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
