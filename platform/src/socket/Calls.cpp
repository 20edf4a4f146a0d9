// Carrying transactions: the binder translation of each parcel, the call
// path of a proxy and the serving of incoming messages.
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/CallDeadline.h>
#include <hidl_host/CallingIdentity.h>
#include <hidl_host/WireImage.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include "socket/Runtime.h"
#include "socket/RuntimeDir.h"
#include "socket/SharedRegion.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// Connections on which this thread is serving a two-way call: the caller at
// the other end is blocked reading that connection, so a call back to the
// caller's process goes down it and is served by the waiting thread.
thread_local std::vector<Connection*> tServing;

class ServingScope {
  public:
    explicit ServingScope(Connection* conn) { tServing.push_back(conn); }
    ~ServingScope() { tServing.pop_back(); }
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;
};

Connection* nestedConnectionTo(pid_t pid) {
    for (auto it = tServing.rbegin(); it != tServing.rend(); ++it) {
        if ((*it)->pid() == pid && !(*it)->broken()) return *it;
    }
    return nullptr;
}

// Each call builds an image and sends it at once. A thread keeps the last
// few for the next calls (a stack, as calls nest), so that a small call's
// image costs no allocation.
constexpr size_t kSpareImages = 4;
constexpr size_t kSpareImageBytes = 64 * 1024;
thread_local std::array<std::unique_ptr<WireImage>, kSpareImages> tSpareImages;
thread_local size_t tSpareImageCount = 0;

class ScratchImage {
  public:
    ScratchImage() {
        if (tSpareImageCount > 0) {
            mImage = std::move(tSpareImages[--tSpareImageCount]);
        } else {
            mImage = std::make_unique<WireImage>();
        }
    }
    ~ScratchImage() {
        if (tSpareImageCount < kSpareImages && mImage->bytes.capacity() <= kSpareImageBytes) {
            // The descriptors belong to the parcel the image was made of.
            mImage->fds.clear();
            tSpareImages[tSpareImageCount++] = std::move(mImage);
        }
    }
    ScratchImage(const ScratchImage&) = delete;
    ScratchImage& operator=(const ScratchImage&) = delete;
    WireImage* get() const { return mImage.get(); }

  private:
    std::unique_ptr<WireImage> mImage;
};

// The timeout of the innermost ScopedCallTimeout alive on this thread; -1
// when there is none. Read on every call, so a plain thread-local.
thread_local int64_t tScopedTimeoutMs = -1;

// This thread's timeout for a call through a proxy with proxyTimeoutMs.
std::chrono::milliseconds timeoutFor(int64_t proxyTimeoutMs) {
    int64_t ms = tScopedTimeoutMs;
    if (ms < 0) ms = proxyTimeoutMs;
    return ms < 0 ? callTimeout() : std::chrono::milliseconds(ms);
}

Deadline deadlineAfter(std::chrono::milliseconds timeout) {
    if (timeout.count() == 0) return std::nullopt;
    return Clock::now() + timeout;
}

// Names the binders of an outgoing parcel for the receiving process `to`.
class SendTranslator : public BinderTranslator {
  public:
    SendTranslator(Runtime& runtime, pid_t to) : mRuntime(runtime), mTo(to) {}

