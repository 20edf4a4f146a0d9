// Host-only: deadlines for the calls a process makes to objects of other
// processes, finer than the process-wide one of SocketTransport.h.
//
// A call's timeout is, in this order: the innermost ScopedCallTimeout alive
// on the calling thread; the proxy's own (setCallTimeout(proxy, ...)); the
// process-wide callTimeout() (ZUV_HIDL_CALL_TIMEOUT_MS). Zero at any level
// means no deadline and stops the search there. A call past its deadline
// fails with TIMED_OUT; the connection it used is closed, so the late reply
// is never taken for another call's. For as long as the deadline that
// applied, further calls to that process with a deadline no longer than it
// fail at once with TIMED_OUT; calls without a deadline, or with a longer
// one, are still made.
//
// Calls to objects of this process run directly and have no deadline.
//
//   {
//       host::ScopedCallTimeout bound(200ms);  // every call of this thread
//       Return<void> r = callback->onStatus(1, {});
//       if (!r.isOk()) ...  // TIMED_OUT after 200 ms: the client stalls
//   }
//   host::setCallTimeout(framework, 500ms);  // every call through this proxy
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hwbinder/IBinder.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <chrono>
#include <cstdint>
#include <optional>

namespace android {
namespace hardware {
namespace host {

// Bounds every call the constructing thread makes while the object lives;
// scopes nest, the innermost wins. Not to be moved to another thread.
class ScopedCallTimeout {
  public:
    explicit ScopedCallTimeout(std::chrono::milliseconds timeout);
    ~ScopedCallTimeout();
    // The timeout of the innermost scope alive on this thread, if any.
    static std::optional<std::chrono::milliseconds> current();
    ScopedCallTimeout(const ScopedCallTimeout&) = delete;
    ScopedCallTimeout& operator=(const ScopedCallTimeout&) = delete;

  private:
    int64_t mPrevious;
};

// Bounds every call through proxy (and through any other proxy of the same
// remote object) from any thread. A negative timeout removes the proxy's own
// value. BAD_VALUE for null; INVALID_OPERATION for an object that is not a
// proxy of another process.
status_t setCallTimeout(const sp<::android::hidl::base::V1_0::IBase>& proxy,
                        std::chrono::milliseconds timeout);
// The same for a proxy binder.
status_t setCallTimeout(const sp<IBinder>& proxy, std::chrono::milliseconds timeout);

}  // namespace host
}  // namespace hardware
}  // namespace android
