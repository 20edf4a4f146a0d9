#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>

#include "Common.h"

extern char** environ;

using android::OK;
using android::sp;
using android::hardware::hidl_vec;
using android::hardware::IBinder;
using android::hardware::Parcel;
namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

namespace zuv_bench {

bool readFull(int fd, void* data, size_t size) {
    auto* p = static_cast<char*>(data);
    while (size > 0) {
        ssize_t n = read(fd, p, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool writeFull(int fd, const void* data, size_t size) {
    auto* p = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t n = write(fd, p, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool echoCall(const sp<IBinder>& remote, int32_t value) {
    Parcel data, reply;
    data.writeInt32(value);
    if (remote->transact(kEcho, data, &reply) != OK) return false;
    int32_t echoed = -1;
    return reply.readInt32(&echoed) == OK && echoed == value;
}

bool rawRoundTrip(int fd) {
    char buf[kMessageSize] = {1};
    return writeFull(fd, buf, sizeof(buf)) && readFull(fd, buf, sizeof(buf));
}

bool processRequestCall(const sp<fp::IZuvExtendedFingerprint>& service, hidl_vec<uint8_t>& data,
                        uint8_t mark) {
    if (data.size() == 0) return false;
    data[0] = data[data.size() - 1] = mark;
    bool echoed = false;
    auto ret = service->processRequest(data, [&](const hidl_vec<uint8_t>& answer) {
        echoed = answer.size() == data.size() && answer[0] == mark &&
                 answer[answer.size() - 1] == mark;
    });
    return ret.isOk() && echoed;
}

bool rawRoundTrip(int fd, std::vector<uint8_t>& buf, uint8_t mark) {
    if (buf.empty()) return false;
    buf.front() = buf.back() = mark;
    if (!writeFull(fd, buf.data(), buf.size())) return false;
    buf.front() = buf.back() = static_cast<uint8_t>(~mark);  // so a stale buffer cannot pass
    return readFull(fd, buf.data(), buf.size()) && buf.front() == mark && buf.back() == mark;
}

size_t LatencyHistogram::bucket(uint64_t ns) {
    if (ns < 32) return ns;
    const int e = 63 - __builtin_clzll(ns);  // 5..63
    return 32 + static_cast<size_t>(e - 5) * 16 + ((ns >> (e - 4)) & 15);
}

double LatencyHistogram::value(size_t bucket) {
    if (bucket < 32) return static_cast<double>(bucket);
    const size_t k = bucket - 32;
    const int shift = static_cast<int>(k / 16) + 1;  // e - 4
    return std::ldexp(16.0 + static_cast<double>(k % 16) + 0.5, shift);
}

void LatencyHistogram::merge(const LatencyHistogram& other) {
    for (size_t i = 0; i < kBuckets; ++i) counts[i] += other.counts[i];
}

uint64_t LatencyHistogram::total() const {
    uint64_t n = 0;
    for (uint64_t c : counts) n += c;
    return n;
}

double LatencyHistogram::quantile(double q) const {
    const uint64_t n = total();
    if (n == 0) return -1;
    const auto target =
            std::max<uint64_t>(1, static_cast<uint64_t>(std::ceil(q * static_cast<double>(n))));
    uint64_t seen = 0;
    for (size_t i = 0; i < kBuckets; ++i) {
        seen += counts[i];
        if (seen >= target) return value(i);
    }
    return value(kBuckets - 1);
}

namespace {

std::mutex gChildrenLock;
std::set<pid_t> gChildren;
cpu_set_t gAllowed;

void killChildren() {
    std::lock_guard<std::mutex> lock(gChildrenLock);
    for (pid_t pid : gChildren) kill(pid, SIGKILL);
    for (pid_t pid : gChildren) waitpid(pid, nullptr, 0);
    gChildren.clear();
}

std::string gScratch;
std::vector<char*> gRemoveScratch;  // rm's argv, made before any signal can come

void onSignal(int sig) {
    // Only async-signal-safe calls here: kill, fork, execve, waitpid.
    for (pid_t pid : gChildren) kill(pid, SIGKILL);
    if (!gRemoveScratch.empty()) {
        pid_t rm = fork();
        if (rm == 0) {
            char* noEnv[] = {nullptr};
            execve(gRemoveScratch[0], gRemoveScratch.data(), noEnv);
            _exit(127);
        }
        if (rm > 0) waitpid(rm, nullptr, 0);
    }
    signal(sig, SIG_DFL);
    raise(sig);
}

}  // namespace

void installCleanup(const std::string& scratchDir) {
    gScratch = scratchDir;
    static char rm[] = "/bin/rm", flags[] = "-rf";
    gRemoveScratch = {rm, flags, gScratch.data(), nullptr};
    atexit(killChildren);
    signal(SIGINT, onSignal);
    signal(SIGTERM, onSignal);
    signal(SIGPIPE, SIG_IGN);
}

namespace {

Child start(std::vector<std::string> argStrings, const std::vector<std::string>& env, int passFd) {
    // Everything the child needs is prepared here: between fork and exec a
    // threaded parent's child may only make async-signal-safe calls.
    std::vector<char*> argv;
    for (auto& a : argStrings) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> envStrings;
    for (char** e = environ; *e != nullptr; ++e) {
        std::string entry = *e;
        bool replaced = false;
        for (const auto& add : env) {
            if (entry.compare(0, add.find('=') + 1, add, 0, add.find('=') + 1) == 0) {
                replaced = true;
            }
        }
        if (!replaced) envStrings.push_back(entry);
    }
    envStrings.insert(envStrings.end(), env.begin(), env.end());
    std::vector<char*> envp;
    for (auto& e : envStrings) envp.push_back(e.data());
    envp.push_back(nullptr);

    int control[2];
    Child child;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, control) != 0) return child;
    std::lock_guard<std::mutex> lock(gChildrenLock);
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        int ctl = fcntl(control[1], F_DUPFD, 10);
        int passed = passFd >= 0 ? fcntl(passFd, F_DUPFD, 10) : -1;
        dup2(ctl, kControlFd);
        if (passed >= 0) dup2(passed, kPassedFd);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(control[1]);
    if (pid < 0) {
        close(control[0]);
        return child;
    }
    gChildren.insert(pid);
    child.pid = pid;
    child.control = control[0];
    return child;
}

}  // namespace

Child spawn(const std::string& role, const std::vector<std::string>& args,
            const std::vector<std::string>& env, int passFd) {
    std::vector<std::string> argv{"/proc/self/exe", "--role", role};
    argv.insert(argv.end(), args.begin(), args.end());
    return start(std::move(argv), env, passFd);
}

Child spawnProgram(const std::string& name, const std::vector<std::string>& args,
                   const std::vector<std::string>& env, int passFd) {
    std::error_code ignored;
    auto path = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() / name;
    std::vector<std::string> argv{path.string()};
    argv.insert(argv.end(), args.begin(), args.end());
    return start(std::move(argv), env, passFd);
}

bool awaitReady(const Child& child, int timeoutMs) {
    if (child.pid < 0) return false;
    pollfd pfd{child.control, POLLIN, 0};
    char c = 0;
    return poll(&pfd, 1, timeoutMs) == 1 && read(child.control, &c, 1) == 1 && c == 'r';
}

void stop(Child& child) {
    if (child.pid > 0) {
        kill(child.pid, SIGKILL);
        waitpid(child.pid, nullptr, 0);
        std::lock_guard<std::mutex> lock(gChildrenLock);
        gChildren.erase(child.pid);
    }
    if (child.control >= 0) close(child.control);
    child = Child{};
}

const char* placementName(Placement p) {
    switch (p) {
        case Placement::Same:
            return "same";
        case Placement::Split:
            return "split";
        case Placement::None:
            return "none";
    }
    return "?";
}

void recordAllowedCpus() {
    sched_getaffinity(0, sizeof(gAllowed), &gAllowed);
}

Cpus cpusFor(Placement p) {
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE && cpus.size() < 2; ++cpu) {
        if (CPU_ISSET(cpu, &gAllowed)) cpus.push_back(cpu);
    }
    if (p == Placement::None || cpus.empty()) return Cpus{};
    if (p == Placement::Same || cpus.size() == 1) return Cpus{cpus[0], cpus[0]};
    return Cpus{cpus[0], cpus[1]};
}

void placeProcess(pid_t pid, int cpu) {
    cpu_set_t set = gAllowed;
    if (cpu >= 0) {
        CPU_ZERO(&set);
        CPU_SET(cpu, &set);
    }
    std::string dir = "/proc/" + std::to_string(pid) + "/task";
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) return;
    while (dirent* e = readdir(d)) {
        if (e->d_name[0] == '.') continue;
        sched_setaffinity(static_cast<pid_t>(atoi(e->d_name)), sizeof(set), &set);
    }
    closedir(d);
}

long residentKb(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) return atol(line.c_str() + 6);
    }
    return -1;
}

}  // namespace zuv_bench
