#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/Log.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/Settings.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/frame/CallObserver.h>
#include <hwbinder/BpHwBinder.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "registry/HostSettings.h"
#include "registry/InProcessServiceManager.h"
#include "registry/PassthroughLoader.h"

namespace android {
namespace hardware {

using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::BpHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
using ::android::hidl::manager::V1_0::IServiceNotification;

namespace details {

bool envFlag(const char* name, bool def) {
    return host::settingFlag(name, def);
}

}  // namespace details

namespace {

std::mutex gConfigMutex;
std::optional<std::chrono::milliseconds> gTimeoutOverride;
sp<IServiceManager> gServiceManagerOverride;

// Never destroyed: services registered in it may be used by other static
// destructors at exit.
details::InProcessServiceManager* builtinServiceManager() {
    static details::InProcessServiceManager* sm = [] {
        auto* m = new details::InProcessServiceManager();
        m->incStrong(m);
        return m;
    }();
    return sm;
}

// The daemon's manager as this process sees it. Once a daemon has been
// reached, the process stays with it: while it is gone, lookups fail rather
// than silently falling back to a registry nobody else can see.
std::mutex gDaemonMutex;
sp<IBinder> gDaemonBinder;
sp<IServiceManager> gDaemonManager;

bool binderAlive(const sp<IBinder>& binder) {
    BpHwBinder* remote = binder != nullptr ? binder->remoteBinder() : nullptr;
    return remote == nullptr ? binder != nullptr : remote->isBinderAlive();
}

void requestRecovery();

// What this process gave the daemon, so that a daemon started after the
// previous one died learns it again without the application's help. Each
// entry remembers the daemon it last reached, so nothing is given twice.
struct Recovery {
    struct Service {
        std::string name;
        std::string descriptor;
        sp<IBase> service;
        sp<IBinder> givenTo;
    };
    struct Listener {
        std::string fqName;
        std::string name;
        sp<IServiceNotification> listener;
        sp<IBinder> givenTo;
    };
    std::mutex lock;
    std::condition_variable wake;
    bool requested = false;
    bool threadStarted = false;
    std::vector<Service> services;
    std::vector<Listener> listeners;
};

// Never destroyed: the recovery thread may still wait on it at exit.
Recovery& recovery() {
    static Recovery* r = new Recovery();
    return *r;
}

class DaemonDeathWatch : public IBinder::DeathRecipient {
  public:
    void binderDied(const wp<IBinder>& /*who*/) override { requestRecovery(); }
};

// The daemon's proxy, recording what is given to it.
class DaemonServiceManager : public BpHwServiceManager {
  public:
    explicit DaemonServiceManager(const sp<IBinder>& binder)
        : BpHwServiceManager(binder), mBinder(binder) {}

    Return<bool> add(const hidl_string& name, const sp<IBase>& service) override {
        Return<bool> ret = BpHwServiceManager::add(name, service);
        if (!ret.isOkUnchecked() || !ret.withDefault(false)) return ret;
        std::string iface;
        if (!service->interfaceDescriptor([&](const hidl_string& d) { iface = d; }).isOk()) {
            return ret;
        }
        Recovery& r = recovery();
        std::lock_guard<std::mutex> lock(r.lock);
        // A later registration of the same interface and name supersedes the earlier one.
        r.services.erase(std::remove_if(r.services.begin(), r.services.end(),
                                        [&](const Recovery::Service& s) {
                                            return s.name == name && s.descriptor == iface;
                                        }),
                         r.services.end());
        r.services.push_back({name, iface, service, mBinder});
        return ret;
    }

    Return<bool> registerForNotifications(const hidl_string& fqName, const hidl_string& name,
                                          const sp<IServiceNotification>& callback) override {
        Return<bool> ret = BpHwServiceManager::registerForNotifications(fqName, name, callback);
        if (ret.isOkUnchecked() && ret.withDefault(false)) {
            Recovery& r = recovery();
            std::lock_guard<std::mutex> lock(r.lock);
            // The daemon counts the same listener for the same name once; so does the record.
            auto same = std::find_if(
                    r.listeners.begin(), r.listeners.end(), [&](const Recovery::Listener& l) {
                        return l.listener == callback && l.fqName == fqName && l.name == name;
                    });
            if (same == r.listeners.end()) {
                r.listeners.push_back({fqName, name, callback, mBinder});
            } else {
                same->givenTo = mBinder;
            }
        }
        return ret;
    }

