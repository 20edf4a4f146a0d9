#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/BpHwBinder.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>

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
    const char* value = getenv(name);
    if (value == nullptr) return def;
    for (const char* yes : {"1", "true", "on", "yes"}) {
        if (strcasecmp(value, yes) == 0) return true;
    }
    for (const char* no : {"0", "false", "off", "no"}) {
        if (strcasecmp(value, no) == 0) return false;
    }
    return def;
}

bool registryDebugEnabled() {
    static const bool enabled = envFlag(host::kDebugEnvVar, false);
    return enabled;
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

// The proxy of the daemon's manager; the dead one of a daemon that went away
// (its calls fail with DEAD_OBJECT) until another daemon serves; null when
// no daemon was ever reached.
sp<IServiceManager> daemonServiceManager() {
    std::lock_guard<std::mutex> lock(gDaemonMutex);
    if (gDaemonManager != nullptr && binderAlive(gDaemonBinder)) return gDaemonManager;
    sp<IBinder> binder = host::getContextObject();
    if (binder == nullptr || !binderAlive(binder)) return gDaemonManager;
    if (binder != gDaemonBinder) {
        ZUV_REGISTRY_DEBUG("using the service-manager daemon in %s",
                           host::runtimeDirectory().c_str());
        gDaemonBinder = binder;
        gDaemonManager = new BpHwServiceManager(binder);
    }
    return gDaemonManager;
}

enum class ServiceManagerMode { kAuto, kInProcess, kDaemon };

ServiceManagerMode serviceManagerMode() {
    const char* value = getenv(host::kServiceManagerEnvVar);
    if (value == nullptr || *value == '\0') return ServiceManagerMode::kAuto;
    if (strcasecmp(value, "inprocess") == 0) return ServiceManagerMode::kInProcess;
    if (strcasecmp(value, "daemon") == 0) return ServiceManagerMode::kDaemon;
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

}  // namespace

namespace host {

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
    const char* env = getenv(kGetServiceTimeoutEnvVar);
    if (env == nullptr || *env == '\0') return kDefaultGetServiceTimeout;
    char* end = nullptr;
    errno = 0;
    long long ms = strtoll(env, &end, 10);
    if (errno != 0 || *end != '\0' || ms < 0) return kDefaultGetServiceTimeout;
    return std::chrono::milliseconds(ms);
}

sp<IServiceManager> makeInProcessServiceManager() {
    return new details::InProcessServiceManager();
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

    auto lookup = [&](const sp<IServiceManager>& sm) -> sp<IBase> {
        if (sm == nullptr) return nullptr;
        Return<sp<IBase>> ret = sm->get(descriptor, instance);
        if (!ret.isOk()) {
            ZUV_REGISTRY_DEBUG("get %s/%s: %s", descriptor.c_str(), instance.c_str(),
                               ret.description().c_str());
            return nullptr;
        }
        return ret;
    };
    sp<IServiceManager> sm = defaultServiceManager();
    sp<IBase> base = lookup(sm);
    if (base != nullptr || !retry) return base;

    const auto timeout = host::getGetServiceTimeout();
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    ZUV_REGISTRY_DEBUG("waiting up to %lld ms for %s/%s", static_cast<long long>(timeout.count()),
                       descriptor.c_str(), instance.c_str());
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
        ZUV_REGISTRY_DEBUG("gave up on %s/%s", descriptor.c_str(), instance.c_str());
    }
    return base;
}

status_t registerAsServiceInternal(const sp<IBase>& service, const std::string& name) {
    if (service == nullptr) return UNEXPECTED_NULL;
    sp<IServiceManager> sm = defaultServiceManager();
    if (sm == nullptr) return INVALID_OPERATION;
    Return<bool> ret = sm->add(name, service);
    if (!ret.isOk()) {
        status_t err = ret.getStatus().transactionError();
        return err != OK ? err : UNKNOWN_ERROR;
    }
    return static_cast<bool>(ret) ? OK : UNKNOWN_ERROR;
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
