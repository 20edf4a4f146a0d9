#include "socket/Connection.h"

#include <atomic>

#include "socket/Mailbox.h"
#include "socket/SharedRegion.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {
std::atomic<size_t> gOpenConnections{0};
}  // namespace

Connection::Connection(UniqueFd fd, pid_t pid, uid_t uid, ByteBudget* peerBudget,
                       ByteBudget* totalBudget)
    : mPid(pid), mUid(uid), mBudgets{peerBudget, totalBudget}, mStream(std::move(fd), mBudgets) {
    gOpenConnections.fetch_add(1, std::memory_order_relaxed);
}

Connection::~Connection() {
    gOpenConnections.fetch_sub(1, std::memory_order_relaxed);
}

size_t Connection::openCount() {
    return gOpenConnections.load(std::memory_order_relaxed);
}

status_t Connection::send(const MessageHeader& header, const iovec* parts, size_t partCount,
                          const std::vector<int>& fds, Deadline deadline, bool mayQueue) {
    if (broken()) return DEAD_OBJECT;
    if (fds.size() > kMaxMessageFds || partCount > kMaxMessageParts) return BAD_VALUE;
    iovec iov[kMaxMessageParts + 1];
    size_t count = 0;
    iov[count++] = {const_cast<MessageHeader*>(&header), sizeof(header)};
    for (size_t i = 0; i < partCount; ++i) {
        if (parts[i].iov_len > 0) iov[count++] = parts[i];
    }
    if (mMailbox != nullptr) return mMailbox->send(iov, count, fds, deadline, mayQueue);
    return mStream.send(iov, count, fds, deadline, mayQueue);
}

uint8_t* Connection::inlineRoom(size_t* room) {
    if (mMailbox == nullptr || broken()) return nullptr;
    *room = kSlotBytes;
    return mMailbox->inlineRoom();
}

status_t Connection::sendInline(size_t length, Deadline deadline, bool mayQueue) {
    return mMailbox->sendInline(length, deadline, mayQueue);
}

status_t Connection::next(Message* message) {
    message->fds.clear();
    message->block.reset();
    if (mStream.failed()) return DEAD_OBJECT;
    if (mMailbox != nullptr) {
        status_t err = mMailbox->take(message);
        if (err != WOULD_BLOCK) return err;
        // Between calls the stream holds nothing: not looked at.
        if (!mMailbox->socketOwed() && mStream.idle()) return WOULD_BLOCK;
    }
    for (;;) {
        status_t err = mStream.next(message);
        if (err != OK) return err;
        if (message->header.kind == kBulkOffer) {
            // Only a fast-path connection has a use for one.
            if (mMailbox == nullptr) {
                message->fds.clear();
                return mStream.breakWith(BAD_VALUE);
            }
            mMailbox->adoptBulk(*message);
            continue;
        }
        if (mMailbox == nullptr) return OK;
        // A doorbell only wakes the reader; the message is in the mailbox.
        if (message->header.kind == kDoorbell) {
            err = mMailbox->take(message);
            if (err != WOULD_BLOCK) return err;
            continue;
        }
        mMailbox->tookFromSocket();
        return OK;
    }
}

status_t Connection::waitMessage(Message* message, Deadline deadline) {
    bool lookAtSocket = false;
    for (;;) {
        status_t err = next(message);
        if (err != WOULD_BLOCK) return err;
        if (mStream.endOfStream()) return mStream.breakWith(DEAD_OBJECT);
        if (mStream.outPending() && mStream.flush() == DEAD_OBJECT) return DEAD_OBJECT;
        // The socket owes the rest of a message, or the one the mailbox announced.
        const bool socketDue =
                (mMailbox != nullptr && mMailbox->socketOwed()) || mStream.messageUnderWay();
        const bool mailboxOnly = mMailbox != nullptr && !mStream.outPending() && !socketDue;
        if (mailboxOnly && !lookAtSocket) {
            // Nothing is due on the socket: only the mailbox is watched, with
            // no system call while the spin lasts. After a quiet slice the
            // socket is read once, for the peer's end or a stray message.
            if (deadline && Clock::now() >= *deadline) return mStream.breakWith(TIMED_OUT);
            lookAtSocket = !mMailbox->wait(deadline);
            continue;
        }
        lookAtSocket = false;
        // With nothing to send and no deadline, one blocking receive does
        // what a poll and a receive would.
        err = mStream.receive((mMailbox == nullptr || socketDue) && !deadline &&
                              !mStream.outPending());
        if (err == OK || err == DEAD_OBJECT) continue;
        if (err != WOULD_BLOCK) return err;
        if (mailboxOnly) {
            if (deadline && Clock::now() >= *deadline) return mStream.breakWith(TIMED_OUT);
            mMailbox->wait(deadline);
            continue;
        }
        err = mStream.poll(deadline);
        if (err != OK) return err;
    }
}

status_t Connection::read(MessageHeader* header, const uint8_t** payload,
                          std::vector<UniqueFd>* fds) {
    Message message;
    status_t err = waitMessage(&message, std::nullopt);
    fds->clear();
    if (err != OK) return err;
    *header = message.header;
    *payload = message.payload;
    *fds = std::move(message.fds);
    mReadBlock = std::move(message.block);
    return OK;
}

bool Connection::attachShared(std::unique_ptr<SharedRegion> region, bool clientSide) {
    std::unique_ptr<Mailbox> mailbox =
            Mailbox::attach(std::move(region), clientSide, mStream, mBudgets);
    if (mailbox == nullptr) return false;
    mMailbox = std::move(mailbox);
    return true;
}

bool Connection::spinForMessage() {
    return mMailbox != nullptr && mMailbox->spin();
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
