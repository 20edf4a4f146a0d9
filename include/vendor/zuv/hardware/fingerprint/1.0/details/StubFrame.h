// What every server stub of the package shares, whatever its interface: the
// implementation it holds, the scheduling settings taken from it, the
// dispatch of transaction codes to the operation handlers. The base stub
// answers ping and getDebugInfo itself.
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <cstdint>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

// One handler per operation, indexed by code - 1.
using StubHandler = ::android::status_t (*)(::android::hidl::base::V1_0::BnHwBase* stub,
                                            const ::android::hardware::Parcel& data,
                                            ::android::hardware::Parcel* reply,
                                            ::android::hardware::IBinder::TransactCallback cb);

template <typename IType>
class StubFrame : public ::android::hidl::base::V1_0::BnHwBase {
    using BnHwBase = ::android::hidl::base::V1_0::BnHwBase;
    using IBase = ::android::hidl::base::V1_0::IBase;
    using Parcel = ::android::hardware::Parcel;

  public:
    StubFrame(const ::android::sp<IType>& impl, const char* package, const char* interfaceName,
              const StubHandler* handlers, size_t handlerCount)
        : BnHwBase(impl, package, interfaceName),
          mImpl(impl),
          mHandlers(handlers),
          mHandlerCount(handlerCount) {
        const auto prio = ::android::hardware::getMinSchedulerPolicy(impl);
        this->setMinSchedulingPolicy(prio.sched_policy, prio.sched_priority);
        this->setRequestingSid(::android::hardware::getRequestingSid(impl));
    }

    ~StubFrame() override { mImpl.clear(); }

    ::android::sp<IType> getImplAs() const { return mImpl; }

    // Codes 1..N are the interface's operations; every other code (0, past
    // the last operation, the base operations) is the base stub's. The flags
    // are not consulted: a handler serves its code oneway or not.
    ::android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                   uint32_t flags = 0,
                                   TransactCallback callback = nullptr) override {
        if (code >= 1 && code <= mHandlerCount) {
            ::android::status_t err = mHandlers[code - 1](this, data, reply, callback);
            if (err == ::android::UNEXPECTED_NULL) {
                err = ::android::hardware::writeToParcel(
                        ::android::hardware::Status::fromExceptionCode(
                                ::android::hardware::Status::EX_NULL_POINTER),
                        reply);
            }
            return err;
        }
        return BnHwBase::onTransact(code, data, reply, flags, std::move(callback));
    }

  private:
    ::android::sp<IType> mImpl;
    const StubHandler* mHandlers;
    size_t mHandlerCount;
};

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
