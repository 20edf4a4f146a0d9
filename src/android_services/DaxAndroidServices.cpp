// Identity of IDaxAndroidServices and its answers to the base operations.
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

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

const char* IDaxAndroidServices::descriptor =
        "vendor.zuv.hardware.fingerprint@1.0::IDaxAndroidServices";

namespace {
constexpr frame::InterfaceHash kOwnHash =
        frame::hashFromHex("6a72d94f767d808a71a49cc31be0f4484e14664570f8a65d6f7045190bc75e92");
}  // namespace

Return<void> IDaxAndroidServices::interfaceChain(interfaceChain_cb _hidl_cb) {
    return frame::reportInterfaceChain(descriptor, _hidl_cb);
}

Return<void> IDaxAndroidServices::debug(const hidl_handle& /*fd*/,
                                        const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> IDaxAndroidServices::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return frame::reportInterfaceDescriptor(descriptor, _hidl_cb);
}

Return<void> IDaxAndroidServices::getHashChain(getHashChain_cb _hidl_cb) {
    return frame::reportHashChain(kOwnHash, _hidl_cb);
}

Return<void> IDaxAndroidServices::setHALInstrumentation() {
    return Void();
}

Return<bool> IDaxAndroidServices::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                              uint64_t /*cookie*/) {
    return frame::acceptRecipient(recipient);
}

Return<void> IDaxAndroidServices::ping() {
    return Void();
}

Return<void> IDaxAndroidServices::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return frame::reportLocalDebugInfo(_hidl_cb);
}

Return<void> IDaxAndroidServices::notifySyspropsChanged() {
    return frame::reportSyspropsChanged();
}

Return<bool> IDaxAndroidServices::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return frame::acceptRecipient(recipient);
}

Return<sp<IDaxAndroidServices>> IDaxAndroidServices::castFrom(const sp<IDaxAndroidServices>& parent,
                                                              bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
