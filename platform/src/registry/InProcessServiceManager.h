// The registry that lives inside this process: what defaultServiceManager()
// answers until a service-manager daemon is reachable. Callers only see
// IServiceManager, so another implementation (a client of the daemon) can
// take its place behind defaultServiceManager() without changing them.
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace details {

// Listeners are called from the registry's own delivery threads (started on
// demand, at most kDeliveryThreads), never on the thread serving add or
// registerForNotifications: each listener gets its notifications in order
// from a queue of its own, and a listener that fails, misses the call
// deadline or lets its process's queued notifications grow past the limit is
// dropped. One slow listener holds one delivery thread, not the others.
//
// Services and listeners in other processes (proxies) are watched, one death
// link per object: when their process dies, the services disappear from the
// registry and the listeners are dropped, on a delivery thread in slices
// that release the lock, in time linear in what the object held.
//
// A registration belongs to the process that added it (the calling process
// while serving a transaction): until that process dies, only it may replace
// the entry. IBase, which every service has, is not refused over: its entry
// just stays with the live owner. What each process may hold is bounded by
// host::RegistryLimits; the registry's own process is not counted.
class InProcessServiceManager : public ::android::hidl::manager::V1_0::IServiceManager {
  public:
    using IBase = ::android::hidl::base::V1_0::IBase;
    using IServiceNotification = ::android::hidl::manager::V1_0::IServiceNotification;

    static constexpr size_t kDeliveryThreads = 4;

    explicit InProcessServiceManager(host::AddPolicy policy = nullptr,
                                     host::RegistryLimits limits = {})
        : mPolicy(std::move(policy)), mLimits(limits) {}
    ~InProcessServiceManager() override;

    Return<sp<IBase>> get(const hidl_string& fqName, const hidl_string& name) override;
    Return<bool> add(const hidl_string& name, const sp<IBase>& service) override;
    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string& name) override;
    Return<void> list(list_cb _hidl_cb) override;
    Return<void> listByInterface(const hidl_string& fqName, listByInterface_cb _hidl_cb) override;
    Return<bool> registerForNotifications(const hidl_string& fqName, const hidl_string& name,
                                          const sp<IServiceNotification>& callback) override;
    Return<void> debugDump(debugDump_cb _hidl_cb) override;
    Return<void> registerPassthroughClient(const hidl_string& fqName,
                                           const hidl_string& name) override;

    // Blocks until fqName/name is registered or the deadline passes. Used by
    // retrying lookups instead of a notification, which this interface
    // version could never unregister again.
    sp<IBase> waitForService(const std::string& fqName, const std::string& name,
                             std::chrono::steady_clock::time_point deadline);

  private:
    using Key = std::pair<std::string, std::string>;  // fqName, name ("" for every instance)

    struct Instance {
        sp<IBase> service;
        uint64_t link = 0;                  // death link of a remote service, 0 for a local one
        pid_t owner = 0;                    // the registering process
        unsigned long long ownerStart = 0;  // its start time, against pid reuse
    };
    struct Interface {
        std::map<std::string, Instance> instances;
        std::map<std::string, std::set<uint64_t>> listeners;  // by name, "" for all
    };
    struct Notification {
        std::string fqName;
        std::string name;
        bool preexisting;
    };
    struct Listener {
        sp<IServiceNotification> callback;
        const void* identity = nullptr;  // its binder, or the local object
        uint64_t link = 0;
        std::map<Key, pid_t> subscriptions;  // and who registered each
        std::deque<Notification> queue;
        pid_t queueOwner = 0;    // charged for the queue: the first registering process
        bool scheduled = false;  // in mReady or in the hands of a delivery thread
    };
    // What one death link watches: the entries of one remote service, or one
    // remote listener.
    struct Link {
        sp<IBase> object;  // the proxy the link was made on
        const void* identity = nullptr;
        std::set<Key> entries;
        uint64_t listener = 0;
    };
    struct Owner {
        size_t names = 0;
        size_t listeners = 0;
        size_t queued = 0;
        bool warnedNames = false, warnedListeners = false, warnedQueue = false,
             warnedLength = false;
    };

    class DeathWatch;

    static constexpr size_t kBatch = 8;           // notifications sent per turn of a listener
    static constexpr size_t kCleanupSlice = 128;  // entries removed per hold of the lock

    // Under mLock: queues a notification and has a delivery thread take it;
    // drops the listener instead when its process's queue is full.
    void enqueue(uint64_t listenerId, const std::string& fqName, const std::string& name,
                 bool preexisting);
    // Under mLock: wakes a delivery thread, starting one when none is idle.
    void schedule();
    void deliveryLoop();
    // Under mLock.
    void dropListenerLocked(uint64_t listenerId);
    // Gives up slot's entry key: its owner's count, and its place in a
    // death link other than keptLink.
    void detachLocked(const Instance& slot, const Key& key, uint64_t keptLink);
    void cleanUpSliceLocked(std::vector<sp<IBase>>* released);
    size_t countLocked() const;
    // Links a remote object's death to onDeath(link); 0 for a local object,
    // and for a remote one that is already dead (*alive false).
    uint64_t watch(const sp<IBase>& object, bool* alive);
    void onDeath(uint64_t link);
    Status refuse(pid_t caller, bool Owner::*warned, int32_t exception, const std::string& why);
    static Status tooLarge(size_t entries, size_t bytes);

    const host::AddPolicy mPolicy;
    const host::RegistryLimits mLimits;
    std::mutex mLock;
    std::condition_variable mRegistered;  // signalled by every add()
    std::map<std::string, Interface> mInterfaces;
    std::set<std::pair<std::string, std::string>> mPassthroughClients;  // fqName, name
    sp<hidl_death_recipient> mDeathWatch;  // made at the first remote object
    uint64_t mNextLink = 1;
    std::map<uint64_t, bool> mPendingLinks;  // made but not yet entered; true once dead
    std::map<uint64_t, Link> mLinks;
    std::map<const void*, uint64_t> mLinkOf;      // a remote object's identity
    std::map<uint64_t, Listener> mListeners;      // by id
    std::map<const void*, uint64_t> mListenerOf;  // a listener's identity
    uint64_t mNextListener = 1;
    std::map<pid_t, Owner> mOwners;

    // Delivery threads and their work, under mLock.
    std::condition_variable mWork;
    std::deque<uint64_t> mReady;      // listeners with notifications and no thread on them
    std::deque<uint64_t> mDeadLinks;  // links to clean up
    std::vector<std::pair<sp<IBase>, bool>> mUnlink;  // to release, and unlink when true
    std::vector<std::thread> mThreads;
    size_t mIdleThreads = 0;
    bool mStopping = false;
    bool mWarnedThreads = false;
};

}  // namespace details
}  // namespace hardware
}  // namespace android
