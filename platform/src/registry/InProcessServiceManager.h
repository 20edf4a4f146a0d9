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
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace details {

// Listeners are called on the registering thread after the registry's lock
// is released, so they may use the registry; two registrations racing each
// other may therefore reach a listener in either order.
//
// Services and listeners in other processes (proxies) are watched: when
// their process dies, the services disappear from the registry and the
// listeners are dropped. This is what the service-manager daemon relies on.
//
// A registration belongs to the process that added it (the calling process
// while serving a transaction): until that process dies, only it may replace
// the entry. IBase, which every service has, is not refused over: its entry
// just stays with the live owner.
class InProcessServiceManager : public ::android::hidl::manager::V1_0::IServiceManager {
  public:
    using IBase = ::android::hidl::base::V1_0::IBase;
    using IServiceNotification = ::android::hidl::manager::V1_0::IServiceNotification;

    explicit InProcessServiceManager(host::AddPolicy policy = nullptr)
        : mPolicy(std::move(policy)) {}

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
    struct Instance {
        sp<IBase> service;
        uint64_t link = 0;  // death-notice cookie of a remote service, 0 for a local one
        pid_t owner = 0;    // the registering process
        unsigned long long ownerStart = 0;  // its start time, against pid reuse
    };
    struct Interface {
        std::map<std::string, Instance> instances;
        std::map<std::string, std::vector<sp<IServiceNotification>>> instanceListeners;
        std::vector<sp<IServiceNotification>> allInstanceListeners;
    };
    struct Notification {
        sp<IServiceNotification> listener;
        std::string fqName;
        std::string name;
    };

    class DeathWatch;

    void deliver(const std::vector<Notification>& notifications, bool preexisting);
    void dropListener(const sp<IServiceNotification>& dead);
    // Links a remote object's death to onDeath(cookie); 0 for a local object,
    // and for a remote one that is already dead (*alive false).
    uint64_t watch(const sp<IBase>& object, bool* alive);
    void onDeath(uint64_t cookie);
    void removeInstances(uint64_t link);

    const host::AddPolicy mPolicy;
    std::mutex mLock;
    std::condition_variable mRegistered;  // signalled by every add()
    std::map<std::string, Interface> mInterfaces;
    std::set<std::pair<std::string, std::string>> mPassthroughClients;  // fqName, name
    sp<hidl_death_recipient> mDeathWatch;  // made at the first remote object
    uint64_t mNextLink = 1;
    std::map<uint64_t, sp<IServiceNotification>> mListenerLinks;
    std::set<uint64_t> mDeadLinks;  // links whose object died, possibly before being entered
};

}  // namespace details
}  // namespace hardware
}  // namespace android
