#include "socket/Mailbox.h"

#include <algorithm>
#include <cstring>

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

// A waiter on the mailbox looks at the socket this often (a dead peer's end
// of stream arrives there).
constexpr int kWaitSliceMs = 10;

// Kinds that never travel in a slot.
bool socketOnly(uint16_t kind) {
    return kind == kDoorbell || kind == kShmOffer || kind == kGoodbye || kind == kBulkOffer;
}

// A message that is only its header.
struct Signal {
    explicit Signal(MessageKind kind) {
        header.magic = kMessageMagic;
        header.kind = kind;
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    MessageHeader header{};
    iovec iov[1] = {{&header, sizeof(header)}};
};

}  // namespace

std::unique_ptr<Mailbox> Mailbox::attach(std::unique_ptr<SharedRegion> region, bool clientSide,
                                         SocketStream& stream, Budgets budgets) {
    if (!budgets.reserve(sizeof(SharedLayout))) return nullptr;
    return std::unique_ptr<Mailbox>(new Mailbox(std::move(region), clientSide, stream, budgets));
}

Mailbox::Mailbox(std::unique_ptr<SharedRegion> region, bool clientSide, SocketStream& stream,
                 Budgets budgets)
    : mRegion(std::move(region)),
      mOut(mRegion->out(clientSide)),
      mIn(mRegion->in(clientSide)),
      mStream(stream),
      mBudgets(budgets) {}

Mailbox::~Mailbox() {
    mBudgets.unreserve(sizeof(SharedLayout) + (mBulkIn != nullptr ? mBulkIn->size() : 0));
}

// --- sending ---

status_t Mailbox::send(iovec* iov, size_t count, const std::vector<int>& fds, Deadline deadline,
                       bool mayQueue) {
    const size_t total = totalOf(iov, count);
    const bool plain = fds.empty() && !mStream.outPending();
    bool onSocket = false;
    if (plain && total <= kSlotBytes) {
        gatherInto(mOut.bytes, iov, count);
        mOut.kind = kInline;
        mOut.length = static_cast<uint32_t>(total);
    } else if (plain && putInBulk(iov, count, total, deadline, mayQueue)) {
        mOut.kind = kInBulk;
        mOut.length = static_cast<uint32_t>(total);
        mOut.generation = mBulkOutGeneration;
    } else {
        // With descriptors, behind queued bytes, or too large: the message goes
        // over the socket and the slot says so, in its turn.
        status_t err = mStream.send(iov, count, fds, deadline, mayQueue);
        if (err != OK) return err;
        mOut.kind = kOnSocket;
        mOut.length = 0;
        onSocket = true;
    }
    return announce(onSocket, deadline, mayQueue);
}

uint8_t* Mailbox::inlineRoom() {
    return mStream.outPending() ? nullptr : mOut.bytes;
}

status_t Mailbox::sendInline(size_t length, Deadline deadline, bool mayQueue) {
    mOut.kind = kInline;
    mOut.length = static_cast<uint32_t>(length);
    return announce(false, deadline, mayQueue);
}

status_t Mailbox::announce(bool onSocket, Deadline deadline, bool mayQueue) {
    mOut.mseq = mOutNumber++;
    mOut.cpu.store(currentCpu(), std::memory_order_relaxed);
    // Sequentially consistent with the receiver's store of its state: one of
    // the two always sees the other's.
    mOut.seq.fetch_add(1, std::memory_order_seq_cst);
    switch (mOut.rxState.load(std::memory_order_seq_cst)) {
        case kRxSpinning:
            return OK;
        case kRxSleeping:
            futexWake(&mOut.seq);
            return OK;
        default: {
            if (onSocket) return OK;  // the message itself wakes it
            Signal bell(kDoorbell);
            static const std::vector<int> kNoFds;
            return mStream.send(bell.iov, 1, kNoFds, deadline, mayQueue);
        }
    }
}

bool Mailbox::putInBulk(const iovec* iov, size_t count, size_t total, Deadline deadline,
                        bool mayQueue) {
    if (total > kMaxBulkBytes) return false;
    if (mBulkOut != nullptr && mBulkOut->size() >= total) {
        // Not before the receiver has mapped this region.
        if (mOut.bulkTaken.load(std::memory_order_acquire) != mBulkOutGeneration) return false;
        gatherInto(mBulkOut->data(), iov, count);
        return true;
    }
    // Each size is offered once: a receiver that declined it (its budget for
    // us is spent) is not asked again, and this message goes by socket.
    size_t size = kMinBulkBytes;
    while (size < total) size *= 2;
    if (size <= mBulkOffered) return false;
    mBulkOffered = size;
    UniqueFd fd;
    std::unique_ptr<BulkRegion> region = BulkRegion::create(size, &fd);
    if (region == nullptr) return false;
    Signal offer(kBulkOffer);
    offer.header.fdCount = 1;
    offer.header.code = mBulkOutGeneration + 1;
    if (mStream.send(offer.iov, 1, {fd.get()}, deadline, mayQueue) == OK) {
        mBulkOut = std::move(region);
        ++mBulkOutGeneration;
    }
    return false;
}

