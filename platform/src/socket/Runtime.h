// The socket transport's state in one process: the nodes it exports, its
// proxies to other processes' nodes, the peers it talks to, the listener and
// the death monitor. One instance per process, never destroyed (binder
// objects may be released from static destructors).
#pragma once

#include <hidl_host/SocketTransport.h>
#include <hidl_host/Transport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "socket/Frame.h"
#include "socket/NodeTable.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// Another process this one holds proxies to or has granted nodes to.
struct Peer {
    explicit Peer(pid_t p) : pid(p) {}
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const pid_t pid;
    int pidfd = -1;  // readable once the process has exited
    std::atomic<bool> dead{false};
    size_t proxies = 0;  // guarded by the runtime's lock

    // Idle outgoing connections for two-way calls; a caller takes one for
    // the length of its call.
    std::mutex poolLock;
    std::vector<std::unique_ptr<Connection>> idle;

    // Every oneway call and release to this peer goes down this one
    // connection, so they arrive in the order sent.
    std::mutex onewayLock;
    std::unique_ptr<Connection> oneway;
};

// What a proxy names.
struct ProxyTarget {
    std::shared_ptr<Peer> peer;
    uint64_t node = 0;
    bool dead = true;
};

class Runtime {
  public:
    static Runtime& get();

    // Transport entry points of the proxies.
    status_t transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags);
    void proxyDestroyed(uint64_t handle);
    const sp<Transport>& link() const { return mLink; }

    status_t serveContextObject(const sp<BHwBinder>& object);
    sp<IBinder> getContextObject();
    SocketTransportStats stats();
    void shutdown();

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

  private:
    Runtime();

    std::shared_ptr<Peer> peerLocked(pid_t pid);
    // Takes its own reference: the caller's may live in the map entry it erases.
    std::shared_ptr<Peer> forgetPeerIfUnusedLocked(std::shared_ptr<Peer> peer);
    void peerDied(pid_t pid, int pidfd);
    void monitorLoop();
    void listenLoop();
    void wake(int eventFd);
    std::string directoryLocked();

    // Calls.
    std::unique_ptr<Connection> connectPeer(pid_t pid);
    std::unique_ptr<Connection> takeConnection(const std::shared_ptr<Peer>& peer);
    void returnConnection(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection> conn);
    status_t roundTrip(const std::shared_ptr<Peer>& peer, const FrameHeader& header,
                       const std::vector<BinderRef>& table, const WireImage* image, Parcel* reply,
                       bool* sent);
    status_t sendOneway(const std::shared_ptr<Peer>& peer, const FrameHeader& header,
                        const std::vector<BinderRef>& table, const WireImage* image);
    status_t awaitReply(Connection* conn, uint64_t seq, Parcel* reply);
    status_t receiveParcel(const Connection& conn, const FrameHeader& header,
                           const uint8_t* payload, std::vector<int> fds, Parcel* out);

    // Serving.
    void serveConnection(std::unique_ptr<Connection> conn);
    void serveFrame(Connection* conn, const FrameHeader& header, const uint8_t* payload,
                    std::vector<int> fds);
    void serveTransaction(Connection* conn, const FrameHeader& header, const uint8_t* payload,
                          std::vector<int> fds);
    void writeStatusReply(Connection* conn, uint64_t seq, status_t status);
    void acquireServingSlot();
    void releaseServingSlot();

    const sp<Transport> mLink;
    std::atomic<uint64_t> mNextSeq{1};

    std::mutex mLock;
    std::string mDir;  // fixed at first use
    bool mListening = false;
    int mListenFd = -1;
    int mContextFd = -1;
    int mContextLockFd = -1;
    int mListenWake = -1;
    sp<BHwBinder> mContext;
    NodeTable mNodes;

    struct ProxyEntry {
        std::shared_ptr<Peer> peer;
        uint64_t node;
        uint64_t refs;  // references granted to us, released when the proxy goes
        wp<BpHwBinder> proxy;
        bool dead;
    };
    std::unordered_map<uint64_t, ProxyEntry> mProxies;
    std::map<std::pair<pid_t, uint64_t>, uint64_t> mProxyIndex;
    uint64_t mNextHandle = 1;
    std::map<pid_t, std::shared_ptr<Peer>> mPeers;
    bool mMonitoring = false;
    int mMonitorWake = -1;

    std::mutex mSlotLock;
    std::condition_variable mSlotFree;
    size_t mSlotsInUse = 0;
    std::atomic<size_t> mServingThreads{0};
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
