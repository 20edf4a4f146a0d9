#include "socket/SocketStream.h"

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

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// A stream starts with this much input buffer; it grows only as bytes
// arrive, and shrinks back once a large message has been taken.
constexpr size_t kInitialInput = 4 * 1024;
constexpr size_t kKeepInput = 64 * 1024;
// Bytes a stream keeps for a peer that does not read: more than one largest
// message, so that a reader that is merely slow is not dropped.
constexpr size_t kMaxOutBytes = 2 * kMaxTransactionSize + 64 * 1024;

// The socket calls of every message, made directly: the C library's wrappers
// mark each as a cancellation point, which costs every call and is of no use
// to threads nobody cancels.
ssize_t sendBytes(int fd, const void* data, size_t size, int flags) {
    return syscall(SYS_sendto, fd, data, size, flags, nullptr, 0);
}
ssize_t receiveMessage(int fd, msghdr* msg, int flags) {
    return syscall(SYS_recvmsg, fd, msg, flags);
}

// Room for the most descriptors one message may carry.
using FdControl = unsigned char[CMSG_SPACE(sizeof(int) * kMaxMessageFds)];

// Puts count descriptors, read by fdAt(i), into msg as one SCM_RIGHTS batch.
template <typename FdAt>
void attachFds(msghdr* msg, FdControl& control, size_t count, FdAt fdAt) {
    msg->msg_control = control;
    msg->msg_controllen = CMSG_SPACE(sizeof(int) * count);
    cmsghdr* c = CMSG_FIRSTHDR(msg);
    c->cmsg_level = SOL_SOCKET;
    c->cmsg_type = SCM_RIGHTS;
    c->cmsg_len = CMSG_LEN(sizeof(int) * count);
    for (size_t i = 0; i < count; ++i) {
        const int fd = fdAt(i);
        memcpy(CMSG_DATA(c) + i * sizeof(int), &fd, sizeof(int));
    }
}

// Takes the descriptors of every SCM_RIGHTS batch in msg.
void collectFds(msghdr* msg, std::vector<UniqueFd>* out) {
    for (cmsghdr* c = CMSG_FIRSTHDR(msg); c != nullptr; c = CMSG_NXTHDR(msg, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        const auto* fds = reinterpret_cast<const unsigned char*>(CMSG_DATA(c));
        for (size_t i = 0; i < count; ++i) {
            int fd;
            memcpy(&fd, fds + i * sizeof(int), sizeof(int));
            out->emplace_back(fd);
        }
    }
}

}  // namespace

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

SocketStream::SocketStream(UniqueFd fd, Budgets budgets) : mFd(std::move(fd)), mBudgets(budgets) {}

SocketStream::~SocketStream() {
    mBudgets.unreserve(mIn.size() + mOutBytes + (mLarge ? mLarge.size() : 0));
}

// --- sending ---

status_t SocketStream::sendFailed(status_t otherwise) {
    if (errno == EPIPE || errno == ECONNRESET) {
        mWriteClosed = true;
        return DEAD_OBJECT;
    }
    return breakWith(otherwise);
}

status_t SocketStream::queue(const iovec* iov, size_t iovCount, const std::vector<int>* fds) {
    const size_t bytes = totalOf(iov, iovCount);
    if (mOutBytes + bytes > kMaxOutBytes || !mBudgets.reserve(bytes)) return NO_MEMORY;
    OutChunk chunk;
    try {
        chunk.bytes.resize(bytes);
    } catch (const std::bad_alloc&) {
        mBudgets.unreserve(bytes);
        return NO_MEMORY;
    }
    gatherInto(chunk.bytes.data(), iov, iovCount);
    if (fds != nullptr) {
        // The caller's descriptors may be closed before these go out.
        for (int fd : *fds) {
            chunk.fds.emplace_back(fcntl(fd, F_DUPFD_CLOEXEC, 0));
            if (!chunk.fds.back().valid()) {
                mBudgets.unreserve(bytes);
                return NO_MEMORY;
            }
        }
    }
    mOutBytes += bytes;
    mOut.push_back(std::move(chunk));
    return OK;
}

