// The socket transport's state in one process, as a few parts around one
// owner. One instance per process, never destroyed (binder objects may be
// released from static destructors).
//
// Parts (each header says what its lock guards):
//   NodeTable     the local objects handed to other processes (exports).
//   ProxyTable    the proxies held to other processes' nodes (imports).
//   PeerTable     the processes talked to; each Peer keeps its pool of
//                 two-way connections and its oneway connection.
//   IncomingTable the connections other processes opened to this one, and
//                 eviction at the total limit.
//   OnewayQueues  oneway calls waiting per object, and the pausing of a
//                 peer's connections while its share is full.
//   ServingLoop   the epoll set, the pool's threads and pending events.
//   Runtime       the glue: calls (Calls.cpp), serving messages
//                 (Answering.cpp), accepting, turns and stopping (Serving.cpp),
//                 grants, translators, the context object, stats.
//
// Runtime::mLock guards the three tables of objects and peers (NodeTable,
// ProxyTable, PeerTable with every peer's liveness), the context object and
// the listening state: what an export, an import or a death changes together.
//
// Lock order: a thread holding one of these takes only locks further down.
//   1. Incoming::owner       a serving turn, calls into objects included
//   2. Peer::mOnewayLock     writing a oneway message (may connect, which
//                            may settle exits: everything below)
//   3. Runtime::mAcceptLock  accepting; an eviction only tries owners (1)
//   4. Runtime::mLock
//   5. OnewayQueues::mLock   never held together with 4 today
//   6. IncomingTable::mLock, Peer::mPoolLock, ServingLoop::mServerLock,
//      ServingLoop::mPendingLock: leaves, none taken with another held
// No lock is held while a proxy's obituary is sent, an object's binder is
// released, or (except 1) an object's call runs.
//
// Threads: see ServingLoop.h. The pool's threads are process-lived; a
// caller of join() serves until shutdown and then returns.
#pragma once

#include <hidl_host/SocketTransport.h>
#include <hidl_host/ThreadPool.h>
#include <hidl_host/Transport.h>
#include <hidl_host/UniqueFd.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "socket/Connection.h"
#include "socket/Incoming.h"
#include "socket/NodeTable.h"
#include "socket/OnewayQueues.h"
#include "socket/Peer.h"
#include "socket/PeerTable.h"
#include "socket/ProxyTable.h"
#include "socket/ServingLoop.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

struct Body;

class Runtime final : public Serving, private Connector, private EventHandler {
  public:
    static Runtime& get();

    // Transport entry points of the proxies.
    status_t transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);
    void proxyDestroyed(uint64_t handle);
    const sp<Transport>& link() const { return mLink; }

    status_t serveContextObject(const sp<BHwBinder>& object, int listeningFd);
    sp<IBinder> getContextObject();
    SocketTransportStats stats();
    void shutdown();
    // Serves on the calling thread until shutdown.
    void join() override;
    // Starts the pool's threads the process configured (at least one).
    void startPool() override;
    // Without a pool, settles the exits of peers reported so far (a few
    // at a time: each new connection takes some).
    void settleExits() { mLoop.settle(); }

    // --- used by the translators ---

    // Opens this process's socket (once). False when it cannot.
    bool ensureListening();
    bool isContextObject(const BHwBinder* binder);
    uint64_t grantNode(const sp<BHwBinder>& binder, pid_t to);
    void releaseNode(uint64_t node, pid_t holder, uint32_t count);
    status_t requestGrant(const std::shared_ptr<Peer>& owner, uint64_t node, pid_t grantee);
    sp<IBinder> proxyFor(pid_t pid, uint64_t node, uint64_t refs);
    sp<BHwBinder> findTarget(uint64_t node, pid_t caller);
    // The context object, null until one is served. Once served it is held
    // as long as the runtime lives, so a call needs neither the lock nor a
    // reference of its own to it.
    BHwBinder* servedContext() const { return mServedContext.load(std::memory_order_acquire); }
    sp<BHwBinder> findHome(uint64_t node);
    bool proxyTarget(uint64_t handle, ProxyTarget* out);
    // False when no such proxy exists.
    bool setProxyTimeout(uint64_t handle, int64_t timeoutMs);

  private:
    Runtime();

    // Connector: a new connection to a peer's socket.
    std::unique_ptr<Connection> connect(pid_t pid, Deadline deadline, bool twoWay) override;
    void offerFastPath(Connection* conn, Deadline deadline);

    // EventHandler (Serving.cpp).
    void dispatch(Tag tag, uint64_t value, uint32_t events) override;
    void recover(Tag tag, uint64_t value) override;
    void handBack(uint64_t id) override;

    // Peers (Runtime.cpp).
    void peerExited(pid_t pid);
    // The peer is gone and everything it sent has been read.
    void buryLocked(const std::shared_ptr<Peer>& peer, std::vector<sp<BpHwBinder>>* obituaries,
                    std::vector<sp<BHwBinder>>* released);
    std::string directoryLocked();

    // Accepting and serving turns (Serving.cpp).
    void startPoolLocked();
    void acceptPending(int listenFd);
    void onTimer();
    void armTimerLocked();
    void serviceConnection(uint64_t id, uint32_t events);
    void closeIncoming(const std::shared_ptr<Incoming>& in);
    // At the total connection limit: closes idle connections of the process
    // holding the most, if that is fair to pid. True when room was made.
    bool makeRoomFor(pid_t pid);

    // Calls (Calls.cpp).
    status_t roundTrip(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                       const Body& body, Parcel* reply, bool* sent,
                       std::chrono::milliseconds timeout);
    status_t exchange(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection>* owned,
                      Connection* conn, const MessageHeader& header, const Body& body,
                      Parcel* reply, Deadline deadline, bool* sent);
    status_t awaitReply(Connection* conn, uint64_t seq, Parcel* reply, Deadline deadline);
    // Takes the message's descriptors and block.
    status_t receiveParcel(pid_t from, Message& message, Parcel* out);

    // Serving messages (Answering.cpp). serveMessage returns false when the
    // oneway calls of the connection's peer have filled their queue.
    bool serveMessage(Connection* conn, Message& message);
    void serveTransaction(Connection* conn, Message& message);
    bool queueOneway(Connection* conn, Message& message);
    void writeStatusReply(Connection* conn, uint64_t seq, status_t status);

    const sp<Transport> mLink;
    std::atomic<uint64_t> mNextSeq{1};

    // First: the other parts register descriptors in its epoll set.
    ServingLoop mLoop;

    std::mutex mLock;
    // Guarded by mLock.
    std::string mDir;  // fixed at first use
    bool mListening = false;
    UniqueFd mListenFd;
    UniqueFd mContextFd;
    UniqueFd mContextLockFd;
    bool mContextFileOwned = true;                    // false for a socket handed over
    sp<BHwBinder> mContext;                           // set once, never let go
    std::atomic<BHwBinder*> mServedContext{nullptr};  // mContext; stored once, under mLock
    NodeTable mNodes;
    ProxyTable mProxies;
    PeerTable mPeers;
    bool mAcceptPaused = false;
    bool mTimerArmed = false;
    bool mStopping = false;
    bool mPoolStarted = false;
    size_t mServersSpawned = 0;

    std::mutex mAcceptLock;  // an accepted connection is registered before the next accept

    IncomingTable mIncoming;
    OnewayQueues mOneway;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
