#include "socket/Runtime.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <hwbinder/ProcessState.h>
#include <poll.h>
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
#include <new>
#include <system_error>
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

// What an epoll event stands for: the low byte says what, the rest which.
enum Tag : uint64_t { kTagWake = 1, kTagTimer, kTagListen, kTagPid, kTagConnection };
uint64_t tagged(Tag tag, uint64_t value) {
    return (value << 8) | tag;
}

// Accepting pauses this long after the process ran out of descriptors, and
// dying peers are looked at this often.
constexpr long kTimerTickMs = 100;
// How long the connections of a dead process may stay open before it is
// buried regardless: only a descriptor handed on to another process keeps
// one open.
constexpr auto kBurialGrace = std::chrono::seconds(1);
// How long shutdown waits for threads still serving a call.
constexpr auto kShutdownWait = std::chrono::seconds(2);
// Frames served per turn of one connection, so that one busy peer does not
// keep a thread from the others.
constexpr int kFramesPerTurn = 16;

thread_local bool tServingThread = false;

// Reports a condition once per process, not once per occurrence.
void logOnce(std::atomic<bool>* said, const char* format, const char* detail) {
    if (said->exchange(true)) return;
    fprintf(stderr, format, detail);
}
std::atomic<bool> gSaidEmfile{false};
std::atomic<bool> gSaidThreads{false};
std::atomic<bool> gSaidConnections{false};
std::atomic<bool> gSaidMemory{false};

// Whether the sender waits for a reply to this frame.
bool answers(const FrameHeader& header) {
    return header.kind == kGrant ||
           (header.kind == kTransact && (header.flags & IBinder::FLAG_ONEWAY) == 0);
}

// Removes the sockets of processes that no longer exist; they may have been
// killed before they could.
void sweepStaleSockets(const std::string& dir) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (dirent* e = readdir(d)) {
        int pid = 0;
        char tail[8] = {};
        if (sscanf(e->d_name, "p%d.sock%7s", &pid, tail) != 1 || pid <= 0) continue;
        if (pid == getpid()) continue;
        if (kill(pid, 0) != 0 && errno == ESRCH) unlinkat(dirfd(d), e->d_name, 0);
    }
    closedir(d);
}

std::string gSocketToRemove;  // written once, before the handler is registered
void removeSocketAtExit() {
    if (!gSocketToRemove.empty()) unlink(gSocketToRemove.c_str());
}

}  // namespace

