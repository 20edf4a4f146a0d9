// The serving loop: the pool's threads, accepting, the incoming connections
// and stopping.
#include <errno.h>
#include <hwbinder/ProcessState.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "socket/Events.h"
#include "socket/Runtime.h"
#include "socket/RuntimeDir.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// Accepting pauses this long after the process ran out of descriptors, and
// dying peers are looked at this often.
constexpr long kTimerTickMs = 100;
// How long the connections of a dead process may stay open before it is
// buried regardless: only a descriptor handed on to another process keeps
// one open.
constexpr auto kBurialGrace = std::chrono::seconds(1);
// How long shutdown waits for threads still serving a call.
constexpr auto kShutdownWait = std::chrono::seconds(2);
// Messages served per turn of one connection, so that one busy peer does not
// keep a thread from the others.
constexpr int kMessagesPerTurn = 16;

thread_local bool tServingThread = false;

// Answered turns for which this thread does not wait on the caller's
// connection, after such a wait was cut short by other work.
constexpr int kStickyBackoffTurns = 16;
thread_local int tStickyBackoff = 0;

// A thread that waits while no other does takes up to this many events at
// once: under load that saves a wait per call. It serves the first; the rest
// go to whichever thread comes free first.
constexpr int kEventBatch = 8;

// Reports a condition once per process, not once per occurrence.
void logOnce(std::atomic<bool>* said, const char* format, const char* detail) {
    if (said->exchange(true)) return;
    fprintf(stderr, format, detail);
}
std::atomic<bool> gSaidEmfile{false};
std::atomic<bool> gSaidThreads{false};
std::atomic<bool> gSaidConnections{false};
std::atomic<bool> gSaidMemory{false};

// At the total connection limit, connections closed at once for one
// newcomer (see makeRoomFor).
constexpr size_t kEvictBatch = 4;

// Shuts a connection's reading side, so that the peer's sends fail from now
// on; true when it had sent something before.
bool shutReading(int fd) {
    int unread = 0;
    return ::shutdown(fd, SHUT_RD) == 0 && ioctl(fd, FIONREAD, &unread) == 0 && unread > 0;
}

// Messages that travel on a process's oneway connection.
bool carriesOneway(const MessageHeader& header) {
    return header.kind == kRelease ||
           (header.kind == kTransact && (header.flags & IBinder::FLAG_ONEWAY) != 0);
}

// Whether the sender waits for a reply to this message.
bool answers(const MessageHeader& header) {
    return header.kind == kGrant ||
           (header.kind == kTransact && (header.flags & IBinder::FLAG_ONEWAY) == 0);
}

