// The members every interface of the package defines alike: the answers to
// the base operations with the interface's own identity, the two casts, the
// registry lookups and registrations. ZUV_DEFINE_INTERFACE(I, BpHw, hash)
// defines them all for interface I inside namespace V1_0; the interface's own
// file adds only its descriptor and hash.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>
#include <utils/StrongPointer.h>

#include "frame/PackageIdentity.h"

#define ZUV_DEFINE_INTERFACE(IType, ProxyType, ownHash)                                           \
    ::android::hardware::Return<void> IType::interfaceChain(interfaceChain_cb _hidl_cb) {         \
        return frame::reportInterfaceChain(descriptor, _hidl_cb);                                 \
    }                                                                                             \
    ::android::hardware::Return<void> IType::debug(                                               \
            const ::android::hardware::hidl_handle& /*fd*/,                                       \
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& /*options*/) { \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> IType::interfaceDescriptor(                                 \
            interfaceDescriptor_cb _hidl_cb) {                                                    \
        return frame::reportInterfaceDescriptor(descriptor, _hidl_cb);                            \
    }                                                                                             \
    ::android::hardware::Return<void> IType::getHashChain(getHashChain_cb _hidl_cb) {             \
        return frame::reportHashChain(ownHash, _hidl_cb);                                         \
    }                                                                                             \
    ::android::hardware::Return<void> IType::setHALInstrumentation() {                            \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<bool> IType::linkToDeath(                                         \
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,            \
            uint64_t /*cookie*/) {                                                                \
        return frame::acceptRecipient(recipient);                                                 \
    }                                                                                             \
    ::android::hardware::Return<void> IType::ping() {                                             \
        return ::android::hardware::Void();                                                       \
    }                                                                                             \
    ::android::hardware::Return<void> IType::getDebugInfo(getDebugInfo_cb _hidl_cb) {             \
        return frame::reportLocalDebugInfo(_hidl_cb);                                             \
    }                                                                                             \
    ::android::hardware::Return<void> IType::notifySyspropsChanged() {                            \
        return frame::reportSyspropsChanged();                                                    \
    }                                                                                             \
    ::android::hardware::Return<bool> IType::unlinkToDeath(                                       \
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) {          \
        return frame::acceptRecipient(recipient);                                                 \
    }                                                                                             \
    ::android::hardware::Return<::android::sp<IType>> IType::castFrom(                            \
            const ::android::sp<IType>& parent, bool /*emitError*/) {                             \
        return parent;                                                                            \
    }                                                                                             \
    ::android::hardware::Return<::android::sp<IType>> IType::castFrom(                            \
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError) {    \
        return ::android::hardware::details::castInterface<                                       \
                IType, ::android::hidl::base::V1_0::IBase, ProxyType>(parent, descriptor,         \
                                                                      emitError);                 \
    }                                                                                             \
    /* Only the retry flag differs: getService waits for the service to appear. */                \
    ::android::sp<IType> IType::getService(const std::string& serviceName, bool getStub) {        \
        return ::android::hardware::details::getServiceInternal<ProxyType, IType>(                \
                serviceName, /*retry=*/true, getStub);                                            \
    }                                                                                             \
    ::android::sp<IType> IType::tryGetService(const std::string& serviceName, bool getStub) {     \
        return ::android::hardware::details::getServiceInternal<ProxyType, IType>(                \
                serviceName, /*retry=*/false, getStub);                                           \
    }                                                                                             \
    /* The strong pointer made from this lives only for the call, so the object                   \
       must already be owned by one. */                                                           \
    ::android::status_t IType::registerAsService(const std::string& serviceName) {                \
        return ::android::hardware::details::registerAsServiceInternal(this, serviceName);        \
    }                                                                                             \
    bool IType::registerForNotifications(                                                         \
            const std::string& serviceName,                                                       \
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&            \
                    notification) {                                                               \
        return ::android::hardware::details::registerForNotificationsInternal(                    \
                descriptor, serviceName, notification);                                           \
    }
