// Real peer processes for the socket transport tests: each test's peers are
// started with fork/exec, register with the hub this process serves as the
// context object, and are killed and reaped when the test ends, pass or fail.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/ProcessState.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "PeerObjects.h"

namespace socket_test {

using namespace std::chrono_literals;
using android::OK;
using android::sp;
using android::status_t;
using android::hardware::IBinder;
using android::hardware::Parcel;

// Generous: the tests must hold on a loaded two-core machine.
constexpr auto kTimeout = 30s;

extern "C" char** environ;

class PeerProcess {
  public:
    // Runs the peer program with args; extraEnv ("NAME=value") overrides.
    PeerProcess(std::vector<std::string> args, std::vector<std::string> extraEnv = {}) {
        args.insert(args.begin(), ZUV_SOCKET_PEER);
        std::vector<std::string> env = extraEnv;
        for (char** e = environ; *e != nullptr; ++e) {
            std::string entry = *e;
            bool overridden = false;
            for (const std::string& extra : extraEnv) {
                overridden = overridden || entry.compare(0, extra.find('=') + 1, extra, 0,
                                                         extra.find('=') + 1) == 0;
            }
            if (!overridden) env.push_back(entry);
        }
        // Everything the child needs is built before fork: only exec follows.
        std::vector<char*> argv, envp;
        for (auto& a : args) argv.push_back(a.data());
        argv.push_back(nullptr);
        for (auto& e : env) envp.push_back(e.data());
        envp.push_back(nullptr);
        int out[2];
        if (pipe2(out, O_CLOEXEC) != 0) return;
        const pid_t parent = getpid();
        mPid = fork();
        if (mPid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) _exit(126);
            dup2(out[1], STDOUT_FILENO);
            execve(argv[0], argv.data(), envp.data());
            _exit(127);
        }
        close(out[1]);
        mStdout = out[0];
    }

    ~PeerProcess() {
        kill();
        if (mStdout >= 0) close(mStdout);
    }

    pid_t pid() const { return mPid; }

    void kill() {
        if (mPid <= 0) return;
        ::kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
        mPid = -1;
    }

    // The exit status, or -1 when the process does not end in time.
    int waitExit() {
        const auto deadline = std::chrono::steady_clock::now() + kTimeout;
        while (std::chrono::steady_clock::now() < deadline) {
            int status;
            pid_t done = waitpid(mPid, &status, WNOHANG);
            if (done == mPid) {
                mPid = -1;
                return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            }
            std::this_thread::sleep_for(5ms);
        }
        return -1;
    }

    // Waits for a line on the child's stdout.
    bool waitForLine(const std::string& line) {
        std::string got;
        const auto deadline = std::chrono::steady_clock::now() + kTimeout;
        while (std::chrono::steady_clock::now() < deadline) {
            pollfd p{mStdout, POLLIN, 0};
            if (poll(&p, 1, 100) <= 0) continue;
            char c;
            if (read(mStdout, &c, 1) != 1) return false;
            if (c == '\n') {
                if (got == line) return true;
                got.clear();
            } else {
                got += c;
            }
        }
        return false;
    }

  private:
    pid_t mPid = -1;
    int mStdout = -1;
};

// Polls until pred holds (for state that no event announces, such as a
// peer's counters).
inline bool eventually(const std::function<bool()>& pred) {
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (pred()) return true;
        std::this_thread::sleep_for(2ms);
    }
    return pred();
}

struct Echo {
    status_t status = android::UNKNOWN_ERROR;
    int32_t value = -1, serverPid = -1, callingPid = -1, callingUid = -1;
};

inline Echo echo(const sp<IBinder>& target, int32_t value) {
    Echo e;
    Parcel reply;
    e.status = peer::echoThrough(target, value, &reply);
    reply.readInt32(&e.value);
    reply.readInt32(&e.serverPid);
    reply.readInt32(&e.callingPid);
    reply.readInt32(&e.callingUid);
    return e;
}

struct Stats {
    int32_t nodes = -1, grants = -1, proxies = -1;
};

inline Stats peerStats(const sp<IBinder>& target) {
    Stats s;
    Parcel data, reply;
    if (target->transact(peer::kStats, data, &reply) != OK) return s;
    reply.readInt32(&s.nodes);
    reply.readInt32(&s.grants);
    reply.readInt32(&s.proxies);
    return s;
}

class SocketTest : public ::testing::Test {
  protected:
    // This process serves the hub from a private runtime directory, set up
    // once per process (ctest runs each test in its own process).
    static peer::Hub* hub() {
        static peer::Hub* const instance = [] {
            static std::string dir = [] {
                char tmpl[] = "/tmp/zuv-socket-test-XXXXXX";
                const char* made = mkdtemp(tmpl);
                return std::string(made != nullptr ? made : "");
            }();
            setenv(android::hardware::host::kRuntimeDirEnvVar, dir.c_str(), 1);
            atexit([] {
                std::string cmd = "rm -rf '" + dir + "'";
                if (system(cmd.c_str()) != 0) return;
            });
            android::hardware::configureRpcThreadpool(4, false);
            android::hardware::ProcessState::self()->startThreadPool();
            auto* hub = new peer::Hub();
            hub->incStrong(nullptr);
            if (android::hardware::host::serveContextObject(hub) != OK) return (peer::Hub*)nullptr;
            return hub;
        }();
        return instance;
    }

    void SetUp() override { ASSERT_NE(hub(), nullptr) << "cannot serve the hub"; }
    void TearDown() override { mPeers.clear(); }

    // Starts a peer serving a TestObject and answers a proxy to it.
    sp<IBinder> startPeer(int threads = 4, PeerProcess** process = nullptr) {
        static int32_t nextTag = 1;
        const int32_t tag = nextTag++;
        mPeers.push_back(std::make_unique<PeerProcess>(
                std::vector<std::string>{"serve", std::to_string(tag), std::to_string(threads)}));
        if (process != nullptr) *process = mPeers.back().get();
        return hub()->waitFor(tag, kTimeout);
    }

    std::vector<std::unique_ptr<PeerProcess>> mPeers;
};

}  // namespace socket_test