Peer::~Peer() {
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

// --- the pool ---

void Runtime::startPool() {
    std::lock_guard<std::mutex> lock(mLock);
    startPoolLocked();
}

void Runtime::startPoolLocked() {
    if (mStopping) return;
    sp<ProcessState> state = ProcessState::self();
    const size_t configured = state->getMaxThreads();
    // The joining caller is one of the configured threads; still, somebody
    // must serve before it joins.
    const size_t want =
            std::max<size_t>(1, configured - (state->callerJoinsPool() && configured > 1 ? 1 : 0));
    mPoolStarted = true;
    if (mServersSpawned < want) spawnServers(want - mServersSpawned);
}

void Runtime::spawnServers(size_t count) {
    for (size_t i = 0; i < count; ++i) {
        try {
            std::thread([this] { serveLoop(); }).detach();
            ++mServersSpawned;
        } catch (const std::system_error& e) {
            // Fewer threads serve; the process goes on.
            logOnce(&gSaidThreads, "hidl socket transport: cannot start a serving thread: %s\n",
                    e.what());
            return;
        }
    }
}

void Runtime::join() {
    startPool();
    serveLoop();
}

void Runtime::serveLoop() {
    {
        std::lock_guard<std::mutex> lock(mServerLock);
        ++mServing;
    }
    tServingThread = true;
    for (;;) {
        epoll_event ev{};
        int n = epoll_wait(mEpoll, &ev, 1, -1);
        if (n < 0 && errno != EINTR) break;
        if (n <= 0) continue;
        const auto tag = static_cast<Tag>(ev.data.u64 & 0xff);
        const uint64_t value = ev.data.u64 >> 8;
        if (tag == kTagWake) break;
        try {
            dispatch(tag, value, ev.events);
        } catch (const std::bad_alloc&) {
            // Out of memory is not fatal: what was being served is given up
            // or retried later, and the process goes on.
            logOnce(&gSaidMemory, "hidl socket transport: %s\n",
                    "out of memory; a connection or event is dropped");
            recover(tag, value);
        }
    }
    tServingThread = false;
    {
        std::lock_guard<std::mutex> lock(mServerLock);
        --mServing;
    }
    mServerGone.notify_all();
}

void Runtime::dispatch(uint64_t tag, uint64_t value, uint32_t events) {
    switch (tag) {
        case kTagTimer:
            onTimer();
            break;
        case kTagListen:
            acceptPending(static_cast<int>(value));
            break;
        case kTagPid:
            peerExited(static_cast<pid_t>(value));
            break;
        case kTagConnection:
            serviceConnection(value, events);
            break;
        default:
            break;
    }
}

void Runtime::recover(uint64_t tag, uint64_t value) {
    std::shared_ptr<Incoming> in;
    {
        std::lock_guard<std::mutex> lock(mLock);
        switch (tag) {
            case kTagTimer:
            case kTagListen:
                mAcceptPaused = mAcceptPaused || tag == kTagListen;
                mTimerArmed = false;
                armTimerLocked();
                return;
            case kTagPid: {
                auto it = mPeers.find(static_cast<pid_t>(value));
                if (it != mPeers.end() && !it->second->dying && it->second->pidfd >= 0) {
                    epoll_event ev{};
                    ev.events = EPOLLIN | EPOLLONESHOT;
                    ev.data.u64 = tagged(kTagPid, value);
                    epoll_ctl(mEpoll, EPOLL_CTL_MOD, it->second->pidfd, &ev);
                }
                return;
            }
            default:
                break;
        }
    }
    if (tag != kTagConnection) return;
    {
        std::lock_guard<std::mutex> lock(mConnLock);
        auto it = mIncoming.find(value);
        if (it != mIncoming.end()) in = it->second;
    }
    if (in != nullptr) closeIncoming(in);
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
    // Deaths must be heard even in a process that never serves a call.
    if (!mPoolStarted) startPoolLocked();
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
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

void Runtime::buryLocked(const std::shared_ptr<Peer>& gone, std::vector<sp<BpHwBinder>>* obituaries,
                         std::vector<sp<BHwBinder>>* released) {
    if (gone->buried) return;
    gone->buried = true;
    gone->dead = true;
    auto it = mPeers.find(gone->pid);
    if (it != mPeers.end() && it->second == gone) mPeers.erase(it);
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
    gone->poolFree.notify_all();
    // Its socket file would otherwise stay behind when it was killed.
    if (!mDir.empty() && kill(gone->pid, 0) != 0 && errno == ESRCH) {
        unlink(processSocketPath(mDir, gone->pid).c_str());
    }
}

// --- listening and accepting ---

bool Runtime::ensureListening() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mListening) return true;
    if (mStopping || mEpoll < 0) return false;
    const std::string dir = directoryLocked();
    if (ensureRuntimeDirectory(dir) != OK) return false;
    sweepStaleSockets(dir);
    const std::string path = processSocketPath(dir, getpid());
    mListenFd = listenAt(path);
    if (mListenFd < 0) {
        fprintf(stderr, "hidl socket transport: cannot listen in %s: %s\n", dir.c_str(),
                strerror(errno));
        return false;
    }
    mListening = true;
    gSocketToRemove = path;
    std::atexit(removeSocketAtExit);
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.u64 = tagged(kTagListen, static_cast<uint64_t>(mListenFd));
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, mListenFd, &ev);
    startPoolLocked();
    return true;
}