    status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) override {
        if (BHwBinder* local = binder->localBinder(); local != nullptr) {
            if (!mRuntime.ensureListening()) return FAILED_TRANSACTION;
            uint64_t node = 0;
            // The context object is open to everyone under node 0.
            if (!mRuntime.isContextObject(local)) {
                node = mRuntime.grantNode(sp<BHwBinder>(local), mTo);
                mGranted.push_back(node);
            }
            table.push_back({kSenderNode, 0, node});
            *type = BINDER_TYPE_BINDER;
        } else {
            BpHwBinder* remote = binder->remoteBinder();
            ProxyTarget target;
            if (remote == nullptr || remote->transport() != mRuntime.link() ||
                !mRuntime.proxyTarget(remote->handle(), &target)) {
                // Proxies of other transports (loopback) cannot cross.
                return INVALID_OPERATION;
            }
            if (target.peer->pid == mTo) {
                table.push_back({kReceiverNode, 0, target.node});
            } else {
                // The owner lets the receiver hold the node before it learns of it.
                if (target.node != 0) {
                    status_t err = mRuntime.requestGrant(target.peer, target.node, mTo);
                    if (err != OK) return err;
                }
                table.push_back({kThirdNode, target.peer->pid, target.node});
            }
            *type = BINDER_TYPE_HANDLE;
        }
        *ref = table.size();
        return OK;
    }

    status_t unflattenBinder(uint32_t, uint64_t, sp<IBinder>*) override { return BAD_VALUE; }

    // The message was not delivered: take back what was granted for it.
    void rollback() {
        for (uint64_t node : mGranted) mRuntime.releaseNode(node, mTo, 1);
        mGranted.clear();
    }

    std::vector<BinderRef> table;

  private:
    Runtime& mRuntime;
    const pid_t mTo;
    std::vector<uint64_t> mGranted;
};

// Resolves the binder table of a message from process `from`. Everything is
// resolved before the image is rebuilt, so references granted to this
// process are released again (with the proxies) if the rebuild fails.
class ReceiveTranslator : public BinderTranslator {
  public:
    ReceiveTranslator(Runtime& runtime, pid_t from) : mRuntime(runtime), mFrom(from) {}

    void resolve(const uint8_t* table, size_t count) {
        mResolved.resize(count);
        for (size_t i = 0; i < count; ++i) {
            BinderRef ref;
            memcpy(&ref, table + i * sizeof(ref), sizeof(ref));
            switch (ref.kind) {
                case kSenderNode:
                    mResolved[i] = mRuntime.proxyFor(mFrom, ref.node, 1);
                    break;
                case kReceiverNode:
                    mResolved[i] = mRuntime.findHome(ref.node);
                    break;
                case kThirdNode:
                    if (ref.pid == mFrom) {
                        mResolved[i] = mRuntime.proxyFor(mFrom, ref.node, 1);
                    } else if (ref.pid == getpid()) {
                        mResolved[i] = mRuntime.findHome(ref.node);
                    } else if (ref.pid > 0) {
                        mResolved[i] = mRuntime.proxyFor(ref.pid, ref.node, 1);
                    }
                    break;
                default:
                    break;
            }
        }
    }

    status_t flattenBinder(const sp<IBinder>&, uint32_t*, uint64_t*) override { return BAD_VALUE; }

    status_t unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) override {
        if (ref == 0 || ref > mResolved.size()) return BAD_VALUE;
        if (mResolved[ref - 1] == nullptr) return PERMISSION_DENIED;
        *out = mResolved[ref - 1];
        return OK;
    }

  private:
    Runtime& mRuntime;
    const pid_t mFrom;
    std::vector<sp<IBinder>> mResolved;
};

MessageHeader makeHeader(uint16_t kind, uint64_t seq, const std::vector<BinderRef>& table,
                         const WireImage* image) {
    MessageHeader header{};
    header.magic = kMessageMagic;
    header.kind = kind;
    header.seq = seq;
    header.tableCount = static_cast<uint32_t>(table.size());
    const size_t imageSize = image != nullptr ? image->size() : 0;
    header.payloadSize = static_cast<uint32_t>(table.size() * sizeof(BinderRef) + imageSize);
    header.fdCount = static_cast<uint16_t>(image != nullptr ? image->fds.size() : 0);
    return header;
}

// Large buffers stay in the parcel's memory and are sent from there (see
// WireImage): few enough that a message's parts always fit one send.
constexpr size_t kSliceFrom = 16 * 1024;
static_assert(2 * (kMaxTransactionSize / kSliceFrom) + 2 <= kMaxMessageParts,
              "a message's slices fit in one send");

