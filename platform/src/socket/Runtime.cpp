#include "socket/Runtime.h"

#include <errno.h>
#include <fcntl.h>
#include <hidl_host/Log.h>
#include <hidl_host/Settings.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "socket/Messages.h"
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

}  // namespace

Runtime& Runtime::get() {
    static Runtime* const runtime = new Runtime();
    return *runtime;
}

Runtime::Runtime()
    : mLink(new SocketLink()),
      mLoop(*this),
      mPeers(mLoop.epoll(), *this),
      mIncoming(mLoop.epoll()),
      mOneway(mIncoming) {}

std::string Runtime::directoryLocked() {
    if (mDir.empty()) mDir = runtimeDirectory();
    return mDir;
}

// --- peers ---

void Runtime::peerExited(pid_t pid) {
    // A connection it made may still wait to be accepted: take it, so that
    // what it sent is read before its grants go.
    int listening[2];
    {
        std::lock_guard<std::mutex> lock(mLock);
        listening[0] = mListenFd.get();
        listening[1] = mContextFd.get();
    }
    for (int fd : listening) {
        if (fd >= 0) acceptPending(fd);
    }
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    {
        std::lock_guard<std::mutex> lock(mLock);
        bool buryNow = false;
        std::shared_ptr<Peer> gone = mPeers.markDying(pid, &buryNow);
        if (gone == nullptr) return;
        if (buryNow) {
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
    if (!mPeers.markBuried(gone)) return;
    mProxies.markDead(gone.get(), obituaries);
    mNodes.dropHolder(gone->pid(), released);
    gone->dropPool();
    // Its socket file would otherwise stay behind when it was killed.
    if (!mDir.empty() && kill(gone->pid(), 0) != 0 && errno == ESRCH) {
        unlink(processSocketPath(mDir, gone->pid()).c_str());
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
    mPeers.findOrAdd(to);
    return node;
}

void Runtime::releaseNode(uint64_t node, pid_t holder, uint32_t count) {
    // Let go of after the lock.
    std::vector<sp<BHwBinder>> released;
    std::shared_ptr<Peer> forgotten;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mNodes.release(node, holder, count, &released);
        forgotten = mPeers.forgetIfUnused(mPeers.find(holder), mNodes);
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
        proxy = mProxies.reuse(pid, node, refs);
        if (proxy != nullptr) return proxy;
        std::shared_ptr<Peer> peer = mPeers.findOrAdd(pid);
        dead = peer->dead();
        proxy = mProxies.add(mLink, peer, node, refs, dead);
        mPeers.addProxy(*peer);
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
    if (cached.runtime == this && cached.handle == handle && cached.epoch == mProxies.epoch()) {
        *out = cached.target;
        return true;
    }
    std::lock_guard<std::mutex> lock(mLock);
    if (!mProxies.lookup(handle, out)) return false;
    out->dead = out->dead || mStopping;
    // Changes are made under the lock and move the epoch on: this one holds
    // until the next.
    cached = CachedTarget{this, handle, mProxies.epoch(), *out};
    return true;
}

bool Runtime::setProxyTimeout(uint64_t handle, int64_t timeoutMs) {
    std::lock_guard<std::mutex> lock(mLock);
    return mProxies.setTimeout(handle, timeoutMs);
}

void Runtime::proxyDestroyed(uint64_t handle) {
    ProxyTable::Removed gone;
    std::shared_ptr<Peer> forgotten;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (!mProxies.remove(handle, &gone)) return;
        gone.dead = gone.dead || mStopping;
        mPeers.dropProxy(*gone.peer);
        forgotten = mPeers.forgetIfUnused(gone.peer, mNodes);
    }
    // The context object is never counted.
    uint64_t refs = gone.refs;
    if (gone.dead || gone.node == 0 || refs == 0) return;
    while (refs > 0) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(refs, UINT32_MAX));
        refs -= count;
        MessageHeader header{};
        header.magic = kMessageMagic;
        header.kind = kRelease;
        header.seq = mNextSeq.fetch_add(1, std::memory_order_relaxed);
        header.node = gone.node;
        header.code = count;
        // Never waits for the peer; a lost release only keeps the node until
        // this process dies.
        (void)gone.peer->sendOneway(header, {}, nullptr, true, callTimeout());
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
    UniqueFd lockFd(open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lockFd.valid()) return PERMISSION_DENIED;
    if (flock(lockFd.get(), LOCK_EX | LOCK_NB) != 0) return ALREADY_EXISTS;
    int fd = listeningFd;
    if (fd >= 0) {
        // Handed over (socket activation): whoever made it keeps its file.
        fcntl(fd, F_SETFD, FD_CLOEXEC);
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    } else {
        fd = listenAt(contextSocketPath(dir)).release();
    }
    if (fd < 0) {
        logf(LogLevel::Error, "hidl socket transport: cannot listen on %s: %s",
             contextSocketPath(dir).c_str(), strerror(errno));
        return UNKNOWN_ERROR;
    }
    mContextLockFd = std::move(lockFd);
    mContextFd.reset(fd);
    mContextFileOwned = listeningFd < 0;
    mContext = object;
    mServedContext.store(object.get(), std::memory_order_release);
    mLoop.watch(fd, kTagListen, static_cast<uint64_t>(fd));
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
        target.peer->adoptConnection(std::move(conn));
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
    s.servingThreads = mLoop.servingThreads();
    return s;
}

}  // namespace socket

Serving& serving() {
    return socket::Runtime::get();
}

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
    return target.peer->pid();
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