status_t SocketStream::flush() {
    FdControl control;
    while (!mOut.empty()) {
        OutChunk& chunk = mOut.front();
        iovec iov{chunk.bytes.data() + chunk.sent, chunk.bytes.size() - chunk.sent};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        if (chunk.sent == 0 && !chunk.fds.empty()) {
            attachFds(&msg, control, chunk.fds.size(),
                      [&](size_t i) { return chunk.fds[i].get(); });
        }
        ssize_t n = ::sendmsg(mFd.get(), &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) return WOULD_BLOCK;
            return sendFailed(DEAD_OBJECT);
        }
        // Sent with the first byte; ours to close now.
        chunk.fds.clear();
        chunk.sent += static_cast<size_t>(n);
        if (chunk.sent == chunk.bytes.size()) {
            const size_t size = chunk.bytes.size();
            mOut.pop_front();
            mOutBytes -= size;
            mBudgets.unreserve(size);
        }
    }
    return OK;
}

status_t SocketStream::waitWritable(Deadline deadline) {
    for (;;) {
        pollfd p{mFd.get(), POLLOUT, 0};
        int n = ::poll(&p, 1, timeoutMs(deadline));
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) return breakWith(TIMED_OUT);
        return n < 0 ? breakWith(DEAD_OBJECT) : OK;
    }
}

