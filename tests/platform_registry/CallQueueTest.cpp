// The ordered, bounded call queues a service reports through.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hidl_host/CallDeadline.h>
#include <hidl_host/CallQueue.h>
#include <hidl_host/Loopback.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "Gate.h"
#include "TestNames.h"

namespace {

using android::hardware::host::CallQueue;
using android::hardware::host::CallQueueLimits;
using android::hardware::host::CallQueueSet;
using android::hardware::host::kCallQueueFull;
using android::hardware::host::ScopedCallTimeout;
using zuv_test::Gate;

TEST(CallQueueTest, RunsInOrderUnderItsDeadlineAndRefusesPastItsBounds) {
    CallQueue queue(CallQueueLimits{4, 100, 250ms});
    Gate gate;
    std::mutex lock;
    std::vector<int> order;
    std::vector<std::optional<std::chrono::milliseconds>> deadlines;
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(queue.post(
                          [&, i] {
                              if (i == 0) gate.wait();
                              std::lock_guard<std::mutex> guard(lock);
                              order.push_back(i);
                              deadlines.push_back(ScopedCallTimeout::current());
                          },
                          20),
                  OK);
    }
    // Full by count, and by bytes once there is room again.
    EXPECT_EQ(queue.post([] {}), kCallQueueFull);
    gate.open();
    ASSERT_TRUE(queue.waitIdle(std::chrono::steady_clock::now() + 5s));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(deadlines, decltype(deadlines)(4, 250ms));
    EXPECT_EQ(queue.post([] {}, 101), kCallQueueFull);
    EXPECT_EQ(queue.post([] {}, 100), OK);
    EXPECT_FALSE(ScopedCallTimeout::current());  // the poster's thread is left alone
}

TEST(CallQueueTest, StalledObjectDelaysNoOtherAndIdleQueuesAreDropped) {
    CallQueueSet queues;
    // A queue that ran dry is dropped by its worker just after, not at once.
    auto settlesAt = [&](size_t n) {
        for (int i = 0; i < 200 && queues.size() != n; ++i) std::this_thread::sleep_for(5ms);
        return queues.size();
    };
    sp<IBase> stalled = new IBase(), other = new IBase();
    Gate gate;
    ASSERT_EQ(queues.post(stalled, [opened = gate.opened] { opened.wait(); }), OK);
    std::promise<void> ran;
    ASSERT_EQ(queues.post(other, [&ran] { ran.set_value(); }), OK);
    EXPECT_EQ(ran.get_future().wait_for(2s), std::future_status::ready);
    // Waiting for the other object's queue does not wait for the stalled one.
    EXPECT_TRUE(queues.waitIdle([&](const CallQueueSet::Object& o) { return o == other; },
                                std::chrono::steady_clock::now() + 2s));
    EXPECT_EQ(settlesAt(1), 1u);
    gate.open();
    EXPECT_TRUE(queues.waitIdle([](const CallQueueSet::Object&) { return true; },
                                std::chrono::steady_clock::now() + 2s));
    EXPECT_EQ(settlesAt(0), 0u);
}

// A service's queues go before the service does: a call still running on the
// queue of a client that died must not outlive the set.
TEST(CallQueueTest, EndOfSetWaitsForTheRunningCallOfADeadObject) {
    using android::hidl::base::V1_0::BnHwBase;
    using android::hidl::base::V1_0::BpHwBase;
    const sp<android::hardware::IBinder> binder =
            android::hardware::host::loopbackProxyFor(new BnHwBase(new IBase()));
    sp<IBase> remote = new BpHwBase(binder);
    auto queues = std::make_unique<CallQueueSet>();
    Gate gate;
    std::atomic<bool> finished{false};
    ASSERT_EQ(queues->post(remote,
                           [&gate, &finished] {
                               gate.arriveAndWait();
                               finished = true;
                           }),
              OK);
    ASSERT_TRUE(gate.arrived());
    ASSERT_TRUE(android::hardware::host::killLoopbackTarget(binder));
    std::thread releaser([&gate] {
        std::this_thread::sleep_for(50ms);
        gate.open();
    });
    queues.reset();
    EXPECT_TRUE(finished);
    releaser.join();
}

}  // namespace
