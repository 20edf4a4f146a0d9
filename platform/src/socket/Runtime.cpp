#include "socket/Runtime.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "socket/RuntimeDir.h"

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

// Peers without a pidfd are checked this often.
constexpr int kLivenessPollMs = 500;

}  // namespace

Peer::~Peer() {
    if (pidfd >= 0) ::close(pidfd);
}

Runtime& Runtime::get() {
    static Runtime* const runtime = new Runtime();
    return *runtime;
}

Runtime::Runtime() : mLink(new SocketLink()) {}

void Runtime::wake(int eventFd) {
    if (eventFd < 0) return;
    uint64_t one = 1;
    ssize_t n = ::write(eventFd, &one, sizeof(one));
    (void)n;
}

std::string Runtime::directoryLocked() {
    if (mDir.empty()) mDir = runtimeDirectory();
    return mDir;
}

std::shared_ptr<Peer> Runtime::peerLocked(pid_t pid) {
    auto it = mPeers.find(pid);
    if (it != mPeers.end()) return it->second;
    auto peer = std::make_shared<Peer>(pid);
    // Without a pidfd (old kernel, or the process is already gone) the
    // monitor falls back to probing the pid.
    peer->pidfd = openPidfd(pid);
    if (peer->pidfd >= 0) fcntl(peer->pidfd, F_SETFD, FD_CLOEXEC);
    mPeers[pid] = peer;
    if (!mMonitoring) {
        mMonitoring = true;
        mMonitorWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        std::thread([this] { monitorLoop(); }).detach();
    } else {
        wake(mMonitorWake);
    }
    return peer;
}

std::shared_ptr<Peer> Runtime::forgetPeerIfUnusedLocked(std::shared_ptr<Peer> peer) {
    if (peer == nullptr || peer->proxies != 0 || mNodes.holdsAny(peer->pid)) return nullptr;
    auto it = mPeers.find(peer->pid);
    if (it == mPeers.end() || it->second != peer) return nullptr;
    mPeers.erase(it);
    wake(mMonitorWake);
    return peer;  // its connections close when the caller lets it go
}

void Runtime::monitorLoop() {
    std::vector<pollfd> fds;
    std::vector<pid_t> pids;
    for (;;) {
        fds.clear();
        pids.clear();
        bool probe = false;
        {
            std::lock_guard<std::mutex> lock(mLock);
            fds.push_back({mMonitorWake, POLLIN, 0});
            pids.push_back(0);
            for (const auto& [pid, peer] : mPeers) {
                if (peer->pidfd >= 0) {
                    fds.push_back({peer->pidfd, POLLIN, 0});
                    pids.push_back(pid);
                } else {
                    probe = true;
                }
            }
        }
        int n = poll(fds.data(), fds.size(), probe ? kLivenessPollMs : -1);
        if (n < 0 && errno != EINTR) continue;
        if ((fds[0].revents & POLLIN) != 0) {
            uint64_t count;
            ssize_t r = ::read(mMonitorWake, &count, sizeof(count));
            (void)r;
        }
        for (size_t i = 1; i < fds.size(); ++i) {
            if ((fds[i].revents & POLLIN) != 0) peerDied(pids[i], fds[i].fd);
        }
        if (probe) {
            std::vector<pid_t> gone;
            {
                std::lock_guard<std::mutex> lock(mLock);
                for (const auto& [pid, peer] : mPeers) {
                    if (peer->pidfd < 0 && kill(pid, 0) != 0 && errno == ESRCH) {
                        gone.push_back(pid);
                    }
                }
            }
            for (pid_t pid : gone) peerDied(pid, -1);
        }
    }
}

void Runtime::peerDied(pid_t pid, int pidfd) {
    std::shared_ptr<Peer> gone;
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mPeers.find(pid);
        // The record may have been replaced since the poll set was built.
        if (it == mPeers.end() || it->second->pidfd != pidfd) return;
        gone = it->second;
        gone->dead = true;
        mPeers.erase(it);
        for (auto& [handle, entry] : mProxies) {
            if (entry.peer != gone) continue;
            entry.dead = true;
            if (sp<BpHwBinder> proxy = entry.proxy.promote(); proxy != nullptr) {
                obituaries.push_back(std::move(proxy));
            }
            auto index = mProxyIndex.find({pid, entry.node});
            if (index != mProxyIndex.end() && index->second == handle) mProxyIndex.erase(index);
        }
        mNodes.dropHolder(pid, &released);
    }
    {
        // Threads that are about to take a pooled connection find none.
        std::lock_guard<std::mutex> lock(gone->poolLock);
        gone->idle.clear();
    }
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

bool Runtime::ensureListening() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mListening) return true;
    const std::string dir = directoryLocked();
    if (ensureRuntimeDirectory(dir) != OK) return false;
    mListenFd = listenAt(processSocketPath(dir, getpid()));
    if (mListenFd < 0) {
        fprintf(stderr, "hidl socket transport: cannot listen in %s: %s\n", dir.c_str(),
                strerror(errno));
        return false;
    }
    mListenWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    mListening = true;
    std::thread([this] { listenLoop(); }).detach();
    return true;
}

