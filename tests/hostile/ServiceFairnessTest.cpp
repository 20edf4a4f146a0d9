// A client that stops inside its callback (a debugger breakpoint) and keeps
// asking: the example service goes on serving everyone else, and what the
// stalled client makes it queue stays bounded.
#include <cerrno>
#include <chrono>

#include "Hostile.h"

namespace zuv_mp {
namespace {

class ServiceFairness : public Hostile {
  protected:
    std::unique_ptr<Process> stalledClient() { return started({ZUV_STALLED_CLIENT_PATH}); }
    // fingerprint_client passes every step, and soon.
    void expectClientServed(const char* when) {
        const auto start = Clock::now();
        Outcome out = run({ZUV_FINGERPRINT_CLIENT_PATH});
        const auto took =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        EXPECT_EQ(out.exitCode, 0) << when << ": " << out.err;
        EXPECT_LT(took.count(), 3000) << when;
    }
};

TEST_F(ServiceFairness, ClientStalledInCallbackDelaysOnlyItself) {
    auto sm = manager();
    auto service = fingerprintService();
    auto stalled = stalledClient();
    ASSERT_TRUE(sm && service && stalled);
    stalled->send("stall");
    ASSERT_TRUE(stalled->line("stalled", kServed));

    expectClientServed("while a client stalls");
    stalled->stop();
    expectClientServed("after it");
}

TEST_F(ServiceFairness, ReportsQueuedForStalledClientAreBounded) {
    auto sm = manager();
    auto service = fingerprintService();
    auto stalled = stalledClient();
    ASSERT_TRUE(sm && service && stalled);
    stalled->send("flood 1 524288");  // the service's buffers for such calls, warmed up
    ASSERT_TRUE(stalled->line("flood", kServed));
    stalled->send("stall");
    ASSERT_TRUE(stalled->line("stalled", kServed));
    const long rssBefore = status(service->pid(), "VmRSS");

    stalled->send("flood 200 524288");
    auto flood = stalled->line("flood", 10s);
    ASSERT_TRUE(flood);
    size_t accepted = 0, refused = 0, failed = 0;
    ASSERT_EQ(std::sscanf(flood->c_str(), "flood %zu accepted %zu refused %zu failed", &accepted,
                          &refused, &failed),
              3)
            << *flood;
    EXPECT_EQ(failed, 0u) << *flood;
    EXPECT_GE(refused, 150u) << *flood;  // the queue holds 16 reports or 4 MiB; some drain
    const long growthKb = status(service->pid(), "VmRSS") - rssBefore;
    EXPECT_LT(growthKb, memoryBoundKb(24 * 1024)) << "the service grew by " << growthKb << " kB";
    EXPECT_TRUE(service->line("service: match from pid " + std::to_string(stalled->pid()) +
                              " refused (" + std::to_string(-ENOBUFS) + ")"));
    expectClientServed("after the flood");
}

}  // namespace
}  // namespace zuv_mp