status_t flattenForSend(const Parcel& parcel, BinderTranslator* translator, WireImage* out) {
    return WireImageCodec::flatten(parcel, translator, out, kSliceFrom);
}

status_t writeMessage(Connection* conn, const MessageHeader& header,
                      const std::vector<BinderRef>& table, const WireImage* image,
                      Deadline deadline, bool mayQueue) {
    static const std::vector<int> kNoFds;
    iovec parts[kMaxMessageParts];
    size_t count = 0;
    parts[count++] = {const_cast<BinderRef*>(table.data()), table.size() * sizeof(BinderRef)};
    if (image != nullptr) {
        // The image's bytes with its slices in their places.
        size_t at = 0;
        for (const WireImage::Slice& slice : image->slices) {
            parts[count++] = {const_cast<uint8_t*>(image->bytes.data()) + at, slice.at - at};
            parts[count++] = {const_cast<uint8_t*>(slice.data), slice.length};
            at = slice.at;
        }
        parts[count++] = {const_cast<uint8_t*>(image->bytes.data()) + at, image->bytes.size() - at};
    }
    return conn->send(header, parts, count, image != nullptr ? image->fds : kNoFds, deadline,
                      mayQueue);
}

// A message this process serves is answered without waiting for the peer to
// read: what it does not take is kept, and a peer that lets too much pile
// up loses the connection.
status_t writeAnswer(Connection* conn, const MessageHeader& header,
                     const std::vector<BinderRef>& table, const WireImage* image) {
    status_t err = writeMessage(conn, header, table, image, std::nullopt, true);
    if (err != OK) conn->markBroken();
    return err;
}

// Depth of calls served inside calls on this thread; a peer that answers a
// call with calls of its own, without end, is cut off.
thread_local size_t tNesting = 0;

}  // namespace

std::unique_ptr<Connection> Runtime::connectPeer(pid_t pid, Deadline deadline, bool twoWay) {
    std::string dir;
    bool serving;
    {
        std::lock_guard<std::mutex> lock(mLock);
        dir = directoryLocked();
        serving = mPoolStarted;
    }
    if (!serving) settleExits();
    pid_t serverPid;
    uid_t serverUid;
    UniqueFd fd = connectTo(processSocketPath(dir, pid), &serverPid, &serverUid, deadline);
    if (!fd.valid()) return nullptr;
    // A socket file left by a dead process may have been taken over.
    if (serverPid != pid || serverUid != getuid()) return nullptr;
    // A caller's own connection blocks in its waits without a deadline.
    setBlocking(fd.get());
    auto conn = std::make_unique<Connection>(std::move(fd), pid, serverUid);
    if (twoWay && fastPathEnabled()) offerFastPath(conn.get(), deadline);
    return conn;
}

void Runtime::offerFastPath(Connection* conn, Deadline deadline) {
    UniqueFd memfd;
    std::unique_ptr<SharedRegion> region = SharedRegion::create(&memfd);
    if (region == nullptr) return;
    MessageHeader offer{};
    offer.magic = kMessageMagic;
    offer.kind = kShmOffer;
    offer.fdCount = 1;
    offer.seq = mNextSeq.fetch_add(1, std::memory_order_relaxed);
    status_t err = conn->send(offer, nullptr, 0, {memfd.get()}, deadline, false);
    // Refused unread, the peer says goodbye: read, it lets the caller retry.
    if (err != OK && !conn->writeClosed()) return;
    Message answer;
    err = conn->waitMessage(&answer, deadline);
    // A peer without the fast path declines; the connection stays a socket.
    if (err == OK && answer.header.kind == kReply && answer.header.seq == offer.seq &&
        answer.header.status == OK) {
        conn->attachShared(std::move(region), true);
    } else if (err != OK || answer.header.kind != kReply) {
        conn->markBroken();
    }
}