  private:
    const sp<IBinder> mBinder;
};

// The proxy of the daemon's manager; the dead one of a daemon that went away
// (its calls fail with DEAD_OBJECT) until another daemon serves; null when
// no daemon was ever reached.
sp<IServiceManager> daemonServiceManager(sp<IBinder>* binderOut = nullptr) {
    bool replaced = false;
    sp<IServiceManager> manager;
    {
        std::lock_guard<std::mutex> lock(gDaemonMutex);
        if (gDaemonManager == nullptr || !binderAlive(gDaemonBinder)) {
            sp<IBinder> binder = host::getContextObject();
            if (binder != nullptr && binderAlive(binder) && binder != gDaemonBinder) {
                ZUV_LOG_DEBUG("hidl-registry: using the service-manager daemon in %s",
                              host::runtimeDirectory().c_str());
                replaced = gDaemonBinder != nullptr;
                gDaemonBinder = binder;
                gDaemonManager = new DaemonServiceManager(binder);
                // Never destroyed: an obituary may arrive while the process exits.
                static auto* watch = new sp<DaemonDeathWatch>(new DaemonDeathWatch());
                // A daemon already dead fails the link; the next use finds that out.
                (void)binder->linkToDeath(*watch);
            }
        }
        manager = gDaemonManager;
        if (binderOut != nullptr) *binderOut = gDaemonBinder;
    }
    // Found on use rather than told of the death: the new daemon still needs
    // what this process gave the old one.
    if (replaced) requestRecovery();
    return manager;
}

// Gives the daemon now serving whatever it has not had from this process.
// False when it died meanwhile.
bool replay(const sp<IServiceManager>& sm, const sp<IBinder>& daemon) {
    Recovery& r = recovery();
    std::vector<Recovery::Service> services;
    std::vector<Recovery::Listener> listeners;
    {
        std::lock_guard<std::mutex> lock(r.lock);
        for (const auto& s : r.services) {
            if (s.givenTo != daemon) services.push_back(s);
        }
        for (const auto& l : r.listeners) {
            if (l.givenTo != daemon) listeners.push_back(l);
        }
    }
    auto* proxy = static_cast<BpHwServiceManager*>(sm.get());
    std::vector<sp<IBase>> refused;
    for (const auto& s : services) {
        // The proxy's own add: the record is already there.
        Return<bool> ret = proxy->BpHwServiceManager::add(s.name, s.service);
        if (ret.isDeadObject()) return false;
        if (!ret.isOk() || !static_cast<bool>(ret)) {
            host::logf(host::LogLevel::Warning, "hidl-registry: %s/%s not registered again: %s\n",
                       s.descriptor.c_str(), s.name.c_str(),
                       ret.isOk() ? "refused" : ret.description().c_str());
            refused.push_back(s.service);
        }
    }
    std::vector<sp<IServiceNotification>> dropped;
    for (const auto& l : listeners) {
        Return<bool> ret =
                proxy->BpHwServiceManager::registerForNotifications(l.fqName, l.name, l.listener);
        if (ret.isDeadObject()) return false;
        if (!ret.isOk() || !static_cast<bool>(ret)) {
            host::logf(host::LogLevel::Warning,
                       "hidl-registry: listener for %s/%s not registered again: %s\n",
                       l.fqName.c_str(), l.name.c_str(),
                       ret.isOk() ? "refused" : ret.description().c_str());
            dropped.push_back(l.listener);
        }
    }
    std::lock_guard<std::mutex> lock(r.lock);
    for (auto& s : r.services) s.givenTo = daemon;
    for (auto& l : r.listeners) l.givenTo = daemon;
    // What the new daemon refused is no longer this process's to give.
    r.services.erase(std::remove_if(r.services.begin(), r.services.end(),
                                    [&](const Recovery::Service& s) {
                                        return std::find(refused.begin(), refused.end(),
                                                         s.service) != refused.end();
                                    }),
                     r.services.end());
    r.listeners.erase(std::remove_if(r.listeners.begin(), r.listeners.end(),
                                     [&](const Recovery::Listener& l) {
                                         return std::find(dropped.begin(), dropped.end(),
                                                          l.listener) != dropped.end();
                                     }),
                      r.listeners.end());
    ZUV_LOG_DEBUG("hidl-registry: gave a new daemon %zu services and %zu listeners",
                  services.size(), listeners.size());
    return true;
}

// Runs until exit: after each request, polls for a live daemon and replays.
void recoveryLoop() {
    Recovery& r = recovery();
    constexpr auto kPollInterval = std::chrono::milliseconds(50);
    while (true) {
        {
            std::unique_lock<std::mutex> lock(r.lock);
            r.wake.wait(lock, [&] { return r.requested; });
            r.requested = false;
        }
        while (true) {
            sp<IBinder> daemon;
            sp<IServiceManager> sm = daemonServiceManager(&daemon);
            if (sm != nullptr && binderAlive(daemon) && replay(sm, daemon)) break;
            std::this_thread::sleep_for(kPollInterval);
        }
    }
}

void requestRecovery() {
    Recovery& r = recovery();
    std::lock_guard<std::mutex> lock(r.lock);
    r.requested = true;
    if (!r.threadStarted) {
        r.threadStarted = true;
        // Process-lived: a daemon may die at any time for as long as the process
        // has something registered; the registry it keeps is never destroyed.
        std::thread(recoveryLoop).detach();
    }
    r.wake.notify_one();
}

enum class ServiceManagerMode { kAuto, kInProcess, kDaemon };

ServiceManagerMode serviceManagerMode() {
    const std::string mode = host::settingChoice(host::kServiceManagerEnvVar,
                                                 {"auto", "inprocess", "daemon"}, "auto");
    if (mode == "inprocess") return ServiceManagerMode::kInProcess;
    if (mode == "daemon") return ServiceManagerMode::kDaemon;
    return ServiceManagerMode::kAuto;
}

// A registry view over the passthrough loader.
class PassthroughServiceManager : public IServiceManager {
  public:
    Return<sp<IBase>> get(const hidl_string& fqName, const hidl_string& name) override {
        return details::fetchPassthroughService(fqName, name);
    }
    Return<bool> add(const hidl_string&, const sp<IBase>&) override { return false; }
    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string&) override {
        return details::hasPassthroughLibrary(fqName) ? Transport::PASSTHROUGH : Transport::EMPTY;
    }
    Return<void> list(list_cb _hidl_cb) override {
        _hidl_cb({});
        return Void();
    }
    Return<void> listByInterface(const hidl_string&, listByInterface_cb _hidl_cb) override {
        _hidl_cb({});
        return Void();
    }
    Return<bool> registerForNotifications(const hidl_string&, const hidl_string&,
                                          const sp<IServiceNotification>&) override {
        return false;
    }
    Return<void> debugDump(debugDump_cb _hidl_cb) override {
        _hidl_cb({});
        return Void();
    }
    Return<void> registerPassthroughClient(const hidl_string&, const hidl_string&) override {
        return Void();
    }
};

// What a path that should be a directory is instead, for a message.
const char* fileKind(mode_t mode) {
    if (S_ISREG(mode)) return "regular file";
    if (S_ISLNK(mode)) return "symbolic link";  // refused even when it leads to one
    if (S_ISSOCK(mode)) return "socket";
    if (S_ISFIFO(mode)) return "named pipe";
    return "device";
}

}  // namespace

namespace host {

std::string whyNoServiceManager(const std::string& dir) {
    std::string cause;
    struct stat st;
    const std::string parent = dir.substr(0, dir.find_last_of('/'));
    const std::string ownDir =
            std::string("set ") + host::kRuntimeDirEnvVar + " to a directory of your own";
    if (lstat(dir.c_str(), &st) != 0) {
        if (!parent.empty() && stat(parent.c_str(), &st) != 0) {
            return "its parent directory " + parent + " does not exist; create it or " + ownDir;
        }
        cause = "the directory does not exist yet";
    } else if (!S_ISDIR(st.st_mode)) {
        return dir + " is not a directory but a " + fileKind(st.st_mode) +
               ", which no service manager will use; remove it or " + ownDir;
    } else if (st.st_uid != getuid()) {
        return "it is unsafe: it belongs to uid " + std::to_string(st.st_uid) +
               ", not to you (uid " + std::to_string(getuid()) +
               "), and no service manager of yours will use it; " + ownDir;
    } else if ((st.st_mode & 077) != 0) {
        char mode[8];
        snprintf(mode, sizeof(mode), "%04o", static_cast<unsigned>(st.st_mode & 07777));
        return std::string("it is unsafe: its mode is ") + mode +
               ", open to other users, and no service manager will use it until it is 0700; "
               "run chmod 700 " +
               dir + " (or " + ownDir + ")";
    } else {
        cause = "none runs there";
    }
    return cause + "; start one with: zuv_hwservicemanager --runtime-dir " + dir + " &";
}

void setGetServiceTimeout(std::chrono::milliseconds timeout) {
    std::lock_guard<std::mutex> lock(gConfigMutex);
    gTimeoutOverride = std::max(timeout, std::chrono::milliseconds(0));
}

void resetGetServiceTimeout() {
    std::lock_guard<std::mutex> lock(gConfigMutex);
    gTimeoutOverride.reset();
}

std::chrono::milliseconds getGetServiceTimeout() {
    {
        std::lock_guard<std::mutex> lock(gConfigMutex);
        if (gTimeoutOverride) return *gTimeoutOverride;
    }
    return std::chrono::milliseconds(settingInteger(
            kGetServiceTimeoutEnvVar, kDefaultGetServiceTimeout.count(), 0, kMaxTimeoutMs));
}

RegistryLimits registryLimitsFromEnvironment() {
    RegistryLimits limits;
    auto read = [](const char* name, size_t def) {
        return static_cast<size_t>(settingInteger(name, static_cast<int64_t>(def), 1, 1 << 24));
    };
    limits.maxNames = read(kMaxNamesEnvVar, limits.maxNames);
    limits.maxListeners = read(kMaxListenersEnvVar, limits.maxListeners);
    limits.maxNameLength = read(kMaxNameLengthEnvVar, limits.maxNameLength);
    limits.maxQueuedNotifications =
            read(kMaxQueuedNotificationsEnvVar, limits.maxQueuedNotifications);
    return limits;
}

sp<IServiceManager> makeInProcessServiceManager(AddPolicy policy) {
    return makeInProcessServiceManager(std::move(policy), registryLimitsFromEnvironment());
}

sp<IServiceManager> makeInProcessServiceManager(AddPolicy policy, const RegistryLimits& limits) {
    return new details::InProcessServiceManager(std::move(policy), limits);
}

void setDefaultServiceManager(const sp<IServiceManager>& sm) {
    std::lock_guard<std::mutex> lock(gConfigMutex);
    gServiceManagerOverride = sm;
}

}  // namespace host

sp<IServiceManager> defaultServiceManager() {
    {
        std::lock_guard<std::mutex> lock(gConfigMutex);
        if (gServiceManagerOverride != nullptr) return gServiceManagerOverride;
    }
    const ServiceManagerMode mode = serviceManagerMode();
    if (mode != ServiceManagerMode::kInProcess) {
        sp<IServiceManager> daemon = daemonServiceManager();
        if (daemon != nullptr || mode == ServiceManagerMode::kDaemon) return daemon;
    }
    return builtinServiceManager();
}

sp<IServiceManager> defaultServiceManager1_0() {
    return defaultServiceManager();
}

sp<IServiceManager> getPassthroughServiceManager() {
    static PassthroughServiceManager* sm = [] {
        auto* m = new PassthroughServiceManager();
        m->incStrong(m);
        return m;
    }();
    return sm;
}

namespace {

// A null getService is otherwise silent: say once per name what was waited
// for, where, how long and what to do.
void sayGaveUp(const sp<IServiceManager>& sm, const std::string& descriptor,
               const std::string& instance, std::chrono::milliseconds timeout) {
    static std::mutex lock;
    static std::set<std::string> told;
    {
        std::lock_guard<std::mutex> guard(lock);
        if (!told.insert(descriptor + "/" + instance).second) return;
    }
    const std::string dir = host::runtimeDirectory();
    std::string where;
    if (sm == nullptr) {
        where = "no service manager at " + dir + " (" + host::whyNoServiceManager(dir) + ")";
    } else if (dynamic_cast<details::InProcessServiceManager*>(sm.get()) != nullptr) {
        where = "this process's own registry (no daemon serves " + dir + "; " +
                host::kServiceManagerEnvVar + " chooses)";
    } else {
        where = "the service manager at " + dir + "/hwservicemanager.sock";
    }
    host::logf(host::LogLevel::Warning,
               "hidl: getService gave up on %s/%s after %lld ms (%s) in %s; start the service "
               "that registers it, check the instance name (`zuv_hidl list` shows what is "
               "registered), or wait longer with %s\n",
               descriptor.c_str(), instance.c_str(), static_cast<long long>(timeout.count()),
               host::kGetServiceTimeoutEnvVar, where.c_str(), host::kGetServiceTimeoutEnvVar);
}

// The settings a lookup or registration reads later, read when the process
// first uses the registry, so a bad value is reported then and not only when a
// lookup happens to wait.
void readRegistrySettingsOnce() {
    static std::once_flag once;
    std::call_once(once, [] { (void)host::getGetServiceTimeout(); });
}

}  // namespace

namespace details {

sp<IBase> getRawServiceInternal(const std::string& descriptor, const std::string& instance,
                                bool retry, bool getStub) {
    if (getStub) {
        sp<IBase> stub = fetchPassthroughService(descriptor, instance);
        if (stub != nullptr) {
            // Bookkeeping only (debugDump): a failure to record it is not the caller's.
            sp<IServiceManager> sm = defaultServiceManager();
            if (sm != nullptr) (void)sm->registerPassthroughClient(descriptor, instance).isOk();
        }
        return stub;
    }

    readRegistrySettingsOnce();
    auto lookup = [&](const sp<IServiceManager>& sm) -> sp<IBase> {
        if (sm == nullptr) return nullptr;
        Return<sp<IBase>> ret = sm->get(descriptor, instance);
        if (!ret.isOk()) {
            ZUV_LOG_DEBUG("hidl-registry: get %s/%s: %s", descriptor.c_str(), instance.c_str(),
                          ret.description().c_str());
            return nullptr;
        }
        return ret;
    };
    sp<IServiceManager> sm = defaultServiceManager();
    sp<IBase> base = lookup(sm);
    if (base != nullptr || !retry) return base;

    const auto timeout = host::getGetServiceTimeout();
    if (sm == nullptr) {
        // Said at once and once per process, not after the wait.
        static std::once_flag told;
        std::call_once(told, [&] {
            const std::string dir = host::runtimeDirectory();
            host::logf(
                    host::LogLevel::Warning,
                    "hidl: waiting up to %lld ms for a service manager at %s to find %s/%s: %s\n",
                    static_cast<long long>(timeout.count()), dir.c_str(), descriptor.c_str(),
                    instance.c_str(), host::whyNoServiceManager(dir).c_str());
        });
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    ZUV_LOG_DEBUG("hidl-registry: waiting up to %lld ms for %s/%s",
                  static_cast<long long>(timeout.count()), descriptor.c_str(), instance.c_str());
    // Polled, since a notification could never be withdrawn from a manager of
    // this version; an in-process registry wakes the wait at once. The
    // manager is asked for again each round (at most a tenth of a second
    // apart), so a daemon that starts or restarts meanwhile is found.
    auto interval = std::chrono::milliseconds(5);
    while (base == nullptr && std::chrono::steady_clock::now() < deadline) {
        const auto step = std::min(deadline, std::chrono::steady_clock::now() + interval);
        if (auto* local = dynamic_cast<InProcessServiceManager*>(sm.get()); local != nullptr) {
            base = local->waitForService(descriptor, instance, step);
            if (base != nullptr) break;
        } else {
            std::this_thread::sleep_until(step);
        }
        interval = std::min(interval * 2, std::chrono::milliseconds(100));
        sm = defaultServiceManager();
        base = lookup(sm);
    }
    if (base == nullptr) {
        ZUV_LOG_DEBUG("hidl-registry: gave up on %s/%s", descriptor.c_str(), instance.c_str());
        sayGaveUp(sm, descriptor, instance, timeout);
    }
    return base;
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) return UNEXPECTED_NULL;
    readRegistrySettingsOnce();
    sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr) {
        const std::string dir = host::runtimeDirectory();
        host::logf(host::LogLevel::Warning,
                   "hidl: cannot register \"%s\": no service manager at %s: %s\n", name.c_str(),
                   dir.c_str(), host::whyNoServiceManager(dir).c_str());
        return INVALID_OPERATION;
    }
    Return<bool> ret = sm->add(name, service);
    if (!ret.isOk()) {
        // The daemon's reason (ownership, policy, a limit) would otherwise be
        // only in its own log; the status_t returned cannot carry it.
        host::logf(host::LogLevel::Warning, "hidl: cannot register \"%s\": %s\n", name.c_str(),
                   ret.description().c_str());
        if (ret.getStatus().exceptionCode() == Status::EX_SECURITY) return PERMISSION_DENIED;
        status_t err = ret.getStatus().transactionError();
        return err != OK ? err : UNKNOWN_ERROR;
    }
    if (!static_cast<bool>(ret)) return UNKNOWN_ERROR;
    if (frame::CallObserver* observer = frame::callObserver()) {
        observer->serviceRegistered(name, service.get());
    }
    return OK;
}

bool registerForNotificationsInternal(
        const char* descriptor, const std::string& instance,
        const sp<::android::hidl::manager::V1_0::IServiceNotification>& notification) {
    const sp<::android::hidl::manager::V1_0::IServiceManager> manager = defaultServiceManager();
    if (manager == nullptr) return false;
    Return<bool> accepted = manager->registerForNotifications(hidl_string(descriptor),
                                                              hidl_string(instance), notification);
    // The status first: taking the value out of a failed Return is fatal.
    return accepted.isOk() && static_cast<bool>(accepted);
}

bool debuggable() {
    return envFlag(host::kDebuggableEnvVar, true);
}

int32_t getPidIfSharable() {
    return debuggable() ? static_cast<int32_t>(getpid()) : -1;
}

}  // namespace details
}  // namespace hardware
}  // namespace android
