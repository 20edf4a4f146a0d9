#include "registry/InProcessServiceManager.h"

#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Log.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>

#include "registry/HostSettings.h"
#include "registry/PassthroughLoader.h"

namespace android {
namespace hardware {
namespace details {

using ::android::hidl::base::V1_0::DebugInfo;

namespace {

// The process serving a service: this one for a local object, the peer for
// a proxy of the socket transport, unknown otherwise.
int32_t pidOf(const sp<::android::hidl::base::V1_0::IBase>& service) {
    if (!service->isRemote()) return static_cast<int32_t>(getpid());
    pid_t pid = host::socketBinderPid(getOrCreateCachedBinder(service.get()));
    return pid > 0 ? static_cast<int32_t>(pid)
                   : static_cast<int32_t>(InProcessServiceManager::PidConstant::NO_PID);
}

// When pid started (clock ticks since boot), 0 when it is not running: a pid
// alone could by now name another process.
unsigned long long processStartTime(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    // The command name may hold spaces and parentheses; fields resume after the last ')'.
    const size_t end = text.rfind(')');
    if (end == std::string::npos) return 0;
    std::istringstream fields(text.substr(end + 2));
    std::string field;
    // Field 22 of the file; the state (field 3) comes first here.
    for (int i = 3; i < 22 && fields >> field; ++i) {
    }
    unsigned long long start = 0;
    fields >> start;
    return start;
}

// What one entry adds to a reply, by the transport's wire image: in a list,
// the string's record in the vector, its buffer object and offset, and its
// bytes padded to 8; in a debugDump, the record and three such children.
constexpr size_t align8(size_t n) {
    return (n + 7) & ~static_cast<size_t>(7);
}
size_t listCost(size_t length) {
    return 16 + 48 + align8(length + 1);
}
size_t dumpCost(size_t interfaceLength, size_t instanceLength, size_t pids) {
    return 64 + 3 * 48 + align8(interfaceLength + 1) + align8(instanceLength + 1) +
           align8(4 * pids);
}
// The image header, the status and the vector's own two buffers, with room to spare.
constexpr size_t kReplyOverhead = 256;

bool ownerAlive(pid_t owner, unsigned long long start) {
    return owner == getpid() || (start != 0 && processStartTime(owner) == start);
}

}  // namespace

// Set by the registry's destructor when it runs on one of its own delivery threads.
static thread_local const void* tDestroyed = nullptr;

// Holds the registry weakly: the registry holds the watch.
class InProcessServiceManager::DeathWatch : public hidl_death_recipient {
  public:
    explicit DeathWatch(InProcessServiceManager* owner) : mOwner(owner) {}
    void serviceDied(uint64_t cookie, const wp<IBase>& /*who*/) override {
        sp<InProcessServiceManager> owner = mOwner.promote();
        if (owner != nullptr) owner->onDeath(cookie);
    }

