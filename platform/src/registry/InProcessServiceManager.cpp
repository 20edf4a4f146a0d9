#include "registry/InProcessServiceManager.h"

#include <hidl/HidlBinderSupport.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

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

bool ownerAlive(pid_t owner, unsigned long long start) {
    return owner == getpid() || (start != 0 && processStartTime(owner) == start);
}

}  // namespace

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

Return<sp<InProcessServiceManager::IBase>> InProcessServiceManager::get(const hidl_string& fqName,
                                                                        const hidl_string& name) {
    std::lock_guard<std::mutex> lock(mLock);
    auto iface = mInterfaces.find(fqName);
    if (iface == mInterfaces.end()) return sp<IBase>();
    auto it = iface->second.instances.find(name);
    return it == iface->second.instances.end() ? sp<IBase>() : it->second.service;
}

Return<bool> InProcessServiceManager::add(const hidl_string& name, const sp<IBase>& service) {
    // Taken before any outgoing call: this is who asks.
    const pid_t caller = IPCThreadState::self()->getCallingPid();
    const uid_t callerUid = IPCThreadState::self()->getCallingUid();

    // An empty name would be indistinguishable from the "every instance"
    // notification request.
    if (service == nullptr || name.size() == 0) return false;

    // Asked outside the lock: for a proxy this is a call to another process.
    std::vector<std::string> chain;
    Return<void> ret = service->interfaceChain([&](const hidl_vec<hidl_string>& descriptors) {
        for (size_t i = 0; i < descriptors.size(); ++i) chain.emplace_back(descriptors[i]);
    });
    if (!ret.isOk() || chain.empty()) {
        ZUV_REGISTRY_DEBUG("add %s: interfaceChain failed", name.c_str());
        return false;
    }

    // IBase is every service's; it is judged only for a service that is nothing more.
    auto exempt = [&](const std::string& fqName) {
        return fqName == IBase::descriptor && chain.size() > 1;
    };

    // The registry's own process (the daemon listing its manager) is trusted.
    if (mPolicy && caller != getpid()) {
        for (const std::string& fqName : chain) {
            if (exempt(fqName)) continue;
            const std::string why = mPolicy(caller, callerUid, fqName, name);
            if (why.empty()) continue;
            std::fprintf(stderr, "hidl-registry: refused %s/%s to pid %d uid %u: %s\n",
                         fqName.c_str(), name.c_str(), static_cast<int>(caller),
                         static_cast<unsigned>(callerUid), why.c_str());
            return Status::fromExceptionCode(Status::EX_SECURITY, why.c_str());
        }
    }

    bool alive = true;
    const uint64_t link = watch(service, &alive);
    if (!alive) {
        ZUV_REGISTRY_DEBUG("add %s: the service is dead", name.c_str());
        return false;
    }
    const unsigned long long callerStart = caller == getpid() ? 0 : processStartTime(caller);

    std::vector<Notification> notify;
    std::vector<Instance> replaced;  // released after the lock
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (link != 0 && mDeadLinks.count(link) != 0) return false;
        // Checked for the whole chain before anything changes.
        for (const std::string& fqName : chain) {
            if (exempt(fqName)) continue;
            auto iface = mInterfaces.find(fqName);
            if (iface == mInterfaces.end()) continue;
            auto held = iface->second.instances.find(name);
            if (held == iface->second.instances.end()) continue;
            const Instance& owner = held->second;
            if (owner.owner == caller || !ownerAlive(owner.owner, owner.ownerStart)) continue;
            const std::string why = fqName + "/" + std::string(name) + " is registered by pid " +
                                    std::to_string(owner.owner) +
                                    "; only that process may replace it";
            std::fprintf(stderr, "hidl-registry: refused %s/%s to pid %d: registered by pid %d\n",
                         fqName.c_str(), name.c_str(), static_cast<int>(caller),
                         static_cast<int>(owner.owner));
            return Status::fromExceptionCode(Status::EX_SECURITY, why.c_str());
        }
        for (const std::string& fqName : chain) {
            Interface& iface = mInterfaces[fqName];
            Instance& slot = iface.instances[name];
            if (slot.service != nullptr && slot.owner != caller &&
                ownerAlive(slot.owner, slot.ownerStart)) {
                continue;  // IBase: left with its live owner
            }
            replaced.push_back(std::move(slot));
            slot = Instance{service, link, caller, callerStart};
            auto listeners = iface.instanceListeners.find(name);
            if (listeners != iface.instanceListeners.end()) {
                for (const auto& l : listeners->second) notify.push_back({l, fqName, name});
            }
            for (const auto& l : iface.allInstanceListeners) notify.push_back({l, fqName, name});
        }
        mRegistered.notify_all();
    }
    ZUV_REGISTRY_DEBUG("registered %s/%s (%zu interfaces) for pid %d", chain.front().c_str(),
                       name.c_str(), chain.size(), static_cast<int>(caller));
    deliver(notify, false);
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

Return<void> InProcessServiceManager::list(list_cb _hidl_cb) {
    std::vector<hidl_string> names;
    {
        std::lock_guard<std::mutex> lock(mLock);
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
            for (const auto& entry : iface->second.instances) names.emplace_back(entry.first);
        }
    }
    _hidl_cb(hidl_vec<hidl_string>(names));
    return Void();
}