void Runtime::listenLoop() {
    for (;;) {
        pollfd fds[3];
        nfds_t count = 0;
        {
            std::lock_guard<std::mutex> lock(mLock);
            fds[count++] = {mListenWake, POLLIN, 0};
            fds[count++] = {mListenFd, POLLIN, 0};
            if (mContextFd >= 0) fds[count++] = {mContextFd, POLLIN, 0};
        }
        if (poll(fds, count, -1) < 0) continue;
        if ((fds[0].revents & POLLIN) != 0) {
            uint64_t n;
            ssize_t r = ::read(mListenWake, &n, sizeof(n));
            (void)r;
        }
        for (nfds_t i = 1; i < count; ++i) {
            if ((fds[i].revents & POLLIN) == 0) continue;
            int fd = accept4(fds[i].fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd < 0) continue;
            pid_t pid;
            uid_t uid;
            // Only this user's processes may call in.
            if (!peerCredentials(fd, &pid, &uid) || uid != getuid()) {
                ::close(fd);
                continue;
            }
            auto conn = std::make_unique<Connection>(fd, pid, uid);
            std::thread([this, c = std::move(conn)]() mutable {
                serveConnection(std::move(c));
            }).detach();
        }
    }
}

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
        mProxies[handle] = ProxyEntry{peer, node, refs, proxy, dead};
        if (!dead) mProxyIndex[{pid, node}] = handle;
        ++peer->proxies;
    }
    if (dead) proxy->sendObituary();
    return proxy;
}

bool Runtime::proxyTarget(uint64_t handle, ProxyTarget* out) {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    out->peer = it->second.peer;
    out->node = it->second.node;
    out->dead = it->second.dead;
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
        dead = it->second.dead;
        auto index = mProxyIndex.find({peer->pid, node});
        if (index != mProxyIndex.end() && index->second == handle) mProxyIndex.erase(index);
        mProxies.erase(it);
        --peer->proxies;
        forgotten = forgetPeerIfUnusedLocked(peer);
    }
    // The context object is never counted.
    if (dead || node == 0 || refs == 0) return;
    while (refs > 0) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(refs, UINT32_MAX));
        refs -= count;
        FrameHeader header{};
        header.magic = kFrameMagic;
        header.kind = kRelease;
        header.seq = mNextSeq.fetch_add(1, std::memory_order_relaxed);
        header.node = node;
        header.code = count;
        // A lost release only keeps the node until this process dies.
        (void)sendOneway(peer, header, {}, nullptr);
    }
}

status_t Runtime::serveContextObject(const sp<BHwBinder>& object) {
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
    int fd = listenAt(contextSocketPath(dir));
    if (fd < 0) {
        fprintf(stderr, "hidl socket transport: cannot listen on %s: %s\n",
                contextSocketPath(dir).c_str(), strerror(errno));
        ::close(lockFd);
        return UNKNOWN_ERROR;
    }
    mContextLockFd = lockFd;
    mContextFd = fd;
    mContext = object;
    wake(mListenWake);
    return OK;
}

sp<IBinder> Runtime::getContextObject() {
    std::string dir;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mContext != nullptr) return mContext;
        dir = directoryLocked();
    }
    pid_t pid;
    uid_t uid;
    int fd = connectTo(contextSocketPath(dir), &pid, &uid);
    if (fd < 0) return nullptr;
    if (uid != getuid() || pid == getpid()) {
        ::close(fd);
        return nullptr;
    }
    auto conn = std::make_unique<Connection>(fd, pid, uid);
    sp<IBinder> proxy = proxyFor(pid, 0, 0);
    ProxyTarget target;
    if (proxyTarget(proxy->remoteBinder()->handle(), &target) && !target.dead) {
        // Kept in the pool: the first call needs no new connection.
        returnConnection(target.peer, std::move(conn));
    }
    return proxy;
}

void Runtime::shutdown() {
    std::lock_guard<std::mutex> lock(mLock);
    const std::string dir = directoryLocked();
    if (mListening) unlink(processSocketPath(dir, getpid()).c_str());
    if (mContext != nullptr) {
        unlink(contextSocketPath(dir).c_str());
        unlink((dir + "/hwservicemanager.lock").c_str());
    }
}

SocketTransportStats Runtime::stats() {
    SocketTransportStats s;
    std::lock_guard<std::mutex> lock(mLock);
    s.exportedNodes = mNodes.nodeCount();
    s.grants = mNodes.grantCount();
    s.proxies = mProxies.size();
    s.peers = mPeers.size();
    s.openConnections = Connection::openCount();
    s.servingThreads = mServingThreads.load();
    return s;
}

}  // namespace socket

status_t serveContextObject(const sp<BHwBinder>& object) {
    return socket::Runtime::get().serveContextObject(object);
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
        const char* env = getenv(kCallTimeoutEnvVar);
        ms = env != nullptr ? std::max(0LL, atoll(env)) : 0;
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
