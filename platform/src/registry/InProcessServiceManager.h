// The registry that lives inside this process: what defaultServiceManager()
// answers until a service-manager daemon is reachable. Callers only see
// IServiceManager, so another implementation (a client of the daemon) can
// take its place behind defaultServiceManager() without changing them.
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>

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
class InProcessServiceManager : public ::android::hidl::manager::V1_0::IServiceManager {
  public:
    using IBase = ::android::hidl::base::V1_0::IBase;
    using IServiceNotification = ::android::hidl::manager::V1_0::IServiceNotification;

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
    struct Interface {
        std::map<std::string, sp<IBase>> instances;
        std::map<std::string, std::vector<sp<IServiceNotification>>> instanceListeners;
        std::vector<sp<IServiceNotification>> allInstanceListeners;
    };
    struct Notification {
        sp<IServiceNotification> listener;
        std::string fqName;
        std::string name;
    };

    void deliver(const std::vector<Notification>& notifications, bool preexisting);
    void dropListener(const Notification& dead);

    std::mutex mLock;
    std::condition_variable mRegistered;  // signalled by every add()
    std::map<std::string, Interface> mInterfaces;
    std::set<std::pair<std::string, std::string>> mPassthroughClients;  // fqName, name
};

}  // namespace details
}  // namespace hardware
}  // namespace android
