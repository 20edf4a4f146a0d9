// The connection that carries the socket transport's messages (Wire.h) to
// one peer process: a SocketStream, and once the fast path is attached a
// Mailbox in front of it. Messages are sent and taken in one order, whichever
// road each takes: the mailbox numbers them and says when the stream brings
// the next one.
//
// Not thread-safe: used by one thread at a time (whoever holds it: a pool
// takes it out, or a serving thread holds its Incoming's lock).
#pragma once

#include <hidl_host/UniqueFd.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <utils/Errors.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "socket/Deadline.h"
#include "socket/SocketStream.h"
#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class Mailbox;
class SharedRegion;

// A connected stream socket to one peer process, non-blocking underneath.
// Incoming bytes are buffered as they arrive, never ahead of them, and count
// against the budgets given.
class Connection {
  public:
    Connection(UniqueFd fd, pid_t pid, uid_t uid, ByteBudget* peerBudget = nullptr,
               ByteBudget* totalBudget = nullptr);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    pid_t pid() const { return mPid; }
    uid_t uid() const { return mUid; }
    int fd() const { return mStream.fd(); }

    // Sends a whole message: the header, then the parts in order (at most
    // kMaxMessageParts); header.payloadSize and fdCount must match; fds stay
    // the caller's. With mayQueue, never waits: what the socket does not take
    // now is kept and goes out with later sends or flush(), and NO_MEMORY
    // means the kept bytes would pass their limit. Without it, waits for the
    // socket until the deadline (TIMED_OUT). DEAD_OBJECT when the peer has
    // gone.
    status_t send(const MessageHeader& header, const iovec* parts, size_t partCount,
                  const std::vector<int>& fds, Deadline deadline, bool mayQueue);
    status_t write(const MessageHeader& header, const void* table, size_t tableSize,
                   const void* image, size_t imageSize, const std::vector<int>& fds) {
        const iovec parts[2] = {{const_cast<void*>(table), tableSize},
                                {const_cast<void*>(image), imageSize}};
        return send(header, parts, 2, fds, std::nullopt, false);
    }
    // The fast path's outbound slot when the next message may be built in
    // it, *room bytes at most, header included; null otherwise. The message
    // then goes with sendInline() (as send() would, without descriptors).
    uint8_t* inlineRoom(size_t* room);
    status_t sendInline(size_t length, Deadline deadline, bool mayQueue);
    // Writes what is kept without waiting: OK once nothing is left,
    // WOULD_BLOCK while something is.
    status_t flush() { return mStream.flush(); }
    bool outPending() const { return mStream.outPending(); }

    // One receive: OK when bytes came, WOULD_BLOCK when none were there,
    // DEAD_OBJECT at end of stream, BAD_VALUE or NO_MEMORY when the peer
    // broke the framing or a limit (the connection is then broken). With
    // wait, a socket in blocking mode waits for bytes in the same call.
    status_t receive(bool wait = false) { return mStream.receive(wait); }
    // The next complete message already received: OK, WOULD_BLOCK when there
    // is none yet, BAD_VALUE when the stream cannot be trusted.
    status_t next(Message* message);
    // Some bytes of a message are here, complete or not.
    bool hasBufferedInput() const { return mStream.hasBufferedInput(); }
    // A whole message is here, ready for next().
    bool hasBufferedMessage() const { return mStream.hasBufferedMessage(); }
    // Part of a message is here and the rest is due.
    bool messageUnderWay() const { return mStream.messageUnderWay(); }
    bool endOfStream() const { return mStream.endOfStream(); }

    // Waits for the next message until the deadline, sending what is kept
    // meanwhile. TIMED_OUT breaks the connection: a reply may still come.
    status_t waitMessage(Message* message, Deadline deadline);
    // The next message, however long it takes; the payload stays valid until
    // the next read.
    status_t read(MessageHeader* header, const uint8_t** payload, std::vector<UniqueFd>* fds);

    // From now on, messages that fit travel through the region's slots
    // (clientSide: this end opened the connection); the socket carries the
    // rest and the doorbells. False when the budget does not allow it.
    bool attachShared(std::unique_ptr<SharedRegion> region, bool clientSide);
    bool shared() const { return mMailbox != nullptr; }
    // Server side, after an answer: watches the mailbox for the budget's
    // time; true when a message came.
    bool spinForMessage();

    // Set when the stream is out of step or closed, and must not be reused.
    bool broken() const { return mStream.broken(); }
    void markBroken() { mStream.markBroken(); }
    // The peer stopped reading: a send failed. What it wrote before can
    // still be read.
    bool writeClosed() const { return mStream.writeClosed(); }
    // The peer closed with a goodbye message where the next message was due.
    bool saidGoodbye() const { return mStream.saidGoodbye(); }
    // Server side: the last message on the socket, after whatever is queued,
    // then the socket is shut in both directions.
    void sayGoodbye() { mStream.sayGoodbye(); }

    static size_t openCount();

  private:
    const pid_t mPid;
    const uid_t mUid;
    const Budgets mBudgets;
    SocketStream mStream;
    std::unique_ptr<Mailbox> mMailbox;  // the fast path, once attached
    ImageBlock mReadBlock;              // holds the payload read() gave out
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
