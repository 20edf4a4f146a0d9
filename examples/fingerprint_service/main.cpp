// fingerprint_service: publishes a simulated IZuvExtendedFingerprint with the
// service manager and serves it until killed.
//
//   fingerprint_service [--instance NAME] [--runtime-dir DIR]
//
// Prints "ready" on stdout once the service is registered. SIGTERM or SIGINT
// stops it, after writing the trace ZUV_HIDL_TRACE_FILE asks for.
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/TraceExport.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "SimulatedSensor.h"

namespace {

// The framework's side of the device, published too so that a person can
// poke it (zuv_hidl call --interface IDaxAndroidServices setTimer 5000): it
// only says what it was asked.
class LoggingAndroidServices : public zuv_demo::fp::IDaxAndroidServices {
  public:
    using Return = ::android::hardware::Return<void>;
    Return setTimer(uint32_t ms) override { return say("setTimer " + std::to_string(ms)); }
    Return setWakelock(int8_t a, int8_t b) override {
        return say("setWakelock " + std::to_string(a) + " " + std::to_string(b));
    }
    ::android::hardware::Return<int32_t> checkRequestingAppType() override { return 0; }
    Return showLivenessAlert() override { return say("showLivenessAlert"); }
    Return resetLivenessAlert() override { return say("resetLivenessAlert"); }

  private:
    static Return say(const std::string& what) {
        std::printf("services: %s\n", what.c_str());
        std::fflush(stdout);
        return ::android::hardware::Void();
    }
};

}  // namespace

int main(int argc, char** argv) {
    std::string instance = "default";
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--instance" && i + 1 < argc) {
            instance = argv[++i];
        } else if (arg == "--runtime-dir" && i + 1 < argc) {
            setenv(::android::hardware::host::kRuntimeDirEnvVar, argv[++i], 1);
        } else {
            std::fprintf(stderr, "usage: %s [--instance NAME] [--runtime-dir DIR]\n", argv[0]);
            return 2;
        }
    }

    // Published for other processes or not at all.
    setenv(::android::hardware::host::kServiceManagerEnvVar, "daemon", 0);

    // Blocked before any thread starts, so that only the waiter sees them. The
    // pool's threads are not asked to stop: the process leaves with _exit,
    // which skips the exit handler that would write the trace.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGTERM);
    sigaddset(&stopSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    std::thread([stopSignals] {
        int signal = 0;
        while (sigwait(&stopSignals, &signal) != 0) {
        }
        const std::string trace = ::android::hardware::host::traceFilePath();
        if (!trace.empty() && !::android::hardware::host::flushTrace()) {
            std::fprintf(stderr, "service: cannot write %s: %s\n", trace.c_str(),
                         std::strerror(errno));
        }
        std::fflush(nullptr);
        _exit(0);
    }).detach();

    // Two threads: a client's call and a callback it triggers may overlap.
    ::android::hardware::configureRpcThreadpool(2, true /* callerWillJoin */);

    ::android::sp<zuv_demo::SimulatedSensor> sensor = new zuv_demo::SimulatedSensor();
    const ::android::status_t err = sensor->registerAsService(instance);
    if (err != ::android::OK) {
        // The runtime has already said why when no service manager answered.
        if (err != ::android::INVALID_OPERATION) {
            std::fprintf(stderr, "service: cannot register as \"%s\": %s\n", instance.c_str(),
                         err == ::android::PERMISSION_DENIED ? "refused by the service manager"
                                                             : std::strerror(-err));
        }
        return 1;
    }
    ::android::sp<LoggingAndroidServices> services = new LoggingAndroidServices();
    if (services->registerAsService(instance) != ::android::OK) {
        std::fprintf(stderr, "service: cannot register IDaxAndroidServices as \"%s\"\n",
                     instance.c_str());
        return 1;
    }
    std::printf("service: registered %s/%s and %s/%s\nready\n",
                zuv_demo::fp::IZuvExtendedFingerprint::descriptor, instance.c_str(),
                zuv_demo::fp::IDaxAndroidServices::descriptor, instance.c_str());
    std::fflush(stdout);

    ::android::hardware::joinRpcThreadpool();
    return 0;
}
