// Floods of the daemon's registry by one process: registrations, listeners,
// long names and a slow listener. Everyone else must stay served, the
// daemon's memory bounded, and its cleanup after the flooder quick and
// invisible to others.
#include "Hostile.h"

namespace zuv_mp {
namespace {

constexpr const char* kTest = "vendor.zuv.test@1.0::ITest";

// How long a full listing takes, or the deadline when it never ends.
std::chrono::milliseconds listingTime(Process& p, std::chrono::milliseconds deadline = kServed) {
    const auto start = Clock::now();
    if (!Hostile::listed(p, deadline)) return deadline;
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

// How long a lookup of name took, as the peer measured it; a lookup that
// found nothing counts as never answered.
long lookupMs(Process& p, const std::string& name) {
    const std::string got = Hostile::answer(p, "tryget " + name, "got " + name);
    if (got.rfind("got " + name + " remote ", 0) != 0) return 1000000;
    return std::stol(got.substr(got.rfind(' ') + 1));
}

TEST_F(Hostile, SlowListenerRegisteredManyTimesHoldsNobodyUp) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    // Registered first, so its notifications come first: its socket never
    // accepts, and each notification to it waits out the call deadline.
    std::string stuckReady;
    auto stuck = attacker({"stuck-listener"}, &stuckReady);
    ASSERT_TRUE(stuck);
    ASSERT_EQ(stuckReady, "ready 1 1");

    // 2000 registrations of one listener are one; its adds come back at once.
    std::string ready;
    auto slow = attacker({"slow-listener", "2000", "4"}, &ready);
    ASSERT_TRUE(slow);
    std::istringstream fields(ready);
    std::string word;
    long registered = 0, added = 0, slowestAdd = 0;
    fields >> word >> registered >> added >> slowestAdd;
    EXPECT_EQ(registered, 2000);
    EXPECT_EQ(added, 4);
    EXPECT_LT(slowestAdd, 500) << ready;

    // Behind the stuck and the slow listener, another listener hears of a
    // new registration at once, and the daemon serves everyone.
    auto watcher = peer();
    auto other = peer();
    ASSERT_TRUE(watcher && other);
    ASSERT_EQ(answer(*watcher, std::string("watch ") + kTest + " -", "watching"), "watching 1");
    const auto start = Clock::now();
    ASSERT_EQ(answer(*other, "register fresh", "registered"), "registered fresh 0");
    EXPECT_LT(Clock::now() - start, 500ms) << "the add waited for listeners";
    EXPECT_TRUE(watcher->line(std::string("notified ") + kTest + " fresh", 1s));
    EXPECT_LT(Clock::now() - start, 500ms) << "the watcher was told late";
    EXPECT_LT(listingTime(*other), 1s);
    EXPECT_LT(lookupMs(*watcher, "fresh"), 1000);
    auto lshal = run({ZUV_LSHAL_PATH});
    EXPECT_EQ(lshal.exitCode, 0) << lshal.err;
}

TEST_F(Hostile, FloodsStopAtTheQuotasAndAreCleanedUpQuickly) {
    auto sm = manager();
    auto service = peer();
    auto client = peer();
    ASSERT_TRUE(sm && service && client);
    ASSERT_EQ(answer(*service, "register mine", "registered"), "registered mine 0");
    const long rssBefore = status(sm->pid(), "VmRSS");

    // Past every quota, with names of the longest length accepted.
    auto flooder = Process::start({ZUV_ATTACKER_PATH, "flood", "1000", "1000", "4000"}, env());
    ASSERT_TRUE(flooder);
    const auto names = flooder->line("names", 20s);
    const auto listeners = flooder->line("listeners", 20s);
    ASSERT_TRUE(names && listeners && flooder->line("ready", 5s));
    // A service is entered under its interface and IBase: 128 of them fill 256 names.
    EXPECT_THAT(*names, AllOf(StartsWith("names 128 "), HasSubstr("ZUV_HIDL_MAX_NAMES")));
    EXPECT_THAT(*listeners,
                AllOf(StartsWith("listeners 256 "), HasSubstr("ZUV_HIDL_MAX_LISTENERS")));
    EXPECT_LT(status(sm->pid(), "VmRSS") - rssBefore, memoryBoundKb(16 * 1024))
            << "kB the flood cost";

    // Served meanwhile: lookups, and a listing that says what did not fit.
    EXPECT_EQ(found(*client, "mine"), "got mine remote");
    EXPECT_TRUE(listed(*client));
    auto lshal = run({ZUV_LSHAL_PATH});
    EXPECT_EQ(lshal.exitCode, 0) << lshal.err;
    EXPECT_THAT(lshal.err, HasSubstr("not all services are listed"));
    bool mineShown = false;
    for (const auto& l : lshal.lines) mineShown |= l.find(kTest) != std::string::npos;
    EXPECT_TRUE(mineShown) << "the flood pushed the client's service out of the listing";

    // The flooder exits: everyone is served at once while the daemon forgets
    // it, and then the daemon is idle again.
    const long cpuBefore = cpuTicks(sm->pid());
    flooder->signal(SIGKILL);
    ASSERT_TRUE(flooder->waitExit(kStopTimeout));
    std::chrono::milliseconds slowestListing{0};
    long slowestLookup = 0;
    for (auto end = Clock::now() + 1s; Clock::now() < end;) {
        slowestListing = std::max(slowestListing, listingTime(*client));
        slowestLookup = std::max(slowestLookup, lookupMs(*client, "mine"));
    }
    EXPECT_LT(slowestListing, timeBound(250ms));  // as the test sees it, scheduling included
    EXPECT_LT(slowestLookup, timeBound(100L));
    const long cpuCleanup = cpuTicks(sm->pid()) - cpuBefore;
    // The second of listings above counts too; the quadratic cleanup took five.
    EXPECT_LT(cpuCleanup, timeBound(sysconf(_SC_CLK_TCK))) << "ticks spent forgetting the flooder";
    auto after = run({ZUV_LSHAL_PATH});
    EXPECT_THAT(after.err, testing::Not(HasSubstr("not all")));
}

TEST_F(Hostile, OverlongNamesAreRefusedAndCostNothing) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    const long rssBefore = status(sm->pid(), "VmRSS");
    // 40 adds and 40 listeners, each name 100 kB long.
    auto flooder = Process::start({ZUV_ATTACKER_PATH, "flood", "40", "40", "100000"}, env());
    ASSERT_TRUE(flooder);
    const auto names = flooder->line("names", 10s);
    const auto listeners = flooder->line("listeners", 10s);
    ASSERT_TRUE(names && listeners);
    EXPECT_THAT(*names, AllOf(StartsWith("names 0 "), HasSubstr("ZUV_HIDL_MAX_NAME_LENGTH")));
    EXPECT_THAT(*listeners,
                AllOf(StartsWith("listeners 0 "), HasSubstr("ZUV_HIDL_MAX_NAME_LENGTH")));
    EXPECT_LT(status(sm->pid(), "VmRSS") - rssBefore, memoryBoundKb(8 * 1024))
            << "kB the refused names cost";
    auto client = peer();
    ASSERT_TRUE(client);
    EXPECT_LT(listingTime(*client), 1s);
}

}  // namespace
}  // namespace zuv_mp
