// Oneway calls waiting to run, per object: run in the order they came, one
// at a time, by the thread that found the object's queue idle. A peer whose
// calls fill its share has its connections paused (not read) until its
// queue drains to half; the pause and the re-arming of a connection at the
// end of a serving turn are decided here, under one lock, so that exactly
// one of the two re-arms it.
//
// mLock guards the queues, every peer's backlog (Peer.h) and every incoming
// connection's paused and busy flags (Incoming.h). With it held, only
// IncomingTable's lock is taken (to find paused connections) and epoll_ctl
// called; objects' calls run without it.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <sys/types.h>

#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "socket/Incoming.h"
#include "socket/Peer.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class OnewayQueues {
  public:
    explicit OnewayQueues(const IncomingTable& incoming) : mIncoming(incoming) {}

    struct Call {
        sp<BHwBinder> target;
        std::unique_ptr<Parcel> data;
        uint32_t code = 0;
        pid_t pid = 0;
        uid_t uid = 0;
        std::shared_ptr<Peer> from;  // null when its sender is not known (any more)
        size_t bytes = 0;
    };
    // Queues the call and, unless another thread runs the object's calls,
    // runs them here until none is left. False when the sender's calls have
    // filled its queue.
    bool queueAndRun(Call call);

    // A serving thread takes the connection for a turn.
    void beginTurn(Incoming& in);
    // After a call filled its sender's queue: true when the connection is
    // now paused (and re-armed without input; the turn is over).
    bool pauseIfFull(Incoming& in);
    // The turn is over: re-armed, for input unless paused.
    void endTurn(Incoming& in);
    // An event taken but not served: re-armed as it was, unless a thread
    // holds the connection (it re-arms it when it lets go).
    void handBack(Incoming& in);

  private:
    // The peer's queue drained: its paused connections are read again.
    void resumeLocked(Peer& peer);

    const IncomingTable& mIncoming;
    std::mutex mLock;
    struct Queue {
        std::deque<Call> calls;
        bool running = false;
    };
    std::unordered_map<const BHwBinder*, Queue> mQueues;  // guarded by mLock
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
