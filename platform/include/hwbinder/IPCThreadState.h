// Per-thread binder state: who is calling, and the thread joining the pool.
#pragma once

#include <sys/types.h>

namespace android {
namespace hardware {

class IPCThreadState {
  public:
    static IPCThreadState* self();
    static IPCThreadState* selfOrNull();

    // The caller of the transaction this thread is serving; outside a
    // transaction, this process itself.
    pid_t getCallingPid() const;
    uid_t getCallingUid() const;

    // Gives this thread to the pool that serves incoming calls. Returns only
    // when the transport serving the process shuts down (never, while none
    // does).
    void joinThreadPool(bool isMain = true);

    // Sends queued commands; nothing is queued on the host.
    void flushCommands() {}

  private:
    IPCThreadState() = default;
};

}  // namespace hardware
}  // namespace android
