// The socket transport's state in one process: the nodes it exports, its
// proxies to other processes' nodes, the peers it talks to and the serving
// loop. One instance per process, never destroyed (binder objects may be
// released from static destructors).
//
// Serving (Serving.cpp): one epoll set holds the listening sockets, every incoming
// connection, a pidfd per peer process and a wake-up descriptor. The pool's
// threads all wait on it; the thread that takes a connection's event owns
// the connection until it re-arms it, reads what has arrived without
// blocking, serves complete messages and queues what a slow reader does not
// take. No thread ever waits for a peer while it serves another.
#pragma once

#include <hidl_host/SocketTransport.h>
#include <hidl_host/Transport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/epoll.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "socket/Connection.h"
#include "socket/Limits.h"
#include "socket/NodeTable.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// Another process this one talks to.
struct Peer {
    explicit Peer(pid_t p) : pid(p), budget(limits().maxPeerBytes) {}
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const pid_t pid;
    int pidfd = -1;  // readable once the process has exited
    std::atomic<bool> dead{false};

    // Guarded by the runtime's lock.
    size_t proxies = 0;
    size_t incoming = 0;  // connections it opened to this process, open now
    bool dying = false;   // exited; what it sent is still being read
    bool buried = false;  // its death has been settled
    Clock::time_point diedAt{};

    ByteBudget budget;  // bytes buffered for it, in and out
    // The incoming connection that last carried its oneway calls or
    // releases: never evicted, since its sender never reads it.
    std::atomic<uint64_t> onewayConn{0};

    // Outgoing connections for two-way calls: a caller takes an idle one for
    // the length of its call, or opens one while fewer than the limit exist.
    std::mutex poolLock;
    std::condition_variable poolFree;
    std::vector<std::unique_ptr<Connection>> idle;
    size_t outgoing = 0;
    std::atomic<size_t> poolWaiters{0};  // callers waiting for a connection to come back
    // The connection given back last, owned here and passed on without the
    // pool's lock: a thread calling one peer again and again takes it back.
    std::atomic<Connection*> hot{nullptr};
    // Takes the connection given back last, if there is one.
    std::unique_ptr<Connection> takeHot() {
        return std::unique_ptr<Connection>(hot.exchange(nullptr, std::memory_order_seq_cst));
    }
    // After a call timed out: until then, calls whose timeout is no longer
    // than the one that expired fail at once.
    Clock::time_point unresponsiveUntil{};
    std::chrono::milliseconds unresponsiveWithin{0};

    // Every oneway call and release to this peer goes down this one
    // connection, so they arrive in the order sent.
    std::mutex onewayLock;
    std::unique_ptr<Connection> oneway;

    // Guarded by the runtime's oneway lock: its oneway calls waiting to run,
    // and its connections not read meanwhile.
    size_t onewayQueued = 0;
    std::vector<uint64_t> paused;
};

// What a proxy names.
struct ProxyTarget {
    std::shared_ptr<Peer> peer;
    uint64_t node = 0;
    bool dead = true;
    int64_t timeoutMs = -1;  // the proxy's own call timeout; -1: none set
};

// A connection a peer opened to this process.
struct Incoming {
    Incoming(uint64_t i, std::shared_ptr<Peer> p, int fd, uid_t uid, ByteBudget* total)
        : id(i), peer(std::move(p)), conn(UniqueFd(fd), peer->pid, uid, &peer->budget, total) {}
    const uint64_t id;
    const std::shared_ptr<Peer> peer;
    Connection conn;
    std::mutex owner;  // held by the thread serving it
    // Guarded by owner.
    bool closed = false;    // evicted: nothing more is read or written
    bool evicting = false;  // read only up to what came before; goodbye at its end
    // Changed under the runtime's oneway lock; paused is also read without.
    std::atomic<bool> paused{false};  // not read until its peer's oneway queue drains
    bool busy = false;                // a thread holds it
};

class Runtime {
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
    void join();
    // Starts the pool's threads the process configured (at least one).
    void startPool();
    // Without a pool, settles the exits of peers reported so far (a few
    // at a time: each new connection takes some).
    void settleExits();

    // --- used by the translators and the serving code ---

    // Opens this process's socket (once). False when it cannot.
    bool ensureListening();
    bool isContextObject(const BHwBinder* binder);
    uint64_t grantNode(const sp<BHwBinder>& binder, pid_t to);
    void releaseNode(uint64_t node, pid_t holder, uint32_t count);
    status_t requestGrant(const std::shared_ptr<Peer>& owner, uint64_t node, pid_t grantee);
    sp<IBinder> proxyFor(pid_t pid, uint64_t node, uint64_t refs);
    sp<BHwBinder> findTarget(uint64_t node, pid_t caller);
    sp<BHwBinder> findHome(uint64_t node);
    bool proxyTarget(uint64_t handle, ProxyTarget* out);
    // False when no such proxy exists.
    bool setProxyTimeout(uint64_t handle, int64_t timeoutMs);

  private:
    Runtime();

    std::shared_ptr<Peer> peerLocked(pid_t pid);
    // Takes its own reference: the caller's may live in the map entry it erases.
    std::shared_ptr<Peer> forgetPeerIfUnusedLocked(std::shared_ptr<Peer> peer);
    void peerExited(pid_t pid);
    // The peer is gone and everything it sent has been read.
    void buryLocked(const std::shared_ptr<Peer>& peer, std::vector<sp<BpHwBinder>>* obituaries,
                    std::vector<sp<BHwBinder>>* released);
    std::string directoryLocked();
    void startPoolLocked();
    void spawnServers(size_t count);

