#include "socket/Peer.h"

#include <cerrno>

#include "socket/Messages.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

Peer::~Peer() {
    delete mHot.load();
}

status_t Peer::takeConnection(Deadline deadline, std::unique_ptr<Connection>* out, bool refused) {
    if (dead()) return DEAD_OBJECT;
    *out = takeHot();
    if (*out != nullptr) return OK;
    {
        std::unique_lock<std::mutex> lock(mPoolLock);
        // No more connections than the peer accepts from one process: past
        // that, callers wait for one to come back. So do they once the peer
        // refused a new one (it is at its limit), while one of ours is in use.
        // One of the peer's maximum is the oneway connection.
        const size_t most = refused ? 1 : limits().maxPeerConnections - 1;
        for (;;) {
            if (dead()) return DEAD_OBJECT;
            if (!mIdle.empty()) {
                *out = std::move(mIdle.back());
                mIdle.pop_back();
                return OK;
            }
            if (mOutgoing < most) break;
            ++mPoolWaiters;
            *out = takeHot();
            if (*out != nullptr) {
                --mPoolWaiters;
                return OK;
            }
            const bool timedOut =
                    !deadline ? (mPoolFree.wait(lock), false)
                              : mPoolFree.wait_until(lock, *deadline) == std::cv_status::timeout;
            --mPoolWaiters;
            if (timedOut) return TIMED_OUT;
        }
        ++mOutgoing;
    }
    *out = mConnector.connect(mPid, deadline, true);
    // Refused unread (the goodbye came before the answer to the fast path's offer).
    const bool goodbye = *out != nullptr && (*out)->saidGoodbye();
    if (*out != nullptr && (*out)->broken()) out->reset();
    if (*out != nullptr) return OK;
    const bool timedOut = errno == ETIMEDOUT;
    {
        std::lock_guard<std::mutex> lock(mPoolLock);
        --mOutgoing;
    }
    mPoolFree.notify_one();
    if (goodbye && !refused) return takeConnection(deadline, out, true);
    return timedOut ? TIMED_OUT : DEAD_OBJECT;
}

void Peer::returnConnection(std::unique_ptr<Connection> conn) {
    if (!conn->broken() && !dead()) {
        Connection* empty = nullptr;
        if (mHot.compare_exchange_strong(empty, conn.get(), std::memory_order_seq_cst)) {
            conn.release();
            if (mPoolWaiters.load(std::memory_order_seq_cst) > 0) {
                // Taken under the lock, so the waiter is asleep by now.
                std::lock_guard<std::mutex> lock(mPoolLock);
                mPoolFree.notify_one();
            }
            // A death settled meanwhile cleared the pool before this came.
            if (dead()) takeHot();
            return;
        }
    }
    bool waited;
    {
        std::lock_guard<std::mutex> lock(mPoolLock);
        if (conn->broken() || dead()) {
            --mOutgoing;
        } else {
            mIdle.push_back(std::move(conn));
        }
        waited = mPoolWaiters > 0;
    }
    if (waited) mPoolFree.notify_one();
}

void Peer::adoptConnection(std::unique_ptr<Connection> conn) {
    {
        std::lock_guard<std::mutex> lock(mPoolLock);
        ++mOutgoing;
    }
    returnConnection(std::move(conn));
}

void Peer::dropPool() {
    {
        // Threads about to take a pooled connection find none.
        std::lock_guard<std::mutex> lock(mPoolLock);
        mIdle.clear();
    }
    takeHot();
    mPoolFree.notify_all();
}

bool Peer::knownUnresponsive(std::chrono::milliseconds timeout) {
    std::lock_guard<std::mutex> lock(mPoolLock);
    // It did not answer within as long a moment ago; asking again now would
    // only hold this thread as long again.
    return Clock::now() < mUnresponsiveUntil && timeout <= mUnresponsiveWithin;
}

void Peer::noteTimedOut(std::chrono::milliseconds timeout) {
    std::lock_guard<std::mutex> lock(mPoolLock);
    const Clock::time_point now = Clock::now();
    // A longer timeout that expired still stands for the calls it covers.
    if (now >= mUnresponsiveUntil || timeout >= mUnresponsiveWithin) {
        mUnresponsiveUntil = now + timeout;
        mUnresponsiveWithin = timeout;
    }
}

status_t Peer::sendOneway(const MessageHeader& header, const std::vector<BinderRef>& table,
                          const WireImage* image, bool mayQueue,
                          std::chrono::milliseconds timeout) {
    const Deadline deadline = deadlineAfter(timeout);
    std::lock_guard<std::mutex> lock(mOnewayLock);
    if (dead()) return DEAD_OBJECT;
    if (mOneway == nullptr || mOneway->broken()) {
        mOneway = mConnector.connect(mPid, deadline, false);
        if (mOneway == nullptr) return errno == ETIMEDOUT ? TIMED_OUT : DEAD_OBJECT;
    }
    status_t err = writeMessage(mOneway.get(), header, table, image, deadline, mayQueue);
    // The peer stopped reading before this message went in, so none of it was
    // read. Once it has read what came before (its goodbye says so), the
    // message goes down a new connection, in order. A release is not worth a wait.
    if (err != OK && mOneway->writeClosed() && !mayQueue) {
        Message stray;
        while (mOneway->waitMessage(&stray, deadline) == OK) stray.fds.clear();
        if (!mOneway->saidGoodbye()) {
            mOneway.reset();
            return err;
        }
        mOneway = mConnector.connect(mPid, deadline, false);
        if (mOneway == nullptr) return errno == ETIMEDOUT ? TIMED_OUT : DEAD_OBJECT;
        err = writeMessage(mOneway.get(), header, table, image, deadline, mayQueue);
    }
    if (mOneway->broken()) mOneway.reset();
    return err;
}

void Peer::closeOneway() {
    std::lock_guard<std::mutex> lock(mOnewayLock);
    mOneway.reset();
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
