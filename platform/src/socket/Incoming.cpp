#include "socket/Incoming.h"

#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "socket/Events.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// At the total connection limit, connections closed at once for one
// newcomer (see evictFor).
constexpr size_t kEvictBatch = 4;

}  // namespace

bool shutReading(int fd) {
    int unread = 0;
    return ::shutdown(fd, SHUT_RD) == 0 && ioctl(fd, FIONREAD, &unread) == 0 && unread > 0;
}

std::shared_ptr<Incoming> IncomingTable::find(uint64_t id) const {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mConns.find(id);
    return it != mConns.end() ? it->second : nullptr;
}

size_t IncomingTable::size() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mConns.size();
}

std::shared_ptr<Incoming> IncomingTable::add(std::shared_ptr<Peer> peer, UniqueFd fd, uid_t uid,
                                             bool drainOnly) {
    std::lock_guard<std::mutex> lock(mLock);
    const uint64_t id = mNextId++;
    auto in = std::make_shared<Incoming>(id, std::move(peer), std::move(fd), uid, &mTotalBudget);
    in->evicting = drainOnly;
    mConns[id] = in;
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLRDHUP | EPOLLONESHOT;
    ev.data.u64 = tagged(kTagConnection, id);
    epoll_ctl(mEpoll, EPOLL_CTL_ADD, in->conn.fd(), &ev);
    return in;
}

bool IncomingTable::remove(const Incoming& in) {
    epoll_ctl(mEpoll, EPOLL_CTL_DEL, in.conn.fd(), nullptr);
    std::lock_guard<std::mutex> lock(mLock);
    return mConns.erase(in.id) != 0;
}

std::unordered_map<uint64_t, std::shared_ptr<Incoming>> IncomingTable::takeAll() {
    std::unordered_map<uint64_t, std::shared_ptr<Incoming>> all;
    {
        std::lock_guard<std::mutex> lock(mLock);
        all.swap(mConns);
    }
    for (auto& [id, in] : all) epoll_ctl(mEpoll, EPOLL_CTL_DEL, in->conn.fd(), nullptr);
    return all;
}

void IncomingTable::rearm(Incoming* in, bool withInput) const {
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

// The fair rule, by process (pid): a newcomer holding `mine` connections
// gets one when another process holds at least mine + 2. Idle connections
// of the process holding the most are closed, up to half the difference
// and at most kEvictBatch at once (a burst of newcomers then does not pay
// one eviction each), so the donor never ends up holding fewer than the
// newcomer. When that process has none idle, the next largest gives. A
// newcomer that holds as many as anyone else is refused.
bool IncomingTable::evictFor(std::vector<std::pair<std::shared_ptr<Peer>, size_t>> holders,
                             size_t mine, const Closer& close) {
    if (holders.empty()) return false;
    std::sort(holders.begin(), holders.end(),
              [](const auto& a, const auto& b) { return a.second > b.second; });
    std::vector<std::vector<std::shared_ptr<Incoming>>> conns(holders.size());
    {
        std::unordered_map<const Peer*, size_t> byPeer;
        for (size_t i = 0; i < holders.size(); ++i) byPeer[holders[i].first.get()] = i;
        std::lock_guard<std::mutex> lock(mLock);
        for (const auto& [id, in] : mConns) {
            auto it = byPeer.find(in->peer.get());
            if (it != byPeer.end()) conns[it->second].push_back(in);
        }
    }
    for (size_t i = 0; i < holders.size(); ++i) {
        const size_t want = std::clamp<size_t>((holders[i].second - mine) / 2, 1, kEvictBatch);
        size_t evicted = 0;
        const uint64_t oneway = holders[i].first->onewayConnection();
        for (const auto& in : conns[i]) {
            if (evicted == want) break;
            if (in->id == oneway) continue;
            if (evictIdle(in, close)) ++evicted;
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
bool IncomingTable::evictIdle(const std::shared_ptr<Incoming>& in, const Closer& close) {
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
    close(in);
    return true;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