status_t Runtime::takeConnection(const std::shared_ptr<Peer>& peer, Deadline deadline,
                                 std::unique_ptr<Connection>* out, bool refused) {
    if (peer->dead) return DEAD_OBJECT;
    *out = peer->takeHot();
    if (*out != nullptr) return OK;
    {
        std::unique_lock<std::mutex> lock(peer->poolLock);
        // No more connections than the peer accepts from one process: past
        // that, callers wait for one to come back. So do they once the peer
        // refused a new one (it is at its limit), while one of ours is in use.
        // One of the peer's maximum is the oneway connection.
        const size_t most = refused ? 1 : limits().maxPeerConnections - 1;
        for (;;) {
            if (peer->dead) return DEAD_OBJECT;
            if (!peer->idle.empty()) {
                *out = std::move(peer->idle.back());
                peer->idle.pop_back();
                return OK;
            }
            if (peer->outgoing < most) break;
            // Counted before the hot slot is looked at, and a connection is
            // put there before the count is: one of the two sees the other.
            ++peer->poolWaiters;
            *out = peer->takeHot();
            if (*out != nullptr) {
                --peer->poolWaiters;
                return OK;
            }
            const bool timedOut = !deadline ? (peer->poolFree.wait(lock), false)
                                            : peer->poolFree.wait_until(lock, *deadline) ==
                                                      std::cv_status::timeout;
            --peer->poolWaiters;
            if (timedOut) return TIMED_OUT;
        }
        ++peer->outgoing;
    }
    *out = connectPeer(peer->pid, deadline, true);
    // Refused unread (the goodbye came before the answer to the fast path's offer).
    const bool goodbye = *out != nullptr && (*out)->saidGoodbye();
    if (*out != nullptr && (*out)->broken()) out->reset();
    if (*out != nullptr) return OK;
    const bool timedOut = errno == ETIMEDOUT;
    {
        std::lock_guard<std::mutex> lock(peer->poolLock);
        --peer->outgoing;
    }
    peer->poolFree.notify_one();
    if (goodbye && !refused) return takeConnection(peer, deadline, out, true);
    return timedOut ? TIMED_OUT : DEAD_OBJECT;
}

void Runtime::returnConnection(const std::shared_ptr<Peer>& peer,
                               std::unique_ptr<Connection> conn) {
    if (!conn->broken() && !peer->dead) {
        Connection* empty = nullptr;
        if (peer->hot.compare_exchange_strong(empty, conn.get(), std::memory_order_seq_cst)) {
            conn.release();
            if (peer->poolWaiters.load(std::memory_order_seq_cst) > 0) {
                // Taken under the lock, so the waiter is asleep by now.
                std::lock_guard<std::mutex> lock(peer->poolLock);
                peer->poolFree.notify_one();
            }
            // A death settled meanwhile cleared the pool before this came.
            if (peer->dead.load(std::memory_order_seq_cst)) peer->takeHot();
            return;
        }
    }
    bool waited;
    {
        std::lock_guard<std::mutex> lock(peer->poolLock);
        if (conn->broken() || peer->dead) {
            --peer->outgoing;
        } else {
            peer->idle.push_back(std::move(conn));
        }
        waited = peer->poolWaiters > 0;
    }
    if (waited) peer->poolFree.notify_one();
}

