// Implemented by a client of the fingerprint service and handed to it with
// match, startCapture or retrieveDebugData; the service reports through it.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <cstdint>
#include <string>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {
struct IServiceNotification;
}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

struct IZuvExtendedFingerprintCallback : public ::android::hidl::base::V1_0::IBase {
    static const char* descriptor;

    bool isRemote() const override { return false; }

    // Base operations answered with this interface's identity.
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> setHALInstrumentation() override;
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<void> notifySyspropsChanged() override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

    // The operations, in transaction-code order (code 1 first). All are
    // two-way: the service's thread waits until the client has returned.
    virtual ::android::hardware::Return<void> onMatch(
            int32_t intArg1, const ::android::hardware::hidl_string& strArg1, uint64_t value,
            const ::android::hardware::hidl_vec<uint8_t>& data,
            const ::android::hardware::hidl_vec<uint8_t>& data2) = 0;
    virtual ::android::hardware::Return<void> onError(int32_t value) = 0;
    virtual ::android::hardware::Return<void> onStatus(
            int32_t value, const ::android::hardware::hidl_vec<uint8_t>& data) = 0;
    virtual ::android::hardware::Return<void> onEnroll(
            const ::android::hardware::hidl_string& strArg1, int32_t intArg1, int32_t intArg2) = 0;
    virtual ::android::hardware::Return<void> onRemove(
            const ::android::hardware::hidl_string& strArg1, int32_t intArg1) = 0;
    virtual ::android::hardware::Return<void> onEnumerate(
            const ::android::hardware::hidl_string& strArg1, int32_t intArg1, int32_t intArg2) = 0;
    virtual ::android::hardware::Return<void> onRemoveUser(
            const ::android::hardware::hidl_string& strArg1) = 0;
    virtual ::android::hardware::Return<void> onCaptureDebugData(
            const ::android::hardware::hidl_vec<CaptureDebugData>& debugData) = 0;
    virtual ::android::hardware::Return<void> onCapture(
            uint32_t uintArg1, uint32_t uintArg2,
            const ::android::hardware::hidl_vec<uint8_t>& data) = 0;

    // Conversions. The identity form never fails; the base form yields null
    // (with an OK status) for objects of other interfaces, a proxy for remote
    // objects and the object itself for local ones.
    static ::android::hardware::Return<::android::sp<IZuvExtendedFingerprintCallback>> castFrom(
            const ::android::sp<IZuvExtendedFingerprintCallback>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IZuvExtendedFingerprintCallback>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);

    // Service registry. getService waits a bounded time for the service to
    // appear; tryGetService does not wait. getStub asks for the in-process
    // (passthrough) implementation.
    static ::android::sp<IZuvExtendedFingerprintCallback> getService(
            const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IZuvExtendedFingerprintCallback> tryGetService(
            const std::string& serviceName = "default", bool getStub = false);
    // Publishes this object; it must already be owned by a strong pointer.
    ::android::status_t registerAsService(const std::string& serviceName = "default");
    static bool registerForNotifications(
            const std::string& serviceName,
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&
                    notification);
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
