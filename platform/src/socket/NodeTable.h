// The local objects this process has handed to other processes, and which
// process holds how many references to each. Not locked: its owner's lock
// guards it.
#pragma once

#include <hwbinder/Binder.h>
#include <sys/types.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

namespace android {
namespace hardware {
namespace host {
namespace socket {

class NodeTable {
  public:
    // One more reference to binder held by pid; exports binder under a fresh
    // unguessable id the first time. Returns the id.
    uint64_t grant(const sp<BHwBinder>& binder, pid_t pid);

    // One more reference to node for grantee, asked for by holder, who must
    // hold node itself (PERMISSION_DENIED otherwise).
    status_t grantOnBehalf(uint64_t node, pid_t holder, pid_t grantee);

    // Drops up to count references of pid to node. When the last holder of
    // the node goes, its binder is moved to *released (to be let go outside
    // the owner's lock).
    void release(uint64_t node, pid_t pid, uint32_t count, std::vector<sp<BHwBinder>>* released);

    // Drops everything pid held.
    void dropHolder(pid_t pid, std::vector<sp<BHwBinder>>* released);

    // The object node stands for, when caller holds it; null otherwise.
    sp<BHwBinder> find(uint64_t node, pid_t caller) const;

    // The object behind an id this process handed out, held or not, while
    // the object lives: a reference coming home may cross the release of
    // its sender's last hold on the way, and the id alone proves it was given.
    sp<BHwBinder> findHome(uint64_t node) const;

    bool holdsAny(pid_t pid) const { return mHeldBy.count(pid) != 0; }
    size_t nodeCount() const { return mNodes.size(); }
    size_t grantCount() const;

  private:
    struct Node {
        sp<BHwBinder> binder;
        std::map<pid_t, uint64_t> holders;  // pid -> references
    };

    uint64_t freshId() const;
    void forget(std::unordered_map<uint64_t, Node>::iterator it,
                std::vector<sp<BHwBinder>>* released);
    void dropHolderOf(Node* node, pid_t pid);

    std::unordered_map<uint64_t, Node> mNodes;
    std::unordered_map<const BHwBinder*, uint64_t> mIds;
    std::map<pid_t, size_t> mHeldBy;                       // pid -> nodes it holds
    std::unordered_map<uint64_t, wp<BHwBinder>> mRetired;  // released nodes
    size_t mSweepRetiredAt = 64;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
