#include <hidl_host/CallingIdentity.h>
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

namespace android {
namespace hardware {

namespace {

struct CallingIdentity {
    bool set = false;
    pid_t pid = 0;
    uid_t uid = 0;
};

thread_local CallingIdentity tCalling;

}  // namespace

IPCThreadState* IPCThreadState::self() {
    // The state is all thread-local, so one object serves every thread.
    static IPCThreadState instance;
    return &instance;
}

IPCThreadState* IPCThreadState::selfOrNull() {
    return self();
}

pid_t IPCThreadState::getCallingPid() const {
    return tCalling.set ? tCalling.pid : getpid();
}

uid_t IPCThreadState::getCallingUid() const {
    return tCalling.set ? tCalling.uid : getuid();
}

void IPCThreadState::joinThreadPool(bool /*isMain*/) {
    ProcessState::self()->startThreadPool();
    // Nothing arrives through a pool while no transport serves the process,
    // so the thread stays parked, as a pool thread would.
    static std::mutex parkLock;
    static std::condition_variable parked;
    std::unique_lock<std::mutex> lock(parkLock);
    parked.wait(lock, [] { return false; });
}

namespace host {

ScopedCallingIdentity::ScopedCallingIdentity(pid_t pid, uid_t uid)
    : mHadPrevious(tCalling.set), mPreviousPid(tCalling.pid), mPreviousUid(tCalling.uid) {
    tCalling = CallingIdentity{true, pid, uid};
}

ScopedCallingIdentity::~ScopedCallingIdentity() {
    tCalling = CallingIdentity{mHadPrevious, mPreviousPid, mPreviousUid};
}

}  // namespace host

}  // namespace hardware
}  // namespace android
