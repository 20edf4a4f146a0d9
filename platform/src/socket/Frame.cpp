#include "socket/Frame.h"

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
// arrive, and shrinks back once a large frame has been taken.
constexpr size_t kInitialInput = 4 * 1024;
constexpr size_t kKeepInput = 64 * 1024;
// Bytes a connection keeps for a peer that does not read: more than one
// largest frame, so that a reader that is merely slow is not dropped.
constexpr size_t kMaxOutBytes = 2 * kMaxTransactionSize + 64 * 1024;
// A waiter on the mailbox looks at the socket this often (a dead peer's end
// of stream arrives there).
constexpr int kSharedWaitSliceMs = 10;

std::atomic<size_t> gOpenConnections{0};

// The socket calls of every frame, made directly: the C library's wrappers
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

int timeoutMs(Deadline deadline) {
    if (!deadline) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT32_MAX));
}

bool headerIsSane(const FrameHeader& h) {
    if (h.magic != kFrameMagic || h.reserved != 0) return false;
    if (h.kind < kTransact || h.kind > kGoodbye) return false;
    if (h.kind == kShmOffer) return h.payloadSize == 0 && h.fdCount == 1 && h.tableCount == 0;
    if (h.fdCount > limits().maxFrameFds) return false;
    if (h.tableCount > limits().maxFrameRefs) return false;
    const size_t table = static_cast<size_t>(h.tableCount) * sizeof(BinderRef);
    if (h.payloadSize < table || h.payloadSize - table > kMaxTransactionSize) return false;
    if (h.kind != kTransact && h.kind != kReply && h.payloadSize != 0) return false;
    if (h.kind != kTransact && h.kind != kReply && h.fdCount != 0) return false;
    return true;
}

Connection::Connection(int fd, pid_t pid, uid_t uid, ByteBudget* peerBudget,
                       ByteBudget* totalBudget)
    : mFd(fd), mPid(pid), mUid(uid), mPeerBudget(peerBudget), mTotalBudget(totalBudget) {
    gOpenConnections.fetch_add(1, std::memory_order_relaxed);
}

Connection::~Connection() {
    for (const FdBatch& batch : mFds) closeFds(batch.fds);
    for (const OutChunk& chunk : mOut) closeFds(chunk.fds);
    unreserve(mIn.size() + mOutBytes + (mShared != nullptr ? sizeof(SharedLayout) : 0));
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
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxFrameFds)];
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

status_t Connection::send(const FrameHeader& header, const void* table, size_t tableSize,
                          const void* image, size_t imageSize, const std::vector<int>& fds,
                          Deadline deadline, bool mayQueue) {
    if (broken()) return DEAD_OBJECT;
    if (fds.size() > kMaxFrameFds) return BAD_VALUE;
    iovec iov[3] = {
            {const_cast<FrameHeader*>(&header), sizeof(header)},
            {const_cast<void*>(table), tableSize},
            {const_cast<void*>(image), imageSize},
    };
    if (mShared != nullptr) return sendShared(iov, fds, deadline, mayQueue);
    return sendSocket(iov, fds, deadline, mayQueue);
}

status_t Connection::sendShared(iovec* iov, const std::vector<int>& fds, Deadline deadline,
                                bool mayQueue) {
    Mailbox& box = mShared->out(mClientSide);
    const size_t total = iov[0].iov_len + iov[1].iov_len + iov[2].iov_len;
    bool onSocket = true;
    if (fds.empty() && total <= kSlotBytes && mOut.empty()) {
        size_t at = 0;
        for (int i = 0; i < 3; ++i) {
            if (iov[i].iov_len == 0) continue;
            memcpy(box.bytes + at, iov[i].iov_base, iov[i].iov_len);
            at += iov[i].iov_len;
        }
        box.mseq = mOutNumber++;
        box.kind = kInline;
        box.length = static_cast<uint32_t>(total);
        onSocket = false;
    } else {
        // Too big for the mailbox, or with descriptors: the frame goes over
        // the socket and the mailbox says so, in its turn.
        status_t err = sendSocket(iov, fds, deadline, mayQueue);
        if (err != OK) return err;
        box.mseq = mOutNumber++;
        box.kind = kOnSocket;
        box.length = 0;
    }
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
            if (onSocket) return OK;  // the frame itself wakes it
            FrameHeader bell{};
            bell.magic = kFrameMagic;
            bell.kind = kDoorbell;
            iovec bellIov[3] = {{&bell, sizeof(bell)}, {nullptr, 0}, {nullptr, 0}};
            static const std::vector<int> kNoFds;
            return sendSocket(bellIov, kNoFds, deadline, mayQueue);
        }
    }
}