  private:
    wp<InProcessServiceManager> mOwner;
};

InProcessServiceManager::~InProcessServiceManager() {
    std::vector<std::thread> threads;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mStopping = true;
        threads.swap(mThreads);
    }
    mWork.notify_all();
    for (std::thread& t : threads) {
        // A listener of this process may drop the last reference on a
        // delivery thread: that thread returns at once instead of touching
        // what is gone.
        if (t.get_id() == std::this_thread::get_id()) {
            tDestroyed = this;
            t.detach();
        } else {
            t.join();
        }
    }
}

Return<sp<InProcessServiceManager::IBase>> InProcessServiceManager::get(const hidl_string& fqName,
                                                                        const hidl_string& name) {
    std::lock_guard<std::mutex> lock(mLock);
    auto iface = mInterfaces.find(fqName);
    if (iface == mInterfaces.end()) return sp<IBase>();
    auto it = iface->second.instances.find(name);
    return it == iface->second.instances.end() ? sp<IBase>() : it->second.service;
}

// Logs once per process and limit; the status goes to every refused request.
Status InProcessServiceManager::refuse(pid_t caller, bool Owner::*warned, int32_t exception,
                                       const std::string& why) {
    bool log;
    {
        std::lock_guard<std::mutex> lock(mLock);
        bool& flag = mOwners[caller].*warned;
        log = !flag;
        flag = true;
    }
    if (log)
        host::logf(host::LogLevel::Warning, "hidl-registry: refused to pid %d: %s\n", caller,
                   why.c_str());
    return Status::fromExceptionCode(exception, why.c_str());
}

Return<bool> InProcessServiceManager::add(const hidl_string& name, const sp<IBase>& service) {
    // Taken before any outgoing call: this is who asks.
    const pid_t caller = IPCThreadState::self()->getCallingPid();
    const uid_t callerUid = IPCThreadState::self()->getCallingUid();
    const bool counted = caller != getpid();

    // An empty name would be indistinguishable from the "every instance"
    // notification request.
    if (service == nullptr || name.size() == 0) return false;
    if (name.size() > mLimits.maxNameLength) {
        return refuse(caller, &Owner::warnedLength, Status::EX_ILLEGAL_ARGUMENT,
                      "an instance name of " + std::to_string(name.size()) +
                              " bytes is longer than the " + std::to_string(mLimits.maxNameLength) +
                              " a name may have (ZUV_HIDL_MAX_NAME_LENGTH, --max-name-length)");
    }

    // Asked outside the lock: for a proxy this is a call to another process.
    std::vector<std::string> chain;
    bool tooLong = false;
    Return<void> ret = service->interfaceChain([&](const hidl_vec<hidl_string>& descriptors) {
        // More interfaces than the process may hold names could never be entered.
        if (descriptors.size() > mLimits.maxNames && counted) {
            tooLong = true;
            return;
        }
        for (size_t i = 0; i < descriptors.size(); ++i) {
            if (descriptors[i].size() > mLimits.maxNameLength) tooLong = true;
            chain.emplace_back(descriptors[i]);
        }
    });
    if (!ret.isOk() || (chain.empty() && !tooLong)) {
        ZUV_LOG_DEBUG("hidl-registry: add %s: interfaceChain failed", name.c_str());
        return false;
    }
    if (tooLong) {
        return refuse(caller, &Owner::warnedLength, Status::EX_ILLEGAL_ARGUMENT,
                      "the service's interface chain has more interfaces than " +
                              std::to_string(mLimits.maxNames) + " (ZUV_HIDL_MAX_NAMES, " +
                              "--max-names) or an interface name longer than " +
                              std::to_string(mLimits.maxNameLength) +
                              " bytes (ZUV_HIDL_MAX_NAME_LENGTH, --max-name-length)");
    }
    std::sort(chain.begin() + 1, chain.end());
    chain.erase(std::unique(chain.begin(), chain.end()), chain.end());

    // IBase is every service's; it is judged only for a service that is nothing more.
    auto exempt = [&](const std::string& fqName) {
        return fqName == IBase::descriptor && chain.size() > 1;
    };

    // The registry's own process (the daemon listing its manager) is trusted.
    if (mPolicy && counted) {
        for (const std::string& fqName : chain) {
            if (exempt(fqName)) continue;
            const std::string why = mPolicy(caller, callerUid, fqName, name);
            if (why.empty()) continue;
            host::logf(host::LogLevel::Warning,
                       "hidl-registry: refused %s/%s to pid %d uid %u: %s\n", fqName.c_str(),
                       name.c_str(), static_cast<int>(caller), static_cast<unsigned>(callerUid),
                       why.c_str());
            return Status::fromExceptionCode(Status::EX_SECURITY, why.c_str());
        }
    }

    // One death link per object, however many names it is added under.
    const void* identity =
            service->isRemote() ? getOrCreateCachedBinder(service.get()).get() : nullptr;
    uint64_t newLink = 0;
    bool linked;
    {
        std::lock_guard<std::mutex> lock(mLock);
        linked = identity == nullptr || mLinkOf.count(identity) != 0;
    }
    if (!linked) {
        bool alive = true;
        newLink = watch(service, &alive);
        if (!alive) {
            ZUV_LOG_DEBUG("hidl-registry: add %s: the service is dead", name.c_str());
            return false;
        }
    }
    const unsigned long long callerStart = counted ? processStartTime(caller) : 0;

    std::vector<Instance> replaced;  // released after the lock
    std::string refusal;
    int32_t exception = Status::EX_SECURITY;
    bool logRefusal = true;
    {
        std::unique_lock<std::mutex> lock(mLock);
        uint64_t link = 0;
        while (identity != nullptr) {
            auto known = mLinkOf.find(identity);
            if (known != mLinkOf.end()) {
                link = known->second;
                // Linked twice by racing adds: the first link serves.
                if (newLink != 0) {
                    mPendingLinks.erase(newLink);
                    mUnlink.push_back({service, true});
                    schedule();
                }
            } else if (newLink == 0) {
                // The link seen a moment ago went with its last entry.
                lock.unlock();
                bool alive = true;
                newLink = watch(service, &alive);
                if (!alive) return false;
                lock.lock();
                continue;
            } else {
                auto pending = mPendingLinks.find(newLink);
                const bool dead = pending == mPendingLinks.end() || pending->second;
                mPendingLinks.erase(newLink);
                if (dead) return false;
                link = newLink;
                mLinks[link] = Link{service, identity, {}, 0};
                mLinkOf[identity] = link;
            }
            break;
        }
        // Checked for the whole chain before anything changes.
        size_t added = 0;
        for (const std::string& fqName : chain) {
            auto iface = mInterfaces.find(fqName);
            const Instance* held = nullptr;
            if (iface != mInterfaces.end()) {
                auto it = iface->second.instances.find(name);
                if (it != iface->second.instances.end()) held = &it->second;
            }
            if (held != nullptr && held->owner == caller) continue;
            if (held == nullptr || !ownerAlive(held->owner, held->ownerStart)) {
                ++added;
                continue;
            }
            if (exempt(fqName)) continue;
            refusal = fqName + "/" + std::string(name) + " is registered by pid " +
                      std::to_string(held->owner) + "; only that process may replace it";
            host::logf(host::LogLevel::Warning,
                       "hidl-registry: refused %s/%s to pid %d: registered by pid %d\n",
                       fqName.c_str(), name.c_str(), static_cast<int>(caller),
                       static_cast<int>(held->owner));
            logRefusal = false;
            break;
        }
        Owner* owner = counted ? &mOwners[caller] : nullptr;
        if (refusal.empty() && owner != nullptr && owner->names + added > mLimits.maxNames) {
            refusal = "pid " + std::to_string(caller) + " holds " + std::to_string(owner->names) +
                      " names, the most one process may register is " +
                      std::to_string(mLimits.maxNames) + " (ZUV_HIDL_MAX_NAMES, --max-names)";
            exception = Status::EX_ILLEGAL_STATE;
            logRefusal = !owner->warnedNames;
            owner->warnedNames = true;
        }
        if (refusal.empty()) {
            for (const std::string& fqName : chain) {
                Interface& iface = mInterfaces[fqName];
                Instance& slot = iface.instances[name];
                if (slot.service != nullptr && slot.owner != caller &&
                    ownerAlive(slot.owner, slot.ownerStart)) {
                    continue;  // IBase: left with its live owner
                }
                const Key key{fqName, std::string(name)};
                if (slot.service != nullptr) {
                    detachLocked(slot, key, link);
                    replaced.push_back(std::move(slot));
                }
                slot = Instance{service, link, caller, callerStart};
                if (owner != nullptr) ++owner->names;
                if (link != 0) mLinks[link].entries.insert(key);
                for (const std::string& which : {std::string(name), std::string()}) {
                    auto listeners = iface.listeners.find(which);
                    if (listeners == iface.listeners.end()) continue;
                    // Copied: a listener dropped on the way leaves the set.
                    const std::set<uint64_t> ids = listeners->second;
                    for (uint64_t id : ids) enqueue(id, fqName, key.second, false);
                }
            }
            mRegistered.notify_all();
        }
        // A link made for this add and left without entries.
        auto l = mLinks.find(link);
        if (l != mLinks.end() && l->second.entries.empty() && l->second.listener == 0) {
            mUnlink.push_back({l->second.object, true});
            mLinkOf.erase(l->second.identity);
            mLinks.erase(l);
            schedule();
        }
    }
    if (!refusal.empty()) {
        if (logRefusal) {
            host::logf(host::LogLevel::Warning, "hidl-registry: refused to pid %d: %s\n", caller,
                       refusal.c_str());
        }
        return Status::fromExceptionCode(exception, refusal.c_str());
    }
    ZUV_LOG_DEBUG("hidl-registry: registered %s/%s (%zu interfaces) for pid %d",
                  chain.front().c_str(), name.c_str(), chain.size(), static_cast<int>(caller));
    return true;
}

Return<InProcessServiceManager::Transport> InProcessServiceManager::getTransport(
        const hidl_string& fqName, const hidl_string& name) {
    // No manifest on the host: what is registered is served over the binder,
    // what has an implementation library can be loaded.
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto iface = mInterfaces.find(fqName);
        if (iface != mInterfaces.end() && iface->second.instances.count(name) != 0) {
            return Transport::HWBINDER;
        }
    }
    return hasPassthroughLibrary(fqName) ? Transport::PASSTHROUGH : Transport::EMPTY;
}

Status InProcessServiceManager::tooLarge(size_t entries, size_t bytes) {
    const std::string why = "the answer of " + std::to_string(entries) + " names takes " +
                            std::to_string(bytes) + " bytes, more than the " +
                            std::to_string(host::kMaxTransactionSize) +
                            " one reply may carry; debugDump (zuv_lshal) shows what fits";
    return Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, why.c_str());
}

