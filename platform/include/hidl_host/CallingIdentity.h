// Host-only: transports tell IPCThreadState whose transaction a thread is
// serving, so getCallingPid/getCallingUid answer the caller.
#pragma once

#include <sys/types.h>

namespace android {
namespace hardware {
namespace host {

// Sets the calling identity of this thread for the object's lifetime and
// restores the previous one afterwards (transactions nest).
class ScopedCallingIdentity {
  public:
    ScopedCallingIdentity(pid_t pid, uid_t uid);
    ~ScopedCallingIdentity();
    ScopedCallingIdentity(const ScopedCallingIdentity&) = delete;
    ScopedCallingIdentity& operator=(const ScopedCallingIdentity&) = delete;

  private:
    bool mHadPrevious;
    pid_t mPreviousPid;
    uid_t mPreviousUid;
};

}  // namespace host
}  // namespace hardware
}  // namespace android
