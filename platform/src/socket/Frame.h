// The frames of the socket transport and the connection that carries them.
//
// A frame is a fixed header, then the binder table (one BinderRef per binder
// object of the parcel), then the parcel's wire image. File descriptors of
// native handles travel as SCM_RIGHTS with the header's first byte.
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

namespace android {
namespace hardware {
namespace host {
namespace socket {

enum FrameKind : uint16_t {
    kTransact = 1,   // a call to node; two-way unless flags has FLAG_ONEWAY
    kReply = 2,      // answers the frame with the same seq; status set
    kGrant = 3,      // exporter: let pid `code` hold node too (answered by kReply)
    kRelease = 4,    // exporter: the sender drops `code` references to node
    kDoorbell = 5,   // look at the shared mailbox (fast path)
    kShmOffer = 6,   // the region of a fast path, as its one descriptor (answered by kReply)
    kGoodbye = 7,    // the receiver closes this connection, having read nothing since its
                     // last answer (socket only; see Runtime::evictIdle)
    kBulkOffer = 8,  // fast path: the sender's region for large messages, as its one
                     // descriptor; `code` is its generation (socket only, not answered)
};

struct FrameHeader {
    uint32_t magic;
    uint16_t kind;
    uint16_t fdCount;
    uint64_t seq;
    uint64_t node;
    uint32_t code;
    uint32_t flags;
    int32_t status;
    uint32_t tableCount;
    uint32_t payloadSize;  // table and image, after the header
    uint32_t reserved;
};
static_assert(sizeof(FrameHeader) == 48, "frame header is 48 bytes");

constexpr uint32_t kFrameMagic = 0x31465a5a;  // "ZZF1"

// How one binder object of a parcel is named to the receiver.
enum BinderRefKind : uint32_t {
    kSenderNode = 1,    // a node the sender exports
    kReceiverNode = 2,  // a node the receiver itself exports, coming back
    kThirdNode = 3,     // a node of process pid, granted to the receiver
};

struct BinderRef {
    uint32_t kind;
    int32_t pid;
    uint64_t node;
};
static_assert(sizeof(BinderRef) == 16, "binder reference is 16 bytes");

// The most descriptors one frame can carry (the kernel's SCM_MAX_FD); the
// configured limit is at most this.
constexpr size_t kMaxFrameFds = 253;

// Frames up to this size are gathered and sent in one plain send.
constexpr size_t kGatherBytes = 1024;
// Frames of this size and more are received into a block of their own, which
// the parcel rebuilt from them keeps: their bytes are never copied again.
constexpr size_t kLargeFrameBytes = 16 * 1024;
// Parts of a frame after its header a send takes at most: the binder table,
// the image's own bytes and the slices between them.
constexpr size_t kMaxFrameParts = 160;

// Checks what can be checked of a header alone, the configured limits on
// descriptors and references included.
bool headerIsSane(const FrameHeader& header);

class SharedRegion;
class BulkRegion;
class SpinBudget;

using Clock = std::chrono::steady_clock;
// When a wait gives up; none waits as long as it takes.
using Deadline = std::optional<Clock::time_point>;

// Bytes buffered on behalf of someone, against a limit.
struct ByteBudget {
    explicit ByteBudget(size_t l) : limit(l) {}
    std::atomic<size_t> used{0};
    const size_t limit;
};

// One frame taken off a connection. The payload stays valid until the
// connection next receives, or, when the frame came in a block of its own (a
// large one), as long as the block; the descriptors and the block are the
// taker's.
struct Frame {
    FrameHeader header{};
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

    // Sends a whole frame: the header, then the parts in order (at most
    // kMaxFrameParts); header.payloadSize and fdCount must match. With
    // mayQueue, never waits: what the socket does not take now is kept and
    // goes out with later sends or flush(), and NO_MEMORY means the kept
    // bytes would pass their limit. Without it, waits for the socket until
    // the deadline (TIMED_OUT). DEAD_OBJECT when the peer has gone.
    status_t send(const FrameHeader& header, const iovec* parts, size_t partCount,
                  const std::vector<int>& fds, Deadline deadline, bool mayQueue);
    status_t write(const FrameHeader& header, const void* table, size_t tableSize,
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
    // The next complete frame already received: OK, WOULD_BLOCK when there
    // is none yet, BAD_VALUE when the stream cannot be trusted.
    status_t next(Frame* frame);
    // Some bytes of a frame are here, complete or not.
    bool hasBufferedInput() const { return mEnd > mStart || mLarge; }
    // A whole frame is here, ready for next().
    bool hasBufferedFrame() const;
    // Part of a frame is here and the rest is due.
    bool frameUnderWay() const { return hasBufferedInput() && !hasBufferedFrame(); }
    bool endOfStream() const { return mEof; }

    // Waits for the next frame until the deadline, sending what is kept
    // meanwhile. TIMED_OUT breaks the connection: a reply may still come.
    status_t waitFrame(Frame* frame, Deadline deadline);
    // The next frame, however long it takes.
    status_t read(FrameHeader* header, const uint8_t** payload, std::vector<int>* fds);

    // From now on, frames that fit travel through the region's mailboxes
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
    // The peer closed with a goodbye frame where the next frame was due.
    bool saidGoodbye() const { return mGoodbye; }
    // Server side: the last frame on the socket, after whatever is queued,
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
    status_t adoptBulk(Frame& offer);
    status_t takeShared(Frame* frame);
    status_t nextOnSocket(Frame* frame);
    status_t takeFds(uint64_t start, size_t total, Frame* frame);
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

    // A large frame under way, received into its own block: mLargeFilled of
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
    bool mSocketOwed = false;        // the mailbox announced a frame the socket must bring
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

int timeoutMs(Deadline deadline);

// Writes a goodbye frame without waiting (see kGoodbye).
void sendGoodbye(int fd);

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
