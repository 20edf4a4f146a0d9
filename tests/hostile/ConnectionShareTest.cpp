// Processes holding as many connections as they may, together more than the
// attacked process takes: a process holding few still gets one, and idle
// pooled connections closed for it cost their owner no failed call.
#include "Hostile.h"

namespace zuv_mp {
namespace {

// The failed calls of a "calls TOTAL FAILED" answer, or the whole line.
std::string failedOf(const std::string& calls) {
    return calls.rfind("calls ", 0) == 0 ? calls.substr(calls.rfind(' ') + 1) : calls;
}

TEST_F(Hostile, ProcessesAtTheirMaximumDoNotLockOutANewClient) {
    // What the default comes to under `ulimit -n 1024`.
    auto sm = manager({}, {{"ZUV_HIDL_MAX_CONNECTIONS", "768"}});
    auto service = peer();
    ASSERT_TRUE(sm && service);
    ASSERT_TRUE(setLimit(sm->pid(), RLIMIT_NOFILE, 1024));
    ASSERT_EQ(answer(*service, "register shared", "registered"), "registered shared 0");

    // 40 x 32 = 1280 connections; started together, they connect at once.
    std::vector<std::unique_ptr<Process>> holders;
    for (int i = 0; i < 40; ++i) {
        holders.push_back(Process::start({ZUV_ATTACKER_PATH, "hold", daemonSocket(), "32"}, env()));
        ASSERT_TRUE(holders.back());
    }
    for (auto& h : holders) ASSERT_EQ(h->line("ready"), "ready 32");
    std::this_thread::sleep_for(300ms);

    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_EQ(answer(*client, "tryget shared", "got shared", 1000ms).substr(0, 17),
              "got shared remote");
    EXPECT_TRUE(listed(*client, 1000ms));
    // The room came from the holders, each keeping about its fair share
    // (768 / 40 = 19).
    long held = 0, fewest = 32, most = 0;
    for (auto& h : holders) {
        const std::string open = answer(*h, "open", "open");
        ASSERT_EQ(open.rfind("open ", 0), 0u) << open;
        const long n = std::stol(open.substr(5));
        held += n;
        fewest = std::min(fewest, n);
        most = std::max(most, n);
    }
    EXPECT_LE(held, 768);
    EXPECT_GE(fewest, 12);
    EXPECT_LE(most, 26);
}

TEST_F(Hostile, PooledConnectionsClosedForOthersFailNoCall) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    std::string ready;
    auto service = started({ZUV_ATTACKER_PATH, "sink", "sink"}, {{"ZUV_HIDL_MAX_CONNECTIONS", "8"}},
                           "", &ready);
    ASSERT_TRUE(service);
    ASSERT_EQ(ready, "ready 0");
    auto client = attacker({"pool", "sink", "6"}, &ready);
    ASSERT_TRUE(client);
    ASSERT_EQ(ready, "ready 1");
    // Six connections (of the service's eight), old enough to be given up.
    ASSERT_EQ(answer(*client, "widen", "widened"), "widened 0");
    std::this_thread::sleep_for(300ms);

    // Newcomers take idle connections of the client, the largest holder:
    // while it is idle, then while it calls.
    auto early = attacker({"hold", socketOf(*service), "4"});
    ASSERT_TRUE(early);
    const std::string open = answer(*early, "open", "open");
    EXPECT_TRUE(open == "open 2" || open == "open 3" || open == "open 4") << open;
    EXPECT_EQ(failedOf(answer(*client, "calls 300", "calls", 5s)), "0");
    std::this_thread::sleep_for(300ms);
    ASSERT_TRUE(client->send("calls 600"));
    auto late = attacker({"hold", socketOf(*service), "4"});
    ASSERT_TRUE(late);
    EXPECT_EQ(failedOf(client->line("calls", 5s).value_or("no answer")), "0");
}

}  // namespace
}  // namespace zuv_mp
