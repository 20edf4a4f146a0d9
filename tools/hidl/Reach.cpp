// Telling "not registered", "died" and "did not answer" apart. The daemon
// answers a lookup of a service whose process does not answer with nothing,
// as if it were not registered; its listing and /proc say which it is.
#include "Reach.h"

#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <signal.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

using ::android::hidl::manager::V1_0::IServiceManager;
namespace host = ::android::hardware::host;

namespace zuv_hidl {
namespace {

constexpr long kDaemonCallTimeoutMs = 1000;  // zuv_hwservicemanager's default

// The state letter of /proc/PID/stat ('T' stopped, 'Z' a zombie), or 0 when
// the process is gone.
char processState(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(in, line)) return 0;
    // The command name may hold spaces and parentheses; the state follows the last ')'.
    const size_t close = line.rfind(')');
    return close == std::string::npos || close + 2 >= line.size() ? 0 : line[close + 2];
}

bool alive(pid_t pid) {
    const char state = processState(pid);
    return state != 0 && state != 'Z' && state != 'X' && (kill(pid, 0) == 0 || errno != ESRCH);
}

// The deadline the daemon gives its own calls: its --call-timeout-ms, read off
// its command line, else its default.
long daemonCallTimeoutMs(IServiceManager& sm) {
    const pid_t daemon = registeredPid(sm, IServiceManager::descriptor, "default");
    std::ifstream in("/proc/" + std::to_string(daemon) + "/cmdline");
    std::vector<std::string> args;
    for (std::string a; std::getline(in, a, '\0');) args.push_back(a);
    const std::string opt = "--call-timeout-ms";
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == opt && i + 1 < args.size()) return std::atol(args[i + 1].c_str());
        if (args[i].compare(0, opt.size() + 1, opt + "=") == 0)
            return std::atol(args[i].c_str() + opt.size() + 1);
    }
    return kDaemonCallTimeoutMs;
}

std::string stoppedHint(pid_t pid) {
    const char state = processState(pid);
    if (state == 'T' || state == 't')
        return "; it is stopped (a signal or a debugger): `kill -CONT " + std::to_string(pid) +
               "` resumes it";
    return "; it is busy or blocked: `cat /proc/" + std::to_string(pid) +
           "/stack` or a debugger shows where";
}

}  // namespace

void boundCalls() {
    if (std::getenv(host::kCallTimeoutEnvVar) == nullptr) host::setCallTimeout(kToolCallTimeout);
}

pid_t registeredPid(IServiceManager& sm, const std::string& descriptor,
                    const std::string& instance) {
    pid_t pid = -1;
    (void)sm.debugDump([&](const auto& infos) {
        for (const auto& info : infos) {
            if (descriptor == info.interfaceName.c_str() && instance == info.instanceName.c_str())
                pid = info.pid;
        }
    });
    return pid;
}

std::string whyNotFound(IServiceManager& sm, const std::string& descriptor,
                        const std::string& instance) {
    const std::string name = descriptor + "/" + instance;
    const pid_t pid = registeredPid(sm, descriptor, instance);
    if (pid <= 0) {
        return "no " + name + " is registered in " + host::runtimeDirectory() +
               " (`zuv_hidl list` shows what is)";
    }
    if (!alive(pid)) {
        return name + " was registered by pid " + std::to_string(pid) +
               ", which has died; start the service again";
    }
    return name + " is registered by pid " + std::to_string(pid) + " but did not answer within " +
           std::to_string(daemonCallTimeoutMs(sm)) +
           " ms (the service manager's --call-timeout-ms)" + stoppedHint(pid);
}

std::string whyCallFailed(pid_t pid, const std::string& status) {
    const std::string who = pid > 0 ? "pid " + std::to_string(pid) : "the service";
    if (status.find("DEAD_OBJECT") != std::string::npos || (pid > 0 && !alive(pid)))
        return "the service (" + who + ") died; start it again";
    if (status.find("TIMED_OUT") != std::string::npos) {
        return "the service (" + who + ") did not answer within " +
               std::to_string(host::callTimeout().count()) + " ms (" + host::kCallTimeoutEnvVar +
               ")" + (pid > 0 ? stoppedHint(pid) : "");
    }
    return "";
}

std::string noServiceManager() {
    const std::string dir = host::runtimeDirectory();
    return "no service manager serves " + dir + ": " + host::whyNoServiceManager(dir);
}

std::string shortReason(const std::string& why) {
    if (why.find("died") != std::string::npos) return "died";
    if (why.find("did not answer") != std::string::npos) return "no answer";
    if (why.find("registered in") != std::string::npos) return "not registered";
    return why;
}

}  // namespace zuv_hidl
