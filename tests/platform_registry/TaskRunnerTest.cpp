#include <gtest/gtest.h>
#include <hidl/TaskRunner.h>
#include <hidl_host/TaskRunnerConfig.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using android::hardware::details::TaskRunner;
using namespace std::chrono_literals;

namespace {

// A latch a task can block on until the test opens it.
class Gate {
  public:
    void open() {
        std::lock_guard<std::mutex> lock(mMutex);
        mOpen = true;
        mCv.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(mMutex);
        mCv.wait(lock, [&] { return mOpen; });
    }

  private:
    std::mutex mMutex;
    std::condition_variable mCv;
    bool mOpen = false;
};

// Pushes a task that blocks the worker until `release` opens, and returns once
// the worker is inside it, so later pushes are known to wait in the queue.
void occupyWorker(TaskRunner& runner, Gate& release) {
    auto entered = std::make_shared<std::promise<void>>();
    auto inside = entered->get_future();
    ASSERT_TRUE(runner.push([entered, &release] {
        entered->set_value();
        release.wait();
    }));
    ASSERT_EQ(inside.wait_for(5s), std::future_status::ready);
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

TEST(TaskRunner, RunsInPushOrderOnOneWorkerThatIsNotThePusher) {
    TaskRunner runner;
    runner.start(10000);
    std::vector<int> seen;
    std::vector<std::thread::id> threads;
    for (int i = 0; i < 500; ++i) {
        ASSERT_TRUE(runner.push([&, i] {
            seen.push_back(i);
            threads.push_back(std::this_thread::get_id());
        }));
    }
    drain(runner);
    ASSERT_EQ(seen.size(), 500u);
    for (int i = 0; i < 500; ++i) EXPECT_EQ(seen[i], i);
    for (auto id : threads) {
        EXPECT_EQ(id, threads.front());
        EXPECT_NE(id, std::this_thread::get_id());
    }
}

TEST(TaskRunner, RefusesBeforeStartAndEmptyTasks) {
    TaskRunner runner;
    EXPECT_FALSE(runner.push([] {}));
    runner.start(1);
    EXPECT_FALSE(runner.push(TaskRunner::Task()));
    EXPECT_TRUE(runner.push([] {}));
}

TEST(TaskRunner, LimitCountsWaitingTasksAndRecoversAfterDraining) {
    TaskRunner runner;
    runner.start(3);
    Gate gate;
    occupyWorker(runner, gate);  // the running task does not count
    std::atomic<int> ran{0};
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(runner.push([&] { ++ran; }));
    EXPECT_FALSE(runner.push([&] { ran += 100; }));  // refused and never run
    gate.open();
    drain(runner);
    EXPECT_EQ(ran.load(), 3);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(runner.push([&] { ++ran; }));
    drain(runner);
    EXPECT_EQ(ran.load(), 6);
}

TEST(TaskRunner, DestructionDropsWaitingTasksAndWaitsForTheRunningOne) {
    auto runner = std::make_unique<TaskRunner>();
    runner->start(100);
    Gate gate;
    occupyWorker(*runner, gate);
    std::atomic<int> ran{0};
    auto captured = std::make_shared<int>(7);
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(runner->push([&ran, captured] { ++ran; }));
    EXPECT_EQ(captured.use_count(), 11);

    std::atomic<bool> destroyed{false};
    std::thread destroyer([&] {
        runner.reset();
        destroyed = true;
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(destroyed.load()) << "must wait for the running task";
    gate.open();
    destroyer.join();
    EXPECT_TRUE(destroyed.load());
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

TEST(TaskRunner, WorkerRestartsAfterIdleExit) {
    using android::hardware::host::getTaskRunnerIdleTimeout;
    using android::hardware::host::setTaskRunnerIdleTimeout;
    auto saved = getTaskRunnerIdleTimeout();
    setTaskRunnerIdleTimeout(10ms);
    TaskRunner runner;
    runner.start(10);
    for (int round = 0; round < 5; ++round) {
        drain(runner);
        std::this_thread::sleep_for(30ms);  // long enough for the worker to leave
    }
    setTaskRunnerIdleTimeout(saved);
}

TEST(TaskRunner, ManyPushersKeepTheirOwnOrder) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 2000;
    TaskRunner runner;
    runner.start(kThreads * kPerThread);
    std::vector<std::vector<int>> seen(kThreads);
    std::vector<std::thread> pushers;
    for (int t = 0; t < kThreads; ++t) {
        pushers.emplace_back([&, t] {
            for (int i = 0; i < kPerThread; ++i) {
                // Only the worker touches `seen`, so no lock is needed.
                ASSERT_TRUE(runner.push([&seen, t, i] { seen[t].push_back(i); }));
            }
        });
    }
    for (auto& p : pushers) p.join();
    drain(runner);
    for (int t = 0; t < kThreads; ++t) {
        ASSERT_EQ(seen[t].size(), static_cast<size_t>(kPerThread));
        for (int i = 0; i < kPerThread; ++i) ASSERT_EQ(seen[t][i], i);
    }
}

TEST(TaskRunner, ConcurrentPushAndDestructionNeitherHangsNorRunsLate) {
    for (int round = 0; round < 50; ++round) {
        auto runner = std::make_unique<TaskRunner>();
        runner->start(1000);
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
}

}  // namespace
