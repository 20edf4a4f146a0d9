// The connections other processes opened to this one, by id (the id is what
// the serving loop's epoll set carries for each), and making room among
// them at the total limit.
//
// Locks:
//   IncomingTable::mLock  the table and the id counter. Nothing is called
//                         with it held but epoll_ctl: a leaf.
//   Incoming::owner       held by the thread serving the connection for its
//                         whole turn (calls into objects run under it), and
//                         tried, never waited for, by an eviction. Outermost
//                         of all the runtime's locks.
#pragma once

#include <hidl_host/UniqueFd.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "socket/Connection.h"
#include "socket/Limits.h"
#include "socket/Peer.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// A connection a peer opened to this process.
struct Incoming {
    Incoming(uint64_t i, std::shared_ptr<Peer> p, UniqueFd fd, uid_t uid, ByteBudget* total)
        : id(i),
          peer(std::move(p)),
          conn(std::move(fd), peer->pid(), uid, &peer->budget(), total) {}
    const uint64_t id;
    const std::shared_ptr<Peer> peer;
    Connection conn;  // used by the thread holding owner
    std::mutex owner;
    // Guarded by owner.
    bool closed = false;    // evicted: nothing more is read or written
    bool evicting = false;  // read only up to what came before; goodbye at its end
    // Changed under OnewayQueues' lock; paused is also read without.
    std::atomic<bool> paused{false};  // not read until its peer's oneway queue drains
    bool busy = false;                // a thread holds it
};

// Shuts a connection's reading side, so that the peer's sends fail from now
// on; true when it had sent something before.
bool shutReading(int fd);

class IncomingTable {
  public:
    explicit IncomingTable(int epoll) : mEpoll(epoll) {}

    std::shared_ptr<Incoming> find(uint64_t id) const;
    size_t size() const;
    // Takes fd and adds it to the epoll set. drainOnly: its reading is shut; it is served up to
    // what came before, then told goodbye.
    std::shared_ptr<Incoming> add(std::shared_ptr<Peer> peer, UniqueFd fd, uid_t uid,
                                  bool drainOnly);
    // Out of the epoll set and the table; false when it was out already
    // (an eviction and a failing serve may both close it).
    bool remove(const Incoming& in);
    // Empties the table at shutdown, out of the epoll set.
    std::unordered_map<uint64_t, std::shared_ptr<Incoming>> takeAll();

    // Back into the epoll set, one-shot, waiting for input when withInput.
    void rearm(Incoming* in, bool withInput) const;

    // At the total limit: closes idle connections of the holders (peers
    // with their connection counts) for a newcomer holding `mine`, by the
    // fair rule (Incoming.cpp). close finishes one closed here. True when
    // room was made.
    using Closer = std::function<void(const std::shared_ptr<Incoming>&)>;
    bool evictFor(std::vector<std::pair<std::shared_ptr<Peer>, size_t>> holders, size_t mine,
                  const Closer& close);

  private:
    bool evictIdle(const std::shared_ptr<Incoming>& in, const Closer& close);

    const int mEpoll;
    mutable std::mutex mLock;
    // Guarded by mLock.
    std::unordered_map<uint64_t, std::shared_ptr<Incoming>> mConns;
    uint64_t mNextId = 1;
    // Bytes buffered for all peers together; atomic, shared by the connections.
    ByteBudget mTotalBudget{limits().maxTotalBytes};
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
