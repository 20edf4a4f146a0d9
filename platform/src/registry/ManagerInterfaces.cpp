// Identity of the service manager's two interfaces.
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>

#include <vector>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;

const char* IServiceManager::descriptor = "android.hidl.manager@1.0::IServiceManager";
const char* IServiceNotification::descriptor = "android.hidl.manager@1.0::IServiceNotification";

namespace {

// The host does not carry these interfaces' published hashes; their own
// entry is all zeros (the platform's value for an unreleased interface), the
// IBase entry is the real one, so the chain stays as long as interfaceChain.
Return<void> hashChainOverBase(IBase* self, IBase::getHashChain_cb cb) {
    std::vector<hidl_array<uint8_t, 32>> chain(1);  // zero-initialised
    Return<void> ret = self->IBase::getHashChain([&](const auto& base) {
        for (size_t i = 0; i < base.size(); ++i) chain.push_back(base[i]);
    });
    if (!ret.isOk()) return ret;
    cb(hidl_vec<hidl_array<uint8_t, 32>>(chain));
    return Void();
}

}  // namespace

Return<void> IServiceManager::interfaceChain(interfaceChain_cb _hidl_cb) {
    _hidl_cb({hidl_string(IServiceManager::descriptor), hidl_string(IBase::descriptor)});
    return Void();
}

Return<void> IServiceManager::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(IServiceManager::descriptor);
    return Void();
}

Return<void> IServiceManager::getHashChain(getHashChain_cb _hidl_cb) {
    return hashChainOverBase(this, _hidl_cb);
}

Return<void> IServiceNotification::interfaceChain(interfaceChain_cb _hidl_cb) {
    _hidl_cb({hidl_string(IServiceNotification::descriptor), hidl_string(IBase::descriptor)});
    return Void();
}

Return<void> IServiceNotification::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(IServiceNotification::descriptor);
    return Void();
}

Return<void> IServiceNotification::getHashChain(getHashChain_cb _hidl_cb) {
    return hashChainOverBase(this, _hidl_cb);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
