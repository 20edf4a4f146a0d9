#include "socket/Connection.h"

#include <errno.h>
#include <fcntl.h>
#include <hidl_host/WireImage.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "socket/Limits.h"
#include "socket/SharedRegion.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// A connection starts with this much input buffer; it grows only as bytes
// arrive, and shrinks back once a large message has been taken.
constexpr size_t kInitialInput = 4 * 1024;
constexpr size_t kKeepInput = 64 * 1024;
// Bytes a connection keeps for a peer that does not read: more than one
// largest message, so that a reader that is merely slow is not dropped.
constexpr size_t kMaxOutBytes = 2 * kMaxTransactionSize + 64 * 1024;
// A waiter on the mailbox looks at the socket this often (a dead peer's end
// of stream arrives there).
constexpr int kSharedWaitSliceMs = 10;

std::atomic<size_t> gOpenConnections{0};

// The socket calls of every message, made directly: the C library's wrappers
// mark each as a cancellation point, which costs every call and is of no use
// to threads nobody cancels.
ssize_t sendBytes(int fd, const void* data, size_t size, int flags) {
    return syscall(SYS_sendto, fd, data, size, flags, nullptr, 0);
}
ssize_t receiveMessage(int fd, msghdr* msg, int flags) {
    return syscall(SYS_recvmsg, fd, msg, flags);
}

void closeFds(const std::vector<int>& fds) {
    for (int fd : fds) ::close(fd);
}

// Takes the descriptors of every SCM_RIGHTS message in msg.
void collectFds(msghdr* msg, std::vector<int>* out) {
    for (cmsghdr* c = CMSG_FIRSTHDR(msg); c != nullptr; c = CMSG_NXTHDR(msg, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        const auto* fds = reinterpret_cast<const unsigned char*>(CMSG_DATA(c));
        for (size_t i = 0; i < count; ++i) {
            int fd;
            memcpy(&fd, fds + i * sizeof(int), sizeof(int));
            out->push_back(fd);
        }
    }
}

}  // namespace

Connection::Connection(int fd, pid_t pid, uid_t uid, ByteBudget* peerBudget,
                       ByteBudget* totalBudget)
    : mFd(fd), mPid(pid), mUid(uid), mPeerBudget(peerBudget), mTotalBudget(totalBudget) {
    gOpenConnections.fetch_add(1, std::memory_order_relaxed);
}

Connection::~Connection() {
    for (const FdBatch& batch : mFds) closeFds(batch.fds);
    for (const OutChunk& chunk : mOut) closeFds(chunk.fds);
    unreserve(mIn.size() + mOutBytes + (mShared != nullptr ? sizeof(SharedLayout) : 0) +
              (mLarge ? mLarge.size() : 0) + (mBulkIn != nullptr ? mBulkIn->size() : 0));
    ::close(mFd);
    gOpenConnections.fetch_sub(1, std::memory_order_relaxed);
}

size_t Connection::openCount() {
    return gOpenConnections.load(std::memory_order_relaxed);
}

bool Connection::reserve(size_t bytes) {
    for (ByteBudget* budget : {mPeerBudget, mTotalBudget}) {
        if (budget == nullptr) continue;
        if (budget->used.fetch_add(bytes) + bytes > budget->limit) {
            budget->used.fetch_sub(bytes);
            if (budget == mTotalBudget && mPeerBudget != nullptr)
                mPeerBudget->used.fetch_sub(bytes);
            return false;
        }
    }
    return true;
}

void Connection::unreserve(size_t bytes) {
    for (ByteBudget* budget : {mPeerBudget, mTotalBudget}) {
        if (budget != nullptr) budget->used.fetch_sub(bytes);
    }
}

status_t Connection::breakWith(status_t err) {
    mBroken = true;
    return err;
}