status_t Runtime::transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                           uint32_t flags) {
    ProxyTarget target;
    if (!proxyTarget(handle, &target) || target.dead || target.peer->dead) return DEAD_OBJECT;
    const pid_t to = target.peer->pid;
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;

    SendTranslator translator(*this, to);
    ScratchImage scratch;
    WireImage& image = *scratch.get();
    status_t err = flattenForSend(data, &translator, &image);
    if (err != OK) {
        translator.rollback();
        return err;
    }
    MessageHeader header = makeHeader(kTransact, mNextSeq.fetch_add(1, std::memory_order_relaxed),
                                      translator.table, &image);
    header.node = target.node;
    header.code = code;
    header.flags = oneway ? IBinder::FLAG_ONEWAY : 0;

    const std::chrono::milliseconds timeout = timeoutFor(target.timeoutMs);
    bool sent = false;
    if (oneway) {
        err = sendOneway(target.peer, header, translator.table, &image, false, timeout);
        sent = err == OK;
    } else {
        // Even an unwanted reply is rebuilt: binders in it hold references.
        std::optional<Parcel> discarded;
        if (reply == nullptr) reply = &discarded.emplace();
        err = roundTrip(target.peer, header, translator.table, &image, reply, &sent, timeout);
    }
    if (!sent) translator.rollback();
    return err;
}

status_t Runtime::requestGrant(const std::shared_ptr<Peer>& owner, uint64_t node, pid_t grantee) {
    if (owner->dead) return FAILED_TRANSACTION;
    MessageHeader header =
            makeHeader(kGrant, mNextSeq.fetch_add(1, std::memory_order_relaxed), {}, nullptr);
    header.node = node;
    header.code = static_cast<uint32_t>(grantee);
    bool sent = false;
    status_t err = roundTrip(owner, header, {}, nullptr, nullptr, &sent, timeoutFor(-1));
    // The transaction being built fails, not its target.
    return err == OK ? OK : FAILED_TRANSACTION;
}

status_t Runtime::roundTrip(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                            const std::vector<BinderRef>& table, const WireImage* image,
                            Parcel* reply, bool* sent, std::chrono::milliseconds timeout) {
    *sent = false;
    const Deadline deadline = deadlineAfter(timeout);
    Connection* conn = nestedConnectionTo(peer->pid);
    std::unique_ptr<Connection> owned;
    if (conn == nullptr) {
        if (deadline) {
            std::lock_guard<std::mutex> lock(peer->poolLock);
            // It did not answer within as long a moment ago; asking again
            // now would only hold this thread as long again.
            if (Clock::now() < peer->unresponsiveUntil && timeout <= peer->unresponsiveWithin) {
                return TIMED_OUT;
            }
        }
        status_t err = takeConnection(peer, deadline, &owned);
        if (err != OK) return err;
        conn = owned.get();
    }
    status_t err = exchange(peer, &owned, conn, header, table, image, reply, deadline, sent);
    if (err == TIMED_OUT && deadline) {
        std::lock_guard<std::mutex> lock(peer->poolLock);
        const Clock::time_point now = Clock::now();
        // A longer timeout that expired still stands for the calls it covers.
        if (now >= peer->unresponsiveUntil || timeout >= peer->unresponsiveWithin) {
            peer->unresponsiveUntil = now + timeout;
            peer->unresponsiveWithin = timeout;
        }
    }
    if (owned != nullptr) returnConnection(peer, std::move(owned));
    return err;
}

// Sends a call down conn and waits for its answer. A pooled connection the
// peer closed to make room for others, before reading the call, answers
// with a goodbye (Serving.cpp, evictIdle): the call goes again on another
// connection. A peer that stopped after reading it is never asked twice.
status_t Runtime::exchange(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection>* owned,
                           Connection* conn, const MessageHeader& header,
                           const std::vector<BinderRef>& table, const WireImage* image,
                           Parcel* reply, Deadline deadline, bool* sent) {
    for (size_t attempt = 0;; ++attempt) {
        // Into a connection this thread serves, the answer is queued like any
        // other; a pooled one is written through.
        status_t err = writeMessage(conn, header, table, image, deadline, *owned == nullptr);
        *sent = err == OK;
        // A send the peer no longer read may still have been taken (the fast
        // path's mailbox): its answer or its goodbye tells.
        if (err != OK && (*owned == nullptr || !conn->writeClosed())) return err;
        err = awaitReply(conn, header.seq, reply, deadline);
        if (*owned == nullptr || !conn->saidGoodbye() || attempt > limits().maxPeerConnections) {
            if (err != DEAD_OBJECT && err != TIMED_OUT) *sent = true;
            return err;
        }
        returnConnection(peer, std::move(*owned));
        err = takeConnection(peer, deadline, owned, true);
        if (err != OK) return err;
        conn = owned->get();
    }
}

