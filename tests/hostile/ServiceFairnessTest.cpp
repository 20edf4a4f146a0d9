// A client that stops inside its callback (a debugger breakpoint) and keeps
// asking: the example service goes on serving everyone else, and what the
// stalled client makes it queue stays bounded.
#include <cerrno>

#include "Hostile.h"

namespace zuv_mp {
namespace {

TEST_F(Hostile, ClientStalledInCallbackDelaysOnlyItselfAndItsReportsAreBounded) {
    // fingerprint_client passes every step, and soon.
    auto expectClientServed = [this](const char* when) {
        const auto start = Clock::now();
        Outcome out = run({ZUV_FINGERPRINT_CLIENT_PATH});
        EXPECT_EQ(out.exitCode, 0) << when << ": " << out.err;
        EXPECT_LT(Clock::now() - start, 3s) << when;
    };
    auto sm = manager();
    auto service = fingerprintService();
    auto stalled = started({ZUV_STALLED_CLIENT_PATH});
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
    // The stalled client delays only itself, while it stalls and after it ends.
    expectClientServed("while a client stalls");
    stalled->stop();
    expectClientServed("after the stalled client ended");
}

}  // namespace
}  // namespace zuv_mp
