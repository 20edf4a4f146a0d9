#include "socket/PeerTable.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "socket/Events.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

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

std::shared_ptr<Peer> PeerTable::find(pid_t pid) const {
    auto it = mPeers.find(pid);
    return it != mPeers.end() ? it->second : nullptr;
}

std::shared_ptr<Peer> PeerTable::findOrAdd(pid_t pid) {
    auto it = mPeers.find(pid);
    if (it != mPeers.end()) return it->second;
    auto peer = std::make_shared<Peer>(pid, mConnector);
    peer->mPidfd.reset(openPidfd(pid));
    if (peer->mPidfd.valid()) {
        fcntl(peer->mPidfd.get(), F_SETFD, FD_CLOEXEC);
        epoll_event ev{};
        ev.events = EPOLLIN | EPOLLONESHOT;
        ev.data.u64 = tagged(kTagPid, static_cast<uint64_t>(pid));
        epoll_ctl(mEpoll, EPOLL_CTL_ADD, peer->mPidfd.get(), &ev);
    } else if (errno == ESRCH) {
        peer->markDead();
    }
    mPeers[pid] = peer;
    // A process that only calls out runs no thread of its own until it
    // serves or waits for a death (a thread costs every call of a process
    // something); until then, exits are settled as it connects.
    return peer;
}

std::shared_ptr<Peer> PeerTable::forgetIfUnused(std::shared_ptr<Peer> peer,
                                                const NodeTable& nodes) {
    if (peer == nullptr || peer->mProxies != 0 || peer->mIncoming != 0 || peer->mDying ||
        nodes.holdsAny(peer->pid())) {
        return nullptr;
    }
    auto it = mPeers.find(peer->pid());
    if (it == mPeers.end() || it->second != peer) return nullptr;
    mPeers.erase(it);
    if (peer->mPidfd.valid()) epoll_ctl(mEpoll, EPOLL_CTL_DEL, peer->mPidfd.get(), nullptr);
    return peer;
}

std::shared_ptr<Peer> PeerTable::markDying(pid_t pid, bool* buryNow) {
    auto it = mPeers.find(pid);
    if (it == mPeers.end() || it->second->mDying) return nullptr;
    std::shared_ptr<Peer> gone = it->second;
    gone->mDying = true;
    gone->mDiedAt = Clock::now();
    if (gone->mPidfd.valid()) epoll_ctl(mEpoll, EPOLL_CTL_DEL, gone->mPidfd.get(), nullptr);
    *buryNow = gone->mIncoming == 0;
    return gone;
}

bool PeerTable::markBuried(const std::shared_ptr<Peer>& peer) {
    if (peer->mBuried) return false;
    peer->mBuried = true;
    peer->markDead();
    auto it = mPeers.find(peer->pid());
    if (it != mPeers.end() && it->second == peer) mPeers.erase(it);
    return true;
}

std::vector<std::shared_ptr<Peer>> PeerTable::overdue(Clock::duration grace, bool* waiting) const {
    std::vector<std::shared_ptr<Peer>> out;
    for (const auto& [pid, peer] : mPeers) {
        if (!peer->mDying) continue;
        if (Clock::now() - peer->mDiedAt >= grace) {
            out.push_back(peer);
        } else {
            *waiting = true;
        }
    }
    return out;
}

void PeerTable::rewatch(pid_t pid) {
    auto it = mPeers.find(pid);
    if (it == mPeers.end() || it->second->mDying || !it->second->mPidfd.valid()) return;
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.u64 = tagged(kTagPid, static_cast<uint64_t>(pid));
    epoll_ctl(mEpoll, EPOLL_CTL_MOD, it->second->mPidfd.get(), &ev);
}

std::vector<std::pair<std::shared_ptr<Peer>, size_t>> PeerTable::heavierThan(pid_t pid, size_t more,
                                                                             size_t* mine) const {
    *mine = 0;
    auto me = mPeers.find(pid);
    if (me != mPeers.end()) *mine = me->second->mIncoming;
    std::vector<std::pair<std::shared_ptr<Peer>, size_t>> out;
    for (const auto& [p, peer] : mPeers) {
        if (p != pid && peer->mIncoming >= *mine + more) out.emplace_back(peer, peer->mIncoming);
    }
    return out;
}

std::map<pid_t, std::shared_ptr<Peer>> PeerTable::takeAll() {
    std::map<pid_t, std::shared_ptr<Peer>> peers;
    peers.swap(mPeers);
    for (auto& [pid, peer] : peers) peer->markDead();
    return peers;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