status_t Connection::queue(const iovec* iov, size_t iovCount, const std::vector<int>* fds) {
    size_t bytes = 0;
    for (size_t i = 0; i < iovCount; ++i) bytes += iov[i].iov_len;
    if (mOutBytes + bytes > kMaxOutBytes || !reserve(bytes)) return NO_MEMORY;
    OutChunk chunk;
    try {
        chunk.bytes.reserve(bytes);
    } catch (const std::bad_alloc&) {
        unreserve(bytes);
        return NO_MEMORY;
    }
    for (size_t i = 0; i < iovCount; ++i) {
        const auto* p = static_cast<const uint8_t*>(iov[i].iov_base);
        chunk.bytes.insert(chunk.bytes.end(), p, p + iov[i].iov_len);
    }
    if (fds != nullptr) {
        // The caller's descriptors may be closed before these go out.
        for (int fd : *fds) {
            int copy = fcntl(fd, F_DUPFD_CLOEXEC, 0);
            if (copy < 0) {
                closeFds(chunk.fds);
                unreserve(bytes);
                return NO_MEMORY;
            }
            chunk.fds.push_back(copy);
        }
    }
    mOutBytes += bytes;
    mOut.push_back(std::move(chunk));
    return OK;
}

status_t Connection::flush() {
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxMessageFds)];
    while (!mOut.empty()) {
        OutChunk& chunk = mOut.front();
        iovec iov{chunk.bytes.data() + chunk.sent, chunk.bytes.size() - chunk.sent};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        if (chunk.sent == 0 && !chunk.fds.empty()) {
            msg.msg_control = control;
            msg.msg_controllen = CMSG_SPACE(sizeof(int) * chunk.fds.size());
            cmsghdr* c = CMSG_FIRSTHDR(&msg);
            c->cmsg_level = SOL_SOCKET;
            c->cmsg_type = SCM_RIGHTS;
            c->cmsg_len = CMSG_LEN(sizeof(int) * chunk.fds.size());
            memcpy(CMSG_DATA(c), chunk.fds.data(), sizeof(int) * chunk.fds.size());
        }
        ssize_t n = ::sendmsg(mFd, &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) return WOULD_BLOCK;
            if (errno == EPIPE || errno == ECONNRESET) {
                mWriteClosed = true;
                return DEAD_OBJECT;
            }
            return breakWith(DEAD_OBJECT);
        }
        if (chunk.sent == 0) {
            closeFds(chunk.fds);
            chunk.fds.clear();
        }
        chunk.sent += static_cast<size_t>(n);
        if (chunk.sent == chunk.bytes.size()) {
            const size_t size = chunk.bytes.size();
            mOut.pop_front();
            mOutBytes -= size;
            unreserve(size);
        }
    }
    return OK;
}

status_t Connection::waitWritable(Deadline deadline) {
    for (;;) {
        pollfd p{mFd, POLLOUT, 0};
        int n = ::poll(&p, 1, timeoutMs(deadline));
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) return breakWith(TIMED_OUT);
        return n < 0 ? breakWith(DEAD_OBJECT) : OK;
    }
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
    if (mShared != nullptr) return sendShared(iov, count, fds, deadline, mayQueue);
    return sendSocket(iov, count, fds, deadline, mayQueue);
}

namespace {

size_t totalOf(const iovec* iov, size_t count) {
    size_t total = 0;
    for (size_t i = 0; i < count; ++i) total += iov[i].iov_len;
    return total;
}

void gatherInto(uint8_t* to, const iovec* iov, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        memcpy(to, iov[i].iov_base, iov[i].iov_len);
        to += iov[i].iov_len;
    }
}

}  // namespace