Return<void> InProcessServiceManager::list(list_cb _hidl_cb) {
    std::vector<hidl_string> names;
    size_t bytes = kReplyOverhead;
    {
        std::lock_guard<std::mutex> lock(mLock);
        for (const auto& [fqName, iface] : mInterfaces) {
            for (const auto& entry : iface.instances) {
                bytes += listCost(fqName.size() + 1 + entry.first.size());
            }
        }
        if (bytes > host::kMaxTransactionSize) return tooLarge(countLocked(), bytes);
        for (const auto& [fqName, iface] : mInterfaces) {
            for (const auto& entry : iface.instances)
                names.emplace_back(fqName + "/" + entry.first);
        }
    }
    _hidl_cb(hidl_vec<hidl_string>(names));
    return Void();
}

Return<void> InProcessServiceManager::listByInterface(const hidl_string& fqName,
                                                      listByInterface_cb _hidl_cb) {
    std::vector<hidl_string> names;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto iface = mInterfaces.find(fqName);
        if (iface != mInterfaces.end()) {
            size_t bytes = kReplyOverhead;
            for (const auto& entry : iface->second.instances) bytes += listCost(entry.first.size());
            if (bytes > host::kMaxTransactionSize) {
                return tooLarge(iface->second.instances.size(), bytes);
            }
            for (const auto& entry : iface->second.instances) names.emplace_back(entry.first);
        }
    }
    _hidl_cb(hidl_vec<hidl_string>(names));
    return Void();
}

