#include <gtest/gtest.h>
#include <hidl/TaskRunner.h>
#include <hidl_host/TaskRunnerConfig.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include "Gate.h"

using android::hardware::details::TaskRunner;
using zuv_test::Gate;
using namespace std::chrono_literals;

namespace {

// Returns once the worker is blocked in a task that waits for `release`, so
// later pushes are known to wait in the queue.
void occupyWorker(TaskRunner& runner, Gate& release) {
    ASSERT_TRUE(runner.push([&release] { release.arriveAndWait(); }));
    ASSERT_TRUE(release.arrived());
}

// Returns once every task pushed before it has run; retries while the queue
// is full.
void drain(TaskRunner& runner) {
    auto done = std::make_shared<std::promise<void>>();
    auto f = done->get_future();
    auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!runner.push([done] { done->set_value(); })) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(1ms);
    }
    ASSERT_EQ(f.wait_for(5s), std::future_status::ready);
}

TEST(TaskRunner, DestructionDropsWaitingTasksAndWaitsForTheRunningOne) {
    auto runner = std::make_unique<TaskRunner>();
    runner->start(100);
    Gate gate;
    occupyWorker(*runner, gate);
    std::atomic<int> ran{0};
    auto captured = std::make_shared<int>(7);
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(runner->push([&ran, captured] { ++ran; }));

    std::atomic<bool> destroyed{false};
    std::thread destroyer([&] {
        runner.reset();
        destroyed = true;
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(destroyed.load()) << "must wait for the running task";
    gate.open();
    destroyer.join();
    EXPECT_EQ(captured.use_count(), 1) << "dropped tasks must be released";
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(ran.load(), 0);
}

TEST(TaskRunner, CanBeDestroyedFromItsOwnTask) {
    auto runner = std::make_shared<std::unique_ptr<TaskRunner>>(std::make_unique<TaskRunner>());
    (*runner)->start(10);
    Gate gate;
    occupyWorker(**runner, gate);
    std::atomic<bool> laterRan{false};
    auto destroyedInside = std::make_shared<std::promise<void>>();
    auto f = destroyedInside->get_future();
    ASSERT_TRUE((*runner)->push([runner, destroyedInside] {
        runner->reset();
        destroyedInside->set_value();
    }));
    ASSERT_TRUE((*runner)->push([&] { laterRan = true; }));
    gate.open();
    ASSERT_EQ(f.wait_for(5s), std::future_status::ready) << "self-destruction deadlocked";
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(laterRan.load());
}

TEST(TaskRunner, WorkerRestartsAfterIdleExitAndDestructionRacesPushes) {
    using android::hardware::host::getTaskRunnerIdleTimeout;
    using android::hardware::host::setTaskRunnerIdleTimeout;
    auto saved = getTaskRunnerIdleTimeout();
    setTaskRunnerIdleTimeout(10ms);
    for (int round = 0; round < 50; ++round) {
        auto runner = std::make_unique<TaskRunner>();
        EXPECT_FALSE(runner->push([] {})) << "not started";
        runner->start(1000);
        EXPECT_FALSE(runner->push(TaskRunner::Task()));
        if (round < 5) {
            drain(*runner);
            std::this_thread::sleep_for(30ms);  // long enough for the worker to leave
            drain(*runner);
        }
        auto alive = std::make_shared<std::atomic<bool>>(true);
        std::atomic<int> lateRuns{0};
        for (int i = 0; i < 200; ++i) {
            runner->push([alive, &lateRuns] {
                if (!alive->load()) ++lateRuns;
            });
        }
        runner.reset();
        alive->store(false);
        EXPECT_EQ(lateRuns.load(), 0);
    }
    setTaskRunnerIdleTimeout(saved);
}

}  // namespace
