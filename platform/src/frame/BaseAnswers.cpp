// The default answers of the base operations, shared by IBase and every
// interface declared over it.
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

}  // namespace android