status_t Connection::sendShared(iovec* iov, size_t count, const std::vector<int>& fds,
                                Deadline deadline, bool mayQueue) {
    Mailbox& box = mShared->out(mClientSide);
    const size_t total = totalOf(iov, count);
    bool onSocket = false;
    if (fds.empty() && mOut.empty() && total <= kSlotBytes) {
        gatherInto(box.bytes, iov, count);
        box.kind = kInline;
        box.length = static_cast<uint32_t>(total);
    } else if (fds.empty() && mOut.empty() && putInBulk(iov, count, total, deadline, mayQueue)) {
        box.kind = kInBulk;
        box.length = static_cast<uint32_t>(total);
        box.generation = mBulkOutGeneration;
    } else {
        // With descriptors, behind queued bytes, or too large: the message goes
        // over the socket and the mailbox says so, in its turn.
        status_t err = sendSocket(iov, count, fds, deadline, mayQueue);
        if (err != OK) return err;
        box.kind = kOnSocket;
        box.length = 0;
        onSocket = true;
    }
    box.mseq = mOutNumber++;
    // Sequentially consistent with the receiver's store of its state: one of
    // the two always sees the other's.
    box.seq.fetch_add(1, std::memory_order_seq_cst);
    switch (box.rxState.load(std::memory_order_seq_cst)) {
        case kRxSpinning:
            return OK;
        case kRxSleeping:
            futexWake(&box.seq);
            return OK;
        default: {
            if (onSocket) return OK;  // the message itself wakes it
            MessageHeader bell{};
            bell.magic = kMessageMagic;
            bell.kind = kDoorbell;
            iovec bellIov[1] = {{&bell, sizeof(bell)}};
            static const std::vector<int> kNoFds;
            return sendSocket(bellIov, 1, kNoFds, deadline, mayQueue);
        }
    }
}

bool Connection::putInBulk(const iovec* iov, size_t count, size_t total, Deadline deadline,
                           bool mayQueue) {
    if (total > kMaxBulkBytes) return false;
    if (mBulkOut != nullptr && mBulkOut->size() >= total) {
        // Not before the receiver has mapped this region.
        if (mShared->out(mClientSide).bulkTaken.load(std::memory_order_acquire) !=
            mBulkOutGeneration) {
            return false;
        }
        gatherInto(mBulkOut->data(), iov, count);
        return true;
    }
    // Each size is offered once: a receiver that declined it (its budget for
    // us is spent) is not asked again, and this message goes by socket.
    size_t size = kMinBulkBytes;
    while (size < total) size *= 2;
    if (size <= mBulkOffered) return false;
    mBulkOffered = size;
    int fd = -1;
    std::unique_ptr<BulkRegion> region = BulkRegion::create(size, &fd);
    if (region == nullptr) return false;
    MessageHeader offer{};
    offer.magic = kMessageMagic;
    offer.kind = kBulkOffer;
    offer.fdCount = 1;
    offer.code = mBulkOutGeneration + 1;
    iovec offerIov[1] = {{&offer, sizeof(offer)}};
    const status_t err = sendSocket(offerIov, 1, {fd}, deadline, mayQueue);
    ::close(fd);
    if (err == OK) {
        mBulkOut = std::move(region);
        ++mBulkOutGeneration;
    }
    return false;
}

status_t Connection::sendSocket(iovec* iov, size_t count, const std::vector<int>& fds,
                                Deadline deadline, bool mayQueue) {
    // What is kept goes first, to keep the stream in order.
    while (!mOut.empty()) {
        status_t err = flush();
        if (err == OK) break;
        if (err != WOULD_BLOCK) return err;
        if (mayQueue) return queue(iov, count, &fds);
        err = waitWritable(deadline);
        if (err != OK) return err;
    }
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxMessageFds)];
    bool sendFds = !fds.empty();
    // A small message without descriptors goes out gathered, in one plain
    // send: the kernel's cheapest way, and most calls are small. A large one
    // goes from where its parts lie.
    unsigned char gathered[kGatherBytes];
    const size_t total = totalOf(iov, count);
    if (!sendFds && count > 1 && total <= sizeof(gathered)) {
        gatherInto(gathered, iov, count);
        iov[0] = {gathered, total};
        count = 1;
    }
    size_t first = 0;
    while (first < count) {
        if (iov[first].iov_len == 0) {
            ++first;
            continue;
        }
        msghdr msg{};
        msg.msg_iov = iov + first;
        msg.msg_iovlen = count - first;
        if (sendFds) {
            msg.msg_control = control;
            msg.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
            cmsghdr* c = CMSG_FIRSTHDR(&msg);
            c->cmsg_level = SOL_SOCKET;
            c->cmsg_type = SCM_RIGHTS;
            c->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
            memcpy(CMSG_DATA(c), fds.data(), sizeof(int) * fds.size());
        }
        const bool single = !sendFds && first + 1 == count;
        ssize_t n = single ? sendBytes(mFd, iov[first].iov_base, iov[first].iov_len,
                                       MSG_NOSIGNAL | MSG_DONTWAIT)
                           : ::sendmsg(mFd, &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                if (mayQueue) {
                    status_t err = queue(iov + first, count - first, sendFds ? &fds : nullptr);
                    // A message cut short cannot be followed by anything.
                    if (err != OK && !sendFds) mBroken = true;
                    return err;
                }
                status_t err = waitWritable(deadline);
                if (err != OK) return err;
                continue;
            }
            if (errno == EPIPE || errno == ECONNRESET) {
                mWriteClosed = true;
                return DEAD_OBJECT;
            }
            return breakWith(-errno);
        }
        sendFds = false;
        auto left = static_cast<size_t>(n);
        while (first < count && left >= iov[first].iov_len) {
            left -= iov[first].iov_len;
            iov[first].iov_len = 0;
            ++first;
        }
        if (first < count) {
            iov[first].iov_base = static_cast<char*>(iov[first].iov_base) + left;
            iov[first].iov_len -= left;
        }
    }
    return OK;
}

