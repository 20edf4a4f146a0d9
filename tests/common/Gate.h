// A gate a task waits at until the test opens it; the test can first wait
// for the task to arrive, so that what it pushes next is known to queue.
#pragma once

#include <chrono>
#include <future>

namespace zuv_test {

struct Gate {
    std::promise<void> arrival, opener;
    std::shared_future<void> opened = opener.get_future().share();

    void open() { opener.set_value(); }
    void wait() const { opened.wait(); }
    // Says it arrived (once), then waits.
    void arriveAndWait() {
        arrival.set_value();
        wait();
    }
    bool arrived() {
        return arrival.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    }
};

}  // namespace zuv_test
