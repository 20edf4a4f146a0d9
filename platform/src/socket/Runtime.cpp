#include "socket/Runtime.h"

#include <errno.h>
#include <fcntl.h>
#include <hidl_host/Settings.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "socket/Events.h"
#include "socket/RuntimeDir.h"
#include "socket/SharedRegion.h"
#include "trace/TraceRecorder.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// The transport every socket proxy uses; the proxy's handle names its entry
// in the runtime's proxy table.
class SocketLink : public Transport {
  public:
    status_t transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags) override {
        return Runtime::get().transact(handle, code, data, reply, flags);
    }
    void onProxyDestroyed(uint64_t handle) override { Runtime::get().proxyDestroyed(handle); }
    void onDeathWatched(uint64_t) override { Runtime::get().startPool(); }
};

int openPidfd(pid_t pid) {
#ifdef SYS_pidfd_open
    return static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
#else
    (void)pid;
    errno = ENOSYS;
    return -1;
#endif
}

}  // namespace

Peer::~Peer() {
    delete hot.load();
    if (pidfd >= 0) ::close(pidfd);
}

Runtime& Runtime::get() {
    static Runtime* const runtime = new Runtime();
    return *runtime;
}

Runtime::Runtime() : mLink(new SocketLink()) {
    mEpoll = epoll_create1(EPOLL_CLOEXEC);
    mWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    mTimer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    if (mEpoll < 0 || mWake < 0 || mTimer < 0) {
        fprintf(stderr, "hidl socket transport: cannot set up serving: %s\n", strerror(errno));
        return;
    }
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.u64 = tagged(kTagWake, 0);
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, mWake, &ev);
    ev.data.u64 = tagged(kTagTimer, 0);
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, mTimer, &ev);
}

std::string Runtime::directoryLocked() {
    if (mDir.empty()) mDir = runtimeDirectory();
    return mDir;
}

// --- peers ---

std::shared_ptr<Peer> Runtime::peerLocked(pid_t pid) {
    auto it = mPeers.find(pid);
    if (it != mPeers.end()) return it->second;
    auto peer = std::make_shared<Peer>(pid);
    peer->pidfd = openPidfd(pid);
    if (peer->pidfd >= 0) {
        fcntl(peer->pidfd, F_SETFD, FD_CLOEXEC);
        epoll_event ev{};
        ev.events = EPOLLIN | EPOLLONESHOT;
        ev.data.u64 = tagged(kTagPid, static_cast<uint64_t>(pid));
        epoll_ctl(mEpoll, EPOLL_CTL_ADD, peer->pidfd, &ev);
    } else if (errno == ESRCH) {
        peer->dead = true;
    }
    mPeers[pid] = peer;
    // A process that only calls out runs no thread of its own until it
    // serves or waits for a death (a thread costs every call of a process
    // something); until then, exits are settled as it connects.
    return peer;
}

std::shared_ptr<Peer> Runtime::forgetPeerIfUnusedLocked(std::shared_ptr<Peer> peer) {
    if (peer == nullptr || peer->proxies != 0 || peer->incoming != 0 || peer->dying ||
        mNodes.holdsAny(peer->pid)) {
        return nullptr;
    }
    auto it = mPeers.find(peer->pid);
    if (it == mPeers.end() || it->second != peer) return nullptr;
    mPeers.erase(it);
    if (peer->pidfd >= 0) epoll_ctl(mEpoll, EPOLL_CTL_DEL, peer->pidfd, nullptr);
    return peer;  // its connections close when the caller lets it go
}

