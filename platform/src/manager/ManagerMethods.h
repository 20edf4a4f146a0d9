// The operations of the service manager's two interfaces on the frame. Only
// this project's processes speak this protocol, so the codes are our own: the
// operations in declaration order, from 1.
#pragma once

#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BnHwServiceNotification.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceNotification.h>
#include <hidl_host/frame/BaseMethods.h>
#include <hidl_host/frame/Codec.h>
#include <hidl_host/frame/Method.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

// The record's children: its two strings and its vector of client pids.
using Instance = IServiceManager::InstanceDebugInfo;
inline status_t writeEmbeddedToParcel(const Instance& info, ::android::hardware::Parcel* parcel,
                                      size_t parentHandle, size_t parentOffset) {
    return ::android::hardware::frame::writeMemberChildren(
            info, parcel, parentHandle, parentOffset, &Instance::interfaceName,
            &Instance::instanceName, &Instance::clientPids);
}
inline status_t readEmbeddedFromParcel(const Instance& info,
                                       const ::android::hardware::Parcel& parcel,
                                       size_t parentHandle, size_t parentOffset) {
    return ::android::hardware::frame::readMemberChildren(
            info, parcel, parentHandle, parentOffset, &Instance::interfaceName,
            &Instance::instanceName, &Instance::clientPids);
}

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl

namespace hardware {
namespace frame {

namespace mgr = ::android::hidl::manager::V1_0;

// The daemon answers a failed implementation call with its status: a
// registry that fails one caller must go on serving the others.
#define ZUV_MANAGER_INFO(Name)                                             \
    template <>                                                            \
    struct InterfaceInfo<mgr::I##Name> {                                   \
        using Proxy = mgr::BpHw##Name;                                     \
        using Stub = mgr::BnHw##Name;                                      \
        static constexpr const char* kPackage = "android.hidl.manager";    \
        static constexpr const char* kVersion = "1.0";                     \
        static constexpr const char* kShortName = "I" #Name;               \
        static constexpr const char* kLogTag = "android.hidl.manager@1.0"; \
        static constexpr bool kRepliesFailures = true;                     \
    };
ZUV_MANAGER_INFO(ServiceManager)
ZUV_MANAGER_INFO(ServiceNotification)
#undef ZUV_MANAGER_INFO

template <>
struct ValidEnum<mgr::IServiceManager::Transport> {
    static bool check(mgr::IServiceManager::Transport t) {
        return t <= mgr::IServiceManager::Transport::PASSTHROUGH;
    }
};

}  // namespace frame
}  // namespace hardware
}  // namespace android

#define ZUV_SERVICE_MANAGER_METHODS(X)                                     \
    X(METHOD, 1, get, ("fqName", "name"))                                  \
    X(METHOD, 2, add, ("name", "service"))                                 \
    X(METHOD, 3, getTransport, ("fqName", "name"))                         \
    X(METHOD, 4, list, ("fqInstanceNames"))                                \
    X(METHOD, 5, listByInterface, ("fqName", "instanceNames"))             \
    X(METHOD, 6, registerForNotifications, ("fqName", "name", "callback")) \
    X(METHOD, 7, debugDump, ("info"))                                      \
    X(METHOD, 8, registerPassthroughClient, ("fqName", "name"))

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
namespace manager_methods {

#define ZUV_DECLARE(kind, code, name, names) ZUV_##kind(code, name, names)
#define ZUV_INTERFACE IServiceManager
ZUV_SERVICE_MANAGER_METHODS(ZUV_DECLARE)
#undef ZUV_INTERFACE
#define ZUV_INTERFACE IServiceNotification
ZUV_ONEWAY_METHOD(1, onRegistration, ("fqName", "name", "preexisting"))
#undef ZUV_INTERFACE
#undef ZUV_DECLARE

}  // namespace manager_methods
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
