// The fixture of the hostile tests: a real daemon, services, test peers and
// the attacker program in a private runtime directory, and what /proc says
// of the attacked process.
#pragma once

#include <sys/resource.h>

#include <sstream>

#include "ProcessHarness.h"

namespace zuv_mp {

constexpr const char* kFingerprint = "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint";
// How long a normal client may wait for an answer while an attack goes on.
constexpr auto kServed = 4s;

// One value of /proc/<pid>/status ("Threads", "VmRSS" in kB, ...); -1 if gone.
inline long status(pid_t pid, const std::string& key) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, key.size() + 1, key + ":") == 0)
            return std::stol(line.substr(key.size() + 1));
    }
    return -1;
}

inline long openFds(pid_t pid) {
    std::error_code ec;
    auto it = std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", ec);
    return ec ? -1 : std::distance(it, std::filesystem::directory_iterator());
}

// CPU time used, in clock ticks (utime + stime).
inline long cpuTicks(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string skip;
    for (int i = 3; i < 14; ++i) fields >> skip;
    long utime = 0, stime = 0;
    fields >> utime >> stime;
    return utime + stime;
}

inline bool setLimit(pid_t pid, int resource, rlim_t value) {
    rlimit limit{value, value};
    return prlimit(pid, static_cast<__rlimit_resource>(resource), &limit, nullptr) == 0;
}

class Hostile : public ProcessTest {
  protected:
    // One malloc arena: a thread's own arena reserves 64 MiB of address
    // space, which would make the address-space case below a lottery.
    Hostile() {
        mEnv = {{"ZUV_HIDL_SERVICE_MANAGER", "daemon"},
                {"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "10000"},
                {"MALLOC_ARENA_MAX", "1"}};
    }

    std::string dir() const { return runtimeDir(); }
    std::string daemonSocket() const { return dir() + "/hwservicemanager.sock"; }
    std::string socketOf(const Process& p) const {
        return dir() + "/p" + std::to_string(p.pid()) + ".sock";
    }

    std::unique_ptr<Process> fingerprintService() {
        return started({ZUV_FINGERPRINT_SERVICE_PATH});
    }
    std::unique_ptr<Process> attacker(std::vector<std::string> args, std::string* ready = nullptr) {
        args.insert(args.begin(), ZUV_ATTACKER_PATH);
        return started(args, {}, "", ready);
    }

  public:
    // The answer to a command within the deadline of a served client.
    static std::string answer(Process& p, const std::string& command, const std::string& prefix,
                              std::chrono::milliseconds deadline = kServed) {
        if (!p.send(command)) return "";
        auto l = p.line(prefix, deadline);
        return l ? *l : "<no answer within " + std::to_string(deadline.count()) + " ms>";
    }
    static std::string found(Process& p, const std::string& name, const std::string& fqName = "") {
        auto l = answer(p, "tryget " + name + " " + fqName, "got " + name);
        return l.rfind("got ", 0) == 0 ? l.substr(0, l.rfind(' ')) : l;  // without the time
    }
    // Whether the full list arrives within the deadline.
    static bool listed(Process& p, std::chrono::milliseconds deadline = kServed) {
        if (!p.send("list")) return false;
        const auto end = Clock::now() + deadline;
        while (auto l = p.line("list", std::chrono::duration_cast<std::chrono::milliseconds>(
                                               end - Clock::now()))) {
            if (*l == "list end") return true;
        }
        return false;
    }
};

// Resumes a stopped process however the test ends, so it can be stopped.
struct Resume {
    Process* p;
    ~Resume() {
        if (p != nullptr) p->signal(SIGCONT);
    }
};

}  // namespace zuv_mp