void Runtime::peerExited(pid_t pid) {
    // A connection it made may still wait to be accepted: take it, so that
    // what it sent is read before its grants go.
    int listening[2];
    {
        std::lock_guard<std::mutex> lock(mLock);
        listening[0] = mListenFd;
        listening[1] = mContextFd;
    }
    for (int fd : listening) {
        if (fd >= 0) acceptPending(fd);
    }
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    std::shared_ptr<Peer> gone;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mPeers.find(pid);
        if (it == mPeers.end() || it->second->dying) return;
        gone = it->second;
        gone->dying = true;
        gone->diedAt = Clock::now();
        if (gone->pidfd >= 0) epoll_ctl(mEpoll, EPOLL_CTL_DEL, gone->pidfd, nullptr);
        if (gone->incoming == 0) {
            buryLocked(gone, &obituaries, &released);
        } else {
            // Its connections normally end at once; one handed on to another
            // process before it died does not delay its burial past the grace.
            armTimerLocked();
        }
    }
    tracing::recordPeerDeath(pid);
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

void Runtime::buryLocked(const std::shared_ptr<Peer>& gone, std::vector<sp<BpHwBinder>>* obituaries,
                         std::vector<sp<BHwBinder>>* released) {
    if (gone->buried) return;
    gone->buried = true;
    gone->dead = true;
    auto it = mPeers.find(gone->pid);
    if (it != mPeers.end() && it->second == gone) mPeers.erase(it);
    mProxyEpoch.fetch_add(1, std::memory_order_release);
    for (auto& [handle, entry] : mProxies) {
        if (entry.peer != gone) continue;
        entry.dead = true;
        if (sp<BpHwBinder> proxy = entry.proxy.promote(); proxy != nullptr) {
            obituaries->push_back(std::move(proxy));
        }
        auto index = mProxyIndex.find({gone->pid, entry.node});
        if (index != mProxyIndex.end() && index->second == handle) mProxyIndex.erase(index);
    }
    mNodes.dropHolder(gone->pid, released);
    {
        // Threads about to take a pooled connection find none.
        std::lock_guard<std::mutex> pool(gone->poolLock);
        gone->idle.clear();
    }
    gone->takeHot();
    gone->poolFree.notify_all();
    // Its socket file would otherwise stay behind when it was killed.
    if (!mDir.empty() && kill(gone->pid, 0) != 0 && errno == ESRCH) {
        unlink(processSocketPath(mDir, gone->pid).c_str());
    }
}

// --- objects ---

bool Runtime::isContextObject(const BHwBinder* binder) {
    std::lock_guard<std::mutex> lock(mLock);
    return mContext != nullptr && mContext.get() == binder;
}

uint64_t Runtime::grantNode(const sp<BHwBinder>& binder, pid_t to) {
    std::lock_guard<std::mutex> lock(mLock);
    uint64_t node = mNodes.grant(binder, to);
    // Watch the holder even if it never connects: its death frees the node.
    peerLocked(to);
    return node;
}

void Runtime::releaseNode(uint64_t node, pid_t holder, uint32_t count) {
    std::vector<sp<BHwBinder>> released;
    std::shared_ptr<Peer> forgotten;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mNodes.release(node, holder, count, &released);
        auto it = mPeers.find(holder);
        if (it != mPeers.end()) forgotten = forgetPeerIfUnusedLocked(it->second);
    }
}

sp<BHwBinder> Runtime::findTarget(uint64_t node, pid_t caller) {
    std::lock_guard<std::mutex> lock(mLock);
    if (node == 0) return mContext;
    return mNodes.find(node, caller);
}

sp<BHwBinder> Runtime::findHome(uint64_t node) {
    std::lock_guard<std::mutex> lock(mLock);
    if (node == 0) return mContext;
    return mNodes.findHome(node);
}

sp<IBinder> Runtime::proxyFor(pid_t pid, uint64_t node, uint64_t refs) {
    sp<BpHwBinder> proxy;
    bool dead = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto index = mProxyIndex.find({pid, node});
        if (index != mProxyIndex.end()) {
            ProxyEntry& entry = mProxies.at(index->second);
            proxy = entry.proxy.promote();
            if (proxy != nullptr) {
                entry.refs += refs;
                return proxy;
            }
        }
        std::shared_ptr<Peer> peer = peerLocked(pid);
        const uint64_t handle = mNextHandle++;
        proxy = new BpHwBinder(mLink, handle);
        dead = peer->dead;
        mProxies[handle] = ProxyEntry{peer, node, refs, proxy, dead, -1};
        if (!dead) mProxyIndex[{pid, node}] = handle;
        ++peer->proxies;
    }
    if (dead) proxy->sendObituary();
    return proxy;
}

