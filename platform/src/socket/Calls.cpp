// Carrying transactions: the binder translation of each parcel, the call
// path of a proxy and the serving path of an incoming connection.
#include <hidl_host/CallingIdentity.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

#include <cstring>

#include "socket/Runtime.h"
#include "socket/RuntimeDir.h"

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

void closeAll(const std::vector<int>& fds) {
    for (int fd : fds) ::close(fd);
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

    // The frame was not delivered: take back what was granted for it.
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

// Resolves the binder table of a frame from process `from`. Everything is
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

FrameHeader makeHeader(uint16_t kind, uint64_t seq, const std::vector<BinderRef>& table,
                       const WireImage* image) {
    FrameHeader header{};
    header.magic = kFrameMagic;
    header.kind = kind;
    header.seq = seq;
    header.tableCount = static_cast<uint32_t>(table.size());
    const size_t imageSize = image != nullptr ? image->bytes.size() : 0;
    header.payloadSize = static_cast<uint32_t>(table.size() * sizeof(BinderRef) + imageSize);
    header.fdCount = static_cast<uint16_t>(image != nullptr ? image->fds.size() : 0);
    return header;
}

status_t writeFrame(Connection* conn, const FrameHeader& header,
                    const std::vector<BinderRef>& table, const WireImage* image) {
    static const std::vector<int> kNoFds;
    return conn->write(header, table.data(), table.size() * sizeof(BinderRef),
                       image != nullptr ? image->bytes.data() : nullptr,
                       image != nullptr ? image->bytes.size() : 0,
                       image != nullptr ? image->fds : kNoFds);
}

}  // namespace

std::unique_ptr<Connection> Runtime::connectPeer(pid_t pid) {
    std::string dir;
    {
        std::lock_guard<std::mutex> lock(mLock);
        dir = directoryLocked();
    }
    pid_t serverPid;
    uid_t serverUid;
    int fd = connectTo(processSocketPath(dir, pid), &serverPid, &serverUid);
    if (fd < 0) return nullptr;
    // A socket file left by a dead process may have been taken over.
    if (serverPid != pid || serverUid != getuid()) {
        ::close(fd);
        return nullptr;
    }
    return std::make_unique<Connection>(fd, pid, serverUid);
}

std::unique_ptr<Connection> Runtime::takeConnection(const std::shared_ptr<Peer>& peer) {
    {
        std::lock_guard<std::mutex> lock(peer->poolLock);
        if (!peer->idle.empty()) {
            std::unique_ptr<Connection> conn = std::move(peer->idle.back());
            peer->idle.pop_back();
            return conn;
        }
    }
    return connectPeer(peer->pid);
}

void Runtime::returnConnection(const std::shared_ptr<Peer>& peer,
                               std::unique_ptr<Connection> conn) {
    if (conn->broken() || peer->dead) return;
    std::lock_guard<std::mutex> lock(peer->poolLock);
    peer->idle.push_back(std::move(conn));
}

status_t Runtime::transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                           uint32_t flags) {
    ProxyTarget target;
    if (!proxyTarget(handle, &target) || target.dead || target.peer->dead) return DEAD_OBJECT;
    const pid_t to = target.peer->pid;
    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;

    SendTranslator translator(*this, to);
    WireImage image;
    status_t err = WireImageCodec::flatten(data, &translator, &image);
    if (err != OK) {
        translator.rollback();
        return err;
    }
    FrameHeader header = makeHeader(kTransact, mNextSeq.fetch_add(1, std::memory_order_relaxed),
                                    translator.table, &image);
    header.node = target.node;
    header.code = code;
    header.flags = oneway ? IBinder::FLAG_ONEWAY : 0;

    bool sent = false;
    if (oneway) {
        err = sendOneway(target.peer, header, translator.table, &image);
        sent = err == OK;
    } else {
        Parcel discarded;
        // Even an unwanted reply is rebuilt: binders in it hold references.
        err = roundTrip(target.peer, header, translator.table, &image,
                        reply != nullptr ? reply : &discarded, &sent);
    }
    if (!sent) translator.rollback();
    return err;
}

