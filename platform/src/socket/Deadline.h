// Clocks, deadlines and byte budgets: what every wait and every buffer of
// the socket transport is measured against. A budget is shared by the
// connections of one peer (or of all peers) on any thread: its count is atomic,
// and a charge that would pass the limit is taken back whole.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>

namespace android {
namespace hardware {
namespace host {
namespace socket {

using Clock = std::chrono::steady_clock;
// When a wait gives up; none waits as long as it takes.
using Deadline = std::optional<Clock::time_point>;

// Bytes buffered on behalf of someone, against a limit.
struct ByteBudget {
    explicit ByteBudget(size_t l) : limit(l) {}
    std::atomic<size_t> used{0};
    const size_t limit;
};

// What one connection's buffers count against: its peer's budget and the
// process's, either of them absent. Both are charged, or neither.
struct Budgets {
    ByteBudget* peer = nullptr;
    ByteBudget* total = nullptr;

    bool reserve(size_t bytes) const {
        for (ByteBudget* budget : {peer, total}) {
            if (budget == nullptr) continue;
            if (budget->used.fetch_add(bytes) + bytes > budget->limit) {
                budget->used.fetch_sub(bytes);
                if (budget == total && peer != nullptr) peer->used.fetch_sub(bytes);
                return false;
            }
        }
        return true;
    }
    void unreserve(size_t bytes) const {
        for (ByteBudget* budget : {peer, total}) {
            if (budget != nullptr) budget->used.fetch_sub(bytes);
        }
    }
};

// Milliseconds left until the deadline, for poll(2): -1 without one.
inline int timeoutMs(Deadline deadline) {
    if (!deadline) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT32_MAX));
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