    // The serving loop.
    void serveLoop();
    void dispatch(uint64_t tag, uint64_t value, uint32_t events);
    void recover(uint64_t tag, uint64_t value);
    void acceptPending(int listenFd);
    void onTimer();
    void armTimerLocked();
    void serviceConnection(uint64_t id, uint32_t events);
    void closeIncoming(const std::shared_ptr<Incoming>& in);
    // At the total connection limit: closes idle connections of the process
    // holding the most, if that is fair to pid. True when room was made.
    bool makeRoomFor(pid_t pid);
    bool evictIdle(const std::shared_ptr<Incoming>& in);
    void rearm(Incoming* in, bool withInput);
    // Gives an event taken but not served back to the other threads.
    void handBack(uint64_t id);
    bool takePending(epoll_event* out);
    // Hands one pending connection back to the set, for a thread waiting there.
    void handOnePending();
    // Some thread's events wait to be served: nobody should linger.
    bool eventsPending() const;
    void resume(const std::shared_ptr<Peer>& peer);

    // Calls.
    std::unique_ptr<Connection> connectPeer(pid_t pid, Deadline deadline, bool twoWay);
    void offerFastPath(Connection* conn, Deadline deadline);
    // refused: the peer just closed a connection of ours unread (it is at
    // its limit); then a new one is opened only while none is in use.
    status_t takeConnection(const std::shared_ptr<Peer>& peer, Deadline deadline,
                            std::unique_ptr<Connection>* out, bool refused = false);
    void returnConnection(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection> conn);
    status_t roundTrip(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                       const std::vector<BinderRef>& table, const WireImage* image, Parcel* reply,
                       bool* sent, std::chrono::milliseconds timeout);
    status_t sendOneway(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                        const std::vector<BinderRef>& table, const WireImage* image, bool mayQueue,
                        std::chrono::milliseconds timeout);
    status_t exchange(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection>* owned,
                      Connection* conn, const MessageHeader& header,
                      const std::vector<BinderRef>& table, const WireImage* image, Parcel* reply,
                      Deadline deadline, bool* sent);
    status_t awaitReply(Connection* conn, uint64_t seq, Parcel* reply, Deadline deadline);
    // Takes the message's descriptors and block.
    status_t receiveParcel(pid_t from, Message& message, Parcel* out);

    // Serving. serveMessage returns false when the oneway calls of the
    // connection's peer have filled their queue.
    bool serveMessage(Connection* conn, Message& message);
    void serveTransaction(Connection* conn, Message& message);
    bool queueOneway(Connection* conn, Message& message);
    void writeStatusReply(Connection* conn, uint64_t seq, status_t status);

    const sp<Transport> mLink;
    std::atomic<uint64_t> mNextSeq{1};

    std::mutex mLock;
    std::string mDir;  // fixed at first use
    bool mListening = false;
    int mListenFd = -1;
    int mContextFd = -1;
    int mContextLockFd = -1;
    bool mContextFileOwned = true;  // false for a socket handed over
    sp<BHwBinder> mContext;
    NodeTable mNodes;

    struct ProxyEntry {
        std::shared_ptr<Peer> peer;
        uint64_t node;
        uint64_t refs;  // references granted to us, released when the proxy goes
        wp<BpHwBinder> proxy;
        bool dead;
        int64_t timeoutMs = -1;
    };
    std::unordered_map<uint64_t, ProxyEntry> mProxies;
    std::map<std::pair<pid_t, uint64_t>, uint64_t> mProxyIndex;
    uint64_t mNextHandle = 1;
    // Moves on whenever a proxy dies or goes, so that what a thread remembers
    // of the proxy it called last is known to be still true.
    std::atomic<uint64_t> mProxyEpoch{0};
    std::map<pid_t, std::shared_ptr<Peer>> mPeers;

    // The serving loop's descriptors, made at construction.
    int mEpoll = -1;
    int mWake = -1;   // readable once shutdown starts; never drained
    int mTimer = -1;  // ends a pause of accepting
    bool mAcceptPaused = false;
    bool mTimerArmed = false;
    bool mStopping = false;
    bool mPoolStarted = false;
    size_t mServersSpawned = 0;
    std::mutex mAcceptLock;  // an accepted connection is registered before the next accept

    std::mutex mConnLock;
    std::unordered_map<uint64_t, std::shared_ptr<Incoming>> mIncoming;
    uint64_t mNextConnId = 1;
    ByteBudget mTotalBudget{limits().maxTotalBytes};

    std::mutex mOnewayLock;
    struct OnewayCall {
        sp<BHwBinder> target;
        std::unique_ptr<Parcel> data;
        uint32_t code;
        pid_t pid;
        uid_t uid;
        std::shared_ptr<Peer> from;
        size_t bytes;
    };
    struct OnewayQueue {
        std::deque<OnewayCall> calls;
        bool running = false;
    };
    std::unordered_map<const BHwBinder*, OnewayQueue> mOneway;

    std::mutex mServerLock;
    std::condition_variable mServerGone;
    size_t mServing = 0;               // threads in the serving loop
    std::atomic<int> mIdleServers{0};  // threads waiting for an event
    // Events taken from the set in a batch and not yet being served.
    std::mutex mPendingLock;
    std::deque<epoll_event> mPending;
    std::atomic<size_t> mPendingCount{0};
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
