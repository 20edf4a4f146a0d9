// The call path of a proxy (connecting, the round trip, what comes back
// inside the answer) and the serving of a two-way call, which a call back to
// the caller's process nests in.
#include <hidl_host/CallDeadline.h>
#include <hidl_host/CallingIdentity.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>

#include "socket/Messages.h"
#include "socket/Runtime.h"
#include "socket/RuntimeDir.h"
#include "socket/SharedRegion.h"
#include "socket/Translators.h"

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

// The timeout of the innermost ScopedCallTimeout alive on this thread; -1
// when there is none. Read on every call, so a plain thread-local.
thread_local int64_t tScopedTimeoutMs = -1;

// This thread's timeout for a call through a proxy with proxyTimeoutMs.
std::chrono::milliseconds timeoutFor(int64_t proxyTimeoutMs) {
    int64_t ms = tScopedTimeoutMs;
    if (ms < 0) ms = proxyTimeoutMs;
    return ms < 0 ? callTimeout() : std::chrono::milliseconds(ms);
}

// Depth of calls served inside calls on this thread; a peer that answers a
// call with calls of its own, without end, is cut off.
thread_local size_t tNesting = 0;

}  // namespace

std::unique_ptr<Connection> Runtime::connect(pid_t pid, Deadline deadline, bool twoWay) {
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
    memfd.reset();
    // Refused unread, the peer says goodbye: read, it lets the caller retry.
    if (err != OK && !conn->writeClosed()) return;
    Message answer;
    err = conn->waitMessage(&answer, deadline);
    answer.fds.clear();
    // A peer without the fast path declines; the connection stays a socket.
    if (err == OK && answer.header.kind == kReply && answer.header.seq == offer.seq &&
        answer.header.status == OK) {
        conn->attachShared(std::move(region), true);
    } else if (err != OK || answer.header.kind != kReply) {
        conn->markBroken();
    }
}

status_t Runtime::transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                           uint32_t flags) {
    ProxyTarget target;
    if (!proxyTarget(handle, &target) || target.dead || target.peer->dead()) return DEAD_OBJECT;
    const pid_t to = target.peer->pid();
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    if (!oneway && goesPlain(data)) {
        // Nothing to translate or to take back: the data goes as it is.
        MessageHeader header = makeHeader(
                kTransact, mNextSeq.fetch_add(1, std::memory_order_relaxed), {}, nullptr);
        header.node = target.node;
        header.code = code;
        bool sent = false;
        const Body body{nullptr, nullptr, &data};
        const std::chrono::milliseconds timeout = timeoutFor(target.timeoutMs);
        if (reply != nullptr) return roundTrip(target.peer, header, body, reply, &sent, timeout);
        // Even an unwanted reply is rebuilt: binders in it hold references.
        Parcel discarded;
        return roundTrip(target.peer, header, body, &discarded, &sent, timeout);
    }

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
        err = target.peer->sendOneway(header, translator.table, &image, false, timeout);
        sent = err == OK;
    } else {
        // Even an unwanted reply is rebuilt: binders in it hold references.
        std::optional<Parcel> discarded;
        if (reply == nullptr) reply = &discarded.emplace();
        err = roundTrip(target.peer, header, Body{&translator.table, &image}, reply, &sent,
                        timeout);
    }
    if (!sent) translator.rollback();
    return err;
}

status_t Runtime::requestGrant(const std::shared_ptr<Peer>& owner, uint64_t node, pid_t grantee) {
    if (owner->dead()) return FAILED_TRANSACTION;
    MessageHeader header =
            makeHeader(kGrant, mNextSeq.fetch_add(1, std::memory_order_relaxed), {}, nullptr);
    header.node = node;
    header.code = static_cast<uint32_t>(grantee);
    bool sent = false;
    status_t err = roundTrip(owner, header, Body{}, nullptr, &sent, timeoutFor(-1));
    // The transaction being built fails, not its target.
    return err == OK ? OK : FAILED_TRANSACTION;
}

status_t Runtime::roundTrip(const std::shared_ptr<Peer>& peer, const MessageHeader& header,
                            const Body& body, Parcel* reply, bool* sent,
                            std::chrono::milliseconds timeout) {
    *sent = false;
    const Deadline deadline = deadlineAfter(timeout);
    Connection* conn = nestedConnectionTo(peer->pid());
    std::unique_ptr<Connection> owned;
    if (conn == nullptr) {
        if (deadline && peer->knownUnresponsive(timeout)) return TIMED_OUT;
        status_t err = peer->takeConnection(deadline, &owned);
        if (err != OK) return err;
        conn = owned.get();
    }
    status_t err = exchange(peer, &owned, conn, header, body, reply, deadline, sent);
    if (err == TIMED_OUT && deadline) peer->noteTimedOut(timeout);
    if (owned != nullptr) peer->returnConnection(std::move(owned));
    return err;
}

// Sends a call down conn and waits for its answer. A pooled connection the
// peer closed to make room for others, before reading the call, answers
// with a goodbye (Incoming.cpp, evictIdle): the call goes again on another
// connection. A peer that stopped after reading it is never asked twice.
status_t Runtime::exchange(const std::shared_ptr<Peer>& peer, std::unique_ptr<Connection>* owned,
                           Connection* conn, const MessageHeader& header, const Body& body,
                           Parcel* reply, Deadline deadline, bool* sent) {
    for (size_t attempt = 0;; ++attempt) {
        // Into a connection this thread serves, the answer is queued like any
        // other; a pooled one is written through.
        status_t err = writeMessage(conn, header, body, deadline, *owned == nullptr);
        *sent = err == OK;
        // A send the peer no longer read may still have been taken (the fast
        // path's mailbox): its answer or its goodbye tells.
        if (err != OK && (*owned == nullptr || !conn->writeClosed())) return err;
        err = awaitReply(conn, header.seq, reply, deadline);
        if (*owned == nullptr || !conn->saidGoodbye() || attempt > limits().maxPeerConnections) {
            if (err != DEAD_OBJECT && err != TIMED_OUT) *sent = true;
            return err;
        }
        peer->returnConnection(std::move(*owned));
        err = peer->takeConnection(deadline, owned, true);
        if (err != OK) return err;
        conn = owned->get();
    }
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
                message.fds.clear();
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
            message.fds.clear();
            conn->markBroken();
            return FAILED_TRANSACTION;
        }
        if (message.header.status != OK || reply == nullptr) {
            message.fds.clear();
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
    return WireImageCodec::rebuild(std::move(message.block), message.payload + tableSize,
                                   message.header.payloadSize - tableSize, std::move(message.fds),
                                   &translator, out);
}

void Runtime::serveTransaction(Connection* conn, Message& message) {
    const MessageHeader& header = message.header;
    // The context object, most calls' target, is held by the runtime; any
    // other node is held for the call.
    sp<BHwBinder> held;
    BHwBinder* target = servedContext();
    if (header.node != 0) {
        held = findTarget(header.node, conn->pid());
        target = held.get();
    }
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
            if (goesPlain(given)) {
                // Nothing to translate: the data goes as it is.
                (void)writeAnswer(conn, makeHeader(kReply, seq, {}, nullptr),
                                  Body{nullptr, nullptr, &given});
                return;
            }
            ScratchImage scratch;
            WireImage& image = *scratch.get();
            status_t err = flattenForSend(given, &translator, &image);
            if (err == OK) {
                const MessageHeader out = makeHeader(kReply, seq, translator.table, &image);
                err = writeAnswer(conn, out, Body{&translator.table, &image});
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
