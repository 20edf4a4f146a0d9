#include "frame/BaseOperations.h"

#include <android/hidl/base/1.0/types.h>
#include <utils/misc.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::DebugInfo;

Return<void> reportInterfaceChain(const char* descriptor, const IBase::interfaceChain_cb& cb) {
    cb(hidl_vec<hidl_string>{descriptor, IBase::descriptor});
    return Void();
}

Return<void> reportInterfaceDescriptor(const char* descriptor,
                                       const IBase::interfaceDescriptor_cb& cb) {
    cb(hidl_string(descriptor));
    return Void();
}

Return<void> reportHashChain(const InterfaceHash& ownHash, const IBase::getHashChain_cb& cb) {
    cb(hidl_vec<hidl_array<uint8_t, 32>>{ownHash, kBaseInterfaceHash});
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

Return<bool> acceptRecipient(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

}  // namespace frame
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
