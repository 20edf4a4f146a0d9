// The fast path of one connection once attached: messages through the
// shared region's slots (SharedRegion.h) instead of the socket.
//
// A message that fits goes in this side's outbound slot; a larger one in the
// bulk region this side offered, once the receiver has mapped it; one with
// descriptors, or behind queued bytes, or too large, over the stream, with
// the slot saying so. Every message is numbered in the slot, whichever road
// it takes, so the receiver takes them in the order sent. The sender then
// reaches the receiver as its state asks: nothing when it spins, a futex
// wake when it sleeps, a doorbell message on the stream when it is away.
//
// Not thread-safe: used by the thread that holds its connection. The other
// process writes the region concurrently: each word of it is read once, into
// a copy, before it is believed. A message taken from the inbound slot keeps
// its payload there, for the rebuild to copy once (see Message).
#pragma once

#include <sys/uio.h>
#include <utils/Errors.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "socket/Deadline.h"
#include "socket/SharedRegion.h"
#include "socket/SocketStream.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

class Mailbox {
  public:
    // The mailbox of region, for a stream (clientSide: this end opened it);
    // null when the budgets do not allow the region.
    static std::unique_ptr<Mailbox> attach(std::unique_ptr<SharedRegion> region, bool clientSide,
                                           SocketStream& stream, Budgets budgets);
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    // Sends a message whose header is iov[0] (the array is used up); the
    // stream's rules for mayQueue and the deadline apply to what goes on it.
    status_t send(iovec* iov, size_t count, const std::vector<int>& fds, Deadline deadline,
                  bool mayQueue);
    // The outbound slot (kSlotBytes), for a message without descriptors to
    // be built in place and sent with sendInline(); null when the next
    // message cannot go there (bytes are queued on the stream before it).
    uint8_t* inlineRoom();
    status_t sendInline(size_t length, Deadline deadline, bool mayQueue);
    // The next message the slot holds: OK; WOULD_BLOCK when there is none,
    // or when it comes on the stream (socketOwed()); BAD_VALUE when the
    // peer broke the protocol (the stream is then broken).
    status_t take(Message* message);
    // The stream brought a message in its turn.
    void tookFromSocket() {
        ++mInNumber;
        mSocketOwed = false;
    }
    // The slot announced a message that the stream must bring.
    bool socketOwed() const { return mSocketOwed; }
    // Maps the bulk region the peer offered (kBulkOffer) if the budgets allow;
    // declined, the peer goes on sending large messages over the stream.
    void adoptBulk(Message& offer);

    // Waits for news in the slot: a spin, then a futex sleep of at most a
    // slice; true when there is news.
    bool wait(Deadline deadline);
    // Watches the slot for the spin budget's time; true when a message came.
    bool spin();

  private:
    Mailbox(std::unique_ptr<SharedRegion> region, bool clientSide, SocketStream& stream,
            Budgets budgets);
    // Puts the message in the bulk region when the receiver has taken it;
    // otherwise offers a large enough one for later messages and says no.
    // Numbers the message just put in the slot (or sent on the stream) and
    // tells the receiver as its state asks.
    status_t announce(bool onSocket, Deadline deadline, bool mayQueue);
    bool putInBulk(const iovec* iov, size_t count, size_t total, Deadline deadline, bool mayQueue);
    bool news() const;
    // The peer sent its last message from the CPU this thread runs on.
    bool peerHere() const;

    const std::unique_ptr<SharedRegion> mRegion;
    MailSlot& mOut;
    MailSlot& mIn;
    SocketStream& mStream;
    const Budgets mBudgets;
    uint64_t mOutNumber = 0;  // messages sent, by either road
    uint64_t mInNumber = 0;   // messages taken
    // The inbound seq last looked at. A fresh region: the peer's first message
    // makes it 1, possibly before this side has attached.
    uint32_t mSeenSeq = 0;
    bool mSocketOwed = false;
    SpinBudget mSpin;
    // Large messages: the region this side writes (and the receiver's
    // generation of it, and the largest size offered) and the one it reads.
    std::unique_ptr<BulkRegion> mBulkOut;
    uint32_t mBulkOutGeneration = 0;
    size_t mBulkOffered = 0;
    std::unique_ptr<BulkRegion> mBulkIn;
    uint32_t mBulkInGeneration = 0;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
