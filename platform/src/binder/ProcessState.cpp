#include <hidl_host/ThreadPool.h>
#include <hwbinder/ProcessState.h>

#include <mutex>

namespace android {
namespace hardware {

namespace {
// The platform's default when a process configures no pool.
constexpr size_t kDefaultMaxThreads = 1;
}  // namespace

sp<ProcessState> ProcessState::self() {
    // Never released: binder objects may be used from static destructors.
    static ProcessState* const instance = [] {
        auto* state = new ProcessState();
        state->incStrong(nullptr);
        return state;
    }();
    return instance;
}

ProcessState::ProcessState() : mMaxThreads(kDefaultMaxThreads) {}

ProcessState::~ProcessState() = default;

void ProcessState::startThreadPool() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        mThreadPoolStarted = true;
    }
    host::serving().startPool();
}

bool ProcessState::isThreadPoolStarted() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mThreadPoolStarted;
}

status_t ProcessState::setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool) {
    if (maxThreads == 0) {
        return BAD_VALUE;
    }
    std::lock_guard<std::mutex> lock(mLock);
    mMaxThreads = maxThreads;
    mCallerJoinsPool = callerJoinsPool;
    return OK;
}

size_t ProcessState::getMaxThreads() {
    std::lock_guard<std::mutex> lock(mLock);
    return mMaxThreads;
}

bool ProcessState::callerJoinsPool() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mCallerJoinsPool;
}

}  // namespace hardware
}  // namespace android
