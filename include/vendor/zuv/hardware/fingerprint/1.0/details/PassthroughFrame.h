// What every passthrough wrapper of the package shares, whatever its
// interface: the implementation it stands in front of, the queue its oneway
// operations run on, its own instrumentation, and the base operations. The
// operation bodies live in the library, instantiated once per interface.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hidl/TaskRunner.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

template <typename IType>
class PassthroughFrame : public IType, public ::android::hardware::details::HidlInstrumentor {
    using IBase = ::android::hidl::base::V1_0::IBase;
    template <typename T>
    using Return = ::android::hardware::Return<T>;
    using DeathRecipient = ::android::hardware::hidl_death_recipient;

  public:
    // Oneway calls beyond this many waiting are refused, not queued.
    static constexpr size_t kOnewayQueueLimit = 3000;

    PassthroughFrame(::android::sp<IType> _hidl_impl, const char* package,
                     const char* interfaceName)
        : ::android::hardware::details::HidlInstrumentor(package, interfaceName),
          impl(std::move(_hidl_impl)) {
        onewayQueue.start(kOnewayQueueLimit);
    }

    // Queues task behind the oneway calls already waiting; a full queue
    // drops it and says so in the status.
    Return<void> addOnewayTask(std::function<void()> task);

    const ::android::sp<IType>& getImpl() const { return impl; }

    Return<void> interfaceChain(typename IBase::interfaceChain_cb _hidl_cb) override;
    Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    Return<void> interfaceDescriptor(typename IBase::interfaceDescriptor_cb _hidl_cb) override;
    Return<void> getHashChain(typename IBase::getHashChain_cb _hidl_cb) override;
    // Refreshes this wrapper's own instrumentation; the implementation is
    // not asked.
    Return<void> setHALInstrumentation() override;
    Return<bool> linkToDeath(const ::android::sp<DeathRecipient>& recipient,
                             uint64_t cookie) override;
    Return<void> ping() override;
    Return<void> getDebugInfo(typename IBase::getDebugInfo_cb _hidl_cb) override;
    Return<void> notifySyspropsChanged() override;
    Return<bool> unlinkToDeath(const ::android::sp<DeathRecipient>& recipient) override;

  private:
    // Declared in this order so the queue, and with it any task still
    // running, goes before the implementation is released.
    const ::android::sp<IType> impl;
    ::android::hardware::details::TaskRunner onewayQueue;
};

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