status_t Connection::receive(bool wait) {
    if (mBroken) return DEAD_OBJECT;
    if (mEof) return DEAD_OBJECT;
    if (mLarge) return receiveLarge(wait);
    // Taken messages give their room back.
    if (mStart > 0) {
        memmove(mIn.data(), mIn.data() + mStart, mEnd - mStart);
        mBase += mStart;
        mEnd -= mStart;
        mStart = 0;
    }
    if (mEnd == 0 && mIn.size() > kKeepInput) {
        unreserve(mIn.size() - kInitialInput);
        std::vector<uint8_t>(kInitialInput).swap(mIn);
    }
    if (mEnd >= sizeof(MessageHeader)) {
        MessageHeader h;
        memcpy(&h, mIn.data(), sizeof(h));
        if (!headerIsSane(h)) return breakWith(BAD_VALUE);
        const size_t total = sizeof(MessageHeader) + h.payloadSize;
        if (total >= kLargeMessageBytes && mEnd < total) {
            // The rest of a large message goes straight into a block of its own.
            if (!reserve(total)) return breakWith(NO_MEMORY);
            mLarge = ImageBlock::allocate(total);
            if (!mLarge) {
                unreserve(total);
                return breakWith(NO_MEMORY);
            }
            memcpy(mLarge.data(), mIn.data(), mEnd);
            mLargeFilled = mEnd;
            mLargeStart = mBase;
            mBase += mEnd;
            mEnd = 0;
            return receiveLarge(wait);
        }
    }
    if (mEnd == mIn.size()) {
        // Room for what the message under way still needs, doubling at most:
        // a header alone never buys its whole announced payload.
        size_t want = std::max(kInitialInput, mIn.size() * 2);
        if (mEnd >= sizeof(MessageHeader)) {
            MessageHeader h;
            memcpy(&h, mIn.data(), sizeof(h));
            want = std::min(want, sizeof(MessageHeader) + h.payloadSize);
        }
        if (want <= mIn.size()) want = mIn.size() + kInitialInput;
        const size_t grow = want - mIn.size();
        if (!reserve(grow)) return breakWith(NO_MEMORY);
        try {
            mIn.resize(want);
        } catch (const std::bad_alloc&) {
            unreserve(grow);
            return breakWith(NO_MEMORY);
        }
    }
    size_t got = 0;
    const status_t err =
            receiveInto(mIn.data() + mEnd, mIn.size() - mEnd, wait ? 0 : MSG_DONTWAIT, &got);
    mEnd += got;
    return err;
}

status_t Connection::receiveLarge(bool wait) {
    size_t got = 0;
    // Waiting, for all of it at once: one call instead of one per chunk.
    const status_t err = receiveInto(mLarge.data() + mLargeFilled, mLarge.size() - mLargeFilled,
                                     wait ? MSG_WAITALL : MSG_DONTWAIT, &got);
    mLargeFilled += got;
    mBase += got;
    return err;
}

