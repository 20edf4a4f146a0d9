// Real peer processes for the socket transport tests: each test's peers are
// started for real, register with the hub this process serves as the context
// object, and are stopped and reaped when the test ends, pass or fail.
#pragma once

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/ProcessState.h>
#include <stdlib.h>

#include <functional>

#include "PeerObjects.h"
#include "ProcessHarness.h"

namespace socket_test {

using namespace std::chrono_literals;
using android::OK;
using android::sp;
using android::status_t;
using android::hardware::IBinder;
using android::hardware::Parcel;
using zuv_mp::eventually;
using zuv_mp::Process;

// Generous: the tests must hold on a loaded two-core machine.
constexpr auto kTimeout = 30s;

inline std::unique_ptr<Process> startPeerProgram(std::vector<std::string> args,
                                                 Process::Env env = {}) {
    args.insert(args.begin(), ZUV_SOCKET_PEER);
    return Process::start(args, env);
}

inline void killAndReap(Process* p) {
    p->signal(SIGKILL);
    p->waitExit(kTimeout);
}

struct Echo {
    status_t status = android::UNKNOWN_ERROR;
    int32_t value = -1, serverPid = -1, callingPid = -1, callingUid = -1;
};

// The four fields of an echo, read from where reply stands.
inline Echo readEcho(const Parcel& reply, status_t status = OK) {
    Echo e;
    e.status = status;
    reply.readInt32(&e.value);
    reply.readInt32(&e.serverPid);
    reply.readInt32(&e.callingPid);
    reply.readInt32(&e.callingUid);
    return e;
}

inline Echo echo(const sp<IBinder>& target, int32_t value) {
    Parcel reply;
    status_t status = peer::echoThrough(target, value, &reply);
    return readEcho(reply, status);
}

inline int32_t peerNodes(const sp<IBinder>& target) {
    Parcel data, reply;
    int32_t nodes = -1;
    if (target->transact(peer::kStats, data, &reply) == OK) reply.readInt32(&nodes);
    return nodes;
}

class SocketTest : public ::testing::Test {
  protected:
    // This process serves the hub from a private runtime directory, set up
    // once per process (ctest runs each test in its own process).
    static peer::Hub* hub() {
        static peer::Hub* const instance = [] {
            static zuv_mp::TempDir dir;
            setenv(android::hardware::host::kRuntimeDirEnvVar, dir.path().c_str(), 1);
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
    sp<IBinder> startPeer(int threads = 4, Process** process = nullptr) {
        static int32_t nextTag = 1;
        const int32_t tag = nextTag++;
        mPeers.push_back(startPeerProgram({"serve", std::to_string(tag), std::to_string(threads)}));
        if (mPeers.back() == nullptr) return nullptr;
        if (process != nullptr) *process = mPeers.back().get();
        return hub()->waitFor(tag, kTimeout);
    }

    std::vector<std::unique_ptr<Process>> mPeers;
};

}  // namespace socket_test
