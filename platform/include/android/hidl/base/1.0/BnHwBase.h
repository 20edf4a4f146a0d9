// Server stub of the base interface: the binder object published for a local
// implementation. It dispatches the base-operation codes; every interface's
// stub derives from it and passes it the codes it does not know itself.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/Status.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>

#include <string>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

struct BnHwBase : public ::android::hardware::BHwBinder,
                  public ::android::hardware::details::HidlInstrumentor {
    explicit BnHwBase(const ::android::sp<IBase>& _hidl_impl);
    BnHwBase(const ::android::sp<IBase>& _hidl_impl, const std::string& HidlInstrumentor_package,
             const std::string& HidlInstrumentor_interface);
    ~BnHwBase() override;

    using Pure = IBase;

    // Base-operation codes go to the implementation (BAD_TYPE when the token
    // is not IBase::descriptor); any other code is UNKNOWN_TRANSACTION.
    ::android::status_t onTransact(uint32_t _hidl_code,
                                   const ::android::hardware::Parcel& _hidl_data,
                                   ::android::hardware::Parcel* _hidl_reply,
                                   uint32_t _hidl_flags = 0,
                                   TransactCallback _hidl_cb = nullptr) override;

    // Answers true for IBase::descriptor (the pointer), so that a binder can
    // be recognised as a base-interface stub.
    bool checkSubclass(const void* subclassID) const override;

    ::android::sp<IBase> getImpl() { return _hidl_mImpl; }
    ::android::sp<IBase> getImplAs() const { return _hidl_mImpl; }

    // Answered by the stub itself for the ping and getDebugInfo codes;
    // derived stubs may override them.
    virtual ::android::hardware::Return<void> ping();
    virtual ::android::hardware::Return<void> getDebugInfo(IBase::getDebugInfo_cb _hidl_cb);

    // Handlers of the base operations.
    static ::android::status_t _hidl_interfaceChain(BnHwBase* _hidl_this,
                                                    const ::android::hardware::Parcel& _hidl_data,
                                                    ::android::hardware::Parcel* _hidl_reply,
                                                    TransactCallback _hidl_cb);
    static ::android::status_t _hidl_debug(BnHwBase* _hidl_this,
                                           const ::android::hardware::Parcel& _hidl_data,
                                           ::android::hardware::Parcel* _hidl_reply,
                                           TransactCallback _hidl_cb);
    static ::android::status_t _hidl_interfaceDescriptor(
            BnHwBase* _hidl_this, const ::android::hardware::Parcel& _hidl_data,
            ::android::hardware::Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getHashChain(BnHwBase* _hidl_this,
                                                  const ::android::hardware::Parcel& _hidl_data,
                                                  ::android::hardware::Parcel* _hidl_reply,
                                                  TransactCallback _hidl_cb);
    static ::android::status_t _hidl_setHALInstrumentation(
            BnHwBase* _hidl_this, const ::android::hardware::Parcel& _hidl_data,
            ::android::hardware::Parcel* _hidl_reply, TransactCallback _hidl_cb);
    static ::android::status_t _hidl_ping(BnHwBase* _hidl_this,
                                          const ::android::hardware::Parcel& _hidl_data,
                                          ::android::hardware::Parcel* _hidl_reply,
                                          TransactCallback _hidl_cb);
    static ::android::status_t _hidl_getDebugInfo(BnHwBase* _hidl_this,
                                                  const ::android::hardware::Parcel& _hidl_data,
                                                  ::android::hardware::Parcel* _hidl_reply,
                                                  TransactCallback _hidl_cb);
    static ::android::status_t _hidl_notifySyspropsChanged(
            BnHwBase* _hidl_this, const ::android::hardware::Parcel& _hidl_data,
            ::android::hardware::Parcel* _hidl_reply, TransactCallback _hidl_cb);

  private:
    ::android::sp<IBase> _hidl_mImpl;
};

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