status_t Connection::receiveInto(uint8_t* at, size_t room, int flags, size_t* got) {
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxMessageFds)];
    for (;;) {
        iovec iov{at, room};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = receiveMessage(mFd, &msg, MSG_CMSG_CLOEXEC | flags);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return WOULD_BLOCK;
        std::vector<int> fds;
        if (n >= 0) collectFds(&msg, &fds);
        if (n <= 0) {
            closeFds(fds);
            mEof = true;
            return DEAD_OBJECT;
        }
        if ((msg.msg_flags & MSG_CTRUNC) != 0 || mFdsHeld + fds.size() > limits().maxMessageFds) {
            // More than any message may carry: the kernel or we close them.
            closeFds(fds);
            return breakWith(BAD_VALUE);
        }
        *got = static_cast<size_t>(n);
        if (!fds.empty()) {
            // Stream offset of the last byte that came with them.
            mFdsHeld += fds.size();
            mFds.push_back({mBase + mEnd + *got - 1, std::move(fds)});
        }
        return OK;
    }
}

bool Connection::hasBufferedMessage() const {
    if (mLarge) return mLargeFilled == mLarge.size();
    if (mEnd - mStart < sizeof(MessageHeader)) return false;
    MessageHeader h;
    memcpy(&h, mIn.data() + mStart, sizeof(h));
    return mEnd - mStart >= sizeof(MessageHeader) + static_cast<size_t>(h.payloadSize);
}

status_t Connection::next(Message* message) {
    message->fds.clear();
    message->block.reset();
    if (mBroken) return DEAD_OBJECT;
    if (mShared != nullptr) {
        status_t err = takeShared(message);
        if (err != WOULD_BLOCK) return err;
    }
    for (;;) {
        status_t err = nextOnSocket(message);
        if (err != OK) return err;
        if (message->header.kind == kBulkOffer) {
            err = adoptBulk(*message);
            if (err != OK) return err;
            continue;
        }
        if (mShared == nullptr) return OK;
        // A doorbell only wakes the reader; the message is in the mailbox.
        if (message->header.kind == kDoorbell) {
            err = takeShared(message);
            if (err != WOULD_BLOCK) return err;
            continue;
        }
        ++mInNumber;
        mSocketOwed = false;
        return OK;
    }
}

status_t Connection::adoptBulk(Message& offer) {
    std::unique_ptr<BulkRegion> region;
    if (mShared != nullptr && offer.header.code > mBulkInGeneration) {
        region = BulkRegion::adopt(offer.fds[0]);
    }
    closeFds(offer.fds);
    offer.fds.clear();
    // Only a fast-path connection has a use for one.
    if (mShared == nullptr) return breakWith(BAD_VALUE);
    // Declined, the peer goes on sending large messages over the socket.
    if (region == nullptr) return OK;
    // Counted whole, though its pages cost only once written.
    const size_t old = mBulkIn != nullptr ? mBulkIn->size() : 0;
    if (region->size() > old && !reserve(region->size() - old)) return OK;
    if (region->size() < old) unreserve(old - region->size());
    mBulkIn = std::move(region);
    mBulkInGeneration = offer.header.code;
    mShared->in(mClientSide).bulkTaken.store(mBulkInGeneration, std::memory_order_release);
    return OK;
}

namespace {

// Kinds that never travel in a mailbox.
bool socketOnly(uint16_t kind) {
    return kind == kDoorbell || kind == kShmOffer || kind == kGoodbye || kind == kBulkOffer;
}

}  // namespace