void Runtime::acceptPending(int listenFd) {
    std::lock_guard<std::mutex> accepting(mAcceptLock);
    bool paused = false;
    for (int round = 0; round < 64; ++round) {
        int fd = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                // Retrying at once would spin; the open connections go on
                // being served meanwhile.
                logOnce(&gSaidEmfile,
                        "hidl socket transport: out of descriptors (%s); accepting pauses and "
                        "resumes when some are free (raise `ulimit -n` if this persists)\n",
                        strerror(errno));
                std::lock_guard<std::mutex> lock(mLock);
                mAcceptPaused = true;
                armTimerLocked();
                paused = true;
            }
            break;
        }
        pid_t pid;
        uid_t uid;
        // Only this user's processes may call in.
        if (!peerCredentials(fd, &pid, &uid) || uid != getuid()) {
            ::close(fd);
            continue;
        }
        std::lock_guard<std::mutex> lock(mLock);
        std::shared_ptr<Peer> peer = peerLocked(pid);
        size_t open;
        {
            std::lock_guard<std::mutex> conns(mConnLock);
            open = mIncoming.size();
        }
        if (mStopping || open >= limits().maxConnections ||
            peer->incoming >= limits().maxPeerConnections) {
            // Refused at once, so the peer's call fails instead of waiting.
            logOnce(&gSaidConnections,
                    "hidl socket transport: refusing a connection over the limit (%s); see "
                    "ZUV_HIDL_MAX_CONNECTIONS and ZUV_HIDL_MAX_PEER_CONNECTIONS\n",
                    open >= limits().maxConnections ? "all peers" : "one peer");
            ::close(fd);
            forgetPeerIfUnusedLocked(peer);
            continue;
        }
        std::lock_guard<std::mutex> conns(mConnLock);
        const uint64_t id = mNextConnId++;
        std::shared_ptr<Incoming> in;
        try {
            in = std::make_shared<Incoming>(id, peer, fd, uid, &mTotalBudget);
            mIncoming[id] = in;
        } catch (const std::bad_alloc&) {
            // The connection owns the descriptor only once it exists.
            if (in == nullptr) ::close(fd);
            throw;
        }
        ++peer->incoming;
        epoll_event ev{};
        ev.events = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;
        ev.data.u64 = tagged(kTagConnection, id);
        epoll_ctl(mEpoll, EPOLL_CTL_ADD, fd, &ev);
    }
    if (!paused) {
        epoll_event ev{};
        ev.events = EPOLLIN | EPOLLONESHOT;
        ev.data.u64 = tagged(kTagListen, static_cast<uint64_t>(listenFd));
        epoll_ctl(mEpoll, EPOLL_CTL_MOD, listenFd, &ev);
    }
}

void Runtime::armTimerLocked() {
    if (mTimerArmed) return;
    mTimerArmed = true;
    itimerspec t{};
    t.it_value.tv_nsec = kTimerTickMs * 1000000;
    timerfd_settime(mTimer, 0, &t, nullptr);
}

void Runtime::onTimer() {
    uint64_t expirations;
    ssize_t r = ::read(mTimer, &expirations, sizeof(expirations));
    (void)r;
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mTimerArmed = false;
        if (mStopping) return;
        if (mAcceptPaused) {
            mAcceptPaused = false;
            for (int fd : {mListenFd, mContextFd}) {
                if (fd < 0) continue;
                epoll_event ev{};
                ev.events = EPOLLIN | EPOLLONESHOT;
                ev.data.u64 = tagged(kTagListen, static_cast<uint64_t>(fd));
                epoll_ctl(mEpoll, EPOLL_CTL_MOD, fd, &ev);
            }
        }
        std::vector<std::shared_ptr<Peer>> overdue;
        bool waiting = false;
        for (const auto& [pid, peer] : mPeers) {
            if (!peer->dying) continue;
            if (Clock::now() - peer->diedAt >= kBurialGrace) {
                overdue.push_back(peer);
            } else {
                waiting = true;
            }
        }
        for (const auto& peer : overdue) buryLocked(peer, &obituaries, &released);
        if (waiting) armTimerLocked();
    }
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

// --- incoming connections ---

