// The peers this process knows, by pid: found or made when a process is
// first met, forgotten when nothing refers to it any more, buried when it
// has died. Each watched peer's pidfd is in the serving loop's epoll set.
// Not locked: the runtime's lock guards the table and every peer's liveness
// fields (Peer.h); call everything with it held.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "socket/NodeTable.h"
#include "socket/Peer.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class PeerTable {
  public:
    PeerTable(int epoll, Connector& connector) : mEpoll(epoll), mConnector(connector) {}

    std::shared_ptr<Peer> find(pid_t pid) const;
    // Made and watched the first time (a process already gone is made dead).
    std::shared_ptr<Peer> findOrAdd(pid_t pid);
    // Drops peer from the table when no proxy, connection or node refers to
    // it and it is not dying. Returns it then, for the caller to let go of
    // outside the lock (its connections close); it takes its own reference,
    // since the caller's may live in the entry erased.
    std::shared_ptr<Peer> forgetIfUnused(std::shared_ptr<Peer> peer, const NodeTable& nodes);

    void addProxy(Peer& peer) { ++peer.mProxies; }
    void dropProxy(Peer& peer) { --peer.mProxies; }
    size_t incoming(const Peer& peer) const { return peer.mIncoming; }
    void addIncoming(Peer& peer) { ++peer.mIncoming; }
    // True when the peer died and this was its last connection: bury it now.
    bool dropIncoming(Peer& peer) { return --peer.mIncoming == 0 && peer.mDying; }

    // The process exited: the peer, when it was known and not already dying;
    // *buryNow when none of its connections is left to read.
    std::shared_ptr<Peer> markDying(pid_t pid, bool* buryNow);
    // Settles its death: dead, out of the table. False when it was already.
    bool markBuried(const std::shared_ptr<Peer>& peer);
    // Dying peers past the grace; *waiting when others are not yet.
    std::vector<std::shared_ptr<Peer>> overdue(Clock::duration grace, bool* waiting) const;
    // Watches the peer's exit again after its event was lost.
    void rewatch(pid_t pid);

    // Peers other than pid holding at least `more` connections more than
    // it, with their counts; *mine is pid's count.
    std::vector<std::pair<std::shared_ptr<Peer>, size_t>> heavierThan(pid_t pid, size_t more,
                                                                      size_t* mine) const;
    // Empties the table at shutdown; every peer is made dead.
    std::map<pid_t, std::shared_ptr<Peer>> takeAll();
    size_t size() const { return mPeers.size(); }

  private:
    const int mEpoll;
    Connector& mConnector;
    std::map<pid_t, std::shared_ptr<Peer>> mPeers;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