status_t Runtime::sendOneway(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                             const std::vector<BinderRef>& table, const WireImage* image,
                             bool mayQueue, std::chrono::milliseconds timeout) {
    const Deadline deadline = deadlineAfter(timeout);
    std::lock_guard<std::mutex> lock(peer->onewayLock);
    if (peer->dead) return DEAD_OBJECT;
    if (peer->oneway == nullptr || peer->oneway->broken()) {
        peer->oneway = connectPeer(peer->pid, deadline, false);
        if (peer->oneway == nullptr) return errno == ETIMEDOUT ? TIMED_OUT : DEAD_OBJECT;
    }
    status_t err = writeMessage(peer->oneway.get(), header, table, image, deadline, mayQueue);
    // The peer stopped reading before this message went in, so none of it was
    // read. Once it has read what came before (its goodbye says so), the
    // message goes down a new connection, in order. A release is not worth a wait.
    if (err != OK && peer->oneway->writeClosed() && !mayQueue) {
        Message stray;
        while (peer->oneway->waitMessage(&stray, deadline) == OK) stray.fds.clear();
        if (!peer->oneway->saidGoodbye()) {
            peer->oneway.reset();
            return err;
        }
        peer->oneway = connectPeer(peer->pid, deadline, false);
        if (peer->oneway == nullptr) return errno == ETIMEDOUT ? TIMED_OUT : DEAD_OBJECT;
        err = writeMessage(peer->oneway.get(), header, table, image, deadline, mayQueue);
    }
    if (peer->oneway->broken()) peer->oneway.reset();
    return err;
}

status_t Runtime::awaitReply(Connection* conn, uint64_t seq, Parcel* reply, Deadline deadline) {
    for (;;) {
        Message message;
        status_t err = conn->waitMessage(&message, deadline);
        if (err == DEAD_OBJECT || err == TIMED_OUT) return err;
        if (err != OK) return FAILED_TRANSACTION;
        if (message.header.kind != kReply) {
            // The peer calls back while we wait: serve it on this thread.
            if (tNesting >= limits().maxNesting) {
                conn->markBroken();
                return FAILED_TRANSACTION;
            }
            ++tNesting;
            serveMessage(conn, message);
            --tNesting;
            if (conn->broken()) return DEAD_OBJECT;
            continue;
        }
        if (message.header.seq != seq) {
            conn->markBroken();
            return FAILED_TRANSACTION;
        }
        if (message.header.status != OK || reply == nullptr) {
            return message.header.status;
        }
        return receiveParcel(conn->pid(), message, reply);
    }
}

status_t Runtime::receiveParcel(pid_t from, Message& message, Parcel* out) {
    // A message in a block of its own hands the block to the parcel, which
    // keeps its buffers where they are.
    if (message.header.tableCount == 0 && message.fds.empty()) {
        // Plain data: no binder can resolve, so none needs a translator.
        return WireImageCodec::rebuild(std::move(message.block), message.payload,
                                       message.header.payloadSize, {}, nullptr, out);
    }
    const size_t tableSize = message.header.tableCount * sizeof(BinderRef);
    ReceiveTranslator translator(*this, from);
    translator.resolve(message.payload, message.header.tableCount);
    std::vector<int> fds = message.releaseFds();
    return WireImageCodec::rebuild(std::move(message.block), message.payload + tableSize,
                                   message.header.payloadSize - tableSize, std::move(fds),
                                   &translator, out);
}

