// The proxies this process holds to other processes' nodes, by handle (the
// twin of NodeTable, which holds what this process exports). Not locked:
// the runtime's lock guards it, except the epoch, which is read without.
#pragma once

#include <hidl_host/Transport.h>
#include <hwbinder/BpHwBinder.h>
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "socket/Peer.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// What a proxy names.
struct ProxyTarget {
    std::shared_ptr<Peer> peer;
    uint64_t node = 0;
    bool dead = true;
    int64_t timeoutMs = -1;  // the proxy's own call timeout; -1: none set
};

class ProxyTable {
  public:
    // The live proxy for pid's node, now holding refs more references; null
    // when there is none.
    sp<BpHwBinder> reuse(pid_t pid, uint64_t node, uint64_t refs);
    // A new proxy over link; one to a dead peer is never found again.
    sp<BpHwBinder> add(const sp<Transport>& link, const std::shared_ptr<Peer>& peer, uint64_t node,
                       uint64_t refs, bool dead);
    bool lookup(uint64_t handle, ProxyTarget* out) const;
    // False when no such proxy exists.
    bool setTimeout(uint64_t handle, int64_t timeoutMs);

    struct Removed {
        std::shared_ptr<Peer> peer;
        uint64_t node = 0;
        uint64_t refs = 0;  // references granted to us, to be released
        bool dead = true;
    };
    bool remove(uint64_t handle, Removed* out);
    // The peer died: its proxies are dead, and those still alive get an
    // obituary (sent by the caller, outside the lock).
    void markDead(const Peer* peer, std::vector<sp<BpHwBinder>>* obituaries);
    void markAllDead();
    size_t size() const { return mProxies.size(); }

    // Moves on whenever a proxy dies, goes or changes, so that what a thread
    // remembers of the proxy it called last is known to be still true.
    uint64_t epoch() const { return mEpoch.load(std::memory_order_acquire); }
    void moveEpoch() { mEpoch.fetch_add(1, std::memory_order_release); }

  private:
    struct Entry {
        std::shared_ptr<Peer> peer;
        uint64_t node;
        uint64_t refs;
        wp<BpHwBinder> proxy;
        bool dead;
        int64_t timeoutMs = -1;
    };
    void unindex(pid_t pid, uint64_t node, uint64_t handle);

    std::unordered_map<uint64_t, Entry> mProxies;
    std::map<std::pair<pid_t, uint64_t>, uint64_t> mIndex;  // live proxies by (pid, node)
    uint64_t mNextHandle = 1;
    std::atomic<uint64_t> mEpoch{0};
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
