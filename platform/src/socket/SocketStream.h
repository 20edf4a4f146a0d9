// The byte stream under a connection: messages (Wire.h) as bytes and
// descriptor batches over one non-blocking AF_UNIX stream socket.
//
// Incoming bytes land in a buffer that grows only as they arrive, never
// ahead of them, and counts against the connection's budgets; a large message
// is received into a block of its own, which the taker keeps. SCM_RIGHTS
// batches are remembered with the stream offset of their last byte and handed
// to the message whose bytes they came with. Outgoing bytes the socket does
// not take (a slow reader) are queued, within a bound, and go out in order.
//
// Not thread-safe: used by one thread at a time, the one that holds the
// connection it belongs to.
#pragma once

#include <hidl_host/ImageBlock.h>
#include <hidl_host/UniqueFd.h>
#include <sys/uio.h>
#include <utils/Errors.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "socket/Deadline.h"
#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// One message taken off a connection. The payload stays valid until the
// connection next receives, or, when the message came in a block of its own (a
// large one), as long as the block; the descriptors and the block are the
// taker's. The header is the taker's copy, checked; the payload may lie in
// the fast path's slot, which the peer can write at any time: it is read
// once, into a copy, before anything in it is believed (as the rebuild does).
struct Message {
    MessageHeader header{};
    const uint8_t* payload = nullptr;
    std::vector<UniqueFd> fds;
    ImageBlock block;

    // The descriptors as plain numbers, for an owner that takes them over.
};

class SocketStream {
  public:
    SocketStream(UniqueFd fd, Budgets budgets);
    ~SocketStream();
    SocketStream(const SocketStream&) = delete;
    SocketStream& operator=(const SocketStream&) = delete;

    int fd() const { return mFd.get(); }

    // Sends a message whose header is iov[0]; the array is used up. With
    // mayQueue, never waits: what the socket does not take is queued (NO_MEMORY
    // past the bound). Without, waits for the socket until the deadline.
    // fds are the caller's: they are duplicated when queued.
    status_t send(iovec* iov, size_t count, const std::vector<int>& fds, Deadline deadline,
                  bool mayQueue);
    // Writes what is queued without waiting: OK once nothing is left,
    // WOULD_BLOCK while something is.
    status_t flush();
    bool outPending() const { return !mOut.empty(); }
    // The last message on the socket, after whatever is queued, then the
    // socket is shut in both directions.
    void sayGoodbye();

    // One receive: OK when bytes came, WOULD_BLOCK when none were there,
    // DEAD_OBJECT at end of stream, BAD_VALUE or NO_MEMORY when the peer
    // broke the framing or a limit. With wait, a socket in blocking mode
    // waits for bytes in the same call.
    status_t receive(bool wait);
    // The next complete message received: OK, WOULD_BLOCK when there is none
    // yet, BAD_VALUE when the stream cannot be trusted, DEAD_OBJECT at a
    // goodbye.
    status_t next(Message* message);
    // Waits until the socket is readable, or writable while bytes are
    // queued; TIMED_OUT at the deadline.
    status_t poll(Deadline deadline);

    bool hasBufferedInput() const { return mEnd > mStart || mLarge; }
    // Nothing received waits to be taken: next() would say WOULD_BLOCK.
    bool idle() const { return mEnd == mStart && !mLarge && mFds.empty(); }
    bool hasBufferedMessage() const;
    bool messageUnderWay() const { return hasBufferedInput() && !hasBufferedMessage(); }
    bool endOfStream() const { return mEof; }

    // Out of step or closed: must not be reused.
    bool broken() const { return mBroken || mWriteClosed; }
    // Out of step: nothing more can be read either.
    bool failed() const { return mBroken; }
    void markBroken() { mBroken = true; }
    // Marks the stream broken and returns err.
    status_t breakWith(status_t err) {
        mBroken = true;
        return err;
    }
    bool writeClosed() const { return mWriteClosed; }
    bool saidGoodbye() const { return mGoodbye; }

  private:
    struct FdBatch {
        uint64_t pos;  // stream offset of the last byte received with them
        std::vector<UniqueFd> fds;
    };
    struct OutChunk {
        std::vector<uint8_t> bytes;
        size_t sent = 0;
        std::vector<UniqueFd> fds;  // go with the first byte
    };

    status_t queue(const iovec* iov, size_t iovCount, const std::vector<int>* fds);
    status_t waitWritable(Deadline deadline);
    status_t takeFds(uint64_t start, size_t total, Message* message);
    status_t receiveLarge(bool wait);
    // One receive of at most room bytes at `at`; *got is how many came.
    status_t receiveInto(uint8_t* at, size_t room, int flags, size_t* got);
    // After a send failed with errno: the peer stopped reading (DEAD_OBJECT,
    // what it wrote can still be read), or the stream breaks with `otherwise`.
    status_t sendFailed(status_t otherwise);

    const UniqueFd mFd;
    const Budgets mBudgets;
    bool mBroken = false;
    bool mEof = false;
    bool mWriteClosed = false;
    bool mGoodbye = false;

    std::vector<uint8_t> mIn;  // [mStart, mEnd) not yet taken
    size_t mStart = 0;
    size_t mEnd = 0;
    uint64_t mBase = 0;  // stream offset of mIn[0]
    std::deque<FdBatch> mFds;
    size_t mFdsHeld = 0;

    std::deque<OutChunk> mOut;
    size_t mOutBytes = 0;

    // A large message under way, received into its own block: mLargeFilled of
    // its bytes are here; its first byte was byte mLargeStart of the stream.
    ImageBlock mLarge;
    size_t mLargeFilled = 0;
    uint64_t mLargeStart = 0;
};

// Writes a goodbye message without waiting (see kGoodbye).
void sendGoodbye(int fd);

// The bytes of iov[0, count) one after the other.
size_t totalOf(const iovec* iov, size_t count);
void gatherInto(uint8_t* to, const iovec* iov, size_t count);

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
