// zuv_hwservicemanager: plays the platform's hwservicemanager for the
// processes of one runtime directory. Services register with it, clients
// find them through it; a service whose process dies is forgotten.
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/ProcessState.h>
#include <signal.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Policy.h"

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::hidl::manager::V1_0::BnHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
namespace host = ::android::hardware::host;

namespace {

constexpr size_t kDefaultThreads = 4;
constexpr long kDefaultCallTimeoutMs = 1000;
const host::RegistryLimits kDefaults;

// The listening socket systemd handed over, or -1 when started without one.
// Only a Unix stream socket is of use; anything else is a unit written wrong.
int activationSocket() {
    const int n = sd_listen_fds(1 /* unset the variables: children must not see them */);
    if (n <= 0) return n < 0 ? -2 : -1;
    if (n != 1 || sd_is_socket_unix(SD_LISTEN_FDS_START, SOCK_STREAM, 1, nullptr, 0) <= 0) {
        std::fprintf(stderr,
                     "zuv_hwservicemanager: socket activation must hand over exactly one "
                     "listening Unix stream socket (got %d descriptors)\n",
                     n);
        return -2;
    }
    return SD_LISTEN_FDS_START;
}

// Stops serving and removes what this daemon left in the runtime directory.
// The files are removed here as well: the next daemon must not find them,
// whatever the transport managed. A socket handed over belongs to whoever
// made it (systemd keeps listening on it to start the next daemon).
void stop(int signal, bool ownsContextSocket) {
    host::shutdownTransport();
    const std::string dir = host::runtimeDirectory();
    std::vector<std::string> names = {"hwservicemanager.lock",
                                      "p" + std::to_string(getpid()) + ".sock"};
    if (ownsContextSocket) names.emplace_back(host::kContextObjectSocketName);
    for (const std::string& name : names) {
        const std::string path = dir + "/" + name;
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            std::fprintf(stderr, "zuv_hwservicemanager: removing %s: %s\n", path.c_str(),
                         std::strerror(errno));
        }
    }
    std::fprintf(stderr, "zuv_hwservicemanager: stopped by signal %d\n", signal);
}

}  // namespace

