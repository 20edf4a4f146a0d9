// Another process this one talks to: the connections it keeps to it and
// what it knows of its life. Peers are found, made, forgotten and buried by
// the PeerTable.
//
// Locks, each guarding the fields listed under it:
//   mPoolLock    the two-way pool (idle connections, how many exist, who
//                waits) and the unresponsive window. Nothing is called with
//                it held: a leaf.
//   mOnewayLock  the oneway connection. Held while a oneway message is
//                written, and while a connection is opened for it (which
//                may take the runtime's lock and settle exits).
//   the runtime's lock (Runtime::mLock)  the liveness fields, through
//                PeerTable only.
//   OnewayQueues' lock  the oneway backlog, through OnewayQueues only.
#pragma once

#include <hidl_host/UniqueFd.h>
#include <hidl_host/WireImage.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "socket/Connection.h"
#include "socket/Deadline.h"
#include "socket/Limits.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// Opens a new connection to a peer process (the runtime does: it knows where
// processes listen). Null when it cannot; errno tells whether time ran out.
class Connector {
  public:
    virtual std::unique_ptr<Connection> connect(pid_t pid, Deadline deadline, bool twoWay) = 0;

  protected:
    ~Connector() = default;
};

class Peer {
  public:
    Peer(pid_t pid, Connector& connector)
        : mPid(pid), mConnector(connector), mBudget(limits().maxPeerBytes) {}
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t pid() const { return mPid; }
    // Set once its death is settled or the transport stops; never cleared.
    bool dead() const { return mDead.load(std::memory_order_seq_cst); }
    void markDead() { mDead.store(true, std::memory_order_seq_cst); }
    // Bytes buffered for it, in and out.
    ByteBudget& budget() { return mBudget; }

    // The incoming connection that last carried its oneway calls or
    // releases: never evicted, since its sender never reads it.
    uint64_t onewayConnection() const { return mOnewayConn.load(std::memory_order_relaxed); }
    void setOnewayConnection(uint64_t id) { mOnewayConn.store(id, std::memory_order_relaxed); }

    // --- the pool of two-way connections ---
    //
    // A caller takes an idle connection for the length of its call, or opens
    // one while fewer than the limit exist, or waits for one to come back.
    // The connection given back last sits in a slot of its own (mHot),
    // passed on without the pool's lock: a thread calling one peer again and
    // again takes it straight back. A waiter is counted (mPoolWaiters) before
    // it looks at the slot, and a connection is put in the slot before the
    // count is read, both sequentially consistent: one of the two sees the
    // other, so no waiter sleeps past a connection given back.

    // refused: the peer just closed a connection of ours unread (it is at
    // its limit); then a new one is opened only while none is in use.
    status_t takeConnection(Deadline deadline, std::unique_ptr<Connection>* out,
                            bool refused = false);
    void returnConnection(std::unique_ptr<Connection> conn);
    // A connection opened elsewhere joins the pool as one of its own.
    void adoptConnection(std::unique_ptr<Connection> conn);
    // Closes the idle connections and wakes every waiter (it has died).
    void dropPool();

    // After a call timed out: until then, calls whose timeout is no longer
    // than the one that expired fail at once.
    bool knownUnresponsive(std::chrono::milliseconds timeout);
    void noteTimedOut(std::chrono::milliseconds timeout);

    // --- the oneway connection ---
    //
    // Every oneway call and release to this peer goes down this one
    // connection, so they arrive in the order sent.
    status_t sendOneway(const MessageHeader& header, const std::vector<BinderRef>& table,
                        const WireImage* image, bool mayQueue, std::chrono::milliseconds timeout);
    void closeOneway();

  private:
    friend class PeerTable;
    friend class OnewayQueues;

    std::unique_ptr<Connection> takeHot() {
        return std::unique_ptr<Connection>(mHot.exchange(nullptr, std::memory_order_seq_cst));
    }

    const pid_t mPid;
    Connector& mConnector;
    std::atomic<bool> mDead{false};
    ByteBudget mBudget;
    std::atomic<uint64_t> mOnewayConn{0};

    std::mutex mPoolLock;
    std::condition_variable mPoolFree;
    // Guarded by mPoolLock.
    std::vector<std::unique_ptr<Connection>> mIdle;
    size_t mOutgoing = 0;  // connections of the pool that exist, idle or in use
    Clock::time_point mUnresponsiveUntil{};
    std::chrono::milliseconds mUnresponsiveWithin{0};
    // Lock-free, see above.
    std::atomic<size_t> mPoolWaiters{0};
    std::atomic<Connection*> mHot{nullptr};

    std::mutex mOnewayLock;
    std::unique_ptr<Connection> mOneway;  // guarded by mOnewayLock

    // Guarded by the runtime's lock (PeerTable).
    UniqueFd mPidfd;       // readable once the process has exited
    size_t mProxies = 0;   // proxies of this process to its nodes
    size_t mIncoming = 0;  // connections it opened to this process, open now
    bool mDying = false;   // exited; what it sent is still being read
    bool mBuried = false;  // its death has been settled
    Clock::time_point mDiedAt{};

    // Guarded by OnewayQueues' lock: its oneway calls waiting to run, and its
    // connections not read meanwhile.
    size_t mOnewayQueued = 0;
    std::vector<uint64_t> mPaused;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
