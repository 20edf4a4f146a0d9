#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "Common.h"

namespace zuv_bench {
namespace {

// Long enough to cover a round trip between two running CPUs, short enough
// not to matter when the partner is not running.
constexpr auto kSpin = std::chrono::microseconds(20);

long futex(std::atomic<uint32_t>* word, int op, uint32_t value, const timespec* timeout) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, timeout, nullptr, 0);
}

inline void relax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Waits while word holds from. The asleep flag and the word are both
// sequentially consistent, so a poster either sees the flag or the waiter
// sees the new value before it sleeps.
bool await(std::atomic<uint32_t>& word, uint32_t from, std::atomic<uint32_t>& asleep, bool spin,
           const timespec* timeout) {
    if (spin) {
        const auto end = Clock::now() + kSpin;
        do {
            for (int i = 0; i < 64; ++i) {
                if (word.load(std::memory_order_acquire) != from) return true;
                relax();
            }
        } while (Clock::now() < end);
    }
    asleep.store(1);
    bool ok = true;
    while (ok && word.load() == from) {
        ok = !(futex(&word, FUTEX_WAIT, from, timeout) != 0 && errno == ETIMEDOUT);
    }
    asleep.store(0);
    return ok;
}

void post(std::atomic<uint32_t>& word, uint32_t value, std::atomic<uint32_t>& asleep, bool spin) {
    word.store(value);
    // Without the spin the wake is always made: that is the plain baseline.
    if (!spin || asleep.load() != 0) futex(&word, FUTEX_WAKE, 1, nullptr);
}

}  // namespace

bool futexPing(FutexPair* pair, bool spin) {
    static const timespec kSecond{1, 0};
    post(pair->word, 1, pair->serverAsleep, spin);
    return await(pair->word, 1, pair->clientAsleep, spin, &kSecond);
}

void futexServe(FutexPair* pair, bool spin) {
    for (;;) {
        const uint32_t v = pair->word.load();
        if (v != 1) {
            await(pair->word, v, pair->serverAsleep, spin, nullptr);
            continue;
        }
        post(pair->word, 2, pair->clientAsleep, spin);
    }
}

}  // namespace zuv_bench
