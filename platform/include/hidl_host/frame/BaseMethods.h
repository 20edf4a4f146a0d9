// The operations of android.hidl.base@1.0::IBase on the frame, with the
// platform's transaction codes; every interface inherits them.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl_host/frame/Codec.h>
#include <hidl_host/frame/Method.h>

namespace android {
namespace hardware {
namespace frame {

template <>
struct InterfaceInfo<::android::hidl::base::V1_0::IBase> {
    using Proxy = ::android::hidl::base::V1_0::BpHwBase;
    using Stub = ::android::hidl::base::V1_0::BnHwBase;
    static constexpr const char* kPackage = "android.hidl.base";
    static constexpr const char* kVersion = "1.0";
    static constexpr const char* kShortName = "IBase";
    static constexpr const char* kLogTag = "android.hidl.base@1.0::BnHwBase";
    static constexpr bool kRepliesFailures = false;
};

}  // namespace frame
}  // namespace hardware
}  // namespace android

#define ZUV_BASE_METHODS(X)                                    \
    X(METHOD, 0x0f43484e, interfaceChain, ("descriptors"))     \
    X(METHOD, 0x0f444247, debug, ("fd", "options"))            \
    X(METHOD, 0x0f445343, interfaceDescriptor, ("descriptor")) \
    X(METHOD, 0x0f485348, getHashChain, ("hashchain"))         \
    X(ONEWAY_METHOD, 0x0f494e54, setHALInstrumentation, ())    \
    X(METHOD, 0x0f504e47, ping, ())                            \
    X(METHOD, 0x0f524546, getDebugInfo, ("info"))              \
    X(ONEWAY_METHOD, 0x0f535953, notifySyspropsChanged, ())

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {
namespace base_methods {

#define ZUV_INTERFACE IBase
#define ZUV_DECLARE(kind, code, name, names) ZUV_##kind(code, name, names)
ZUV_BASE_METHODS(ZUV_DECLARE)
#undef ZUV_DECLARE
#undef ZUV_INTERFACE

}  // namespace base_methods
}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
