#include "socket/NodeTable.h"

#include <sys/random.h>

#include <random>

namespace android {
namespace hardware {
namespace host {
namespace socket {

uint64_t NodeTable::freshId() const {
    for (;;) {
        uint64_t id = 0;
        // A peer must not be able to guess the id of a node it was not given.
        if (getrandom(&id, sizeof(id), 0) != sizeof(id)) {
            std::random_device device;
            id = (static_cast<uint64_t>(device()) << 32) ^ device();
        }
        // Zero names the context object.
        if (id != 0 && mNodes.count(id) == 0) return id;
    }
}

uint64_t NodeTable::grant(const sp<BHwBinder>& binder, pid_t pid) {
    uint64_t id;
    auto known = mIds.find(binder.get());
    if (known != mIds.end()) {
        id = known->second;
    } else {
        id = freshId();
        mIds[binder.get()] = id;
        mNodes[id].binder = binder;
    }
    Node& node = mNodes[id];
    if (node.holders[pid]++ == 0) ++mHeldBy[pid];
    return id;
}

status_t NodeTable::grantOnBehalf(uint64_t id, pid_t holder, pid_t grantee) {
    auto it = mNodes.find(id);
    if (it == mNodes.end() || it->second.holders.count(holder) == 0) return PERMISSION_DENIED;
    if (it->second.holders[grantee]++ == 0) ++mHeldBy[grantee];
    return OK;
}

void NodeTable::dropHolderOf(Node* node, pid_t pid) {
    node->holders.erase(pid);
    auto held = mHeldBy.find(pid);
    if (held != mHeldBy.end() && --held->second == 0) mHeldBy.erase(held);
}

void NodeTable::forget(std::unordered_map<uint64_t, Node>::iterator it,
                       std::vector<sp<BHwBinder>>* released) {
    mIds.erase(it->second.binder.get());
    if (mRetired.size() >= mSweepRetiredAt) {
        // Objects already gone need no way home. The probes are released
        // with the caller's other released objects, outside its lock.
        for (auto r = mRetired.begin(); r != mRetired.end();) {
            sp<BHwBinder> alive = r->second.promote();
            r = alive == nullptr ? mRetired.erase(r) : std::next(r);
            if (alive != nullptr) released->push_back(std::move(alive));
        }
        mSweepRetiredAt = 2 * mRetired.size() + 64;
    }
    mRetired[it->first] = it->second.binder;
    released->push_back(std::move(it->second.binder));
    mNodes.erase(it);
}

void NodeTable::release(uint64_t id, pid_t pid, uint32_t count,
                        std::vector<sp<BHwBinder>>* released) {
    auto it = mNodes.find(id);
    if (it == mNodes.end()) return;
    auto holder = it->second.holders.find(pid);
    if (holder == it->second.holders.end()) return;
    if (holder->second > count) {
        holder->second -= count;
        return;
    }
    dropHolderOf(&it->second, pid);
    if (it->second.holders.empty()) forget(it, released);
}

void NodeTable::dropHolder(pid_t pid, std::vector<sp<BHwBinder>>* released) {
    if (!holdsAny(pid)) return;
    for (auto it = mNodes.begin(); it != mNodes.end();) {
        auto next = std::next(it);
        if (it->second.holders.count(pid) != 0) {
            dropHolderOf(&it->second, pid);
            if (it->second.holders.empty()) forget(it, released);
        }
        it = next;
    }
}

sp<BHwBinder> NodeTable::find(uint64_t id, pid_t caller) const {
    auto it = mNodes.find(id);
    if (it == mNodes.end() || it->second.holders.count(caller) == 0) return nullptr;
    return it->second.binder;
}

sp<BHwBinder> NodeTable::findHome(uint64_t id) const {
    auto it = mNodes.find(id);
    if (it != mNodes.end()) return it->second.binder;
    auto retired = mRetired.find(id);
    return retired != mRetired.end() ? retired->second.promote() : nullptr;
}

size_t NodeTable::grantCount() const {
    size_t count = 0;
    for (const auto& [id, node] : mNodes) count += node.holders.size();
    return count;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
