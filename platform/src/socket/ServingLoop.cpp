#include "socket/ServingLoop.h"

#include <errno.h>
#include <hidl_host/Log.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <new>
#include <system_error>
#include <thread>

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// The timer's tick: accepting pauses this long after the process ran out of
// descriptors, and dying peers are looked at this often.
constexpr long kTimerTickMs = 100;
// How long shutdown waits for threads still serving a call.
constexpr auto kShutdownWait = std::chrono::seconds(2);
// A thread that waits while no other does takes up to this many events at
// once: under load that saves a wait per call.
constexpr int kEventBatch = 8;

thread_local bool tServingThread = false;

}  // namespace

ServingLoop::ServingLoop(EventHandler& handler)
    : mHandler(handler),
      mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mWake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      mTimer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!ready()) {
        logf(LogLevel::Error, "hidl socket transport: cannot set up serving: %s", strerror(errno));
        return;
    }
    epoll_event ev{};
    ev.events = EPOLLIN;
    ev.data.u64 = tagged(kTagWake, 0);
    epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, mWake.get(), &ev);
    ev.data.u64 = tagged(kTagTimer, 0);
    epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, mTimer.get(), &ev);
}

void ServingLoop::watch(int fd, Tag tag, uint64_t value) const {
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.u64 = tagged(tag, value);
    epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, fd, &ev);
}

void ServingLoop::rewatch(int fd, Tag tag, uint64_t value) const {
    epoll_event ev{};
    ev.events = EPOLLIN | EPOLLONESHOT;
    ev.data.u64 = tagged(tag, value);
    epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, fd, &ev);
}

void ServingLoop::unwatch(int fd) const {
    epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, fd, nullptr);
}

void ServingLoop::armTimer() const {
    itimerspec t{};
    t.it_value.tv_nsec = kTimerTickMs * 1000000;
    timerfd_settime(mTimer.get(), 0, &t, nullptr);
}

void ServingLoop::drainTimer() const {
    uint64_t expirations;
    ssize_t r = ::read(mTimer.get(), &expirations, sizeof(expirations));
    (void)r;
}

size_t ServingLoop::spawn(size_t count) {
    for (size_t i = 0; i < count; ++i) {
        try {
            // Process-lived; see the header.
            std::thread([this] { run(); }).detach();
        } catch (const std::system_error& e) {
            // Fewer threads serve; the process goes on.
            ZUV_LOG_ONCE(LogLevel::Warning,
                         "hidl socket transport: cannot start a serving thread: %s", e.what());
            return i;
        }
    }
    return count;
}

void ServingLoop::run() {
    {
        std::lock_guard<std::mutex> lock(mServerLock);
        ++mServing;
    }
    tServingThread = true;
    bool stop = false;
    // Events this thread took but could not share (no memory for the list):
    // it serves them itself, in turn.
    epoll_event kept[kEventBatch];
    int keptCount = 0;
    while (!stop || keptCount > 0) {
        epoll_event event;
        if (keptCount > 0) {
            event = kept[--keptCount];
        } else if (!takePending(&event)) {
            epoll_event events[kEventBatch];
            // With another thread waiting too, each takes one event, so that
            // both get work.
            const int most =
                    mIdleServers.fetch_add(1, std::memory_order_relaxed) == 0 ? kEventBatch : 1;
            const int n = epoll_wait(mEpoll.get(), events, most, -1);
            mIdleServers.fetch_sub(1, std::memory_order_relaxed);
            if (n < 0 && errno != EINTR) break;
            int first = -1;
            {
                std::lock_guard<std::mutex> lock(mPendingLock);
                for (int i = 0; i < n; ++i) {
                    if ((events[i].data.u64 & 0xff) == kTagWake) {
                        stop = true;
                    } else if (first < 0) {
                        first = i;
                    } else {
                        try {
                            mPending.push_back(events[i]);
                        } catch (const std::bad_alloc&) {
                            kept[keptCount++] = events[i];
                        }
                    }
                }
                mPendingCount.store(mPending.size(), std::memory_order_relaxed);
            }
            if (first < 0) continue;
            event = events[first];
            // A thread that waits meanwhile gets one of the rest at once.
            if (mIdleServers.load(std::memory_order_relaxed) > 0) handOnePending();
        }
        const auto tag = static_cast<Tag>(event.data.u64 & 0xff);
        const uint64_t value = event.data.u64 >> 8;
        try {
            mHandler.dispatch(tag, value, event.events);
        } catch (const std::bad_alloc&) {
            // Out of memory is not fatal: what was being served is given up
            // or retried later, and the process goes on.
            ZUV_LOG_ONCE(LogLevel::Warning, "hidl socket transport: %s",
                         "out of memory; a connection or event is dropped");
            mHandler.recover(tag, value);
        }
    }
    tServingThread = false;
    {
        std::lock_guard<std::mutex> lock(mServerLock);
        --mServing;
    }
    mServerGone.notify_all();
}

bool ServingLoop::takePending(epoll_event* out) {
    if (mPendingCount.load(std::memory_order_relaxed) == 0) return false;
    std::lock_guard<std::mutex> lock(mPendingLock);
    if (mPending.empty()) return false;
    *out = mPending.front();
    mPending.pop_front();
    mPendingCount.store(mPending.size(), std::memory_order_relaxed);
    return true;
}

void ServingLoop::handOnePending() {
    uint64_t id = 0;
    {
        std::lock_guard<std::mutex> lock(mPendingLock);
        for (auto it = mPending.begin(); it != mPending.end(); ++it) {
            if ((it->data.u64 & 0xff) != kTagConnection) continue;
            id = it->data.u64 >> 8;
            mPending.erase(it);
            mPendingCount.store(mPending.size(), std::memory_order_relaxed);
            break;
        }
    }
    // Armed again, its input wakes the waiting thread.
    if (id != 0) mHandler.handBack(id);
}

void ServingLoop::settle() {
    epoll_event events[16];
    const int n = epoll_wait(mEpoll.get(), events, 16, 0);
    for (int i = 0; i < n; ++i) {
        const auto tag = static_cast<Tag>(events[i].data.u64 & 0xff);
        const uint64_t value = events[i].data.u64 >> 8;
        // A pool started meanwhile serves connections; an event taken here
        // goes back to it rather than hold up this caller.
        if (tag == kTagConnection) {
            mHandler.handBack(value);
        } else if (tag != kTagWake) {
            mHandler.dispatch(tag, value, events[i].events);
        }
    }
}

void ServingLoop::stop() {
    // Never drained, so every serving thread sees it.
    uint64_t one = 1;
    ssize_t w = ::write(mWake.get(), &one, sizeof(one));
    (void)w;
    // A thread inside a long call is not waited for past the bound.
    std::unique_lock<std::mutex> lock(mServerLock);
    const size_t self = tServingThread ? 1 : 0;
    mServerGone.wait_for(lock, kShutdownWait, [&] { return mServing <= self; });
}

size_t ServingLoop::servingThreads() const {
    std::lock_guard<std::mutex> lock(mServerLock);
    return mServing;
}

bool ServingLoop::onServingThread() {
    return tServingThread;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