status_t Runtime::requestGrant(const std::shared_ptr<Peer>& owner, uint64_t node, pid_t grantee) {
    if (owner->dead) return FAILED_TRANSACTION;
    FrameHeader header =
            makeHeader(kGrant, mNextSeq.fetch_add(1, std::memory_order_relaxed), {}, nullptr);
    header.node = node;
    header.code = static_cast<uint32_t>(grantee);
    bool sent = false;
    status_t err = roundTrip(owner, header, {}, nullptr, nullptr, &sent);
    // The transaction being built fails, not its target.
    return err == OK ? OK : FAILED_TRANSACTION;
}

status_t Runtime::roundTrip(const std::shared_ptr<Peer>& peer, const FrameHeader& header,
                            const std::vector<BinderRef>& table, const WireImage* image,
                            Parcel* reply, bool* sent) {
    *sent = false;
    Connection* conn = nestedConnectionTo(peer->pid);
    std::unique_ptr<Connection> owned;
    if (conn == nullptr) {
        owned = takeConnection(peer);
        if (owned == nullptr) return DEAD_OBJECT;
        conn = owned.get();
    }
    status_t err = writeFrame(conn, header, table, image);
    if (err == OK) {
        *sent = true;
        err = awaitReply(conn, header.seq, reply);
    }
    if (owned != nullptr) returnConnection(peer, std::move(owned));
    return err;
}

status_t Runtime::sendOneway(const std::shared_ptr<Peer>& peer, const FrameHeader& header,
                             const std::vector<BinderRef>& table, const WireImage* image) {
    std::lock_guard<std::mutex> lock(peer->onewayLock);
    if (peer->oneway == nullptr || peer->oneway->broken()) {
        peer->oneway = connectPeer(peer->pid);
        if (peer->oneway == nullptr) return DEAD_OBJECT;
    }
    status_t err = writeFrame(peer->oneway.get(), header, table, image);
    if (err != OK) peer->oneway.reset();
    return err;
}

status_t Runtime::awaitReply(Connection* conn, uint64_t seq, Parcel* reply) {
    FrameHeader header;
    const uint8_t* payload = nullptr;
    std::vector<int> fds;
    for (;;) {
        status_t err = conn->read(&header, &payload, &fds);
        if (err == DEAD_OBJECT) return DEAD_OBJECT;
        if (err != OK) return FAILED_TRANSACTION;
        if (header.kind != kReply) {
            // The peer calls back while we wait: serve it on this thread.
            serveFrame(conn, header, payload, std::move(fds));
            if (conn->broken()) return DEAD_OBJECT;
            continue;
        }
        if (header.seq != seq) {
            closeAll(fds);
            conn->markBroken();
            return FAILED_TRANSACTION;
        }
        if (header.status != OK || reply == nullptr) {
            closeAll(fds);
            return header.status;
        }
        return receiveParcel(*conn, header, payload, std::move(fds), reply);
    }
}

status_t Runtime::receiveParcel(const Connection& conn, const FrameHeader& header,
                                const uint8_t* payload, std::vector<int> fds, Parcel* out) {
    const size_t tableSize = header.tableCount * sizeof(BinderRef);
    ReceiveTranslator translator(*this, conn.pid());
    translator.resolve(payload, header.tableCount);
    return WireImageCodec::rebuild(payload + tableSize, header.payloadSize - tableSize,
                                   std::move(fds), &translator, out);
}

void Runtime::acquireServingSlot() {
    const size_t limit = ProcessState::self()->getMaxThreads();
    std::unique_lock<std::mutex> lock(mSlotLock);
    mSlotFree.wait(lock, [&] { return mSlotsInUse < limit; });
    ++mSlotsInUse;
}

