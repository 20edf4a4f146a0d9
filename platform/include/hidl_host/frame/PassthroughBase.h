// What every passthrough wrapper shares, whatever its interface and package:
// the implementation it stands in front of, the queue its oneway operations
// run on, its own instrumentation, and the base operations. The operation
// bodies are in hidl_host/frame/PassthroughCall.h; a package instantiates
// them once per interface in its library.
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

namespace android {
namespace hardware {
namespace frame {

template <typename IType>
class PassthroughBase : public IType, public details::HidlInstrumentor {
    using IBase = ::android::hidl::base::V1_0::IBase;
    using DeathRecipient = hidl_death_recipient;

  public:
    // Oneway calls beyond this many waiting are refused, not queued.
    static constexpr size_t kOnewayQueueLimit = 3000;

    PassthroughBase(sp<IType> _hidl_impl, const char* package, const char* interfaceName)
        : details::HidlInstrumentor(package, interfaceName), impl(std::move(_hidl_impl)) {
        onewayQueue.start(kOnewayQueueLimit);
    }

    // Queues task behind the oneway calls already waiting; a full queue
    // drops it and says so in the status.
    Return<void> addOnewayTask(std::function<void()> task);

    const sp<IType>& getImpl() const { return impl; }

    Return<void> interfaceChain(typename IBase::interfaceChain_cb _hidl_cb) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
    Return<void> interfaceDescriptor(typename IBase::interfaceDescriptor_cb _hidl_cb) override;
    Return<void> getHashChain(typename IBase::getHashChain_cb _hidl_cb) override;
    // Refreshes this wrapper's own instrumentation; the implementation is
    // not asked.
    Return<void> setHALInstrumentation() override;
    Return<bool> linkToDeath(const sp<DeathRecipient>& recipient, uint64_t cookie) override;
    Return<void> ping() override;
    Return<void> getDebugInfo(typename IBase::getDebugInfo_cb _hidl_cb) override;
    Return<void> notifySyspropsChanged() override;
    Return<bool> unlinkToDeath(const sp<DeathRecipient>& recipient) override;

  private:
    // Declared in this order so the queue, and with it any task still
    // running, goes before the implementation is released.
    const sp<IType> impl;
    details::TaskRunner onewayQueue;
};

}  // namespace frame
}  // namespace hardware
}  // namespace android