Return<bool> InProcessServiceManager::registerForNotifications(
        const hidl_string& fqName, const hidl_string& name,
        const sp<IServiceNotification>& callback) {
    const pid_t caller = IPCThreadState::self()->getCallingPid();
    if (callback == nullptr || fqName.size() == 0) return false;
    if (fqName.size() > mLimits.maxNameLength || name.size() > mLimits.maxNameLength) {
        return refuse(caller, &Owner::warnedLength, Status::EX_ILLEGAL_ARGUMENT,
                      "a name of " + std::to_string(std::max(fqName.size(), name.size())) +
                              " bytes is longer than the " + std::to_string(mLimits.maxNameLength) +
                              " a name may have (ZUV_HIDL_MAX_NAME_LENGTH, --max-name-length)");
    }
    const bool remote = callback->isRemote();
    const void* identity =
            remote ? static_cast<const void*>(getOrCreateCachedBinder(callback.get()).get())
                   : static_cast<const void*>(callback.get());
    const Key key{fqName, name};

    bool known;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mListenerOf.find(identity);
        known = it != mListenerOf.end();
        // The same listener for the same name again is nothing new.
        if (known && mListeners[it->second].subscriptions.count(key) != 0) return true;
    }
    uint64_t newLink = 0;
    if (!known && remote) {
        bool alive = true;
        newLink = watch(callback, &alive);
        if (!alive) return false;
    }

    std::string refusal;
    bool logRefusal = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (newLink != 0) {
            auto pending = mPendingLinks.find(newLink);
            const bool dead = pending == mPendingLinks.end() || pending->second;
            mPendingLinks.erase(newLink);
            if (dead) return false;
        }
        uint64_t id;
        auto it = mListenerOf.find(identity);
        if (it != mListenerOf.end()) {
            id = it->second;
            if (newLink != 0) mUnlink.push_back({callback, true});  // raced: one link serves
        } else {
            id = mNextListener++;
            Listener& l = mListeners[id];
            l.callback = callback;
            l.identity = identity;
            l.link = newLink;
            l.queueOwner = caller;
            mListenerOf[identity] = id;
            if (newLink != 0) mLinks[newLink] = Link{callback, identity, {}, id};
        }
        Listener& l = mListeners[id];
        if (l.subscriptions.count(key) != 0) return true;
        Owner* owner = caller != getpid() ? &mOwners[caller] : nullptr;
        if (owner != nullptr && owner->listeners >= mLimits.maxListeners) {
            refusal = "pid " + std::to_string(caller) + " holds " +
                      std::to_string(owner->listeners) +
                      " notification registrations, the most one process may make is " +
                      std::to_string(mLimits.maxListeners) +
                      " (ZUV_HIDL_MAX_LISTENERS, --max-listeners)";
            logRefusal = !owner->warnedListeners;
            owner->warnedListeners = true;
            if (l.subscriptions.empty()) dropListenerLocked(id);
        } else {
            l.subscriptions[key] = caller;
            if (owner != nullptr) ++owner->listeners;
            Interface& iface = mInterfaces[key.first];
            iface.listeners[key.second].insert(id);
            if (key.second.empty()) {
                for (const auto& entry : iface.instances) {
                    enqueue(id, key.first, entry.first, true);
                }
            } else if (iface.instances.count(key.second) != 0) {
                enqueue(id, key.first, key.second, true);
            }
        }
    }
    if (!refusal.empty()) {
        if (logRefusal) {
            host::logf(host::LogLevel::Warning, "hidl-registry: refused to pid %d: %s\n", caller,
                       refusal.c_str());
        }
        return Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, refusal.c_str());
    }
    return true;
}

