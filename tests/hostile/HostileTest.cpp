// Misbehaving processes against the real daemon and services: after each
// attack a normal client must still be served within a few seconds, and the
// attacked process must keep its threads, descriptors and memory in bounds.
#include "Hostile.h"

namespace zuv_mp {
namespace {

TEST_F(Hostile, RepliesNobodyReadsDoNotStallOthers) {
    auto sm = manager();
    auto service = fingerprintService();
    auto warmUp = peer();
    ASSERT_TRUE(sm && service && warmUp);
    // Counted once both have served a call: threads a pool starts on demand
    // are not the attack's doing.
    ASSERT_EQ(found(*warmUp, "default", kFingerprint), "got default remote");
    ASSERT_EQ(answer(*warmUp, "ping default", "ping"), "ping default ok");
    const long smThreads = status(sm->pid(), "Threads");
    const long serviceThreads = status(service->pid(), "Threads");

    auto onDaemon = attacker({"pipeline", daemonSocket(), "6"});
    auto onService = attacker({"pipeline", socketOf(*service), "3"});
    ASSERT_TRUE(onDaemon && onService);

    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_EQ(answer(*warmUp, "ping default", "ping"), "ping default ok");     // the service
    EXPECT_EQ(found(*client, "default", kFingerprint), "got default remote");  // the daemon
    EXPECT_TRUE(listed(*client));
    EXPECT_LE(status(sm->pid(), "Threads"), smThreads + 2);
    EXPECT_LE(status(service->pid(), "Threads"), serviceThreads + 2);
}

TEST_F(Hostile, StoppedServiceDelaysOnlyItsOwnLookups) {
    auto sm = manager();
    auto frozen = peer();
    auto other = peer();
    ASSERT_TRUE(sm && frozen && other);
    ASSERT_EQ(answer(*frozen, "register frozen", "registered"), "registered frozen 0");
    ASSERT_EQ(answer(*other, "register other", "registered"), "registered other 0");

    frozen->signal(SIGSTOP);
    Resume resume{frozen.get()};
    std::vector<std::unique_ptr<Process>> waiting;
    for (int i = 0; i < 5; ++i) {
        waiting.push_back(peer());
        ASSERT_TRUE(waiting.back());
        waiting.back()->send("tryget frozen");
    }
    std::this_thread::sleep_for(200ms);

    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_EQ(found(*client, "other"), "got other remote");
    EXPECT_TRUE(listed(*client));
}

TEST_F(Hostile, NoOnewayCallIsLostWhenItsSendersExit) {
    constexpr int kSenders = 8;
    constexpr int kCalls = 2000;
    auto sm = manager();
    std::string ready;
    auto sink = attacker({"sink", "sink"}, &ready);
    ASSERT_TRUE(sm && sink);
    ASSERT_EQ(ready, "ready 0");

    std::vector<std::unique_ptr<Process>> senders;
    for (int i = 0; i < kSenders; ++i) {
        senders.push_back(Process::start(
                {ZUV_ATTACKER_PATH, "send", "sink", std::to_string(i), std::to_string(kCalls)},
                {{"ZUV_HIDL_RUNTIME_DIR", dir()}, {"ZUV_HIDL_SERVICE_MANAGER", "daemon"}}));
        ASSERT_TRUE(senders.back());
    }
    for (auto& s : senders) EXPECT_EQ(s->line("sent"), "sent " + std::to_string(kCalls));

    // All of them, each sender's in the order sent (the second number counts
    // calls out of order).
    const std::string all = "count " + std::to_string(kSenders * kCalls) + " 0";
    std::string count;
    EXPECT_TRUE(eventually([&] { return (count = answer(*sink, "count", "count")) == all; }, 20s,
                           100ms))
            << count;
}

TEST_F(Hostile, ConnectionsBeyondTheDescriptorLimitNeitherSpinNorLockOut) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    ASSERT_TRUE(setLimit(sm->pid(), RLIMIT_NOFILE, 1024));
    std::string ready;
    auto holder = attacker({"hold", daemonSocket(), "1100"}, &ready);
    ASSERT_TRUE(holder);
    std::this_thread::sleep_for(300ms);

    const long before = cpuTicks(sm->pid());
    std::this_thread::sleep_for(1s);
    const long used = cpuTicks(sm->pid()) - before;
    EXPECT_LT(used, sysconf(_SC_CLK_TCK) / 2) << "daemon busy while " << ready;

