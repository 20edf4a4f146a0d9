// The socket transport's wire format: what a message is, byte for byte, and
// what can be checked of it before anything else is read.
//
// A message is a fixed header, then the binder table (one BinderRef per binder
// object of the parcel), then the parcel's wire image. File descriptors of
// native handles travel as SCM_RIGHTS with the header's first byte.
//
// The bottom layer: nothing here but types, constants and one pure check,
// which any thread may use. Only Limits lies below it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace android {
namespace hardware {
namespace host {
namespace socket {

enum MessageKind : uint16_t {
    kTransact = 1,   // a call to node; two-way unless flags has FLAG_ONEWAY
    kReply = 2,      // answers the message with the same seq; status set
    kGrant = 3,      // exporter: let pid `code` hold node too (answered by kReply)
    kRelease = 4,    // exporter: the sender drops `code` references to node
    kDoorbell = 5,   // look at the shared mailbox (fast path)
    kShmOffer = 6,   // the region of a fast path, as its one descriptor (answered by kReply)
    kGoodbye = 7,    // the receiver closes this connection, having read nothing since its
                     // last answer (socket only; see Runtime::evictIdle)
    kBulkOffer = 8,  // fast path: the sender's region for large messages, as its one
                     // descriptor; `code` is its generation (socket only, not answered)
};

struct MessageHeader {
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
static_assert(sizeof(MessageHeader) == 48, "message header is 48 bytes");

constexpr uint32_t kMessageMagic = 0x31465a5a;  // "ZZF1"

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

// The most descriptors one message can carry (the kernel's SCM_MAX_FD); the
// configured limit is at most this.
constexpr size_t kMaxMessageFds = 253;

// Messages up to this size are gathered and sent in one plain send.
constexpr size_t kGatherBytes = 1024;
// Messages of this size and more are received into a block of their own, which
// the parcel rebuilt from them keeps: their bytes are never copied again.
constexpr size_t kLargeMessageBytes = 16 * 1024;
// Parts of a message after its header a send takes at most: the binder table,
// the image's own bytes and the slices between them.
constexpr size_t kMaxMessageParts = 160;

// Checks what can be checked of a header alone, the configured limits on
// descriptors and references included.
bool headerIsSane(const MessageHeader& header);

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