std::string gSocketToRemove;  // written once, before the handler is registered
void removeSocketAtExit() {
    if (!gSocketToRemove.empty()) unlink(gSocketToRemove.c_str());
}

}  // namespace

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
    bool stop = false;
    // Events this thread took but could not share (no memory for the list):
    // it serves them itself, in turn.
    epoll_event kept[kEventBatch];
    int keptCount = 0;
    while (!stop || keptCount > 0) {
        epoll_event event;
        // Events taken by a thread but not yet reached go first, to whichever
        // thread comes free: none waits behind another's long call.
        if (keptCount > 0) {
            event = kept[--keptCount];
        } else if (!takePending(&event)) {
            epoll_event events[kEventBatch];
            // With another thread waiting too, each takes one event, so that
            // both get work.
            const int most =
                    mIdleServers.fetch_add(1, std::memory_order_relaxed) == 0 ? kEventBatch : 1;
            const int n = epoll_wait(mEpoll, events, most, -1);
            mIdleServers.fetch_sub(1, std::memory_order_relaxed);
            if (n < 0 && errno != EINTR) break;
            int first = -1;
            {
                std::lock_guard<std::mutex> lock(mPendingLock);
                for (int i = 0; i < n; ++i) {
                    if ((events[i].data.u64 & 0xff) == kTagWake) {
                        stop = true;
                    } else if (first < 0) {
                        first = i;
                    } else {
                        try {
                            mPending.push_back(events[i]);
                        } catch (const std::bad_alloc&) {
                            kept[keptCount++] = events[i];
                        }
                    }
                }
                mPendingCount.store(mPending.size(), std::memory_order_relaxed);
            }
            if (first < 0) continue;
            event = events[first];
            // A thread that waits meanwhile gets one of the rest at once.
            if (mIdleServers.load(std::memory_order_relaxed) > 0) handOnePending();
        }
        const auto tag = static_cast<Tag>(event.data.u64 & 0xff);
        const uint64_t value = event.data.u64 >> 8;
        try {
            dispatch(tag, value, event.events);
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

bool Runtime::takePending(epoll_event* out) {
    if (mPendingCount.load(std::memory_order_relaxed) == 0) return false;
    std::lock_guard<std::mutex> lock(mPendingLock);
    if (mPending.empty()) return false;
    *out = mPending.front();
    mPending.pop_front();
    mPendingCount.store(mPending.size(), std::memory_order_relaxed);
    return true;
}

bool Runtime::eventsPending() const {
    return mPendingCount.load(std::memory_order_relaxed) > 0;
}

void Runtime::handOnePending() {
    uint64_t id = 0;
    {
        std::lock_guard<std::mutex> lock(mPendingLock);
        for (auto it = mPending.begin(); it != mPending.end(); ++it) {
            if ((it->data.u64 & 0xff) != kTagConnection) continue;
            id = it->data.u64 >> 8;
            mPending.erase(it);
            mPendingCount.store(mPending.size(), std::memory_order_relaxed);
            break;
        }
    }
    // Armed again, its input wakes the waiting thread.
    if (id != 0) handBack(id);
}

void Runtime::settleExits() {
    epoll_event events[16];
    const int n = epoll_wait(mEpoll, events, 16, 0);
    for (int i = 0; i < n; ++i) {
        const auto tag = static_cast<Tag>(events[i].data.u64 & 0xff);
        const uint64_t value = events[i].data.u64 >> 8;
        // A pool started meanwhile serves connections; an event taken here
        // goes back to it rather than hold up this caller.
        if (tag == kTagConnection) {
            handBack(value);
        } else if (tag != kTagWake) {
            dispatch(tag, value, events[i].events);
        }
    }
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

// --- listening and accepting ---

bool Runtime::ensureListening() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mListening) return true;
    if (mStopping || mEpoll < 0) return false;
    const std::string dir = directoryLocked();
    if (ensureRuntimeDirectory(dir) != OK) return false;
    sweepStaleSockets(dir);
    const std::string path = processSocketPath(dir, getpid());
    mListenFd = listenAt(path).release();
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
        // Blocking, for a callback's wait for its answer (Connection::waitMessage);
        // every other operation on it passes MSG_DONTWAIT.
        int fd = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
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
        std::unique_lock<std::mutex> lock(mLock);
        std::shared_ptr<Peer> peer = peerLocked(pid);
        size_t open;
        {
            std::lock_guard<std::mutex> conns(mConnLock);
            open = mIncoming.size();
        }
        bool full = open >= limits().maxConnections;
        if (full && !mStopping && peer->incoming < limits().maxPeerConnections) {
            lock.unlock();
            full = !makeRoomFor(pid);
            lock.lock();
            // Looked up again: its record may have been forgotten meanwhile.
            peer = peerLocked(pid);
        }
        bool drainOnly = false;
        if (mStopping || full || peer->incoming >= limits().maxPeerConnections) {
            // What it sent already would be lost unread (a oneway call): that
            // much is served before the connection closes.
            if (!mStopping && full && peer->incoming < limits().maxPeerConnections &&
                shutReading(fd)) {
                drainOnly = true;
            } else {
                // Refused at once, so the peer's call fails instead of waiting;
                // the goodbye tells it nothing was read.
                logOnce(&gSaidConnections,
                        "hidl socket transport: refusing a connection over the limit (%s); see "
                        "ZUV_HIDL_MAX_CONNECTIONS and ZUV_HIDL_MAX_PEER_CONNECTIONS\n",
                        full ? "all peers, and its process holds as many as any other"
                             : "one peer");
                sendGoodbye(fd);
                ::close(fd);
                forgetPeerIfUnusedLocked(peer);
                continue;
            }
        }
        std::lock_guard<std::mutex> conns(mConnLock);
        const uint64_t id = mNextConnId++;
        std::shared_ptr<Incoming> in;
        try {
            in = std::make_shared<Incoming>(id, peer, fd, uid, &mTotalBudget);
            in->evicting = drainOnly;
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
    // Messages already buffered wake the connection again at once: a socket
    // is nearly always writable. Part of one waits for the rest to arrive.
    if (in->conn.outPending() || (withInput && in->conn.hasBufferedMessage())) {
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
    // Contended only by an eviction (the event is one-shot); it hands the
    // connection from thread to thread visibly, to the thread sanitizer too.
    std::lock_guard<std::mutex> owning(in->owner);
    if (in->closed) return;
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
        // Only this thread pauses it; a resume that is missed here is seen
        // by the re-arm at the end, under the lock.
        const bool paused = in->paused.load(std::memory_order_acquire);
        if (!paused && (events & (EPOLLIN | EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0) {
            status_t err = conn.receive();
            if (err != OK && err != WOULD_BLOCK && err != DEAD_OBJECT) {
                closeIncoming(in);
                return;
            }
        }
        bool answered = false;
        bool drained = false;  // no complete message is left
        for (int served = 0; !paused && served < kMessagesPerTurn; ++served) {
            Message message;
            status_t err = conn.next(&message);
            if (err == WOULD_BLOCK) {
                drained = true;
                break;
            }
            if (err != OK) {
                closeIncoming(in);
                return;
            }
            answered = answered || answers(message.header);
            if (carriesOneway(message.header) &&
                in->peer->onewayConn.load(std::memory_order_relaxed) != in->id) {
                in->peer->onewayConn.store(in->id, std::memory_order_relaxed);
            }
            bool room = true;
            try {
                room = serveMessage(&conn, message);
            } catch (const std::bad_alloc&) {
                // Refused, not fatal: the caller's call fails, others go on.
                logOnce(&gSaidMemory, "hidl socket transport: %s\n",
                        "out of memory serving a call; it fails with NO_MEMORY");
                if (answers(message.header)) writeStatusReply(&conn, message.header.seq, NO_MEMORY);
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
        // What is left of a message cut short by the end never completes.
        if (conn.endOfStream() && (drained || !conn.hasBufferedInput())) {
            if (in->evicting) conn.sayGoodbye();
            closeIncoming(in);
            return;
        }
        // The rest of a large message is usually on its way: read on, as for the
        // next call of a caller just answered below.
        const bool partial = conn.messageUnderWay();
        if (paused || (!answered && !partial) || conn.hasBufferedMessage() || eventsPending()) {
            break;
        }
        // On the fast path the next call comes through the mailbox: watched
        // for a moment without a system call.
        if (!partial && conn.spinForMessage()) {
            events = 0;
            continue;
        }
        // A caller that was just answered usually calls again soon, on the
        // same connection: wait for that here, which saves re-arming the
        // connection for each call, while watching the others too. No timer
        // bounds the wait: arming one for every call costs a CPU that goes
        // idle meanwhile more than the call itself (on a virtual machine).
        // Under load other work nearly always comes first and the wait is a
        // wasted call: after it was, the next turns re-arm at once.
        if (tStickyBackoff > 0) {
            --tStickyBackoff;
            break;
        }
        pollfd p[2] = {
                {conn.fd(),
                 static_cast<short>(POLLIN | POLLRDHUP | (conn.outPending() ? POLLOUT : 0)), 0},
                {mEpoll, POLLIN, 0},
        };
        if (::poll(p, 2, -1) < 0 || p[1].revents != 0 || p[0].revents == 0) {
            tStickyBackoff = kStickyBackoffTurns;
            break;
        }
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

void Runtime::handBack(uint64_t id) {
    std::shared_ptr<Incoming> in;
    {
        std::lock_guard<std::mutex> lock(mConnLock);
        auto it = mIncoming.find(id);
        if (it == mIncoming.end()) return;
        in = it->second;
    }
    // Armed again as it was: its input is still there and wakes a waiter.
    std::lock_guard<std::mutex> lock(mOnewayLock);
    if (!in->busy) rearm(in.get(), !in->paused);
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
        // Once only, whoever comes first: an eviction and a failing serve.
        std::lock_guard<std::mutex> lock(mConnLock);
        if (mIncoming.erase(in->id) == 0) return;
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

// --- sharing connections at the limit ---

// The fair rule, by process (pid): a newcomer holding `mine` connections
// gets one when another process holds at least mine + 2. Idle connections
// of the process holding the most are closed, up to half the difference
// and at most kEvictBatch at once (a burst of newcomers then does not pay
// one eviction each), so the donor never ends up holding fewer than the
// newcomer. When that process has none idle, the next largest gives. A
// newcomer that holds as many as anyone else is refused.
bool Runtime::makeRoomFor(pid_t pid) {
    struct Holder {
        std::shared_ptr<Peer> peer;
        size_t count;
        std::vector<std::shared_ptr<Incoming>> conns;
    };
    std::vector<Holder> holders;
    size_t mine = 0;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto me = mPeers.find(pid);
        if (me != mPeers.end()) mine = me->second->incoming;
        for (const auto& [p, peer] : mPeers) {
            if (p != pid && peer->incoming >= mine + 2)
                holders.push_back({peer, peer->incoming, {}});
        }
    }
    if (holders.empty()) return false;
    std::sort(holders.begin(), holders.end(),
              [](const Holder& a, const Holder& b) { return a.count > b.count; });
    {
        std::unordered_map<const Peer*, Holder*> byPeer;
        for (Holder& h : holders) byPeer[h.peer.get()] = &h;
        std::lock_guard<std::mutex> conns(mConnLock);
        for (const auto& [id, in] : mIncoming) {
            auto it = byPeer.find(in->peer.get());
            if (it != byPeer.end()) it->second->conns.push_back(in);
        }
    }
    for (Holder& h : holders) {
        size_t want = std::clamp<size_t>((h.count - mine) / 2, 1, kEvictBatch);
        size_t evicted = 0;
        const uint64_t oneway = h.peer->onewayConn.load(std::memory_order_relaxed);
        for (const auto& in : h.conns) {
            if (evicted == want) break;
            if (in->id == oneway) continue;
            if (evictIdle(in)) ++evicted;
        }
        if (evicted > 0) return true;
    }
    return false;
}

// Closes a connection that carries no call: nobody serves it, nothing of a
// message is buffered either way, and its socket holds no unread bytes. Its
// reading is shut first, so that a call the peer sends from then on fails
// to send; a call that went in before is still read and answered. Only
// after that does the peer get the goodbye message, so a goodbye where an
// answer was due tells it the call was never read and may go again.
bool Runtime::evictIdle(const std::shared_ptr<Incoming>& in) {
    std::unique_lock<std::mutex> owning(in->owner, std::try_to_lock);
    if (!owning.owns_lock() || in->closed || in->evicting) return false;
    Connection& conn = in->conn;
    if (in->paused.load(std::memory_order_acquire) || conn.broken() || conn.hasBufferedInput() ||
        conn.outPending()) {
        return false;
    }
    int unread = 0;
    if (ioctl(conn.fd(), FIONREAD, &unread) != 0 || unread > 0) return false;
    if (shutReading(conn.fd())) {
        // Sent just before: served as usual, and told goodbye at its end.
        in->evicting = true;
        return true;
    }
    in->closed = true;
    conn.sayGoodbye();
    closeIncoming(in);
    return true;
}

// --- stopping ---

void Runtime::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mStopping) return;
        mStopping = true;
        mProxyEpoch.fetch_add(1, std::memory_order_release);
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
            if (mContextFileOwned) unlink(contextSocketPath(dir).c_str());
            // Removed while still held, so no second server can take the
            // old file in between.
            unlink((dir + "/hwservicemanager.lock").c_str());
            ::close(mContextLockFd);
            mContextLockFd = -1;
        }
        for (auto& [handle, entry] : mProxies) entry.dead = true;
        mProxyEpoch.fetch_add(1, std::memory_order_release);
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
        peer->takeHot();
        peer->poolFree.notify_all();
        std::lock_guard<std::mutex> oneway(peer->onewayLock);
        peer->oneway.reset();
    }
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
