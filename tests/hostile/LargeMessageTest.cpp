// Large messages misused: bulk regions the service must decline or drop,
// messages that claim more than their region, and large messages that never
// finish. The service keeps serving others, spends no CPU waiting and holds
// no more than one region or one announced message per connection.

#include "Hostile.h"

namespace zuv_mp {
namespace {

class LargeMessage : public Hostile {
  protected:
    LargeMessage() {
        mEnv["ZUV_HIDL_FAST_PATH"] = "1";
        // A 2 MiB bulk region is more than one peer may hold.
        mEnv["ZUV_HIDL_MAX_PEER_BYTES"] = std::to_string(2 * 1024 * 1024);
    }

    // Bulk regions the process has mapped.
    static int bulkMappings(pid_t pid) {
        std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
        int count = 0;
        for (std::string line; std::getline(maps, line);) {
            count += line.find("memfd:attacker-bulk") != std::string::npos;
        }
        return count;
    }

    void expectServed(const char* when) {
        auto client = peer();
        ASSERT_TRUE(client);
        EXPECT_EQ(found(*client, "default", kFingerprint), "got default remote") << when;
        EXPECT_EQ(answer(*client, "ping default", "ping"), "ping default ok") << when;
    }
};

TEST_F(LargeMessage, MisusedRegionsAndStalledMessagesCostTheirSizeAndNoSpin) {
    auto sm = manager();
    auto service = fingerprintService();
    ASSERT_TRUE(sm && service);
    for (const char* attack : {"unacked", "beyond"}) {
        SCOPED_TRACE(attack);
        std::string ready;
        auto attacking = attacker({"bulk", socketOf(*service), attack}, &ready);
        ASSERT_TRUE(attacking);
        // served: the proper message before the bad one; then dropped.
        EXPECT_EQ(ready, std::string(attack) == "beyond" ? "ready 1 1" : "ready 0 1");
        expectServed(attack);
    }
    EXPECT_EQ(bulkMappings(service->pid()), 0);

    long rssBefore = status(service->pid(), "VmRSS");
    std::string ready;
    auto attack = attacker({"bulk", socketOf(*service), "offers"}, &ready);
    ASSERT_TRUE(attack);
    // None of the three bad ones taken; every call answered over the socket.
    EXPECT_EQ(ready, "ready 0 4");
    // The last one taken, every earlier one let go.
    EXPECT_EQ(bulkMappings(service->pid()), 1) << "regions kept after 40 offers";
    const long growthKb = status(service->pid(), "VmRSS") - rssBefore;
    EXPECT_LT(growthKb, memoryBoundKb(4 * 1024)) << "the service grew by " << growthKb << " kB";
    expectServed("after the offers");
    attack.reset();

    // Large messages announced and stalled or dribbled.
    rssBefore = status(service->pid(), "VmRSS");
    const long ticksBefore = cpuTicks(service->pid());

    auto stalled = attacker({"hold", socketOf(*service), "4", std::to_string(900 * 1024)});
    auto dribbler = attacker({"dribble", socketOf(*service), std::to_string(900 * 1024)});
    ASSERT_TRUE(stalled && dribbler);
    std::this_thread::sleep_for(1500ms);
    expectServed("while messages are under way");

    // A thread spinning on them would have used most of that time.
    const long ticks = cpuTicks(service->pid()) - ticksBefore;
    EXPECT_LT(ticks, timeBound(30)) << "CPU ticks of the service while attacked";
    // At most the five announced messages.
    const long heldKb = status(service->pid(), "VmRSS") - rssBefore;
    EXPECT_LT(heldKb, memoryBoundKb(5 * 900 + 2 * 1024))
            << "the service grew by " << heldKb << " kB";
}

}  // namespace
}  // namespace zuv_mp