status_t Connection::takeShared(Message* message) {
    Mailbox& box = mShared->in(mClientSide);
    const uint32_t seq = box.seq.load(std::memory_order_acquire);
    if (seq == mSeenSeq) return WOULD_BLOCK;
    // Copied before anything is believed: the peer may still be writing.
    const uint64_t number = box.mseq;
    const uint32_t kind = box.kind;
    const size_t rawLength = box.length;
    const uint32_t generation = box.generation;
    if (number < mInNumber) {
        mSeenSeq = seq;  // announces a message the socket already delivered
        return WOULD_BLOCK;
    }
    if (number != mInNumber || (kind != kInline && kind != kOnSocket && kind != kInBulk)) {
        return breakWith(BAD_VALUE);
    }
    if (kind == kOnSocket) {
        mSeenSeq = seq;  // the socket's next message is the message
        mSocketOwed = true;
        return WOULD_BLOCK;
    }
    mSeenSeq = seq;
    ++mInNumber;
    const uint8_t* bytes;
    size_t length;
    if (kind == kInBulk) {
        if (mBulkIn == nullptr || generation != mBulkInGeneration || rawLength > mBulkIn->size() ||
            rawLength < sizeof(MessageHeader)) {
            return breakWith(BAD_VALUE);
        }
        message->block = ImageBlock::allocate(rawLength);
        if (!message->block) return breakWith(NO_MEMORY);
        memcpy(message->block.data(), mBulkIn->data(), rawLength);
        bytes = message->block.data();
        length = rawLength;
    } else {
        length = std::min<size_t>(rawLength, kSlotBytes);
        mSharedIn.assign(box.bytes, box.bytes + length);
        bytes = mSharedIn.data();
    }
    if (length < sizeof(MessageHeader)) return breakWith(BAD_VALUE);
    memcpy(&message->header, bytes, sizeof(MessageHeader));
    if (!headerIsSane(message->header) || message->header.fdCount != 0 ||
        socketOnly(message->header.kind) ||
        sizeof(MessageHeader) + message->header.payloadSize != length) {
        return breakWith(BAD_VALUE);
    }
    message->payload = bytes + sizeof(MessageHeader);
    return OK;
}

// Hands the message the descriptors that came with its bytes, [start, start +
// total) of the stream: exactly as many as it declares.
status_t Connection::takeFds(uint64_t start, size_t total, Message* message) {
    while (!mFds.empty() && mFds.front().pos < start + total) {
        FdBatch& batch = mFds.front();
        mFdsHeld -= batch.fds.size();
        message->fds.insert(message->fds.end(), batch.fds.begin(), batch.fds.end());
        mFds.pop_front();
    }
    if (message->fds.size() != message->header.fdCount) {
        closeFds(message->fds);
        message->fds.clear();
        return breakWith(BAD_VALUE);
    }
    return OK;
}

status_t Connection::nextOnSocket(Message* message) {
    if (mLarge) {
        if (mLargeFilled < mLarge.size()) return WOULD_BLOCK;
        if (!mFds.empty() && mFds.front().pos < mLargeStart) return breakWith(BAD_VALUE);
        memcpy(&message->header, mLarge.data(), sizeof(MessageHeader));
        const size_t total = mLarge.size();
        status_t err = takeFds(mLargeStart, total, message);
        if (err != OK) return err;
        // From here on the block is the taker's memory, not the peer's.
        unreserve(total);
        message->block = std::move(mLarge);
        message->payload = message->block.data() + sizeof(MessageHeader);
        mLargeFilled = 0;
        return OK;
    }
    const uint64_t start = mBase + mStart;
    // Descriptors that came with no message of their own.
    if (!mFds.empty() && mFds.front().pos < start) return breakWith(BAD_VALUE);
    if (mEnd - mStart < sizeof(MessageHeader)) return WOULD_BLOCK;
    memcpy(&message->header, mIn.data() + mStart, sizeof(MessageHeader));
    if (!headerIsSane(message->header)) return breakWith(BAD_VALUE);
    // Nothing follows it; whoever waits for an answer learns the call was
    // never read.
    if (message->header.kind == kGoodbye) {
        mGoodbye = true;
        return breakWith(DEAD_OBJECT);
    }
    const size_t total = sizeof(MessageHeader) + message->header.payloadSize;
    if (mEnd - mStart < total) return WOULD_BLOCK;
    status_t err = takeFds(start, total, message);
    if (err != OK) return err;
    message->payload = mIn.data() + mStart + sizeof(MessageHeader);
    mStart += total;
    return OK;
}

