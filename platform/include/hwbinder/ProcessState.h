// Per-process binder state: the thread pool that serves incoming calls.
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <mutex>

namespace android {
namespace hardware {

class ProcessState : public virtual RefBase {
  public:
    static sp<ProcessState> self();

    // Starts the pool that serves incoming transactions. Later calls do
    // nothing. A transport that serves calls is told through the host hooks.
    void startThreadPool();
    bool isThreadPoolStarted() const;

    // maxThreads counts the caller when callerJoinsPool is true. BAD_VALUE
    // for zero threads.
    status_t setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool);
    size_t getMaxThreads();
    bool callerJoinsPool() const;

  private:
    friend class sp<ProcessState>;
    ProcessState();
    ~ProcessState() override;
    ProcessState(const ProcessState&) = delete;
    ProcessState& operator=(const ProcessState&) = delete;

    mutable std::mutex mLock;
    bool mThreadPoolStarted = false;
    size_t mMaxThreads;
    bool mCallerJoinsPool = false;
};

}  // namespace hardware
}  // namespace android