status_t SocketStream::send(iovec* iov, size_t count, const std::vector<int>& fds,
                            Deadline deadline, bool mayQueue) {
    // What is queued goes first, to keep the stream in order.
    while (!mOut.empty()) {
        status_t err = flush();
        if (err == OK) break;
        if (err != WOULD_BLOCK) return err;
        if (mayQueue) return queue(iov, count, &fds);
        err = waitWritable(deadline);
        if (err != OK) return err;
    }
    FdControl control;
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
        if (sendFds) attachFds(&msg, control, fds.size(), [&](size_t i) { return fds[i]; });
        const bool single = !sendFds && first + 1 == count;
        ssize_t n = single ? sendBytes(mFd.get(), iov[first].iov_base, iov[first].iov_len,
                                       MSG_NOSIGNAL | MSG_DONTWAIT)
                           : ::sendmsg(mFd.get(), &msg, MSG_NOSIGNAL | MSG_DONTWAIT);
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
            return sendFailed(-errno);
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

void SocketStream::sayGoodbye() {
    // Never ahead of answers still queued: without them it is not said.
    if (!mOut.empty() && flush() != OK) return;
    sendGoodbye(mFd.get());
    ::shutdown(mFd.get(), SHUT_RDWR);
}

void sendGoodbye(int fd) {
    MessageHeader bye{};
    bye.magic = kMessageMagic;
    bye.kind = kGoodbye;
    (void)sendBytes(fd, &bye, sizeof(bye), MSG_NOSIGNAL | MSG_DONTWAIT);
}

// --- receiving ---

status_t SocketStream::receive(bool wait) {
    if (mBroken || mEof) return DEAD_OBJECT;
    if (mLarge) return receiveLarge(wait);
    // Taken messages give their room back.
    if (mStart > 0) {
        memmove(mIn.data(), mIn.data() + mStart, mEnd - mStart);
        mBase += mStart;
        mEnd -= mStart;
        mStart = 0;
    }
    if (mEnd == 0 && mIn.size() > kKeepInput) {
        mBudgets.unreserve(mIn.size() - kInitialInput);
        std::vector<uint8_t>(kInitialInput).swap(mIn);
    }
    if (mEnd >= sizeof(MessageHeader)) {
        MessageHeader h;
        memcpy(&h, mIn.data(), sizeof(h));
        if (!headerIsSane(h)) return breakWith(BAD_VALUE);
        const size_t total = sizeof(MessageHeader) + h.payloadSize;
        if (total >= kLargeMessageBytes && mEnd < total) {
            // The rest of a large message goes straight into a block of its own.
            if (!mBudgets.reserve(total)) return breakWith(NO_MEMORY);
            mLarge = ImageBlock::allocate(total);
            if (!mLarge) {
                mBudgets.unreserve(total);
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
        if (!mBudgets.reserve(grow)) return breakWith(NO_MEMORY);
        try {
            mIn.resize(want);
        } catch (const std::bad_alloc&) {
            mBudgets.unreserve(grow);
            return breakWith(NO_MEMORY);
        }
    }
    size_t got = 0;
    const status_t err =
            receiveInto(mIn.data() + mEnd, mIn.size() - mEnd, wait ? 0 : MSG_DONTWAIT, &got);
    mEnd += got;
    return err;
}

status_t SocketStream::receiveLarge(bool wait) {
    size_t got = 0;
    // Waiting, for all of it at once: one call instead of one per chunk.
    const status_t err = receiveInto(mLarge.data() + mLargeFilled, mLarge.size() - mLargeFilled,
                                     wait ? MSG_WAITALL : MSG_DONTWAIT, &got);
    mLargeFilled += got;
    mBase += got;
    return err;
}

status_t SocketStream::receiveInto(uint8_t* at, size_t room, int flags, size_t* got) {
    FdControl control;
    for (;;) {
        iovec iov{at, room};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = receiveMessage(mFd.get(), &msg, MSG_CMSG_CLOEXEC | flags);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return WOULD_BLOCK;
        // Owned from here: whatever is not kept is closed on the way out.
        std::vector<UniqueFd> fds;
        if (n >= 0) collectFds(&msg, &fds);
        if (n <= 0) {
            mEof = true;
            return DEAD_OBJECT;
        }
        // More than any message may carry: the kernel or we close them.
        if ((msg.msg_flags & MSG_CTRUNC) != 0 || mFdsHeld + fds.size() > limits().maxMessageFds) {
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

status_t SocketStream::poll(Deadline deadline) {
    pollfd p{mFd.get(), static_cast<short>(POLLIN | (mOut.empty() ? 0 : POLLOUT)), 0};
    int n = ::poll(&p, 1, timeoutMs(deadline));
    if (n < 0 && errno != EINTR) return breakWith(DEAD_OBJECT);
    if (n == 0) return breakWith(TIMED_OUT);
    return OK;
}

bool SocketStream::hasBufferedMessage() const {
    if (mLarge) return mLargeFilled == mLarge.size();
    if (mEnd - mStart < sizeof(MessageHeader)) return false;
    MessageHeader h;
    memcpy(&h, mIn.data() + mStart, sizeof(h));
    return mEnd - mStart >= sizeof(MessageHeader) + static_cast<size_t>(h.payloadSize);
}

// Hands the message the descriptors that came with its bytes, [start, start +
// total) of the stream: exactly as many as it declares.
status_t SocketStream::takeFds(uint64_t start, size_t total, Message* message) {
    while (!mFds.empty() && mFds.front().pos < start + total) {
        FdBatch& batch = mFds.front();
        mFdsHeld -= batch.fds.size();
        for (UniqueFd& fd : batch.fds) message->fds.push_back(std::move(fd));
        mFds.pop_front();
    }
    if (message->fds.size() != message->header.fdCount) {
        message->fds.clear();
        return breakWith(BAD_VALUE);
    }
    return OK;
}

status_t SocketStream::next(Message* message) {
    if (mLarge) {
        if (mLargeFilled < mLarge.size()) return WOULD_BLOCK;
        if (!mFds.empty() && mFds.front().pos < mLargeStart) return breakWith(BAD_VALUE);
        memcpy(&message->header, mLarge.data(), sizeof(MessageHeader));
        const size_t total = mLarge.size();
        status_t err = takeFds(mLargeStart, total, message);
        if (err != OK) return err;
        // From here on the block is the taker's memory, not the peer's.
        mBudgets.unreserve(total);
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

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