Return<void> InProcessServiceManager::debugDump(debugDump_cb _hidl_cb) {
    std::vector<InstanceDebugInfo> infos;
    {
        std::lock_guard<std::mutex> lock(mLock);
        const auto arch = sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT
                                             : DebugInfo::Architecture::IS_32BIT;
        using Entry =
                std::pair<const std::string*, std::map<std::string, Instance>::const_iterator>;
        // Taken in turns across the owning processes, this one's first: one
        // process's many entries cannot push everyone else's out.
        std::map<pid_t, std::vector<Entry>> byOwner;
        size_t total = mPassthroughClients.size();
        for (const auto& [fqName, iface] : mInterfaces) {
            for (auto it = iface.instances.begin(); it != iface.instances.end(); ++it) {
                const pid_t owner = it->second.owner == getpid() ? 0 : it->second.owner;
                byOwner[owner].emplace_back(&fqName, it);
                ++total;
            }
        }
        // Room is kept for the record that tells what was left out.
        size_t bytes = kReplyOverhead + dumpCost(64, 64, 0);
        auto fits = [&](size_t cost) {
            if (bytes + cost > host::kMaxTransactionSize) return false;
            bytes += cost;
            return true;
        };
        for (size_t round = 0; !byOwner.empty(); ++round) {
            for (auto owner = byOwner.begin(); owner != byOwner.end();) {
                if (round >= owner->second.size()) {
                    owner = byOwner.erase(owner);
                    continue;
                }
                const Entry& e = owner->second[round];
                if (fits(dumpCost(e.first->size(), e.second->first.size(), 0))) {
                    InstanceDebugInfo info;
                    info.interfaceName = *e.first;
                    info.instanceName = e.second->first;
                    info.pid = pidOf(e.second->second.service);
                    info.arch = arch;
                    infos.push_back(std::move(info));
                }
                ++owner;
            }
        }
        for (const auto& [fqName, name] : mPassthroughClients) {
            if (!fits(dumpCost(fqName.size(), name.size(), 1))) continue;
            InstanceDebugInfo info;
            info.interfaceName = fqName;
            info.instanceName = name;
            info.clientPids = std::vector<int32_t>{static_cast<int32_t>(getpid())};
            info.arch = arch;
            infos.push_back(std::move(info));
        }
        if (infos.size() < total) {
            const size_t left = total - infos.size();
            InstanceDebugInfo note;
            note.interfaceName = host::kDebugDumpTruncated;
            note.instanceName = std::to_string(left) + " more entries do not fit in one reply";
            note.pid = static_cast<int32_t>(std::min<size_t>(left, INT32_MAX));
            infos.push_back(std::move(note));
        }
    }
    _hidl_cb(hidl_vec<InstanceDebugInfo>(infos));
    return Void();
}