namespace {
// The proxy a thread called last: calls mostly go to the same one again.
struct CachedTarget {
    const Runtime* runtime = nullptr;
    uint64_t handle = 0;
    uint64_t epoch = 0;
    ProxyTarget target;
};
thread_local CachedTarget tCachedTarget;
}  // namespace

bool Runtime::proxyTarget(uint64_t handle, ProxyTarget* out) {
    CachedTarget& cached = tCachedTarget;
    if (cached.runtime == this && cached.handle == handle &&
        cached.epoch == mProxyEpoch.load(std::memory_order_acquire)) {
        *out = cached.target;
        return true;
    }
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    out->peer = it->second.peer;
    out->node = it->second.node;
    out->dead = it->second.dead || mStopping;
    out->timeoutMs = it->second.timeoutMs;
    // Changes are made under the lock and move the epoch on: this one holds
    // until the next.
    cached = CachedTarget{this, handle, mProxyEpoch.load(std::memory_order_relaxed), *out};
    return true;
}

bool Runtime::setProxyTimeout(uint64_t handle, int64_t timeoutMs) {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    it->second.timeoutMs = timeoutMs;
    // What threads remember of the proxy is stale now.
    mProxyEpoch.fetch_add(1, std::memory_order_release);
    return true;
}

void Runtime::proxyDestroyed(uint64_t handle) {
    std::shared_ptr<Peer> peer;
    std::shared_ptr<Peer> forgotten;
    uint64_t node = 0;
    uint64_t refs = 0;
    bool dead = true;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mProxies.find(handle);
        if (it == mProxies.end()) return;
        peer = it->second.peer;
        node = it->second.node;
        refs = it->second.refs;
        dead = it->second.dead || mStopping;
        auto index = mProxyIndex.find({peer->pid, node});
        if (index != mProxyIndex.end() && index->second == handle) mProxyIndex.erase(index);
        mProxies.erase(it);
        mProxyEpoch.fetch_add(1, std::memory_order_release);
        --peer->proxies;
        forgotten = forgetPeerIfUnusedLocked(peer);
    }
    // The context object is never counted.
    if (dead || node == 0 || refs == 0) return;
    while (refs > 0) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(refs, UINT32_MAX));
        refs -= count;
        MessageHeader header{};
        header.magic = kMessageMagic;
        header.kind = kRelease;
        header.seq = mNextSeq.fetch_add(1, std::memory_order_relaxed);
        header.node = node;
        header.code = count;
        // Never waits for the peer; a lost release only keeps the node until
        // this process dies.
        (void)sendOneway(peer, header, {}, nullptr, true, callTimeout());
    }
}

// --- the context object ---

status_t Runtime::serveContextObject(const sp<BHwBinder>& object, int listeningFd) {
    if (object == nullptr) return BAD_VALUE;
    if (!ensureListening()) return PERMISSION_DENIED;
    std::lock_guard<std::mutex> lock(mLock);
    if (mContext != nullptr) return ALREADY_EXISTS;
    const std::string dir = directoryLocked();
    // The lock file decides who serves; a dead server's lock goes with it,
    // and its socket file is then replaced.
    const std::string lockPath = dir + "/hwservicemanager.lock";
    int lockFd = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lockFd < 0) return PERMISSION_DENIED;
    if (flock(lockFd, LOCK_EX | LOCK_NB) != 0) {
        ::close(lockFd);
        return ALREADY_EXISTS;
    }
    int fd = listeningFd;
    if (fd >= 0) {
        // Handed over (socket activation): whoever made it keeps its file.
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    } else {
        fd = listenAt(contextSocketPath(dir)).release();
    }
    if (fd < 0) {
        fprintf(stderr, "hidl socket transport: cannot listen on %s: %s\n",
                contextSocketPath(dir).c_str(), strerror(errno));
        ::close(lockFd);
        return UNKNOWN_ERROR;
    }
    mContextLockFd = lockFd;
    mContextFd = fd;
    mContextFileOwned = listeningFd < 0;
    mContext = object;
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.u64 = tagged(kTagListen, static_cast<uint64_t>(fd));
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, fd, &ev);
    return OK;
}

