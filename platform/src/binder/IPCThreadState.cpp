#include <hidl_host/CallingIdentity.h>
#include <hidl_host/ThreadPool.h>
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

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
    // The calling thread serves like any pool thread until the transport stops.
    host::serving().join();
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
