#include <android/hidl/base/1.0/IBase.h>
#include <hidl_host/frame/BaseAnswers.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

namespace frame = ::android::hardware::frame;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

const char* IBase::descriptor("android.hidl.base@1.0::IBase");

Return<void> IBase::interfaceChain(interfaceChain_cb _hidl_cb) {
    return frame::reportInterfaceChain(descriptor, _hidl_cb);
}

Return<void> IBase::debug(const hidl_handle& /*fd*/, const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> IBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    return frame::reportInterfaceDescriptor(descriptor, _hidl_cb);
}

Return<void> IBase::getHashChain(getHashChain_cb _hidl_cb) {
    return frame::reportHashChain(frame::kBaseInterfaceHash, _hidl_cb);
}

Return<void> IBase::setHALInstrumentation() {
    return Void();
}

Return<bool> IBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t /*cookie*/) {
    return frame::acceptRecipient(recipient);
}

Return<void> IBase::ping() {
    return Void();
}

Return<void> IBase::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    return frame::reportLocalDebugInfo(_hidl_cb);
}

Return<void> IBase::notifySyspropsChanged() {
    return frame::reportSyspropsChanged();
}

Return<bool> IBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return frame::acceptRecipient(recipient);
}

Return<sp<IBase>> IBase::castFrom(const sp<IBase>& parent, bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
