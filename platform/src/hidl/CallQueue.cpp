#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl_host/CallDeadline.h>
#include <hidl_host/CallQueue.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace host {

// The queue proper, shared with its worker thread, which may outlive the
// CallQueue (or the set) it was made for by the end of a running call.
struct CallQueue::Core {
    struct Item {
        Call call;
        size_t bytes;
    };

    explicit Core(const CallQueueLimits& l) : limits(l) {}

    status_t post(const std::shared_ptr<Core>& self, Call call, size_t size) {
        if (!call) return BAD_VALUE;
        std::lock_guard<std::mutex> guard(lock);
        if (count + 1 > limits.maxCalls || size > limits.maxBytes ||
            bytes + size > limits.maxBytes) {
            return kCallQueueFull;
        }
        waiting.push_back(Item{std::move(call), size});
        ++count;
        bytes += size;
        if (running) return OK;
        try {
            // Not joined: it owns a share of the queue and ends once the queue
            // is empty; the set's end waits for it (see CallQueueSet).
            std::thread([self] { self->run(); }).detach();
        } catch (const std::system_error&) {
            waiting.pop_back();
            --count;
            bytes -= size;
            return NO_MEMORY;
        }
        running = true;
        return OK;
    }

    void run() {
        ScopedCallTimeout bound(limits.timeout);
        std::unique_lock<std::mutex> guard(lock);
        worker = std::this_thread::get_id();
        while (!waiting.empty()) {
            Item item = std::move(waiting.front());
            waiting.pop_front();
            guard.unlock();
            item.call();
            // Let go before the lock: the call may hold the last reference
            // to something with a destructor of its own.
            item.call = nullptr;
            guard.lock();
            --count;
            bytes -= item.bytes;
        }
        running = false;
        worker = std::thread::id();
        idle.notify_all();
        std::function<void()> then = drained;
        guard.unlock();
        if (then) then();
    }

    // Drops the waiting calls; later posts still run.
    void dropWaiting() {
        std::deque<Item> dropped;
        {
            std::lock_guard<std::mutex> guard(lock);
            dropped.swap(waiting);
            for (const Item& item : dropped) {
                --count;
                bytes -= item.bytes;
            }
            if (count == 0) idle.notify_all();
        }
    }

    bool waitIdle(std::optional<TimePoint> until) {
        std::unique_lock<std::mutex> guard(lock);
        // A call waiting for its own queue would wait for ever.
        if (running && worker == std::this_thread::get_id()) return false;
        auto done = [&] { return count == 0 && !running; };
        if (!until) {
            idle.wait(guard, done);
            return true;
        }
        return idle.wait_until(guard, *until, done);
    }

    bool idleNow() {
        std::lock_guard<std::mutex> guard(lock);
        return count == 0 && !running;
    }

    const CallQueueLimits limits;
    mutable std::mutex lock;
    std::condition_variable idle;
    // Guarded by lock.
    std::deque<Item> waiting;
    size_t count = 0;      // waiting or running
    size_t bytes = 0;      // declared by those
    bool running = false;  // a worker thread serves the queue
    std::thread::id worker;
    // Set before the first post and not changed after; run by the worker
    // once it has nothing left to run.
    std::function<void()> drained;
};

CallQueue::CallQueue(CallQueueLimits limits) : mCore(std::make_shared<Core>(limits)) {}

CallQueue::~CallQueue() {
    mCore->dropWaiting();
    mCore->waitIdle(std::nullopt);
}

status_t CallQueue::post(Call call, size_t bytes) {
    return mCore->post(mCore, std::move(call), bytes);
}

bool CallQueue::waitIdle(std::optional<TimePoint> until) {
    return mCore->waitIdle(until);
}

size_t CallQueue::size() const {
    std::lock_guard<std::mutex> guard(mCore->lock);
    return mCore->count;
}

const CallQueueLimits& CallQueue::limits() const {
    return mCore->limits;
}

// The queues by object; told of the deaths of their processes.
struct CallQueueSet::State : hidl_death_recipient {
    struct Entry {
        Object object;
        std::shared_ptr<CallQueue::Core> core;
        uint64_t cookie;
        bool linked;
    };

    explicit State(const CallQueueLimits& l) : limits(l) {}

    void serviceDied(uint64_t cookie, const wp<::android::hidl::base::V1_0::IBase>&) override {
        std::shared_ptr<CallQueue::Core> core;
        {
            std::lock_guard<std::mutex> guard(lock);
            for (auto it = queues.begin(); it != queues.end(); ++it) {
                if (it->second.cookie != cookie) continue;
                core = it->second.core;
                // The running call fails at once now; its worker ends then.
                queues.erase(it);
                orphans.erase(std::remove_if(orphans.begin(), orphans.end(),
                                             [](const auto& o) { return o.expired(); }),
                              orphans.end());
                orphans.push_back(core);
                break;
            }
        }
        if (core != nullptr) core->dropWaiting();
    }

