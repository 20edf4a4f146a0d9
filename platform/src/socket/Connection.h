// The connection that carries the socket transport's messages (Wire.h) to
// one peer process.
#pragma once

#include <hidl_host/ImageBlock.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <utils/Errors.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "socket/Deadline.h"
#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class SharedRegion;
class BulkRegion;
class SpinBudget;

// One message taken off a connection. The payload stays valid until the
// connection next receives, or, when the message came in a block of its own (a
// large one), as long as the block; the descriptors and the block are the
// taker's.
struct Message {
    MessageHeader header{};
    const uint8_t* payload = nullptr;
    std::vector<int> fds;
    ImageBlock block;
};

// A connected stream socket to one peer process, non-blocking underneath.
// Used by one thread at a time. Incoming bytes are buffered as they arrive,
// never ahead of them, and count against the budgets given.
class Connection {
  public:
    Connection(int fd, pid_t pid, uid_t uid, ByteBudget* peerBudget = nullptr,
               ByteBudget* totalBudget = nullptr);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    pid_t pid() const { return mPid; }
    uid_t uid() const { return mUid; }
    int fd() const { return mFd; }

    // Sends a whole message: the header, then the parts in order (at most
    // kMaxMessageParts); header.payloadSize and fdCount must match. With
    // mayQueue, never waits: what the socket does not take now is kept and
    // goes out with later sends or flush(), and NO_MEMORY means the kept
    // bytes would pass their limit. Without it, waits for the socket until
    // the deadline (TIMED_OUT). DEAD_OBJECT when the peer has gone.
    status_t send(const MessageHeader& header, const iovec* parts, size_t partCount,
                  const std::vector<int>& fds, Deadline deadline, bool mayQueue);
    status_t write(const MessageHeader& header, const void* table, size_t tableSize,
                   const void* image, size_t imageSize, const std::vector<int>& fds) {
        const iovec parts[2] = {{const_cast<void*>(table), tableSize},
                                {const_cast<void*>(image), imageSize}};
        return send(header, parts, 2, fds, std::nullopt, false);
    }
    // Writes what is kept without waiting: OK once nothing is left,
    // WOULD_BLOCK while something is.
    status_t flush();
    bool outPending() const { return !mOut.empty(); }

    // One receive: OK when bytes came, WOULD_BLOCK when none were there,
    // DEAD_OBJECT at end of stream, BAD_VALUE or NO_MEMORY when the peer
    // broke the framing or a limit (the connection is then broken). With
    // wait, a socket in blocking mode waits for bytes in the same call.
    status_t receive(bool wait = false);
    // The next complete message already received: OK, WOULD_BLOCK when there
    // is none yet, BAD_VALUE when the stream cannot be trusted.
    status_t next(Message* message);
    // Some bytes of a message are here, complete or not.
    bool hasBufferedInput() const { return mEnd > mStart || mLarge; }
    // A whole message is here, ready for next().
    bool hasBufferedMessage() const;
    // Part of a message is here and the rest is due.
    bool messageUnderWay() const { return hasBufferedInput() && !hasBufferedMessage(); }
    bool endOfStream() const { return mEof; }

    // Waits for the next message until the deadline, sending what is kept
    // meanwhile. TIMED_OUT breaks the connection: a reply may still come.
    status_t waitMessage(Message* message, Deadline deadline);
    // The next message, however long it takes.
    status_t read(MessageHeader* header, const uint8_t** payload, std::vector<int>* fds);

    // From now on, messages that fit travel through the region's mailboxes
    // (clientSide: this end opened the connection); the socket carries the
    // rest and the doorbells. False when the budget does not allow it.
    bool attachShared(std::unique_ptr<SharedRegion> region, bool clientSide);
    bool shared() const { return mShared != nullptr; }
    // Server side, after an answer: watches the mailbox for the budget's
    // time; true when a message came.
    bool spinForMessage();

    // Set when the stream is out of step or closed, and must not be reused.
    bool broken() const { return mBroken || mWriteClosed; }
    void markBroken() { mBroken = true; }
    // The peer stopped reading: a send failed. What it wrote before can
    // still be read.
    bool writeClosed() const { return mWriteClosed; }
    // The peer closed with a goodbye message where the next message was due.
    bool saidGoodbye() const { return mGoodbye; }
    // Server side: the last message on the socket, after whatever is queued,
    // then the socket is shut in both directions.
    void sayGoodbye();

    static size_t openCount();

  private:
    struct FdBatch {
        uint64_t pos;  // stream offset of the last byte received with them
        std::vector<int> fds;
    };
    struct OutChunk {
        std::vector<uint8_t> bytes;
        size_t sent = 0;
        std::vector<int> fds;  // owned; go with the first byte
    };

    bool reserve(size_t bytes);
    void unreserve(size_t bytes);
    status_t breakWith(status_t err);
    status_t queue(const iovec* iov, size_t iovCount, const std::vector<int>* fds);
    // iov[0] is the header; the array is used up.
    status_t sendSocket(iovec* iov, size_t count, const std::vector<int>& fds, Deadline deadline,
                        bool mayQueue);
    status_t sendShared(iovec* iov, size_t count, const std::vector<int>& fds, Deadline deadline,
                        bool mayQueue);
    // Puts the message in the bulk region when the receiver has taken it;
    // otherwise offers a large enough one for later messages and says no.
    bool putInBulk(const iovec* iov, size_t count, size_t total, Deadline deadline, bool mayQueue);
    status_t adoptBulk(Message& offer);
    status_t takeShared(Message* message);
    status_t nextOnSocket(Message* message);
    status_t takeFds(uint64_t start, size_t total, Message* message);
    status_t receiveLarge(bool wait);
    // One receive of at most room bytes at `at`; *got is how many came.
    status_t receiveInto(uint8_t* at, size_t room, int flags, size_t* got);
    // True when the mailbox has news; false after a quiet slice.
    bool waitShared(Deadline deadline);
    status_t waitWritable(Deadline deadline);

    const int mFd;
    const pid_t mPid;
    const uid_t mUid;
    ByteBudget* const mPeerBudget;
    ByteBudget* const mTotalBudget;
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

    // The fast path, once attached.
    std::unique_ptr<SharedRegion> mShared;
    bool mClientSide = false;
    uint64_t mOutNumber = 0;         // messages sent, by either road
    uint64_t mInNumber = 0;          // messages taken
    uint32_t mSeenSeq = 0;           // the inbound mailbox's seq last looked at
    bool mSocketOwed = false;        // the mailbox announced a message the socket must bring
    std::vector<uint8_t> mSharedIn;  // a message copied out of the mailbox
    std::unique_ptr<SpinBudget> mSpin;
    // Large messages: the region this side writes (and the receiver's
    // generation of it, and the largest size offered) and the one it reads.
    std::unique_ptr<BulkRegion> mBulkOut;
    uint32_t mBulkOutGeneration = 0;
    size_t mBulkOffered = 0;
    std::unique_ptr<BulkRegion> mBulkIn;
    uint32_t mBulkInGeneration = 0;
};

// Writes a goodbye message without waiting (see kGoodbye).
void sendGoodbye(int fd);

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
