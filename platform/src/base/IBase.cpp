#include <android/hidl/base/1.0/IBase.h>
#include <hidl_host/frame/BaseAnswers.h>
#include <utils/misc.h>

#include <cstring>

namespace android {
namespace hardware {
namespace frame {

using ::android::hidl::base::V1_0::DebugInfo;

Return<void> reportInterfaceChain(const char* descriptor, const IBase::interfaceChain_cb& cb) {
    if (std::strcmp(descriptor, IBase::descriptor) == 0) {
        cb(hidl_vec<hidl_string>{IBase::descriptor});
    } else {
        cb(hidl_vec<hidl_string>{descriptor, IBase::descriptor});
    }
    return Void();
}

Return<void> reportInterfaceDescriptor(const char* descriptor,
                                       const IBase::interfaceDescriptor_cb& cb) {
    cb(hidl_string(descriptor));
    return Void();
}

Return<void> reportHashChain(const InterfaceHash& ownHash, const IBase::getHashChain_cb& cb) {
    if (ownHash == kBaseInterfaceHash) {
        cb(hidl_vec<hidl_array<uint8_t, 32>>{kBaseInterfaceHash});
    } else {
        cb(hidl_vec<hidl_array<uint8_t, 32>>{ownHash, kBaseInterfaceHash});
    }
    return Void();
}

Return<void> reportLocalDebugInfo(const IBase::getDebugInfo_cb& cb) {
    DebugInfo info{};
    info.pid = -1;
    info.ptr = 0;
    info.arch = DebugInfo::Architecture::IS_64BIT;
    cb(info);
    return Void();
}

Return<void> reportSyspropsChanged() {
    ::android::report_sysprop_change();
    return Void();
}

Return<bool> acceptRecipient(const ::android::sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

}  // namespace frame
}  // namespace hardware

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