Return<bool> InProcessServiceManager::registerForNotifications(
        const hidl_string& fqName, const hidl_string& name,
        const sp<IServiceNotification>& callback) {
    if (callback == nullptr || fqName.size() == 0) return false;

    bool alive = true;
    const uint64_t link = watch(callback, &alive);
    if (!alive) return false;

    std::vector<Notification> present;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (link != 0) {
            if (mDeadLinks.count(link) != 0) return false;
            mListenerLinks[link] = callback;
        }
        Interface& iface = mInterfaces[fqName];
        if (name.size() == 0) {
            iface.allInstanceListeners.push_back(callback);
            for (const auto& entry : iface.instances) {
                present.push_back({callback, fqName, entry.first});
            }
        } else {
            iface.instanceListeners[name].push_back(callback);
            if (iface.instances.count(name) != 0) present.push_back({callback, fqName, name});
        }
    }
    deliver(present, true);
    return true;
}

Return<void> InProcessServiceManager::debugDump(debugDump_cb _hidl_cb) {
    std::vector<InstanceDebugInfo> infos;
    {
        std::lock_guard<std::mutex> lock(mLock);
        const auto arch = sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT
                                             : DebugInfo::Architecture::IS_32BIT;
        for (const auto& [fqName, iface] : mInterfaces) {
            for (const auto& entry : iface.instances) {
                InstanceDebugInfo info;
                info.interfaceName = fqName;
                info.instanceName = entry.first;
                info.pid = pidOf(entry.second.service);
                info.arch = arch;
                infos.push_back(std::move(info));
            }
        }
        for (const auto& [fqName, name] : mPassthroughClients) {
            InstanceDebugInfo info;
            info.interfaceName = fqName;
            info.instanceName = name;
            info.clientPids = std::vector<int32_t>{static_cast<int32_t>(getpid())};
            info.arch = arch;
            infos.push_back(std::move(info));
        }
    }
    _hidl_cb(hidl_vec<InstanceDebugInfo>(infos));
    return Void();
}

Return<void> InProcessServiceManager::registerPassthroughClient(const hidl_string& fqName,
                                                                const hidl_string& name) {
    std::lock_guard<std::mutex> lock(mLock);
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

// Listeners are called without the lock, so they may use the registry.
void InProcessServiceManager::deliver(const std::vector<Notification>& notifications,
                                      bool preexisting) {
    for (const Notification& n : notifications) {
        Return<void> ret = n.listener->onRegistration(n.fqName, n.name, preexisting);
        // Dead, hung past the call deadline or broken: never waited for again.
        if (!ret.isOk()) {
            std::fprintf(stderr, "hidl-registry: dropping a listener for %s/%s: %s\n",
                         n.fqName.c_str(), n.name.c_str(), ret.description().c_str());
            dropListener(n.listener);
        }
    }
}

void InProcessServiceManager::dropListener(const sp<IServiceNotification>& dead) {
    // The caller's reference keeps the listener alive past the lock.
    std::lock_guard<std::mutex> lock(mLock);
    auto strip = [&](std::vector<sp<IServiceNotification>>& listeners) {
        auto end = std::remove(listeners.begin(), listeners.end(), dead);
        listeners.erase(end, listeners.end());
    };
    for (auto& [fqName, iface] : mInterfaces) {
        strip(iface.allInstanceListeners);
        for (auto& entry : iface.instanceListeners) strip(entry.second);
    }
    for (auto it = mListenerLinks.begin(); it != mListenerLinks.end();) {
        it = it->second == dead ? mListenerLinks.erase(it) : std::next(it);
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
    }
    // Linked before the object is entered anywhere: a death before this
    // point fails the link; one after it is recorded by onDeath, so that an
    // entry not yet made is refused.
    Return<bool> linked = object->linkToDeath(watch, link);
    *alive = linked.isOk() && static_cast<bool>(linked);
    return *alive ? link : 0;
}

void InProcessServiceManager::onDeath(uint64_t cookie) {
    sp<IServiceNotification> listener;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mDeadLinks.insert(cookie);
        auto it = mListenerLinks.find(cookie);
        if (it != mListenerLinks.end()) listener = it->second;
    }
    if (listener != nullptr) {
        ZUV_REGISTRY_DEBUG("dropping a listener whose process died");
        dropListener(listener);
        return;
    }
    removeInstances(cookie);
}

void InProcessServiceManager::removeInstances(uint64_t link) {
    std::vector<sp<IBase>> removed;  // released after the lock
    std::lock_guard<std::mutex> lock(mLock);
    for (auto& [fqName, iface] : mInterfaces) {
        for (auto it = iface.instances.begin(); it != iface.instances.end();) {
            if (it->second.link != link) {
                ++it;
                continue;
            }
            ZUV_REGISTRY_DEBUG("%s/%s died", fqName.c_str(), it->first.c_str());
            removed.push_back(std::move(it->second.service));
            it = iface.instances.erase(it);
        }
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