status_t Connection::waitMessage(Message* message, Deadline deadline) {
    bool lookAtSocket = false;
    for (;;) {
        status_t err = next(message);
        if (err != WOULD_BLOCK) return err;
        if (mEof) return breakWith(DEAD_OBJECT);
        if (!mOut.empty() && flush() == DEAD_OBJECT) return DEAD_OBJECT;
        // The socket owes the rest of a message, or the one the mailbox announced.
        const bool socketDue = mSocketOwed || messageUnderWay();
        if (mShared != nullptr && mOut.empty() && !socketDue && !lookAtSocket) {
            // Nothing is due on the socket: only the mailbox is watched, with
            // no system call while the spin lasts. After a quiet slice the
            // socket is read once, for the peer's end or a stray message.
            if (deadline && Clock::now() >= *deadline) return breakWith(TIMED_OUT);
            lookAtSocket = !waitShared(deadline);
            continue;
        }
        lookAtSocket = false;
        // With nothing to send and no deadline, one blocking receive does
        // what a poll and a receive would.
        err = receive((mShared == nullptr || socketDue) && !deadline && mOut.empty());
        if (err == OK || err == DEAD_OBJECT) continue;
        if (err != WOULD_BLOCK) return err;
        if (mShared != nullptr && mOut.empty() && !socketDue) {
            if (deadline && Clock::now() >= *deadline) return breakWith(TIMED_OUT);
            waitShared(deadline);
            continue;
        }
        pollfd p{mFd, static_cast<short>(POLLIN | (mOut.empty() ? 0 : POLLOUT)), 0};
        int n = ::poll(&p, 1, timeoutMs(deadline));
        if (n < 0 && errno != EINTR) return breakWith(DEAD_OBJECT);
        if (n == 0) return breakWith(TIMED_OUT);
    }
}

bool Connection::waitShared(Deadline deadline) {
    Mailbox& box = mShared->in(mClientSide);
    box.rxState.store(kRxSpinning, std::memory_order_seq_cst);
    if (!mSpin->spin([&] { return box.seq.load(std::memory_order_acquire) != mSeenSeq; })) {
        box.rxState.store(kRxSleeping, std::memory_order_seq_cst);
        // Woken by the sender; the timeout lets a dead peer's end of stream
        // and the deadline be seen, since the socket is not watched meanwhile.
        int ms = timeoutMs(deadline);
        ms = ms < 0 ? kSharedWaitSliceMs : std::min(ms, kSharedWaitSliceMs);
        futexWait(&box.seq, mSeenSeq, ms);
    }
    box.rxState.store(kRxAway, std::memory_order_seq_cst);
    return box.seq.load(std::memory_order_seq_cst) != mSeenSeq;
}

bool Connection::attachShared(std::unique_ptr<SharedRegion> region, bool clientSide) {
    if (!reserve(sizeof(SharedLayout))) return false;
    mShared = std::move(region);
    mClientSide = clientSide;
    mSpin = std::make_unique<SpinBudget>();
    // A fresh region: the peer's first message makes it 1, possibly before
    // this side has attached.
    mSeenSeq = 0;
    return true;
}

bool Connection::spinForMessage() {
    if (mShared == nullptr) return false;
    Mailbox& box = mShared->in(mClientSide);
    box.rxState.store(kRxSpinning, std::memory_order_seq_cst);
    bool got = mSpin->spin([&] { return box.seq.load(std::memory_order_acquire) != mSeenSeq; });
    box.rxState.store(kRxAway, std::memory_order_seq_cst);
    // Seen after going away, or the sender saw us spinning and rang no bell.
    return got || box.seq.load(std::memory_order_seq_cst) != mSeenSeq;
}

void Connection::sayGoodbye() {
    // Never ahead of answers still queued: without them it is not said.
    if (!mOut.empty() && flush() != OK) return;
    sendGoodbye(mFd);
    ::shutdown(mFd, SHUT_RDWR);
}

void sendGoodbye(int fd) {
    MessageHeader bye{};
    bye.magic = kMessageMagic;
    bye.kind = kGoodbye;
    (void)sendBytes(fd, &bye, sizeof(bye), MSG_NOSIGNAL | MSG_DONTWAIT);
}

status_t Connection::read(MessageHeader* header, const uint8_t** payload, std::vector<int>* fds) {
    Message message;
    status_t err = waitMessage(&message, std::nullopt);
    fds->clear();
    if (err != OK) return err;
    *header = message.header;
    *payload = message.payload;
    *fds = std::move(message.fds);
    return OK;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