    ASSERT_EQ(answer(*holder, "release", "released"), "released");
    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_TRUE(listed(*client));
}

TEST_F(Hostile, UndeclaredDescriptorsHugeAnnouncementsAndReferenceTablesCostNothing) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    const long fdsBefore = openFds(sm->pid());
    // 40 messages, each declaring none of the 25 descriptors it carries.
    auto smuggler = attacker({"fds", daemonSocket(), "40", "25"});
    ASSERT_TRUE(smuggler);
    EXPECT_TRUE(eventually([&] { return answer(*smuggler, "open", "open") == "open 0"; }, 2s, 50ms))
            << "the smuggler keeps its connection";
    EXPECT_LT(openFds(sm->pid()), fdsBefore + 64);

    const long rssBefore = status(sm->pid(), "VmRSS");

    // 500 connections, each announcing a 1 MiB call and sending none of it.
    auto bloater = attacker({"hold", daemonSocket(), "500", "1048576"});
    ASSERT_TRUE(bloater);
    long rssPeak = 0;
    for (auto end = Clock::now() + 1s; Clock::now() < end; std::this_thread::sleep_for(100ms)) {
        rssPeak = std::max(rssPeak, status(sm->pid(), "VmRSS"));
    }
    EXPECT_LT(rssPeak - rssBefore, 64 * 1024) << "kB of resident memory grew";

    // One call naming 65535 binder references: answered or dropped at once.
    std::string ready;
    auto refs = attacker({"refs", daemonSocket(), "65535"}, &ready);
    ASSERT_TRUE(refs);
    EXPECT_EQ(ready.substr(0, 15), "ready answered ");
    EXPECT_LT(std::stol(ready.substr(ready.rfind(' ') + 1)), 2000) << ready;
    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_TRUE(listed(*client, 2s));
}

TEST_F(Hostile, DaemonSurvivesWhenItCannotStartThreads) {
#ifdef ZUV_SANITIZED
    GTEST_SKIP() << "a sanitizer's shadow memory leaves no sense in an address-space limit";
#endif
    // Mapped regions and their allocations move the margin this limit leaves.
    if (getenv("ZUV_HIDL_FAST_PATH") != nullptr) GTEST_SKIP() << "measured without the fast path";
    auto sm = manager();
    ASSERT_TRUE(sm);
    // Root ignores RLIMIT_NPROC; an address-space limit leaves room for few
    // more thread stacks instead.
    ASSERT_TRUE(setLimit(sm->pid(), RLIMIT_AS, (status(sm->pid(), "VmSize") + 64 * 1024) * 1024));
    auto holder = attacker({"hold", daemonSocket(), "100"});
    ASSERT_TRUE(holder);
    std::this_thread::sleep_for(500ms);

    EXPECT_FALSE(sm->waitExit(0ms)) << "the daemon ended";
    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_TRUE(listed(*client));
}

TEST_F(Hostile, NoSocketFileOutlivesItsProcess) {
    auto sm = manager();
    auto killed = peer();
    auto exited = peer();
    ASSERT_TRUE(sm && killed && exited);
    ASSERT_EQ(answer(*killed, "register k", "registered"), "registered k 0");
    ASSERT_EQ(answer(*exited, "register e", "registered"), "registered e 0");
    killed->signal(SIGKILL);
    sm->signal(SIGKILL);
    exited->send("exit");
    ASSERT_TRUE(killed->waitExit(kStopTimeout) && exited->waitExit(kStopTimeout) &&
                sm->waitExit(kStopTimeout));

    // Once a daemon and a service have started again, the directory holds
    // sockets of live processes only.
    auto nextSm = manager();
    auto next = peer();
    ASSERT_TRUE(nextSm && next);
    ASSERT_EQ(answer(*next, "register n", "registered"), "registered n 0");
    auto stale = [&] {
        std::vector<std::string> left;
        for (const auto& entry : std::filesystem::directory_iterator(dir())) {
            const std::string name = entry.path().filename().string();
            if (name.size() < 7 || name[0] != 'p' || name.substr(name.size() - 5) != ".sock") {
                continue;
            }
            const pid_t pid = std::atoi(name.c_str() + 1);
            if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH) left.push_back(name);
        }
        return left;
    };
    eventually([&] { return stale().empty(); }, 2s, 50ms);
    EXPECT_EQ(stale(), std::vector<std::string>{});
}

}  // namespace
}  // namespace zuv_mp