void Runtime::writeStatusReply(Connection* conn, uint64_t seq, status_t status) {
    MessageHeader header = makeHeader(kReply, seq, {}, nullptr);
    header.status = status;
    (void)writeAnswer(conn, header, {}, nullptr);
}

bool Runtime::serveMessage(Connection* conn, Message& message) {
    const MessageHeader& header = message.header;
    switch (header.kind) {
        case kTransact:
            if ((header.flags & IBinder::FLAG_ONEWAY) != 0) return queueOneway(conn, message);
            serveTransaction(conn, message);
            return true;
        case kGrant: {
            status_t status = OK;
            const auto grantee = static_cast<pid_t>(header.code);
            // Only a live process can be granted anything: each grantee is
            // watched, and made-up pids would cost a record each.
            const bool exists = grantee > 0 && (kill(grantee, 0) == 0 || errno != ESRCH);
            if (header.node != 0) {
                std::lock_guard<std::mutex> lock(mLock);
                status = exists ? mNodes.grantOnBehalf(header.node, conn->pid(), grantee)
                                : BAD_VALUE;
                if (status == OK) peerLocked(grantee);
            }
            writeStatusReply(conn, header.seq, status);
            return true;
        }
        case kRelease:
            releaseNode(header.node, conn->pid(), header.code);
            return true;
        case kShmOffer: {
            std::unique_ptr<SharedRegion> region;
            if (fastPathEnabled() && !conn->shared()) region = SharedRegion::adopt(message.fds[0]);
            message.fds.clear();
            // Answered on the socket, where the peer waits, before the
            // mailboxes take over.
            writeStatusReply(conn, header.seq, region != nullptr ? OK : INVALID_OPERATION);
            if (region != nullptr && !conn->attachShared(std::move(region), false)) {
                conn->markBroken();
            }
            return true;
        }
        case kDoorbell:
            return true;
        default:
            // A reply nobody waits for: the stream is out of step.
            message.fds.clear();
            conn->markBroken();
            return true;
    }
}

bool Runtime::queueOneway(Connection* conn, Message& message) {
    // Resolved now, while the sender's grants hold: it may be gone by the
    // time the call runs.
    sp<BHwBinder> target = findTarget(message.header.node, conn->pid());
    if (target == nullptr) {
        message.fds.clear();
        return true;
    }
    auto data = std::make_unique<Parcel>();
    if (receiveParcel(conn->pid(), message, data.get()) != OK) return true;
    std::shared_ptr<Peer> from;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mPeers.find(conn->pid());
        if (it != mPeers.end()) from = it->second;
    }
    const size_t bytes = message.header.payloadSize;
    const BHwBinder* key = target.get();
    bool room = true;
    {
        std::lock_guard<std::mutex> lock(mOnewayLock);
        OnewayQueue& queue = mOneway[key];
        if (from != nullptr) {
            from->budget.used.fetch_add(bytes);
            room = ++from->onewayQueued < limits().maxPeerOneway &&
                   from->budget.used.load() <= from->budget.limit;
        }
        queue.calls.push_back(OnewayCall{std::move(target), std::move(data), message.header.code,
                                         conn->pid(), conn->uid(), from, bytes});
        // Somebody already runs this object's calls, in order.
        if (queue.running) return room;
        queue.running = true;
    }
    for (;;) {
        OnewayCall call;
        {
            std::lock_guard<std::mutex> lock(mOnewayLock);
            OnewayQueue& queue = mOneway[key];
            if (queue.calls.empty()) {
                mOneway.erase(key);
                break;
            }
            call = std::move(queue.calls.front());
            queue.calls.pop_front();
        }
        {
            ScopedCallingIdentity caller(call.pid, call.uid);
            Parcel ignored;
            call.target->transact(call.code, *call.data, &ignored, IBinder::FLAG_ONEWAY);
        }
        if (call.from != nullptr) {
            std::lock_guard<std::mutex> lock(mOnewayLock);
            call.from->budget.used.fetch_sub(call.bytes);
            --call.from->onewayQueued;
            if (call.from->onewayQueued < limits().maxPeerOneway / 2 + 1 &&
                !call.from->paused.empty()) {
                resume(call.from);
            }
        }
        // Let go outside the lock: the last reference may run a destructor.
        call.target.clear();
        call.data.reset();
    }
    std::lock_guard<std::mutex> lock(mOnewayLock);
    return from == nullptr || from->onewayQueued < limits().maxPeerOneway;
}

