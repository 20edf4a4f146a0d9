// The serving loop: one epoll set holds the listening sockets, every
// incoming connection, a pidfd per peer process, a timer and a wake-up
// descriptor. The pool's threads all wait on it; the thread that takes a
// connection's event owns the connection until it re-arms it (one-shot
// events). A thread that waits while no other does takes a batch of events
// and serves the first; the rest wait in a pending list for whichever thread
// comes free first, so none waits behind another's long call.
//
// Threads: the pool's threads are started here and detached. They live as
// long as the process: the runtime is never destroyed, and a thread may be
// inside an object's call of any length when the transport shuts down, so
// shutdown wakes them all and waits a bounded time for them to leave the
// loop (kShutdownWait), but joins none. A thread that joined the pool
// (join()) leaves the loop at shutdown and returns to its caller.
//
// Locks (leaves: nothing is called with either held):
//   mPendingLock  the pending events.
//   mServerLock   the count of threads in the loop.
#pragma once

#include <hidl_host/UniqueFd.h>
#include <sys/epoll.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

#include "socket/Events.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// What the loop's events mean: the runtime's.
class EventHandler {
  public:
    virtual void dispatch(Tag tag, uint64_t value, uint32_t events) = 0;
    // An event whose dispatch ran out of memory: watch again or give up.
    virtual void recover(Tag tag, uint64_t value) = 0;
    // An incoming connection's event taken but not served: armed again.
    virtual void handBack(uint64_t id) = 0;

  protected:
    ~EventHandler() = default;
};

class ServingLoop {
  public:
    explicit ServingLoop(EventHandler& handler);

    // False when the descriptors could not be made (reported once).
    bool ready() const { return mEpoll.valid() && mWake.valid() && mTimer.valid(); }
    int epoll() const { return mEpoll.get(); }
    // One-shot input events of fd, tagged.
    void watch(int fd, Tag tag, uint64_t value) const;
    void rewatch(int fd, Tag tag, uint64_t value) const;
    void unwatch(int fd) const;

    // A tick of the timer (Serving.cpp's onTimer), once.
    void armTimer() const;
    void drainTimer() const;

    // Starts count pool threads; returns how many could be started.
    size_t spawn(size_t count);
    // Serves on the calling thread until stop().
    void run();
    // Without a pool: dispatches what has happened except connections'
    // input, which goes back to the set (a pool started meanwhile serves it).
    void settle();
    // Some thread's events wait to be served: nobody should linger.
    bool eventsPending() const { return mPendingCount.load(std::memory_order_relaxed) > 0; }

    // Wakes every thread to leave the loop, then waits (bounded) for them.
    void stop();
    size_t servingThreads() const;
    static bool onServingThread();

  private:
    bool takePending(epoll_event* out);
    // Hands one pending connection back to the set, for a thread waiting there.
    void handOnePending();

    EventHandler& mHandler;
    UniqueFd mEpoll;
    UniqueFd mWake;   // readable once shutdown starts; never drained
    UniqueFd mTimer;  // ends a pause of accepting, and a dying peer's grace

    mutable std::mutex mServerLock;
    std::condition_variable mServerGone;
    size_t mServing = 0;               // threads in the loop; guarded by mServerLock
    std::atomic<int> mIdleServers{0};  // threads waiting for an event

    std::mutex mPendingLock;
    std::deque<epoll_event> mPending;  // guarded by mPendingLock
    std::atomic<size_t> mPendingCount{0};
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