// --- receiving ---

void Mailbox::adoptBulk(Message& offer) {
    std::unique_ptr<BulkRegion> region;
    if (offer.header.code > mBulkInGeneration) region = BulkRegion::adopt(offer.fds[0]);
    offer.fds.clear();
    if (region == nullptr) return;
    // Counted whole, though its pages cost only once written.
    const size_t old = mBulkIn != nullptr ? mBulkIn->size() : 0;
    if (region->size() > old && !mBudgets.reserve(region->size() - old)) return;
    if (region->size() < old) mBudgets.unreserve(old - region->size());
    mBulkIn = std::move(region);
    mBulkInGeneration = offer.header.code;
    mIn.bulkTaken.store(mBulkInGeneration, std::memory_order_release);
}

status_t Mailbox::take(Message* message) {
    const uint32_t seq = mIn.seq.load(std::memory_order_acquire);
    if (seq == mSeenSeq) return WOULD_BLOCK;
    // Copied before anything is believed: the peer may still be writing.
    const uint64_t number = mIn.mseq;
    const uint32_t kind = mIn.kind;
    const size_t rawLength = mIn.length;
    const uint32_t generation = mIn.generation;
    if (number < mInNumber) {
        mSeenSeq = seq;  // announces a message the socket already delivered
        return WOULD_BLOCK;
    }
    if (number != mInNumber || (kind != kInline && kind != kOnSocket && kind != kInBulk)) {
        return mStream.breakWith(BAD_VALUE);
    }
    mSeenSeq = seq;
    if (kind == kOnSocket) {
        mSocketOwed = true;  // the socket's next message is the message
        return WOULD_BLOCK;
    }
    ++mInNumber;
    const uint8_t* bytes;
    size_t length;
    if (kind == kInBulk) {
        if (mBulkIn == nullptr || generation != mBulkInGeneration || rawLength > mBulkIn->size() ||
            rawLength < sizeof(MessageHeader)) {
            return mStream.breakWith(BAD_VALUE);
        }
        message->block = ImageBlock::allocate(rawLength);
        if (!message->block) return mStream.breakWith(NO_MEMORY);
        memcpy(message->block.data(), mBulkIn->data(), rawLength);
        bytes = message->block.data();
        length = rawLength;
    } else {
        // Only the header is copied: the payload is read once, where it
        // lies, by the rebuild, which copies before it checks anything.
        length = std::min<size_t>(rawLength, kSlotBytes);
        bytes = mIn.bytes;
    }
    if (length < sizeof(MessageHeader)) return mStream.breakWith(BAD_VALUE);
    memcpy(&message->header, bytes, sizeof(MessageHeader));
    if (!headerIsSane(message->header) || message->header.fdCount != 0 ||
        socketOnly(message->header.kind) ||
        sizeof(MessageHeader) + message->header.payloadSize != length) {
        return mStream.breakWith(BAD_VALUE);
    }
    message->payload = bytes + sizeof(MessageHeader);
    return OK;
}

bool Mailbox::peerHere() const {
    return mIn.cpu.load(std::memory_order_relaxed) == currentCpu();
}

bool Mailbox::news() const {
    return mIn.seq.load(std::memory_order_acquire) != mSeenSeq;
}

// After a spin that found a message, going away needs no fence: the peer
// sends nothing more before it hears from us, and our answer carries this
// store to it. After a sleep it does: a message sent meanwhile either sees
// us away and rings the doorbell, or is seen by the load that follows.
bool Mailbox::wait(Deadline deadline) {
    mIn.rxState.store(kRxSpinning, std::memory_order_seq_cst);
    if (mSpin.spin([&] { return news(); }, peerHere())) {
        mIn.rxState.store(kRxAway, std::memory_order_release);
        return true;
    }
    mIn.rxState.store(kRxSleeping, std::memory_order_seq_cst);
    // Woken by the sender; the timeout lets a dead peer's end of stream
    // and the deadline be seen, since the socket is not watched meanwhile.
    int ms = timeoutMs(deadline);
    ms = ms < 0 ? kWaitSliceMs : std::min(ms, kWaitSliceMs);
    futexWait(&mIn.seq, mSeenSeq, ms);
    mIn.rxState.store(kRxAway, std::memory_order_seq_cst);
    return mIn.seq.load(std::memory_order_seq_cst) != mSeenSeq;
}

bool Mailbox::spin() {
    mIn.rxState.store(kRxSpinning, std::memory_order_seq_cst);
    if (mSpin.spin([&] { return news(); }, peerHere())) {
        mIn.rxState.store(kRxAway, std::memory_order_release);
        return true;
    }
    mIn.rxState.store(kRxAway, std::memory_order_seq_cst);
    // The sender saw us spinning and rang no bell.
    return mIn.seq.load(std::memory_order_seq_cst) != mSeenSeq;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