Return<void> InProcessServiceManager::registerPassthroughClient(const hidl_string& fqName,
                                                                const hidl_string& name) {
    std::lock_guard<std::mutex> lock(mLock);
    // Only ever added to: bounded like one process's names.
    if (fqName.size() > mLimits.maxNameLength || name.size() > mLimits.maxNameLength ||
        mPassthroughClients.size() >= mLimits.maxNames) {
        return Status::fromExceptionCode(
                Status::EX_ILLEGAL_STATE,
                "passthrough clients are recorded up to ZUV_HIDL_MAX_NAMES (--max-names) "
                "entries of names no longer than ZUV_HIDL_MAX_NAME_LENGTH");
    }
    mPassthroughClients.emplace(fqName, name);
    return Void();
}

sp<InProcessServiceManager::IBase> InProcessServiceManager::waitForService(
        const std::string& fqName, const std::string& name,
        std::chrono::steady_clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mLock);
    while (true) {
        auto iface = mInterfaces.find(fqName);
        if (iface != mInterfaces.end()) {
            auto it = iface->second.instances.find(name);
            if (it != iface->second.instances.end()) return it->second.service;
        }
        if (std::chrono::steady_clock::now() >= deadline) return nullptr;
        mRegistered.wait_until(lock, deadline);
    }
}

size_t InProcessServiceManager::countLocked() const {
    size_t n = 0;
    for (const auto& entry : mInterfaces) n += entry.second.instances.size();
    return n;
}

void InProcessServiceManager::enqueue(uint64_t listenerId, const std::string& fqName,
                                      const std::string& name, bool preexisting) {
    auto it = mListeners.find(listenerId);
    if (it == mListeners.end()) return;
    Listener& l = it->second;
    if (l.queueOwner != getpid()) {
        Owner& owner = mOwners[l.queueOwner];
        if (owner.queued >= mLimits.maxQueuedNotifications) {
            if (!owner.warnedQueue) {
                host::logf(host::LogLevel::Warning,
                           "hidl-registry: dropping a listener of pid %d: its listeners have "
                           "%zu notifications waiting, the most one process may have "
                           "(ZUV_HIDL_MAX_QUEUED_NOTIFICATIONS, --max-queued-notifications)\n",
                           static_cast<int>(l.queueOwner), owner.queued);
            }
            owner.warnedQueue = true;
            dropListenerLocked(listenerId);
            return;
        }
        ++owner.queued;
    }
    l.queue.push_back({fqName, name, preexisting});
    if (!l.scheduled) {
        l.scheduled = true;
        mReady.push_back(listenerId);
        schedule();
    }
}

