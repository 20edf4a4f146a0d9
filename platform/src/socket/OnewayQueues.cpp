#include "socket/OnewayQueues.h"

#include <hidl_host/CallingIdentity.h>

#include "socket/Limits.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

bool OnewayQueues::queueAndRun(Call call) {
    const std::shared_ptr<Peer> from = call.from;
    const BHwBinder* key = call.target.get();
    bool room = true;
    {
        std::lock_guard<std::mutex> lock(mLock);
        Queue& queue = mQueues[key];
        if (from != nullptr) {
            from->budget().used.fetch_add(call.bytes);
            room = ++from->mOnewayQueued < limits().maxPeerOneway &&
                   from->budget().used.load() <= from->budget().limit;
        }
        queue.calls.push_back(std::move(call));
        // Somebody already runs this object's calls, in order.
        if (queue.running) return room;
        queue.running = true;
    }
    for (;;) {
        Call next;
        {
            std::lock_guard<std::mutex> lock(mLock);
            Queue& queue = mQueues[key];
            if (queue.calls.empty()) {
                mQueues.erase(key);
                break;
            }
            next = std::move(queue.calls.front());
            queue.calls.pop_front();
        }
        {
            ScopedCallingIdentity caller(next.pid, next.uid);
            Parcel ignored;
            next.target->transact(next.code, *next.data, &ignored, IBinder::FLAG_ONEWAY);
        }
        if (next.from != nullptr) {
            std::lock_guard<std::mutex> lock(mLock);
            Peer& sender = *next.from;
            sender.budget().used.fetch_sub(next.bytes);
            --sender.mOnewayQueued;
            if (sender.mOnewayQueued < limits().maxPeerOneway / 2 + 1 && !sender.mPaused.empty()) {
                resumeLocked(sender);
            }
        }
        // Let go outside the lock: the last reference may run a destructor.
        next.target.clear();
        next.data.reset();
    }
    std::lock_guard<std::mutex> lock(mLock);
    return from == nullptr || from->mOnewayQueued < limits().maxPeerOneway;
}

void OnewayQueues::resumeLocked(Peer& peer) {
    for (uint64_t id : peer.mPaused) {
        std::shared_ptr<Incoming> in = mIncoming.find(id);
        if (in == nullptr) continue;
        in->paused = false;
        // A thread that holds the connection re-arms it when it lets go.
        if (!in->busy) mIncoming.rearm(in.get(), true);
    }
    peer.mPaused.clear();
}

void OnewayQueues::beginTurn(Incoming& in) {
    std::lock_guard<std::mutex> lock(mLock);
    in.busy = true;
}

bool OnewayQueues::pauseIfFull(Incoming& in) {
    std::lock_guard<std::mutex> lock(mLock);
    // The queue may have drained meanwhile; then go on reading.
    if (in.peer->mOnewayQueued < limits().maxPeerOneway) return false;
    in.paused = true;
    in.peer->mPaused.push_back(in.id);
    in.busy = false;
    mIncoming.rearm(&in, false);
    return true;
}

void OnewayQueues::endTurn(Incoming& in) {
    std::lock_guard<std::mutex> lock(mLock);
    in.busy = false;
    mIncoming.rearm(&in, !in.paused);
}

void OnewayQueues::handBack(Incoming& in) {
    std::lock_guard<std::mutex> lock(mLock);
    if (!in.busy) mIncoming.rearm(&in, !in.paused);
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
