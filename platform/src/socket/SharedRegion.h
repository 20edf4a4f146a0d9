// The memory of the shared-memory fast path of one connection: a region both
// processes map, with one slot per direction. A connection carries one
// two-way call at a time and each side speaks only after hearing from the
// other, so a single slot per direction is enough: the next message is never
// written before the previous one has been taken.
//
// A message too large for the slot goes into the sender's bulk region: a
// sealed memfd it offers on the socket (kBulkOffer) when it first needs one,
// and replaces with a larger one as messages grow. The receiver maps it
// read-only if its budget for the peer allows, and says so in its slot;
// until then, and for anything larger, messages go over the socket.
//
// The peer can write the region at any time: everything read from it is
// copied out before it is checked, and nothing in it is trusted beyond the
// bounds of the slot.
//
// Only layout and mapping live here; Mailbox.h says who writes what when.
// Thread-safe as far as it goes: the regions are plain mappings, and
// fastPathEnabled() and fastPathSpinMicros() may be called from any thread.
#pragma once

#include <hidl_host/UniqueFd.h>
#include <sched.h>
#include <sys/types.h>
#include <utils/Errors.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "socket/Deadline.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// Messages larger than this go into the bulk region, or over the socket.
constexpr size_t kSlotBytes = 16 * 1024;
// Bulk regions are powers of two between these sizes; larger messages go over
// the socket.
constexpr size_t kMinBulkBytes = 64 * 1024;
constexpr size_t kMaxBulkBytes = 2 * 1024 * 1024;

// The sender's words and the receiver's live in separate cache lines: the
// receiver changing its state never takes away the line a message arrives
// in, and the bell, what the message is and its first bytes arrive together
// (a small message fills the first two lines, which the hardware fetches as
// a pair).
struct alignas(64) MailSlot {
    // Written by the sender.
    std::atomic<uint32_t> seq;  // bumped for every message; the futex word
    uint32_t kind;              // MailKind
    uint64_t mseq;              // the message's number in this direction
    uint32_t length;            // of the message
    uint32_t generation;        // kInBulk: of the bulk region that holds it
    // The CPU the sender ran on as it sent: a receiver on the same CPU
    // hands the CPU over while it waits instead of spinning on it.
    std::atomic<uint32_t> cpu;
    uint32_t pad;
    uint8_t bytes[kSlotBytes];
    // Written by the receiver.
    alignas(64) std::atomic<uint32_t> rxState;  // what the receiver does, below
    // The generation of the sender's bulk region the receiver has mapped.
    std::atomic<uint32_t> bulkTaken;
};

struct SharedLayout {
    MailSlot toServer;
    MailSlot toClient;
};

// kInline: in bytes; kOnSocket: the next socket message; kInBulk: at the start
// of the sender's bulk region.
enum MailKind : uint32_t { kInline = 1, kOnSocket = 2, kInBulk = 3 };
// The receiver's state, which tells the sender how to reach it.
enum RxState : uint32_t {
    kRxAway = 0,      // not looking: ring the doorbell on the socket
    kRxSpinning = 1,  // watching seq: nothing to do
    kRxSleeping = 2,  // in a futex wait on seq: wake it
};

class SharedRegion {
  public:
    ~SharedRegion();
    SharedRegion(const SharedRegion&) = delete;
    SharedRegion& operator=(const SharedRegion&) = delete;

    // A fresh region for a connection this process opened; *fd is the memfd
    // to hand to the peer.
    static std::unique_ptr<SharedRegion> create(UniqueFd* fd);
    // The region a peer offered, checked: exact size, sealed so it cannot
    // shrink under us. Null when it does not pass. fd stays the caller's.
    static std::unique_ptr<SharedRegion> adopt(const UniqueFd& fd);

    MailSlot& out(bool client) { return client ? mLayout->toServer : mLayout->toClient; }
    MailSlot& in(bool client) { return client ? mLayout->toClient : mLayout->toServer; }

  private:
    explicit SharedRegion(SharedLayout* layout) : mLayout(layout) {}
    SharedLayout* mLayout;
};

// One side's region for large messages. The sender maps it writable; the
// receiver maps it read-only and copies a message out before it looks at it.
class BulkRegion {
  public:
    ~BulkRegion();
    BulkRegion(const BulkRegion&) = delete;
    BulkRegion& operator=(const BulkRegion&) = delete;

    // A fresh region of size bytes (a power of two within the bounds); *fd
    // is the memfd to offer.
    static std::unique_ptr<BulkRegion> create(size_t size, UniqueFd* fd);
    // A region offered by the peer, checked: a size within the bounds, and
    // sealed so that it cannot shrink under us. Null when it does not pass.
    // fd stays the caller's.
    static std::unique_ptr<BulkRegion> adopt(const UniqueFd& fd);

    uint8_t* data() const { return mData; }
    size_t size() const { return mSize; }

  private:
    BulkRegion(uint8_t* data, size_t size) : mData(data), mSize(size) {}
    uint8_t* mData;
    size_t mSize;
};

// Futex wait on word while it equals expected, up to timeoutMs.
void futexWait(std::atomic<uint32_t>* word, uint32_t expected, int timeoutMs);
void futexWake(std::atomic<uint32_t>* word);

// The fast path's settings: whether this process offers and accepts it
// (ZUV_HIDL_FAST_PATH, host::setFastPath) and how long a waiting side spins
// before it sleeps (ZUV_HIDL_FAST_PATH_SPIN_US).
bool fastPathEnabled();
int fastPathSpinMicros();

constexpr int kMinSpinMicros = 10;

// How long a waiter spins, adapted to whether spinning pays off: halved
// after a spin that found nothing, doubled after one that did, within the
// configured bound and never below 10 us (or the bound, if lower). One per
// connection side.
class SpinBudget {
  public:
    // Spins until ready() or the budget runs out; true when ready. With
    // peerHere (the peer last ran on this CPU) the CPU is yielded between
    // looks: the answer can only come once the peer has run.
    template <typename Ready>
    bool spin(Ready ready, bool peerHere);

  private:
    int mMicros = -1;  // -1: the configured bound
};

inline void cpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// The CPU this thread runs on (read from the kernel's per-thread record
// without a system call); UINT32_MAX when unknown.
inline uint32_t currentCpu() {
    const int cpu = sched_getcpu();
    return cpu < 0 ? UINT32_MAX : static_cast<uint32_t>(cpu);
}

template <typename Ready>
bool SpinBudget::spin(Ready ready, bool peerHere) {
    const int bound = fastPathSpinMicros();
    if (mMicros < 0 || mMicros > bound) mMicros = bound;
    const auto end = Clock::now() + std::chrono::microseconds(mMicros);
    // Now and then the peer may need this CPU to make progress; at once when
    // it last ran here.
    const unsigned yieldMask = peerHere ? 0 : 63;
    for (unsigned i = 0;; ++i) {
        if (ready()) {
            mMicros = std::min(bound, std::max(1, mMicros * 2));
            return true;
        }
        if ((i & yieldMask) == yieldMask) {
            if (Clock::now() >= end) break;
            sched_yield();
        } else {
            cpuRelax();
        }
    }
    // Never below a floor: a budget that reached nothing could never learn
    // that spinning pays again.
    mMicros = std::max(std::min(bound, kMinSpinMicros), mMicros / 2);
    return false;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