    // The worker of key's queue ran out of calls.
    void drained(const void* key, const std::shared_ptr<CallQueue::Core>& core) {
        Object unlink;
        {
            std::lock_guard<std::mutex> guard(lock);
            auto it = queues.find(key);
            // A post may have come between the worker's last look and now.
            if (it == queues.end() || it->second.core != core || !core->idleNow()) return;
            if (it->second.linked) unlink = it->second.object;
            queues.erase(it);
        }
        if (unlink != nullptr) unlink->unlinkToDeath(this);
    }

    const CallQueueLimits limits;
    mutable std::mutex lock;  // taken before a queue's own
    std::map<const void*, Entry> queues;
    // Queues dropped when their object died: a call of theirs may still be
    // running, and the set's end waits for it as for any other (the call may
    // use its owner, which goes away after the set).
    std::vector<std::weak_ptr<CallQueue::Core>> orphans;
    uint64_t nextCookie = 1;
};

CallQueueSet::CallQueueSet(CallQueueLimits limits) : mLimits(limits), mState(new State(limits)) {}

CallQueueSet::~CallQueueSet() {
    std::vector<State::Entry> entries;
    std::vector<std::shared_ptr<CallQueue::Core>> orphans;
    {
        std::lock_guard<std::mutex> guard(mState->lock);
        for (auto& [key, entry] : mState->queues) entries.push_back(std::move(entry));
        mState->queues.clear();
        for (const auto& o : mState->orphans)
            if (auto core = o.lock(); core != nullptr) orphans.push_back(std::move(core));
        mState->orphans.clear();
    }
    for (State::Entry& entry : entries) {
        if (entry.linked) entry.object->unlinkToDeath(mState);
        entry.core->dropWaiting();
        entry.core->waitIdle(std::nullopt);
    }
    for (const auto& core : orphans) core->waitIdle(std::nullopt);
}

status_t CallQueueSet::post(const Object& object, CallQueue::Call call, size_t bytes) {
    if (object == nullptr || !call) return BAD_VALUE;
    // A remote object is named by its binder, which every interface wrapper
    // of it shares; a local one by itself. The entry's reference keeps the
    // address taken.
    const void* key = object.get();
    if (object->isRemote()) {
        sp<IBinder> binder = getOrCreateCachedBinder(object.get());
        if (binder == nullptr) return BAD_VALUE;
        key = binder.get();
    }
    std::unique_lock<std::mutex> guard(mState->lock);
    auto it = mState->queues.find(key);
    if (it == mState->queues.end()) {
        auto core = std::make_shared<CallQueue::Core>(mLimits);
        wp<State> weak = mState;
        std::weak_ptr<CallQueue::Core> weakCore = core;
        core->drained = [weak, key, weakCore] {
            sp<State> state = weak.promote();
            std::shared_ptr<CallQueue::Core> self = weakCore.lock();
            if (state != nullptr && self != nullptr) state->drained(key, self);
        };
        const uint64_t cookie = mState->nextCookie++;
        it = mState->queues.emplace(key, State::Entry{object, core, cookie, false}).first;
        if (object->isRemote()) {
            // Told from a thread of the transport, which never holds our lock.
            Return<bool> linked = object->linkToDeath(mState, cookie);
            it->second.linked = linked.isOk() && static_cast<bool>(linked);
        }
    }
    const std::shared_ptr<CallQueue::Core> core = it->second.core;
    status_t err = core->post(core, std::move(call), bytes);
    if (err != OK && core->idleNow()) {
        // Nothing ever ran: do not keep a queue for it.
        Object unlink = it->second.linked ? it->second.object : nullptr;
        mState->queues.erase(it);
        guard.unlock();
        if (unlink != nullptr) unlink->unlinkToDeath(mState);
    }
    return err;
}

bool CallQueueSet::waitIdle(const std::function<bool(const Object&)>& which,
                            std::optional<CallQueue::TimePoint> until) {
    std::vector<std::shared_ptr<CallQueue::Core>> selected;
    {
        std::lock_guard<std::mutex> guard(mState->lock);
        for (const auto& [key, entry] : mState->queues) {
            if (which(entry.object)) selected.push_back(entry.core);
        }
    }
    bool all = true;
    for (const auto& core : selected) all = core->waitIdle(until) && all;
    return all;
}

size_t CallQueueSet::size() const {
    std::lock_guard<std::mutex> guard(mState->lock);
    return mState->queues.size();
}

}  // namespace host
}  // namespace hardware
}  // namespace android
