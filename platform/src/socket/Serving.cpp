// What the serving loop's events do: starting the pool, accepting, a
// connection's serving turn, closing it, the timer, and stopping.
#include <errno.h>
#include <hidl_host/Log.h>
#include <hwbinder/ProcessState.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "socket/Runtime.h"
#include "socket/RuntimeDir.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// How long the connections of a dead process may stay open before it is
// buried regardless: only a descriptor handed on to another process keeps
// one open.
constexpr auto kBurialGrace = std::chrono::seconds(1);
// Messages served per turn of one connection, so that one busy peer does not
// keep a thread from the others.
constexpr int kMessagesPerTurn = 16;

// Answered turns for which this thread does not wait on the caller's
// connection, after such a wait was cut short by other work.
constexpr int kStickyBackoffTurns = 16;
thread_local int tStickyBackoff = 0;

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
    if (mServersSpawned < want) mServersSpawned += mLoop.spawn(want - mServersSpawned);
}

void Runtime::join() {
    startPool();
    mLoop.run();
}

void Runtime::dispatch(Tag tag, uint64_t value, uint32_t events) {
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

void Runtime::recover(Tag tag, uint64_t value) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        switch (tag) {
            case kTagTimer:
            case kTagListen:
                mAcceptPaused = mAcceptPaused || tag == kTagListen;
                mTimerArmed = false;
                armTimerLocked();
                return;
            case kTagPid:
                mPeers.rewatch(static_cast<pid_t>(value));
                return;
            default:
                break;
        }
    }
    if (tag != kTagConnection) return;
    if (std::shared_ptr<Incoming> in = mIncoming.find(value); in != nullptr) closeIncoming(in);
}

void Runtime::handBack(uint64_t id) {
    // Armed again as it was: its input is still there and wakes a waiter.
    if (std::shared_ptr<Incoming> in = mIncoming.find(id); in != nullptr) mOneway.handBack(*in);
}

// --- listening and accepting ---

bool Runtime::ensureListening() {
    std::lock_guard<std::mutex> lock(mLock);
    if (mListening) return true;
    if (mStopping || mLoop.epoll() < 0) return false;
    const std::string dir = directoryLocked();
    if (ensureRuntimeDirectory(dir) != OK) return false;
    sweepStaleSockets(dir);
    const std::string path = processSocketPath(dir, getpid());
    mListenFd = listenAt(path);
    if (!mListenFd.valid()) {
        logf(LogLevel::Error, "hidl socket transport: cannot listen in %s: %s", dir.c_str(),
             strerror(errno));
        return false;
    }
    mListening = true;
    gSocketToRemove = path;
    std::atexit(removeSocketAtExit);
    mLoop.watch(mListenFd.get(), kTagListen, static_cast<uint64_t>(mListenFd.get()));
    startPoolLocked();
    return true;
}

void Runtime::acceptPending(int listenFd) {
    std::lock_guard<std::mutex> accepting(mAcceptLock);
    bool paused = false;
    for (int round = 0; round < 64; ++round) {
        // Blocking, for a callback's wait for its answer (Connection::waitMessage);
        // every other operation on it passes MSG_DONTWAIT.
        UniqueFd fd(accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC));
        if (!fd.valid()) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                // Retrying at once would spin; the open connections go on
                // being served meanwhile.
                ZUV_LOG_ONCE(LogLevel::Warning,
                             "hidl socket transport: out of descriptors (%s); accepting pauses "
                             "and resumes when some are free (raise `ulimit -n` if this persists)",
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
        if (!peerCredentials(fd.get(), &pid, &uid) || uid != getuid()) continue;
        std::unique_lock<std::mutex> lock(mLock);
        std::shared_ptr<Peer> peer = mPeers.findOrAdd(pid);
        bool full = mIncoming.size() >= limits().maxConnections;
        if (full && !mStopping && mPeers.incoming(*peer) < limits().maxPeerConnections) {
            lock.unlock();
            full = !makeRoomFor(pid);
            lock.lock();
            // Looked up again: its record may have been forgotten meanwhile.
            peer = mPeers.findOrAdd(pid);
        }
        const bool peerFull = mPeers.incoming(*peer) >= limits().maxPeerConnections;
        bool drainOnly = false;
        if (mStopping || full || peerFull) {
            // What it sent already would be lost unread (a oneway call): that
            // much is served before the connection closes.
            if (!mStopping && full && !peerFull && shutReading(fd.get())) {
                drainOnly = true;
            } else {
                // Refused at once, so the peer's call fails instead of waiting;
                // the goodbye tells it nothing was read.
                ZUV_LOG_ONCE(LogLevel::Warning,
                             "hidl socket transport: refusing a connection over the limit (%s); "
                             "see ZUV_HIDL_MAX_CONNECTIONS and ZUV_HIDL_MAX_PEER_CONNECTIONS",
                             full ? "all peers, and its process holds as many as any other"
                                  : "one peer");
                sendGoodbye(fd.get());
                fd.reset();
                mPeers.forgetIfUnused(peer, mNodes);
                continue;
            }
        }
        mIncoming.add(peer, std::move(fd), uid, drainOnly);
        mPeers.addIncoming(*peer);
    }
    if (!paused) mLoop.rewatch(listenFd, kTagListen, static_cast<uint64_t>(listenFd));
}

