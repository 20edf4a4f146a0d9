// A queue of tasks served in order by one worker thread of its own; the
// passthrough wrappers run their oneway calls on it so that the caller never
// waits for the implementation.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

namespace android {
namespace hardware {
namespace details {

class TaskRunner {
  public:
    using Task = std::function<void()>;

    TaskRunner();
    // Tasks still waiting are dropped without running; a task that is running
    // is waited for, unless the runner is destroyed from inside that very task
    // (then the worker is left to finish on its own).
    ~TaskRunner();

    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;

    // Sets how many tasks may wait at most; push() refuses before start().
    // Calling it again only changes the limit.
    void start(size_t limit);

    // Appends a task; false (nothing queued) when not started, when the task
    // is empty or when `limit` tasks are already waiting. Tasks run one at a
    // time, in push order, never on the pushing thread.
    bool push(const Task& task);

    struct State;

  private:
    std::shared_ptr<State> mState;
};

}  // namespace details
}  // namespace hardware
}  // namespace android