void InProcessServiceManager::schedule() {
    mWork.notify_one();
    if (mIdleThreads > 0 || mThreads.size() >= kDeliveryThreads || mStopping) return;
    try {
        mThreads.emplace_back([this] { deliveryLoop(); });
    } catch (const std::system_error& e) {
        // The threads already running take the work; with none, the next
        // request tries again.
        if (!mWarnedThreads) {
            host::logf(host::LogLevel::Warning,
                       "hidl-registry: cannot start a delivery thread: %s\n", e.what());
        }
        mWarnedThreads = true;
    }
}

void InProcessServiceManager::deliveryLoop() {
    std::unique_lock<std::mutex> lock(mLock);
    while (!mStopping) {
        if (!mUnlink.empty()) {
            std::vector<std::pair<sp<IBase>, bool>> objects;
            objects.swap(mUnlink);
            sp<hidl_death_recipient> watch = mDeathWatch;
            lock.unlock();
            for (auto& [object, linked] : objects) {
                if (linked && watch != nullptr) (void)object->unlinkToDeath(watch).isOk();
            }
            objects.clear();  // proxies released outside the lock
            if (tDestroyed == this) return;
            lock.lock();
        } else if (!mDeadLinks.empty()) {
            std::vector<sp<IBase>> released;
            cleanUpSliceLocked(&released);
            lock.unlock();
            released.clear();
            if (tDestroyed == this) return;
            lock.lock();
        } else if (!mReady.empty()) {
            const uint64_t id = mReady.front();
            mReady.pop_front();
            auto it = mListeners.find(id);
            if (it == mListeners.end()) continue;
            Listener& l = it->second;
            std::vector<Notification> batch;
            while (!l.queue.empty() && batch.size() < kBatch) {
                batch.push_back(std::move(l.queue.front()));
                l.queue.pop_front();
            }
            if (l.queueOwner != getpid()) {
                auto owner = mOwners.find(l.queueOwner);
                if (owner != mOwners.end()) owner->second.queued -= batch.size();
            }
            sp<IServiceNotification> callback = l.callback;
            lock.unlock();
            std::string failure;
            for (const Notification& n : batch) {
                Return<void> ret = callback->onRegistration(n.fqName, n.name, n.preexisting);
                // Dead, hung past the call deadline or broken: never waited for again.
                if (!ret.isOk()) {
                    failure = "dropping a listener for " + n.fqName + "/" + n.name + ": " +
                              ret.description();
                    break;
                }
            }
            callback.clear();
            if (tDestroyed == this) return;
            lock.lock();
            it = mListeners.find(id);
            if (it == mListeners.end()) continue;
            if (!failure.empty()) {
                host::logf(host::LogLevel::Warning, "hidl-registry: %s\n", failure.c_str());
                dropListenerLocked(id);
            } else if (!it->second.queue.empty()) {
                mReady.push_back(id);  // behind the others: one listener does not hog a thread
            } else {
                it->second.scheduled = false;
            }
        } else {
            ++mIdleThreads;
            mWork.wait(lock);
            --mIdleThreads;
        }
    }
}

void InProcessServiceManager::dropListenerLocked(uint64_t listenerId) {
    auto it = mListeners.find(listenerId);
    if (it == mListeners.end()) return;
    Listener& l = it->second;
    for (const auto& [key, who] : l.subscriptions) {
        auto iface = mInterfaces.find(key.first);
        if (iface != mInterfaces.end()) {
            auto ids = iface->second.listeners.find(key.second);
            if (ids != iface->second.listeners.end()) {
                ids->second.erase(listenerId);
                if (ids->second.empty()) iface->second.listeners.erase(ids);
            }
            if (iface->second.instances.empty() && iface->second.listeners.empty()) {
                mInterfaces.erase(iface);
            }
        }
        auto owner = mOwners.find(who);
        if (owner != mOwners.end() && owner->second.listeners > 0) --owner->second.listeners;
    }
    auto owner = mOwners.find(l.queueOwner);
    if (owner != mOwners.end())
        owner->second.queued -= std::min(owner->second.queued, l.queue.size());
    // Unlinked and released by a delivery thread, outside the lock.
    mUnlink.push_back({l.callback, mLinks.erase(l.link) != 0});
    mListenerOf.erase(l.identity);
    mListeners.erase(it);
    schedule();
}

