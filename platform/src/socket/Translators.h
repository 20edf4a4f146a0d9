// The binder translation of a parcel between this process and a peer: what
// the binders of an outgoing parcel are called on the wire, and what the
// references of an incoming one resolve to.
#pragma once

#include <hidl_host/WireImage.h>
#include <hwbinder/IBinder.h>
#include <sys/types.h>

#include <cstdint>
#include <vector>

#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class Runtime;

// Names the binders of an outgoing parcel for the receiving process `to`.
class SendTranslator : public BinderTranslator {
  public:
    SendTranslator(Runtime& runtime, pid_t to) : mRuntime(runtime), mTo(to) {}

    status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) override;
    status_t unflattenBinder(uint32_t, uint64_t, sp<IBinder>*) override { return BAD_VALUE; }

    // The message was not delivered: take back what was granted for it.
    void rollback();

    std::vector<BinderRef> table;

  private:
    Runtime& mRuntime;
    const pid_t mTo;
    std::vector<uint64_t> mGranted;
};

// Resolves the binder table of a message from process `from`. Everything is
// resolved before the image is rebuilt, so references granted to this
// process are released again (with the proxies) if the rebuild fails.
class ReceiveTranslator : public BinderTranslator {
  public:
    ReceiveTranslator(Runtime& runtime, pid_t from) : mRuntime(runtime), mFrom(from) {}

    void resolve(const uint8_t* table, size_t count);

    status_t flattenBinder(const sp<IBinder>&, uint32_t*, uint64_t*) override { return BAD_VALUE; }
    status_t unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) override;

  private:
    Runtime& mRuntime;
    const pid_t mFrom;
    std::vector<sp<IBinder>> mResolved;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