int main(int argc, char** argv) {
    size_t threads = kDefaultThreads;
    long callTimeoutMs = kDefaultCallTimeoutMs;
    std::optional<zuv_sm::Policy> policy;
    host::RegistryLimits limits = host::registryLimitsFromEnvironment();
    std::string runtimeDir, policyFile;
    bool verbose = false;

    CLI::App app{
            "zuv_hwservicemanager: the service manager of the processes of one runtime "
            "directory.\n"
            "A name belongs to the process that registered it until that process dies. A "
            "request beyond a limit is refused with a status naming it; the process keeps "
            "what it had.\n"
            "Prints \"ready\" on stdout once it serves; SIGTERM or SIGINT stops it. Started by "
            "systemd socket activation, it serves the one listening socket handed over instead "
            "of making its own.\n"
            "Exit status: 0 stopped by a signal, 1 cannot serve, 2 usage or a bad policy."};
    app.add_option("--runtime-dir", runtimeDir,
                   std::string("serve the processes using DIR (default: $") +
                           host::kRuntimeDirEnvVar + ", else the transport's default)");
    app.add_option("--threads", threads, "binder threads serving requests")
            ->capture_default_str()
            ->check(CLI::Range(1, 64));
    app.add_option("--policy", policyFile,
                   "only what FILE allows may be added; one rule a line: allow UID INTERFACE "
                   "INSTANCE [EXECUTABLE]. UID a number, a user name or *; the others shell "
                   "wildcards; EXECUTABLE is matched against /proc/PID/exe of the caller; # starts "
                   "a comment. Without it every process of the user may add.");
    app.add_option("--call-timeout-ms", callTimeoutMs,
                   "deadline of each call to another process, such as a notification (0 waits "
                   "for ever)")
            ->capture_default_str()
            ->check(CLI::Range(0L, 3600L * 1000));
    const CLI::Range limitRange(1, 1 << 24);
    app.add_option("--max-names", limits.maxNames,
                   "(interface, instance) entries one process may hold; a service counts once "
                   "per interface of its chain (default $ZUV_HIDL_MAX_NAMES, else " +
                           std::to_string(kDefaults.maxNames) + ")")
            ->check(limitRange);
    app.add_option("--max-listeners", limits.maxListeners,
                   "notification registrations one process may hold (default "
                   "$ZUV_HIDL_MAX_LISTENERS, else " +
                           std::to_string(kDefaults.maxListeners) + ")")
            ->check(limitRange);
    app.add_option("--max-name-length", limits.maxNameLength,
                   "bytes of an interface or instance name (default $ZUV_HIDL_MAX_NAME_LENGTH, "
                   "else " +
                           std::to_string(kDefaults.maxNameLength) + ")")
            ->check(limitRange);
    app.add_option("--max-queued-notifications", limits.maxQueuedNotifications,
                   "notifications waiting for one process's listeners; a listener beyond it is "
                   "dropped (default $ZUV_HIDL_MAX_QUEUED_NOTIFICATIONS, else " +
                           std::to_string(kDefaults.maxQueuedNotifications) + ")")
            ->check(limitRange);
    app.add_flag("--verbose", verbose, "report registrations and deaths on stderr");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    if (!runtimeDir.empty()) setenv(host::kRuntimeDirEnvVar, runtimeDir.c_str(), 1);
    if (verbose) setenv(host::kDebugEnvVar, "1", 1);
    if (!policyFile.empty()) {
        std::string error;
        policy = zuv_sm::Policy::load(policyFile, &error);
        if (!policy) {
            std::fprintf(stderr, "zuv_hwservicemanager: bad policy: %s\n", error.c_str());
            return 2;
        }
    }

    const int handedOver = activationSocket();
    if (handedOver == -2) return 2;

    // Blocked before any thread starts, so that only main's wait below sees them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    // A listener or service that does not answer must not hold a serving thread.
    host::setCallTimeout(std::chrono::milliseconds(callTimeoutMs));
    ::android::hardware::configureRpcThreadpool(threads, false /* callerWillJoin */);
    ::android::hardware::ProcessState::self()->startThreadPool();

    host::AddPolicy check;
    if (policy) {
        check = [rules = std::move(*policy)](pid_t pid, uid_t uid, const std::string& fqName,
                                             const std::string& name) {
            return rules.check(pid, uid, fqName, name);
        };
    }
    sp<IServiceManager> registry = host::makeInProcessServiceManager(std::move(check), limits);
    // Lookups made inside the daemon go straight to its own registry, never
    // through the socket back to itself.
    host::setDefaultServiceManager(registry);
    sp<BnHwServiceManager> stub = new BnHwServiceManager(registry);
    status_t err = host::serveContextObject(stub, handedOver);
    if (err != OK) {
        // An unusable runtime directory has been named by the transport.
        if (err != ::android::PERMISSION_DENIED) {
            std::fprintf(stderr, "zuv_hwservicemanager: cannot serve %s/%s: %s\n",
                         host::runtimeDirectory().c_str(), host::kContextObjectSocketName,
                         err == ::android::ALREADY_EXISTS ? "another service manager serves it"
                                                          : std::strerror(-err));
        }
        return 1;
    }
    // The manager is listed like any service, as on the platform; only once
    // it serves, so that a daemon that cannot start logs no registration.
    (void)registry->add("default", registry).isOk();
    std::printf("ready\n");
    std::fflush(stdout);
    sd_notify(0, "READY=1");

    int signal = 0;
    while (sigwait(&stopSignals, &signal) != 0) {
    }
    stop(signal, handedOver < 0);
    // A normal exit: the trace recorder writes at exit.
    return 0;
}