bool Runtime::makeRoomFor(pid_t pid) {
    size_t mine = 0;
    std::vector<std::pair<std::shared_ptr<Peer>, size_t>> holders;
    {
        std::lock_guard<std::mutex> lock(mLock);
        holders = mPeers.heavierThan(pid, 2, &mine);
    }
    return mIncoming.evictFor(std::move(holders), mine,
                              [this](const std::shared_ptr<Incoming>& in) { closeIncoming(in); });
}

void Runtime::armTimerLocked() {
    if (mTimerArmed) return;
    mTimerArmed = true;
    mLoop.armTimer();
}

void Runtime::onTimer() {
    mLoop.drainTimer();
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mTimerArmed = false;
        if (mStopping) return;
        if (mAcceptPaused) {
            mAcceptPaused = false;
            for (const UniqueFd* fd : {&mListenFd, &mContextFd}) {
                if (fd->valid()) {
                    mLoop.rewatch(fd->get(), kTagListen, static_cast<uint64_t>(fd->get()));
                }
            }
        }
        bool waiting = false;
        for (const auto& peer : mPeers.overdue(kBurialGrace, &waiting)) {
            buryLocked(peer, &obituaries, &released);
        }
        if (waiting) armTimerLocked();
    }
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

// --- a connection's serving turn ---

void Runtime::serviceConnection(uint64_t id, uint32_t events) {
    std::shared_ptr<Incoming> in = mIncoming.find(id);
    if (in == nullptr) return;
    // Contended only by an eviction (the event is one-shot); it hands the
    // connection from thread to thread visibly, to the thread sanitizer too.
    std::lock_guard<std::mutex> owning(in->owner);
    if (in->closed) return;
    Connection& conn = in->conn;
    mOneway.beginTurn(*in);
    for (;;) {
        if ((events & EPOLLOUT) != 0 && conn.outPending() && conn.flush() == DEAD_OBJECT) {
            closeIncoming(in);
            return;
        }
        // Only this thread pauses it; a resume that is missed here is seen
        // by the re-arm at the end, under the oneway queues' lock.
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
            if (carriesOneway(message.header) && in->peer->onewayConnection() != in->id) {
                in->peer->setOnewayConnection(in->id);
            }
            bool room = true;
            try {
                room = serveMessage(&conn, message);
            } catch (const std::bad_alloc&) {
                // Refused, not fatal: the caller's call fails, others go on.
                ZUV_LOG_ONCE(LogLevel::Warning, "hidl socket transport: %s",
                             "out of memory serving a call; it fails with NO_MEMORY");
                if (answers(message.header)) writeStatusReply(&conn, message.header.seq, NO_MEMORY);
            }
            if (conn.broken()) {
                closeIncoming(in);
                return;
            }
            if (!room && mOneway.pauseIfFull(*in)) return;
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
        if (paused || (!answered && !partial) || conn.hasBufferedMessage() ||
            mLoop.eventsPending()) {
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
                {mLoop.epoll(), POLLIN, 0},
        };
        if (::poll(p, 2, -1) < 0 || p[1].revents != 0 || p[0].revents == 0) {
            tStickyBackoff = kStickyBackoffTurns;
            break;
        }
        events = 0;
        if ((p[0].revents & POLLOUT) != 0) events |= EPOLLOUT;
        if ((p[0].revents & (POLLIN | POLLRDHUP | POLLHUP | POLLERR)) != 0) events |= EPOLLIN;
    }
    mOneway.endTurn(*in);
}

void Runtime::closeIncoming(const std::shared_ptr<Incoming>& in) {
    // Once only, whoever comes first: an eviction and a failing serve.
    if (!mIncoming.remove(*in)) return;
    std::vector<sp<BpHwBinder>> obituaries;
    std::vector<sp<BHwBinder>> released;
    std::shared_ptr<Peer> forgotten;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mPeers.dropIncoming(*in->peer)) {
            buryLocked(in->peer, &obituaries, &released);
        } else {
            forgotten = mPeers.forgetIfUnused(in->peer, mNodes);
        }
    }
    for (const sp<BpHwBinder>& proxy : obituaries) proxy->sendObituary();
}

// --- stopping ---

void Runtime::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mStopping) return;
        mStopping = true;
        mProxies.moveEpoch();
    }
    mLoop.stop();
    std::map<pid_t, std::shared_ptr<Peer>> peers;
    {
        std::lock_guard<std::mutex> lock(mLock);
        const std::string dir = directoryLocked();
        if (mListenFd.valid()) {
            mLoop.unwatch(mListenFd.get());
            mListenFd.reset();
            unlink(processSocketPath(dir, getpid()).c_str());
        }
        if (mContextFd.valid()) {
            mLoop.unwatch(mContextFd.get());
            mContextFd.reset();
            if (mContextFileOwned) unlink(contextSocketPath(dir).c_str());
            // Removed while still held, so no second server can take the
            // old file in between.
            unlink((dir + "/hwservicemanager.lock").c_str());
            mContextLockFd.reset();
        }
        mProxies.markAllDead();
        peers = mPeers.takeAll();
    }
    auto incoming = mIncoming.takeAll();
    for (auto& [pid, peer] : peers) {
        peer->dropPool();
        peer->closeOneway();
    }
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
