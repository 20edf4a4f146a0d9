// android.hidl.manager@1.0::IServiceManager: the registry that services are
// published in and looked up from.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/base/1.0/types.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <functional>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

struct IServiceManager : public ::android::hidl::base::V1_0::IBase {
    static const char* descriptor;

    enum class Transport : uint8_t {
        EMPTY = 0,
        HWBINDER = 1,
        PASSTHROUGH = 2,
    };

    enum class PidConstant : int32_t {
        NO_PID = -1,
    };

    struct InstanceDebugInfo final {
        ::android::hardware::hidl_string interfaceName;
        ::android::hardware::hidl_string instanceName;
        int32_t pid = static_cast<int32_t>(PidConstant::NO_PID);
        ::android::hardware::hidl_vec<int32_t> clientPids;
        ::android::hidl::base::V1_0::DebugInfo::Architecture arch =
                ::android::hidl::base::V1_0::DebugInfo::Architecture::UNKNOWN;
    };

    // The service registered as fqName/name, or null.
    virtual ::android::hardware::Return<::android::sp<::android::hidl::base::V1_0::IBase>> get(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) = 0;

    // Registers service under name for every interface of its interfaceChain,
    // replacing what was there. False when refused.
    virtual ::android::hardware::Return<bool> add(
            const ::android::hardware::hidl_string& name,
            const ::android::sp<::android::hidl::base::V1_0::IBase>& service) = 0;

    virtual ::android::hardware::Return<Transport> getTransport(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) = 0;

    // Every registration as "fqName/name".
    using list_cb = std::function<void(const ::android::hardware::hidl_vec<
                                       ::android::hardware::hidl_string>& fqInstanceNames)>;
    virtual ::android::hardware::Return<void> list(list_cb _hidl_cb) = 0;

    // The instance names registered for fqName.
    using listByInterface_cb = std::function<void(
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& instanceNames)>;
    virtual ::android::hardware::Return<void> listByInterface(
            const ::android::hardware::hidl_string& fqName, listByInterface_cb _hidl_cb) = 0;

    // Asks to be told of registrations of fqName/name (every instance of fqName
    // when name is empty). Registrations already present are reported at once
    // with preexisting true.
    virtual ::android::hardware::Return<bool> registerForNotifications(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name,
            const ::android::sp<IServiceNotification>& callback) = 0;

    using debugDump_cb =
            std::function<void(const ::android::hardware::hidl_vec<InstanceDebugInfo>& info)>;
    virtual ::android::hardware::Return<void> debugDump(debugDump_cb _hidl_cb) = 0;

    // Records that this process uses fqName/name in passthrough mode.
    virtual ::android::hardware::Return<void> registerPassthroughClient(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name) = 0;

    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