sp<IBinder> Runtime::getContextObject() {
    std::string dir;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mContext != nullptr) return mContext;
        if (mStopping) return nullptr;
        dir = directoryLocked();
    }
    static std::once_flag swept;
    std::call_once(swept, [&] { sweepStaleSockets(dir); });
    const std::chrono::milliseconds timeout = callTimeout();
    const Deadline deadline = timeout.count() > 0 ? Deadline(Clock::now() + timeout) : std::nullopt;
    pid_t pid;
    uid_t uid;
    UniqueFd fd = connectTo(contextSocketPath(dir), &pid, &uid, deadline);
    if (!fd.valid() || uid != getuid() || pid == getpid()) return nullptr;
    setBlocking(fd.get());
    auto conn = std::make_unique<Connection>(std::move(fd), pid, uid);
    if (fastPathEnabled()) offerFastPath(conn.get(), deadline);
    if (conn->broken()) return nullptr;
    sp<IBinder> proxy = proxyFor(pid, 0, 0);
    ProxyTarget target;
    if (proxyTarget(proxy->remoteBinder()->handle(), &target) && !target.dead) {
        // Kept in the pool: the first call needs no new connection.
        {
            std::lock_guard<std::mutex> pool(target.peer->poolLock);
            ++target.peer->outgoing;
        }
        returnConnection(target.peer, std::move(conn));
    }
    return proxy;
}

SocketTransportStats Runtime::stats() {
    SocketTransportStats s;
    std::lock_guard<std::mutex> lock(mLock);
    s.exportedNodes = mNodes.nodeCount();
    s.grants = mNodes.grantCount();
    s.proxies = mProxies.size();
    s.peers = mPeers.size();
    s.openConnections = Connection::openCount();
    std::lock_guard<std::mutex> servers(mServerLock);
    s.servingThreads = mServing;
    return s;
}

}  // namespace socket

status_t serveContextObject(const sp<BHwBinder>& object, int listeningFd) {
    return socket::Runtime::get().serveContextObject(object, listeningFd);
}

sp<IBinder> getContextObject() {
    return socket::Runtime::get().getContextObject();
}

bool isSocketBinder(const sp<IBinder>& binder) {
    BpHwBinder* remote = binder != nullptr ? binder->remoteBinder() : nullptr;
    return remote != nullptr && remote->transport() == socket::Runtime::get().link();
}

pid_t socketBinderPid(const sp<IBinder>& binder) {
    if (!isSocketBinder(binder)) return 0;
    socket::ProxyTarget target;
    if (!socket::Runtime::get().proxyTarget(binder->remoteBinder()->handle(), &target)) return 0;
    return target.peer->pid;
}

namespace {
std::atomic<int64_t> gCallTimeoutMs{-1};  // -1: not yet read from the environment
}  // namespace

void setCallTimeout(std::chrono::milliseconds timeout) {
    gCallTimeoutMs.store(std::max<int64_t>(timeout.count(), 0));
}

std::chrono::milliseconds callTimeout() {
    int64_t ms = gCallTimeoutMs.load();
    if (ms < 0) {
        ms = settingInteger(kCallTimeoutEnvVar, 0, 0, kMaxTimeoutMs);
        gCallTimeoutMs.store(ms);
    }
    return std::chrono::milliseconds(ms);
}

void shutdownTransport() {
    socket::Runtime::get().shutdown();
}

SocketTransportStats socketTransportStats() {
    return socket::Runtime::get().stats();
}

}  // namespace host
}  // namespace hardware
}  // namespace android