status_t Connection::sendSocket(iovec* iov, const std::vector<int>& fds, Deadline deadline,
                                bool mayQueue) {
    // What is kept goes first, to keep the stream in order.
    while (!mOut.empty()) {
        status_t err = flush();
        if (err == OK) break;
        if (err != WOULD_BLOCK) return err;
        if (mayQueue) return queue(iov, 3, &fds);
        err = waitWritable(deadline);
        if (err != OK) return err;
    }
    size_t iovFirst = 0;
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxFrameFds)];
    bool sendFds = !fds.empty();
    // A small frame without descriptors goes out gathered, in one plain
    // send: the kernel's cheapest way, and most calls are small.
    unsigned char gathered[kGatherBytes];
    const size_t total = iov[0].iov_len + iov[1].iov_len + iov[2].iov_len;
    if (!sendFds && total <= sizeof(gathered)) {
        size_t at = 0;
        for (int i = 0; i < 3; ++i) {
            if (iov[i].iov_len > 0) memcpy(gathered + at, iov[i].iov_base, iov[i].iov_len);
            at += iov[i].iov_len;
            iov[i].iov_len = 0;
        }
        iov[0] = {gathered, total};
    }
    while (iovFirst < 3) {
        if (iov[iovFirst].iov_len == 0) {
            ++iovFirst;
            continue;
        }
        msghdr msg{};
        msg.msg_iov = iov + iovFirst;
        msg.msg_iovlen = 3 - iovFirst;
        if (sendFds) {
            msg.msg_control = control;
            msg.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
            cmsghdr* c = CMSG_FIRSTHDR(&msg);
            c->cmsg_level = SOL_SOCKET;
            c->cmsg_type = SCM_RIGHTS;
            c->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
            memcpy(CMSG_DATA(c), fds.data(), sizeof(int) * fds.size());
        }
        const bool single =
                !sendFds &&
                (iovFirst == 2 || (iov[2].iov_len == 0 && (iovFirst == 1 || iov[1].iov_len == 0)));
        ssize_t n = single ? sendBytes(mFd, iov[iovFirst].iov_base, iov[iovFirst].iov_len,
                                       MSG_NOSIGNAL | MSG_DONTWAIT)
                           : ::sendmsg(mFd, &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                if (mayQueue) {
                    status_t err = queue(iov + iovFirst, 3 - iovFirst, sendFds ? &fds : nullptr);
                    // A frame cut short cannot be followed by anything.
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
        while (iovFirst < 3 && left >= iov[iovFirst].iov_len) {
            left -= iov[iovFirst].iov_len;
            iov[iovFirst].iov_len = 0;
            ++iovFirst;
        }
        if (iovFirst < 3) {
            iov[iovFirst].iov_base = static_cast<char*>(iov[iovFirst].iov_base) + left;
            iov[iovFirst].iov_len -= left;
        }
    }
    return OK;
}

status_t Connection::receive(bool wait) {
    if (mBroken) return DEAD_OBJECT;
    if (mEof) return DEAD_OBJECT;
    // Taken frames give their room back.
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
    if (mEnd == mIn.size()) {
        // Room for what the frame under way still needs, doubling at most:
        // a header alone never buys its whole announced payload.
        size_t want = std::max(kInitialInput, mIn.size() * 2);
        if (mEnd >= sizeof(FrameHeader)) {
            FrameHeader h;
            memcpy(&h, mIn.data(), sizeof(h));
            if (!headerIsSane(h)) return breakWith(BAD_VALUE);
            want = std::min(want, sizeof(FrameHeader) + h.payloadSize);
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
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxFrameFds)];
    for (;;) {
        iovec iov{mIn.data() + mEnd, mIn.size() - mEnd};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = receiveMessage(mFd, &msg, MSG_CMSG_CLOEXEC | (wait ? 0 : MSG_DONTWAIT));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return WOULD_BLOCK;
        std::vector<int> fds;
        if (n >= 0) collectFds(&msg, &fds);
        if (n <= 0) {
            closeFds(fds);
            mEof = true;
            return DEAD_OBJECT;
        }
        if ((msg.msg_flags & MSG_CTRUNC) != 0 || mFdsHeld + fds.size() > limits().maxFrameFds) {
            // More than any frame may carry: the kernel or we close them.
            closeFds(fds);
            return breakWith(BAD_VALUE);
        }
        mEnd += static_cast<size_t>(n);
        if (!fds.empty()) {
            mFdsHeld += fds.size();
            mFds.push_back({mBase + mEnd - 1, std::move(fds)});
        }
        return OK;
    }
}

status_t Connection::next(Frame* frame) {
    frame->fds.clear();
    if (mBroken) return DEAD_OBJECT;
    if (mShared != nullptr) {
        status_t err = takeShared(frame);
        if (err != WOULD_BLOCK) return err;
    }
    for (;;) {
        status_t err = nextOnSocket(frame);
        if (err != OK) return err;
        if (mShared == nullptr) return OK;
        // A doorbell only wakes the reader; the message is in the mailbox.
        if (frame->header.kind == kDoorbell) {
            err = takeShared(frame);
            if (err != WOULD_BLOCK) return err;
            continue;
        }
        ++mInNumber;
        mSocketOwed = false;
        return OK;
    }
}

status_t Connection::takeShared(Frame* frame) {
    Mailbox& box = mShared->in(mClientSide);
    const uint32_t seq = box.seq.load(std::memory_order_acquire);
    if (seq == mSeenSeq) return WOULD_BLOCK;
    // Copied before anything is believed: the peer may still be writing.
    const uint64_t number = box.mseq;
    const uint32_t kind = box.kind;
    const size_t length = std::min<size_t>(box.length, kSlotBytes);
    if (number < mInNumber) {
        mSeenSeq = seq;  // announces a frame the socket already delivered
        return WOULD_BLOCK;
    }
    if (number != mInNumber || (kind != kInline && kind != kOnSocket)) {
        return breakWith(BAD_VALUE);
    }
    if (kind == kOnSocket) {
        mSeenSeq = seq;  // the socket's next frame is the message
        mSocketOwed = true;
        return WOULD_BLOCK;
    }
    mSharedIn.assign(box.bytes, box.bytes + length);
    mSeenSeq = seq;
    ++mInNumber;
    if (length < sizeof(FrameHeader)) return breakWith(BAD_VALUE);
    memcpy(&frame->header, mSharedIn.data(), sizeof(FrameHeader));
    if (!headerIsSane(frame->header) || frame->header.fdCount != 0 ||
        frame->header.kind == kDoorbell || frame->header.kind == kShmOffer ||
        frame->header.kind == kGoodbye ||
        sizeof(FrameHeader) + frame->header.payloadSize != length) {
        return breakWith(BAD_VALUE);
    }
    frame->payload = mSharedIn.data() + sizeof(FrameHeader);
    return OK;
}

status_t Connection::nextOnSocket(Frame* frame) {
    const uint64_t start = mBase + mStart;
    // Descriptors that came with no frame of their own.
    if (!mFds.empty() && mFds.front().pos < start) return breakWith(BAD_VALUE);
    if (mEnd - mStart < sizeof(FrameHeader)) return WOULD_BLOCK;
    memcpy(&frame->header, mIn.data() + mStart, sizeof(FrameHeader));
    if (!headerIsSane(frame->header)) return breakWith(BAD_VALUE);
    // Nothing follows it; whoever waits for an answer learns the call was
    // never read.
    if (frame->header.kind == kGoodbye) {
        mGoodbye = true;
        return breakWith(DEAD_OBJECT);
    }
    const size_t total = sizeof(FrameHeader) + frame->header.payloadSize;
    if (mEnd - mStart < total) return WOULD_BLOCK;
    // A frame owns exactly the descriptors that arrived with its bytes.
    while (!mFds.empty() && mFds.front().pos < start + total) {
        FdBatch& batch = mFds.front();
        mFdsHeld -= batch.fds.size();
        frame->fds.insert(frame->fds.end(), batch.fds.begin(), batch.fds.end());
        mFds.pop_front();
    }
    if (frame->fds.size() != frame->header.fdCount) {
        closeFds(frame->fds);
        frame->fds.clear();
        return breakWith(BAD_VALUE);
    }
    frame->payload = mIn.data() + mStart + sizeof(FrameHeader);
    mStart += total;
    return OK;
}

status_t Connection::waitFrame(Frame* frame, Deadline deadline) {
    bool lookAtSocket = false;
    for (;;) {
        status_t err = next(frame);
        if (err != WOULD_BLOCK) return err;
        if (mEof) return breakWith(DEAD_OBJECT);
        if (!mOut.empty() && flush() == DEAD_OBJECT) return DEAD_OBJECT;
        if (mShared != nullptr && mOut.empty() && !mSocketOwed && !lookAtSocket) {
            // Nothing is due on the socket: only the mailbox is watched, with
            // no system call while the spin lasts. After a quiet slice the
            // socket is read once, for the peer's end or a stray frame.
            if (deadline && Clock::now() >= *deadline) return breakWith(TIMED_OUT);
            lookAtSocket = !waitShared(deadline);
            continue;
        }
        lookAtSocket = false;
        // With nothing to send and no deadline, one blocking receive does
        // what a poll and a receive would.
        err = receive(mShared == nullptr && !deadline && mOut.empty());
        if (err == OK || err == DEAD_OBJECT) continue;
        if (err != WOULD_BLOCK) return err;
        if (mShared != nullptr && mOut.empty()) {
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
    FrameHeader bye{};
    bye.magic = kFrameMagic;
    bye.kind = kGoodbye;
    (void)sendBytes(fd, &bye, sizeof(bye), MSG_NOSIGNAL | MSG_DONTWAIT);
}

status_t Connection::read(FrameHeader* header, const uint8_t** payload, std::vector<int>* fds) {
    Frame frame;
    status_t err = waitFrame(&frame, std::nullopt);
    fds->clear();
    if (err != OK) return err;
    *header = frame.header;
    *payload = frame.payload;
    *fds = std::move(frame.fds);
    return OK;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
