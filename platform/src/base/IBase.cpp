#include <android/hidl/base/1.0/IBase.h>
#include <utils/misc.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

const char* IBase::descriptor("android.hidl.base@1.0::IBase");

namespace {
// The interface hash of android.hidl.base@1.0::IBase.
constexpr uint8_t kBaseHash[32] = {0xec, 0x7f, 0xd7, 0x9e, 0xd0, 0x2d, 0xfa, 0x85, 0xbc, 0x49, 0x94,
                                   0x26, 0xad, 0xae, 0x3e, 0xbe, 0x23, 0xef, 0x05, 0x24, 0xf3, 0xcd,
                                   0x69, 0x57, 0x13, 0x93, 0x24, 0xb8, 0x3b, 0x18, 0xca, 0x4c};
}  // namespace

Return<void> IBase::interfaceChain(interfaceChain_cb _hidl_cb) {
    hidl_vec<hidl_string> chain;
    chain.resize(1);
    chain[0] = descriptor;
    _hidl_cb(chain);
    return Void();
}

Return<void> IBase::debug(const hidl_handle& /*fd*/, const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> IBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(descriptor);
    return Void();
}

Return<void> IBase::getHashChain(getHashChain_cb _hidl_cb) {
    hidl_vec<hidl_array<uint8_t, 32>> chain;
    chain.resize(1);
    chain[0] = hidl_array<uint8_t, 32>(kBaseHash);
    _hidl_cb(chain);
    return Void();
}

Return<void> IBase::setHALInstrumentation() {
    return Void();
}

Return<bool> IBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t /*cookie*/) {
    return recipient != nullptr;
}

Return<void> IBase::ping() {
    return Void();
}

Return<void> IBase::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    DebugInfo info = {};
    info.pid = -1;
    info.ptr = 0;
    info.arch = DebugInfo::Architecture::IS_64BIT;
    _hidl_cb(info);
    return Void();
}

Return<void> IBase::notifySyspropsChanged() {
    ::android::report_sysprop_change();
    return Void();
}

Return<bool> IBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

Return<sp<IBase>> IBase::castFrom(const sp<IBase>& parent, bool /*emitError*/) {
    return parent;
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
