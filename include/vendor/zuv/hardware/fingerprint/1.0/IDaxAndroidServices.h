// Implemented by the framework side and handed to the fingerprint service
// with registerAndroidServices: timers, wake locks, liveness alerts and the
// type of the requesting application.
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

struct IDaxAndroidServices : public ::android::hidl::base::V1_0::IBase {
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

    // The operations, in transaction-code order (code 1 first). All but
    // checkRequestingAppType are oneway: a remote caller does not wait.
    virtual ::android::hardware::Return<void> setTimer(uint32_t value) = 0;
    virtual ::android::hardware::Return<void> setWakelock(int8_t byteArg1, int8_t byteArg2) = 0;
    virtual ::android::hardware::Return<int32_t> checkRequestingAppType() = 0;
    virtual ::android::hardware::Return<void> showLivenessAlert() = 0;
    virtual ::android::hardware::Return<void> resetLivenessAlert() = 0;

    // Conversions. The identity form never fails; the base form yields null
    // (with an OK status) for objects of other interfaces, a proxy for remote
    // objects and the object itself for local ones.
    static ::android::hardware::Return<::android::sp<IDaxAndroidServices>> castFrom(
            const ::android::sp<IDaxAndroidServices>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IDaxAndroidServices>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);

    // Service registry. getService waits a bounded time for the service to
    // appear; tryGetService does not wait. getStub asks for the in-process
    // (passthrough) implementation.
    static ::android::sp<IDaxAndroidServices> getService(const std::string& serviceName = "default",
                                                         bool getStub = false);
    static ::android::sp<IDaxAndroidServices> tryGetService(
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