void Runtime::serveTransaction(Connection* conn, Message& message) {
    const MessageHeader& header = message.header;
    sp<BHwBinder> target = findTarget(header.node, conn->pid());
    Parcel data;
    status_t err;
    if (target == nullptr) {
        // Unknown, forged or not granted to this caller: not served.
        message.fds.clear();
        err = PERMISSION_DENIED;
    } else {
        err = receiveParcel(conn->pid(), message, &data);
    }
    if (err != OK) {
        writeStatusReply(conn, header.seq, err);
        return;
    }
    const uint64_t seq = header.seq;

    ScopedCallingIdentity caller(conn->pid(), conn->uid());
    // The reply goes out as the stub hands it over, as on a device: its
    // values live only now, and large buffers are sent from where they lie.
    // One pointer for the callback to hold, so that it needs no allocation.
    struct Answer {
        Answer(Runtime& r, Connection* c, uint64_t s)
            : runtime(r), translator(r, c->pid()), conn(c), seq(s) {}
        Runtime& runtime;
        SendTranslator translator;
        Connection* const conn;
        const uint64_t seq;
        bool sent = false;
        void send(const Parcel& given) {
            if (sent) return;
            sent = true;
            ScratchImage scratch;
            WireImage& image = *scratch.get();
            status_t err = flattenForSend(given, &translator, &image);
            if (err == OK) {
                const MessageHeader out = makeHeader(kReply, seq, translator.table, &image);
                err = writeAnswer(conn, out, translator.table, &image);
            } else {
                runtime.writeStatusReply(conn, seq, err);
            }
            if (err != OK) translator.rollback();
        }
    } answer(*this, conn, seq);
    Parcel reply;
    {
        ServingScope scope(conn);
        Answer* a = &answer;
        err = target->transact(header.code, data, &reply, 0,
                               [a](Parcel& given) { a->send(given); });
    }
    if (answer.sent) return;
    if (err == OK) {
        answer.send(reply);
    } else {
        writeStatusReply(conn, seq, err);
    }
}

}  // namespace socket

ScopedCallTimeout::ScopedCallTimeout(std::chrono::milliseconds timeout)
    : mPrevious(socket::tScopedTimeoutMs) {
    socket::tScopedTimeoutMs = std::max<int64_t>(timeout.count(), 0);
}

ScopedCallTimeout::~ScopedCallTimeout() {
    socket::tScopedTimeoutMs = mPrevious;
}

std::optional<std::chrono::milliseconds> ScopedCallTimeout::current() {
    const int64_t ms = socket::tScopedTimeoutMs;
    if (ms < 0) return std::nullopt;
    return std::chrono::milliseconds(ms);
}

status_t setCallTimeout(const sp<::android::hidl::base::V1_0::IBase>& proxy,
                        std::chrono::milliseconds timeout) {
    if (proxy == nullptr) return BAD_VALUE;
    return setCallTimeout(getOrCreateCachedBinder(proxy.get()), timeout);
}

status_t setCallTimeout(const sp<IBinder>& binder, std::chrono::milliseconds timeout) {
    if (binder == nullptr) return BAD_VALUE;
    if (!isSocketBinder(binder)) return INVALID_OPERATION;
    const int64_t ms = timeout.count() < 0 ? -1 : timeout.count();
    return socket::Runtime::get().setProxyTimeout(binder->remoteBinder()->handle(), ms)
                   ? OK
                   : INVALID_OPERATION;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
