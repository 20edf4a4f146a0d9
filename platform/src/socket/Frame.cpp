#include "socket/Frame.h"

#include <errno.h>
#include <hidl_host/WireImage.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// Small frames (nearly all of them) are read with one call into this much.
constexpr size_t kInputBufferSize = 16 * 1024;

std::atomic<size_t> gOpenConnections{0};

// Takes the descriptors of every SCM_RIGHTS message in msg.
void collectFds(msghdr* msg, std::deque<int>* out) {
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

bool headerIsSane(const FrameHeader& h) {
    if (h.magic != kFrameMagic || h.reserved != 0) return false;
    if (h.kind < kTransact || h.kind > kRelease) return false;
    if (h.fdCount > kMaxFrameFds) return false;
    // The image itself is bounded by the rebuild; the table cannot outgrow it.
    if (h.tableCount > kMaxTransactionSize / sizeof(BinderRef)) return false;
    const size_t table = static_cast<size_t>(h.tableCount) * sizeof(BinderRef);
    if (h.payloadSize < table || h.payloadSize - table > kMaxTransactionSize) return false;
    if (h.kind != kTransact && h.kind != kReply && h.payloadSize != 0) return false;
    if (h.kind != kTransact && h.kind != kReply && h.fdCount != 0) return false;
    return true;
}

Connection::Connection(int fd, pid_t pid, uid_t uid)
    : mFd(fd), mPid(pid), mUid(uid), mIn(kInputBufferSize) {
    gOpenConnections.fetch_add(1, std::memory_order_relaxed);
}

Connection::~Connection() {
    for (int fd : mFds) ::close(fd);
    ::close(mFd);
    gOpenConnections.fetch_sub(1, std::memory_order_relaxed);
}

size_t Connection::openCount() {
    return gOpenConnections.load(std::memory_order_relaxed);
}

status_t Connection::write(const FrameHeader& header, const void* table, size_t tableSize,
                           const void* image, size_t imageSize, const std::vector<int>& fds) {
    iovec iov[3] = {
            {const_cast<FrameHeader*>(&header), sizeof(header)},
            {const_cast<void*>(table), tableSize},
            {const_cast<void*>(image), imageSize},
    };
    size_t iovFirst = 0;
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxFrameFds)];
    bool sendFds = !fds.empty();
    if (fds.size() > kMaxFrameFds) return BAD_VALUE;

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
        ssize_t n = ::sendmsg(mFd, &msg, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            mBroken = true;
            return (errno == EPIPE || errno == ECONNRESET) ? DEAD_OBJECT : -errno;
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

status_t Connection::fill(size_t want) {
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * kMaxFrameFds)];
    while (mInEnd < want) {
        iovec iov{mIn.data() + mInEnd, mIn.size() - mInEnd};
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = ::recvmsg(mFd, &msg, MSG_CMSG_CLOEXEC);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            mBroken = true;
            return DEAD_OBJECT;
        }
        collectFds(&msg, &mFds);
        if ((msg.msg_flags & MSG_CTRUNC) != 0) {
            // Descriptors were lost: the frames no longer match their fds.
            mBroken = true;
            return BAD_VALUE;
        }
        mInEnd += static_cast<size_t>(n);
    }
    return OK;
}

status_t Connection::read(FrameHeader* header, const uint8_t** payload, std::vector<int>* fds) {
    fds->clear();
    if (mBroken) return DEAD_OBJECT;
    // Drop the previous frame; the next one starts at the (aligned) front.
    if (mFrameSize != 0) {
        memmove(mIn.data(), mIn.data() + mFrameSize, mInEnd - mFrameSize);
        mInEnd -= mFrameSize;
        mFrameSize = 0;
    }
    if (!mLarge.empty()) std::vector<uint8_t>().swap(mLarge);

    status_t err = fill(sizeof(FrameHeader));
    if (err != OK) return err;
    memcpy(header, mIn.data(), sizeof(FrameHeader));
    if (!headerIsSane(*header)) {
        mBroken = true;
        return BAD_VALUE;
    }
    const size_t total = sizeof(FrameHeader) + header->payloadSize;
    if (total <= mIn.size()) {
        err = fill(total);
        if (err != OK) return err;
        *payload = mIn.data() + sizeof(FrameHeader);
        mFrameSize = total;
    } else {
        // A large frame: the buffer holds only its start, and nothing after it.
        mLarge.resize(header->payloadSize);
        size_t have = mInEnd - sizeof(FrameHeader);
        memcpy(mLarge.data(), mIn.data() + sizeof(FrameHeader), have);
        mInEnd = 0;
        while (have < mLarge.size()) {
            ssize_t n = ::recv(mFd, mLarge.data() + have, mLarge.size() - have, 0);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                mBroken = true;
                return DEAD_OBJECT;
            }
            have += static_cast<size_t>(n);
        }
        *payload = mLarge.data();
    }
    if (mFds.size() < header->fdCount) {
        mBroken = true;
        return BAD_VALUE;
    }
    for (size_t i = 0; i < header->fdCount; ++i) {
        fds->push_back(mFds.front());
        mFds.pop_front();
    }
    return OK;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
