#include "socket/ProxyTable.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

sp<BpHwBinder> ProxyTable::reuse(pid_t pid, uint64_t node, uint64_t refs) {
    auto index = mIndex.find({pid, node});
    if (index == mIndex.end()) return nullptr;
    Entry& entry = mProxies.at(index->second);
    sp<BpHwBinder> proxy = entry.proxy.promote();
    if (proxy != nullptr) entry.refs += refs;
    return proxy;
}

sp<BpHwBinder> ProxyTable::add(const sp<Transport>& link, const std::shared_ptr<Peer>& peer,
                               uint64_t node, uint64_t refs, bool dead) {
    const uint64_t handle = mNextHandle++;
    sp<BpHwBinder> proxy = new BpHwBinder(link, handle);
    mProxies[handle] = Entry{peer, node, refs, proxy, dead, -1};
    if (!dead) mIndex[{peer->pid(), node}] = handle;
    return proxy;
}

bool ProxyTable::lookup(uint64_t handle, ProxyTarget* out) const {
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    out->peer = it->second.peer;
    out->node = it->second.node;
    out->dead = it->second.dead;
    out->timeoutMs = it->second.timeoutMs;
    return true;
}

bool ProxyTable::setTimeout(uint64_t handle, int64_t timeoutMs) {
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    it->second.timeoutMs = timeoutMs;
    // What threads remember of the proxy is stale now.
    moveEpoch();
    return true;
}

void ProxyTable::unindex(pid_t pid, uint64_t node, uint64_t handle) {
    auto index = mIndex.find({pid, node});
    if (index != mIndex.end() && index->second == handle) mIndex.erase(index);
}

bool ProxyTable::remove(uint64_t handle, Removed* out) {
    auto it = mProxies.find(handle);
    if (it == mProxies.end()) return false;
    out->peer = it->second.peer;
    out->node = it->second.node;
    out->refs = it->second.refs;
    out->dead = it->second.dead;
    unindex(out->peer->pid(), out->node, handle);
    mProxies.erase(it);
    moveEpoch();
    return true;
}

void ProxyTable::markDead(const Peer* peer, std::vector<sp<BpHwBinder>>* obituaries) {
    moveEpoch();
    for (auto& [handle, entry] : mProxies) {
        if (entry.peer.get() != peer) continue;
        entry.dead = true;
        if (sp<BpHwBinder> proxy = entry.proxy.promote(); proxy != nullptr) {
            obituaries->push_back(std::move(proxy));
        }
        unindex(peer->pid(), entry.node, handle);
    }
}

void ProxyTable::markAllDead() {
    for (auto& [handle, entry] : mProxies) entry.dead = true;
    moveEpoch();
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
