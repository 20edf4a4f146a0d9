#include <hidl/TaskRunner.h>
#include <hidl_host/TaskRunnerConfig.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace android {
namespace hardware {

namespace {
// Idle workers go away so that many rarely used wrappers don't each pin a thread.
std::atomic<int64_t> gIdleTimeoutMs{10000};
}  // namespace

namespace host {
void setTaskRunnerIdleTimeout(std::chrono::milliseconds timeout) {
    gIdleTimeoutMs.store(timeout.count() < 1 ? 1 : timeout.count());
}
std::chrono::milliseconds getTaskRunnerIdleTimeout() {
    return std::chrono::milliseconds(gIdleTimeoutMs.load());
}
}  // namespace host

namespace details {

// Shared between the runner and its worker, so a worker that outlives the
// runner (destroyed from inside a task) still has valid state to finish with.
struct TaskRunner::State {
    std::mutex mutex;
    std::condition_variable wake;        // worker: new task or stop
    std::condition_variable workerGone;  // destructor: worker has left
    std::deque<Task> queue;
    size_t limit = 0;
    bool started = false;
    bool stopping = false;
    bool workerAlive = false;
    std::thread::id workerId;
};

namespace {

void workerLoop(const std::shared_ptr<TaskRunner::State>& state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!state->stopping) {
        if (state->queue.empty()) {
            bool woken = state->wake.wait_for(lock, host::getTaskRunnerIdleTimeout(), [&] {
                return state->stopping || !state->queue.empty();
            });
            if (!woken) break;
            continue;
        }
        {
            TaskRunner::Task task = std::move(state->queue.front());
            state->queue.pop_front();
            lock.unlock();
            task();
            // The task (and whatever it holds) is released before relocking.
        }
        lock.lock();
    }
    state->workerAlive = false;
    state->workerId = std::thread::id();
    state->workerGone.notify_all();
}

}  // namespace

TaskRunner::TaskRunner() : mState(std::make_shared<State>()) {}

TaskRunner::~TaskRunner() {
    std::deque<Task> dropped;
    std::unique_lock<std::mutex> lock(mState->mutex);
    mState->stopping = true;
    dropped.swap(mState->queue);
    mState->wake.notify_all();
    lock.unlock();
    dropped.clear();  // outside the lock: a task's captures may do anything on release

    lock.lock();
    if (mState->workerAlive && mState->workerId != std::this_thread::get_id()) {
        mState->workerGone.wait(lock, [&] { return !mState->workerAlive; });
    }
}

void TaskRunner::start(size_t limit) {
    std::lock_guard<std::mutex> lock(mState->mutex);
    mState->limit = limit;
    mState->started = true;
}

bool TaskRunner::push(const Task& task) {
    if (!task) return false;
    std::lock_guard<std::mutex> lock(mState->mutex);
    State& s = *mState;
    if (!s.started || s.stopping || s.queue.size() >= s.limit) return false;
    s.queue.push_back(task);
    if (s.workerAlive) {
        s.wake.notify_one();
        return true;
    }
    try {
        std::thread worker(workerLoop, mState);
        s.workerId = worker.get_id();
        s.workerAlive = true;
        // Not joined: the worker owns a share of the state and ends by itself
        // once the runner stops, so a runner destroyed
        // on its own worker does not wait for itself.
        worker.detach();
    } catch (const std::system_error&) {
        s.queue.pop_back();  // no thread to run it: refuse rather than queue forever
        return false;
    }
    return true;
}

}  // namespace details
}  // namespace hardware
}  // namespace android