void Runtime::releaseServingSlot() {
    {
        std::lock_guard<std::mutex> lock(mSlotLock);
        --mSlotsInUse;
    }
    mSlotFree.notify_one();
}

void Runtime::serveConnection(std::unique_ptr<Connection> conn) {
    mServingThreads.fetch_add(1);
    FrameHeader header;
    const uint8_t* payload = nullptr;
    std::vector<int> fds;
    while (conn->read(&header, &payload, &fds) == OK) {
        // Two-way calls take one of the pool's threads; oneway calls and
        // reference bookkeeping never wait for one.
        const bool pooled = header.kind == kTransact && (header.flags & IBinder::FLAG_ONEWAY) == 0;
        if (pooled) acquireServingSlot();
        serveFrame(conn.get(), header, payload, std::move(fds));
        if (pooled) releaseServingSlot();
        if (conn->broken()) break;
    }
    conn.reset();
    mServingThreads.fetch_sub(1);
}

void Runtime::writeStatusReply(Connection* conn, uint64_t seq, status_t status) {
    FrameHeader header = makeHeader(kReply, seq, {}, nullptr);
    header.status = status;
    (void)writeFrame(conn, header, {}, nullptr);
}

void Runtime::serveFrame(Connection* conn, const FrameHeader& header, const uint8_t* payload,
                         std::vector<int> fds) {
    switch (header.kind) {
        case kTransact:
            serveTransaction(conn, header, payload, std::move(fds));
            return;
        case kGrant: {
            status_t status = OK;
            const auto grantee = static_cast<pid_t>(header.code);
            if (header.node != 0) {
                std::lock_guard<std::mutex> lock(mLock);
                status = grantee > 0 ? mNodes.grantOnBehalf(header.node, conn->pid(), grantee)
                                     : BAD_VALUE;
                if (status == OK) peerLocked(grantee);
            }
            writeStatusReply(conn, header.seq, status);
            return;
        }
        case kRelease:
            releaseNode(header.node, conn->pid(), header.code);
            return;
        default:
            // A reply nobody waits for: the stream is out of step.
            closeAll(fds);
            conn->markBroken();
            return;
    }
}

void Runtime::serveTransaction(Connection* conn, const FrameHeader& header, const uint8_t* payload,
                               std::vector<int> fds) {
    const bool oneway = (header.flags & IBinder::FLAG_ONEWAY) != 0;
    sp<BHwBinder> target = findTarget(header.node, conn->pid());
    Parcel data;
    status_t err;
    if (target == nullptr) {
        // Unknown, forged or not granted to this caller: not served.
        closeAll(fds);
        err = PERMISSION_DENIED;
    } else {
        err = receiveParcel(*conn, header, payload, std::move(fds), &data);
    }
    if (err != OK) {
        if (!oneway) writeStatusReply(conn, header.seq, err);
        return;
    }

    ScopedCallingIdentity caller(conn->pid(), conn->uid());
    if (oneway) {
        Parcel ignored;
        target->transact(header.code, data, &ignored, IBinder::FLAG_ONEWAY);
        return;
    }

    SendTranslator translator(*this, conn->pid());
    WireImage image;
    bool flattened = false;
    status_t replyErr = OK;
    Parcel reply;
    {
        ServingScope scope(conn);
        err = target->transact(header.code, data, &reply, 0, [&](Parcel& given) {
            // What the stub hands over is the reply; its values live only now.
            if (flattened) return;
            flattened = true;
            replyErr = WireImageCodec::flatten(given, &translator, &image);
        });
        if (err == OK && !flattened) {
            flattened = true;
            replyErr = WireImageCodec::flatten(reply, &translator, &image);
        }
    }
    const status_t status = err != OK ? err : replyErr;
    if (status != OK) {
        translator.rollback();
        writeStatusReply(conn, header.seq, status);
        return;
    }
    FrameHeader out = makeHeader(kReply, header.seq, translator.table, &image);
    if (writeFrame(conn, out, translator.table, &image) != OK) translator.rollback();
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
