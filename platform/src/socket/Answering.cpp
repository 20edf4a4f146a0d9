// Serving the messages that come in on a connection: calls, grants,
// releases and offers of the fast path.
#include <errno.h>
#include <signal.h>

#include <memory>

#include "socket/Messages.h"
#include "socket/Runtime.h"
#include "socket/SharedRegion.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

void Runtime::writeStatusReply(Connection* conn, uint64_t seq, status_t status) {
    MessageHeader header = makeHeader(kReply, seq, {}, nullptr);
    header.status = status;
    (void)writeAnswer(conn, header, Body{});
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
                if (status == OK) mPeers.findOrAdd(grantee);
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
        from = mPeers.find(conn->pid());
    }
    return mOneway.queueAndRun(OnewayQueues::Call{std::move(target), std::move(data),
                                                  message.header.code, conn->pid(), conn->uid(),
                                                  std::move(from), message.header.payloadSize});
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
