// zuv_hwservicemanager: plays the platform's hwservicemanager for the
// processes of one runtime directory. Services register with it, clients
// find them through it; a service whose process dies is forgotten.
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::hidl::manager::V1_0::BnHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
namespace host = ::android::hardware::host;

namespace {

constexpr size_t kDefaultThreads = 4;

void usage(FILE* out) {
    std::fprintf(out,
                 "usage: zuv_hwservicemanager [--runtime-dir DIR] [--threads N] [--verbose]\n"
                 "  --runtime-dir DIR  serve the processes using DIR (default: $%s, else\n"
                 "                     the transport's default)\n"
                 "  --threads N        binder threads serving requests (default %zu)\n"
                 "  --verbose          report registrations, deaths and lookups on stderr\n"
                 "Prints \"ready\" on stdout once it serves; SIGTERM or SIGINT stops it.\n",
                 host::kRuntimeDirEnvVar, kDefaultThreads);
}

// Removes what this process left in the runtime directory and leaves at once:
// the pool's threads are blocked in the transport and are not asked to stop.
[[noreturn]] void shutdown(int signal) {
    const std::string dir = host::runtimeDirectory();
    for (const std::string& name :
         {std::string(host::kContextObjectSocketName), "p" + std::to_string(getpid()) + ".sock"}) {
        const std::string path = dir + "/" + name;
        if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            std::fprintf(stderr, "zuv_hwservicemanager: removing %s: %s\n", path.c_str(),
                         std::strerror(errno));
        }
    }
    std::fprintf(stderr, "zuv_hwservicemanager: stopped by signal %d\n", signal);
    std::fflush(nullptr);
    _exit(0);
}

}  // namespace

int main(int argc, char** argv) {
    size_t threads = kDefaultThreads;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--runtime-dir" && i + 1 < argc) {
            setenv(host::kRuntimeDirEnvVar, argv[++i], 1);
        } else if (arg == "--threads" && i + 1 < argc) {
            char* end = nullptr;
            unsigned long n = std::strtoul(argv[++i], &end, 10);
            if (*end != '\0' || n == 0 || n > 64) {
                std::fprintf(stderr, "zuv_hwservicemanager: --threads wants 1..64\n");
                return 2;
            }
            threads = n;
        } else if (arg == "--verbose") {
            setenv(host::kDebugEnvVar, "1", 1);
        } else if (arg == "--help" || arg == "-h") {
            usage(stdout);
            return 0;
        } else {
            usage(stderr);
            return 2;
        }
    }

    // Blocked before any thread starts, so that only the waiter below sees them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::thread([stopSignals] {
        int signal = 0;
        while (sigwait(&stopSignals, &signal) != 0) {
        }
        shutdown(signal);
    }).detach();

    ::android::hardware::configureRpcThreadpool(threads, true /* callerWillJoin */);

    sp<IServiceManager> registry = host::makeInProcessServiceManager();
    // Lookups made inside the daemon go straight to its own registry, never
    // through the socket back to itself.
    host::setDefaultServiceManager(registry);
    // The manager is listed like any service, as on the platform.
    (void)registry->add("default", registry).isOk();

    sp<BnHwServiceManager> stub = new BnHwServiceManager(registry);
    status_t err = host::serveContextObject(stub);
    if (err != OK) {
        std::fprintf(stderr, "zuv_hwservicemanager: cannot serve %s/%s: %s\n",
                     host::runtimeDirectory().c_str(), host::kContextObjectSocketName,
                     err == ::android::ALREADY_EXISTS ? "another service manager serves it"
                                                      : std::strerror(-err));
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);

    ::android::hardware::joinRpcThreadpool();
    return 0;
}