void InProcessServiceManager::detachLocked(const Instance& slot, const Key& key,
                                           uint64_t keptLink) {
    auto owner = mOwners.find(slot.owner);
    if (owner != mOwners.end() && owner->second.names > 0) --owner->second.names;
    // The same object again keeps its link and the entry in it.
    if (slot.link == 0 || slot.link == keptLink) return;
    auto l = mLinks.find(slot.link);
    if (l == mLinks.end()) return;
    l->second.entries.erase(key);
    if (l->second.entries.empty() && l->second.listener == 0) {
        mUnlink.push_back({l->second.object, true});
        mLinkOf.erase(l->second.identity);
        mLinks.erase(l);
        schedule();
    }
}

uint64_t InProcessServiceManager::watch(const sp<IBase>& object, bool* alive) {
    *alive = true;
    if (!object->isRemote()) return 0;
    uint64_t link;
    sp<hidl_death_recipient> watch;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (mDeathWatch == nullptr) mDeathWatch = new DeathWatch(this);
        watch = mDeathWatch;
        link = mNextLink++;
        mPendingLinks[link] = false;
    }
    // Linked before the object is entered anywhere: a death before this
    // point fails the link; one after it is recorded by onDeath, so that an
    // entry not yet made is refused.
    Return<bool> linked = object->linkToDeath(watch, link);
    *alive = linked.isOk() && static_cast<bool>(linked);
    if (!*alive) {
        std::lock_guard<std::mutex> lock(mLock);
        mPendingLinks.erase(link);
        return 0;
    }
    return link;
}

void InProcessServiceManager::onDeath(uint64_t cookie) {
    // Only noted here: this is a thread of the transport, and the cleanup
    // is as long as what the object held.
    std::lock_guard<std::mutex> lock(mLock);
    auto pending = mPendingLinks.find(cookie);
    if (pending != mPendingLinks.end()) {
        pending->second = true;
    } else if (mLinks.count(cookie) != 0) {
        mDeadLinks.push_back(cookie);
        schedule();
    }
}

void InProcessServiceManager::cleanUpSliceLocked(std::vector<sp<IBase>>* released) {
    const uint64_t cookie = mDeadLinks.front();
    auto l = mLinks.find(cookie);
    if (l == mLinks.end()) {
        mDeadLinks.pop_front();
        return;
    }
    Link& link = l->second;
    if (link.listener != 0) {
        ZUV_LOG_DEBUG("hidl-registry: dropping a listener whose process died");
        mDeadLinks.pop_front();
        dropListenerLocked(link.listener);
        return;
    }
    for (size_t n = 0; n < kCleanupSlice && !link.entries.empty(); ++n) {
        const Key key = *link.entries.begin();
        link.entries.erase(link.entries.begin());
        auto iface = mInterfaces.find(key.first);
        if (iface == mInterfaces.end()) continue;
        auto it = iface->second.instances.find(key.second);
        if (it == iface->second.instances.end() || it->second.link != cookie) continue;
        ZUV_LOG_DEBUG("hidl-registry: %s/%s died", key.first.c_str(), key.second.c_str());
        auto owner = mOwners.find(it->second.owner);
        if (owner != mOwners.end()) {
            Owner& o = owner->second;
            if (o.names > 0) --o.names;
            // Its process is most likely gone: so is what it was told.
            if (o.names == 0 && o.listeners == 0 && o.queued == 0) mOwners.erase(owner);
        }
        released->push_back(std::move(it->second.service));
        iface->second.instances.erase(it);
        if (iface->second.instances.empty() && iface->second.listeners.empty()) {
            mInterfaces.erase(iface);
        }
    }
    if (link.entries.empty()) {
        released->push_back(std::move(link.object));
        mLinkOf.erase(link.identity);
        mLinks.erase(l);
        mDeadLinks.pop_front();
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
