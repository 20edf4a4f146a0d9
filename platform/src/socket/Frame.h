// The frames of the socket transport and the connection that carries them.
//
// A frame is a fixed header, then the binder table (one BinderRef per binder
// object of the parcel), then the parcel's wire image. File descriptors of
// native handles travel as SCM_RIGHTS with the header's first byte.
#pragma once

#include <sys/types.h>
#include <utils/Errors.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace android {
namespace hardware {
namespace host {
namespace socket {

enum FrameKind : uint16_t {
    kTransact = 1,  // a call to node; two-way unless flags has FLAG_ONEWAY
    kReply = 2,     // answers the frame with the same seq; status set
    kGrant = 3,     // exporter: let pid `code` hold node too (answered by kReply)
    kRelease = 4,   // exporter: the sender drops `code` references to node
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

// The most descriptors one frame may carry (the kernel's SCM_MAX_FD).
constexpr size_t kMaxFrameFds = 253;

// Checks what can be checked of a header alone.
bool headerIsSane(const FrameHeader& header);

// A connected stream socket to one peer process. Used by one thread at a time.
class Connection {
  public:
    Connection(int fd, pid_t pid, uid_t uid);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    pid_t pid() const { return mPid; }
    uid_t uid() const { return mUid; }
    int fd() const { return mFd; }

    // Writes a whole frame; header.payloadSize and fdCount must match.
    // DEAD_OBJECT when the peer has gone.
    status_t write(const FrameHeader& header, const void* table, size_t tableSize,
                   const void* image, size_t imageSize, const std::vector<int>& fds);

    // Reads the next frame. The payload stays valid until the next read; fds
    // become the caller's. DEAD_OBJECT at end of stream; BAD_VALUE for a
    // frame that cannot be parsed (the stream cannot be trusted afterwards).
    status_t read(FrameHeader* header, const uint8_t** payload, std::vector<int>* fds);

    // Set when the stream is out of step and must not be reused.
    bool broken() const { return mBroken; }
    void markBroken() { mBroken = true; }

    static size_t openCount();

  private:
    status_t fill(size_t want);

    const int mFd;
    const pid_t mPid;
    const uid_t mUid;
    bool mBroken = false;

    std::vector<uint8_t> mIn;
    size_t mInEnd = 0;      // bytes buffered
    size_t mFrameSize = 0;  // bytes of the previously returned frame
    std::vector<uint8_t> mLarge;
    std::deque<int> mFds;  // received, not yet handed out
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