void Runtime::rearm(Incoming* in, bool withInput) {
    epoll_event ev{};
    ev.events = EPOLLONESHOT | EPOLLRDHUP;
    if (withInput) ev.events |= EPOLLIN;
    // Frames already buffered wake the connection again at once: a socket
    // is nearly always writable.
    if (in->conn.outPending() || (withInput && in->conn.hasBufferedInput())) {
        ev.events |= EPOLLOUT;
    }
    ev.data.u64 = tagged(kTagConnection, in->id);
    epoll_ctl(mEpoll, EPOLL_CTL_MOD, in->conn.fd(), &ev);
}

void Runtime::serviceConnection(uint64_t id, uint32_t events) {
    std::shared_ptr<Incoming> in;
    {
        std::lock_guard<std::mutex> lock(mConnLock);
        auto it = mIncoming.find(id);
        if (it == mIncoming.end()) return;
        in = it->second;
    }
    // Never contended (the event is one-shot); it hands the connection from
    // thread to thread visibly, to the thread sanitizer too.
    std::lock_guard<std::mutex> owning(in->owner);
    Connection& conn = in->conn;
    {
        std::lock_guard<std::mutex> lock(mOnewayLock);
        in->busy = true;
    }
    for (;;) {
        if ((events & EPOLLOUT) != 0 && conn.outPending() && conn.flush() == DEAD_OBJECT) {
            closeIncoming(in);
            return;
        }
        bool paused = false;
        {
            std::lock_guard<std::mutex> lock(mOnewayLock);
            paused = in->paused;
        }
        if (!paused && (events & (EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0) {
            status_t err = conn.receive();
            if (err != OK && err != WOULD_BLOCK && err != DEAD_OBJECT) {
                closeIncoming(in);
                return;
            }
        }
        bool answered = false;
        for (int served = 0; !paused && served < kFramesPerTurn; ++served) {
            Frame frame;
            status_t err = conn.next(&frame);
            if (err == WOULD_BLOCK) break;
            if (err != OK) {
                closeIncoming(in);
                return;
            }
            answered = answered || answers(frame.header);
            bool room = true;
            try {
                room = serveFrame(&conn, frame);
            } catch (const std::bad_alloc&) {
                // Refused, not fatal: the caller's call fails, others go on.
                logOnce(&gSaidMemory, "hidl socket transport: %s\n",
                        "out of memory serving a call; it fails with NO_MEMORY");
                if (answers(frame.header)) writeStatusReply(&conn, frame.header.seq, NO_MEMORY);
            }
            if (conn.broken()) {
                closeIncoming(in);
                return;
            }
            if (!room) {
                std::lock_guard<std::mutex> lock(mOnewayLock);
                // The queue may have drained meanwhile; then go on reading.
                if (in->peer->onewayQueued >= limits().maxPeerOneway) {
                    in->paused = true;
                    in->peer->paused.push_back(in->id);
                    in->busy = false;
                    rearm(in.get(), false);
                    return;
                }
            }
        }
        if (conn.endOfStream() && !conn.hasBufferedInput()) {
            closeIncoming(in);
            return;
        }
        if (paused || !answered || conn.hasBufferedInput()) break;
        // A caller that was just answered usually calls again soon, on the
        // same connection: wait for that here, unless anything else needs
        // serving, which saves re-arming the connection for each call.
        pollfd p[2] = {
                {conn.fd(),
                 static_cast<short>(POLLIN | POLLRDHUP | (conn.outPending() ? POLLOUT : 0)), 0},
                {mEpoll, POLLIN, 0},
        };
        if (::poll(p, 2, -1) < 0 || p[1].revents != 0 || p[0].revents == 0) break;
        events = 0;
        if ((p[0].revents & POLLOUT) != 0) events |= EPOLLOUT;
        if ((p[0].revents & (POLLIN | POLLRDHUP | POLLHUP | POLLERR)) != 0) events |= EPOLLIN;
    }
    // Decided under the lock that resume() takes, so that exactly one of
    // the two re-arms it.
    std::lock_guard<std::mutex> lock(mOnewayLock);
    in->busy = false;
    rearm(in.get(), !in->paused);
}

void Runtime::resume(const std::shared_ptr<Peer>& peer) {
    // Called with the oneway lock held.
    for (uint64_t id : peer->paused) {
        std::shared_ptr<Incoming> in;
        {
            std::lock_guard<std::mutex> lock(mConnLock);
            auto it = mIncoming.find(id);
            if (it == mIncoming.end()) continue;
            in = it->second;
        }
        in->paused = false;
        // A thread that holds the connection re-arms it when it lets go.
        if (!in->busy) rearm(in.get(), true);
    }
    peer->paused.clear();
}

void Runtime::closeIncoming(const std::shared_ptr<Incoming>& in) {
    epoll_ctl(mEpoll, EPOLL_CTL_DEL, in->conn.fd(), nullptr);
    {
        std::lock_guard<std::mutex> lock(mConnLock);
        mIncoming.erase(in->id);
    }
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    std::shared_ptr<Peer> forgotten;
    {
        std::lock_guard<std::mutex> lock(mLock);
        --in->peer->incoming;
        if (in->peer->dying && in->peer->incoming == 0) {
            buryLocked(in->peer, &obituaries, &released);
        } else {
            forgotten = forgetPeerIfUnusedLocked(in->peer);
        }
    }
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
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
    out->dead = it->second.dead || mStopping;
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
        // Never waits for the peer; a lost release only keeps the node until
        // this process dies.
        (void)sendOneway(peer, header, {}, nullptr, true);
    }
}

// --- the context object ---

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
    int fd = connectTo(contextSocketPath(dir), &pid, &uid, deadline);
    if (fd < 0) return nullptr;
    if (uid != getuid() || pid == getpid()) {
        ::close(fd);
        return nullptr;
    }
    setBlocking(fd);
    auto conn = std::make_unique<Connection>(fd, pid, uid);
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

// --- stopping ---

void Runtime::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mStopping) return;
        mStopping = true;
    }
    // Never drained, so every serving thread sees it.
    uint64_t one = 1;
    ssize_t w = ::write(mWake, &one, sizeof(one));
    (void)w;
    {
        // A thread inside a long call is not waited for past the bound.
        std::unique_lock<std::mutex> lock(mServerLock);
        const size_t self = tServingThread ? 1 : 0;
        mServerGone.wait_for(lock, kShutdownWait, [&] { return mServing <= self; });
    }
    std::map<pid_t, std::shared_ptr<Peer>> peers;
    std::unordered_map<uint64_t, std::shared_ptr<Incoming>> incoming;
    {
        std::lock_guard<std::mutex> lock(mLock);
        const std::string dir = directoryLocked();
        if (mListenFd >= 0) {
            epoll_ctl(mEpoll, EPOLL_CTL_DEL, mListenFd, nullptr);
            ::close(mListenFd);
            mListenFd = -1;
            unlink(processSocketPath(dir, getpid()).c_str());
        }
        if (mContextFd >= 0) {
            epoll_ctl(mEpoll, EPOLL_CTL_DEL, mContextFd, nullptr);
            ::close(mContextFd);
            mContextFd = -1;
            unlink(contextSocketPath(dir).c_str());
            // Removed while still held, so no second server can take the
            // old file in between.
            unlink((dir + "/hwservicemanager.lock").c_str());
            ::close(mContextLockFd);
            mContextLockFd = -1;
        }
        for (auto& [handle, entry] : mProxies) entry.dead = true;
        peers.swap(mPeers);
        for (auto& [pid, peer] : peers) peer->dead = true;
    }
    {
        std::lock_guard<std::mutex> lock(mConnLock);
        incoming.swap(mIncoming);
    }
    for (auto& [id, in] : incoming) epoll_ctl(mEpoll, EPOLL_CTL_DEL, in->conn.fd(), nullptr);
    for (auto& [pid, peer] : peers) {
        {
            std::lock_guard<std::mutex> pool(peer->poolLock);
            peer->idle.clear();
        }
        peer->poolFree.notify_all();
        std::lock_guard<std::mutex> oneway(peer->onewayLock);
        peer->oneway.reset();
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
    std::lock_guard<std::mutex> servers(mServerLock);
    s.servingThreads = mServing;
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
