// Host-only: ordered, bounded calls to one remote object, made off the
// poster's thread under a deadline, so that a receiver that is slow or
// stalled (a client paused in a callback) holds up its own calls only.
//
// A service reports to each client through that client's queue:
//
//   host::CallQueueSet mReports;  // one queue per callback object
//   ...
//   status_t err = mReports.post(callback, [callback, data] {
//       callback->onStatus(1, {});       // each call bounded by the deadline
//       callback->onMatch(0, "finger-1", 97, data, {});
//   }, data.size());
//   if (err == host::kCallQueueFull) return -ENOBUFS;  // the client lags behind
//
// The calls of one queue run one at a time in the order posted, on a thread
// the queue starts when it has work and ends when it has none; queues never
// wait for each other. A call runs under a ScopedCallTimeout of the queue's
// timeout (hidl_host/CallDeadline.h), so every remote call it makes ends
// within that. Calls count, with the bytes declared for them, from posting
// until they have run; past a limit, posting is refused at once.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

namespace android {
namespace hardware {
namespace host {

struct CallQueueLimits {
    size_t maxCalls = 16;                     // waiting or running, per queue
    size_t maxBytes = 4 * 1024 * 1024;        // declared by those calls, per queue
    std::chrono::milliseconds timeout{2000};  // of each remote call a queued call makes
};

// What post() answers when a limit would be passed.
constexpr status_t kCallQueueFull = -ENOBUFS;

class CallQueue {
  public:
    using Call = std::function<void()>;
    using TimePoint = std::chrono::steady_clock::time_point;

    explicit CallQueue(CallQueueLimits limits = {});
    // Drops the calls waiting and waits for a running one (it ends within
    // the timeout of its remote calls), unless it is that call's own thread.
    ~CallQueue();
    CallQueue(const CallQueue&) = delete;
    CallQueue& operator=(const CallQueue&) = delete;

    // Queues call, declared as taking bytes of memory. OK; kCallQueueFull
    // when maxCalls calls are queued or the bytes would pass maxBytes;
    // BAD_VALUE for an empty call; NO_MEMORY when no thread can be started.
    status_t post(Call call, size_t bytes = 0);
    // Waits until no call waits or runs; false when until passes first.
    bool waitIdle(std::optional<TimePoint> until = std::nullopt);
    // Calls waiting or running.
    size_t size() const;
    const CallQueueLimits& limits() const;

    struct Core;

  private:
    std::shared_ptr<Core> mCore;
};

// One CallQueue per remote object, made on the first post for it and dropped
// once it has nothing left to run, or when the object's process dies (its
// waiting calls are dropped then). Idle objects cost nothing.
class CallQueueSet {
  public:
    using Object = sp<::android::hidl::base::V1_0::IBase>;

    explicit CallQueueSet(CallQueueLimits limits = {});
    // Drops every waiting call and waits for the running ones.
    ~CallQueueSet();
    CallQueueSet(const CallQueueSet&) = delete;
    CallQueueSet& operator=(const CallQueueSet&) = delete;

    // Queues call on object's queue; as CallQueue::post, and BAD_VALUE for
    // a null object.
    status_t post(const Object& object, CallQueue::Call call, size_t bytes = 0);
    // Waits until the queues of the objects `which` selects are idle; false
    // when until passes first.
    bool waitIdle(const std::function<bool(const Object&)>& which,
                  std::optional<CallQueue::TimePoint> until = std::nullopt);
    // Objects with calls waiting or running.
    size_t size() const;
    const CallQueueLimits& limits() const { return mLimits; }

    struct State;

  private:
    const CallQueueLimits mLimits;
    sp<State> mState;
};

}  // namespace host
}  // namespace hardware
}  // namespace android
