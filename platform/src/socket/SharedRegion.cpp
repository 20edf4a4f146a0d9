#include "socket/SharedRegion.h"

#include <errno.h>
#include <fcntl.h>
#include <hidl_host/Settings.h>
#include <hidl_host/SocketTransport.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

#include "socket/Limits.h"

namespace android {
namespace hardware {
namespace host {

namespace {
std::atomic<int> gFastPath{-1};  // -1: not yet read from the environment
}  // namespace

void setFastPath(bool enabled) {
    gFastPath.store(enabled ? 1 : 0);
}

namespace socket {

static_assert(std::atomic<uint32_t>::is_always_lock_free, "futex words must be plain words");
static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "futex words are 32 bits");
static_assert(offsetof(MailSlot, bytes) == 32, "a message starts in the line of its bell");
static_assert(offsetof(MailSlot, rxState) % 64 == 0, "the receiver's words have their own line");
static_assert(offsetof(MailSlot, bytes) % 8 == 0, "a message starts 8-aligned");

bool fastPathEnabled() {
    int on = gFastPath.load();
    if (on < 0) {
        on = settingFlag(kFastPathEnvVar, false) ? 1 : 0;
        gFastPath.store(on);
    }
    return on == 1;
}

int fastPathSpinMicros() {
    static const int micros = static_cast<int>(settingInteger(kFastPathSpinEnvVar, 100, 0, 10000));
    return micros;
}

namespace {

// A sealed memfd of size bytes, mapped writable; *fd is the memfd.
void* createSealed(const char* name, size_t size, UniqueFd* fd) {
    UniqueFd memfd(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memfd.valid() || ftruncate(memfd.get(), static_cast<off_t>(size)) != 0 ||
        fcntl(memfd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        return nullptr;
    }
    void* p = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memfd.get(), 0);
    if (p == MAP_FAILED) return nullptr;
    *fd = std::move(memfd);
    return p;
}

// The size of a memfd the peer offered, or 0 when it is not sealed so that
// it stays that size: unsealed, the peer could shrink it and fault us on
// access.
size_t sealedSize(const UniqueFd& fd) {
    struct stat st {};
    const int seals = fcntl(fd.get(), F_GET_SEALS);
    if (fstat(fd.get(), &st) != 0 || seals < 0 ||
        (seals & (F_SEAL_SHRINK | F_SEAL_SEAL)) != (F_SEAL_SHRINK | F_SEAL_SEAL)) {
        return 0;
    }
    return static_cast<size_t>(st.st_size);
}

bool validBulkSize(size_t size) {
    return size >= kMinBulkBytes && size <= kMaxBulkBytes && (size & (size - 1)) == 0;
}

}  // namespace

SharedRegion::~SharedRegion() {
    munmap(mLayout, sizeof(SharedLayout));
}

std::unique_ptr<SharedRegion> SharedRegion::create(UniqueFd* fd) {
    void* p = createSealed("zuv-hidl-fast-path", sizeof(SharedLayout), fd);
    if (p == nullptr) return nullptr;
    // Fresh memfd pages read as zero: every word starts at its idle value.
    std::unique_ptr<SharedRegion> region(new (std::nothrow)
                                                 SharedRegion(static_cast<SharedLayout*>(p)));
    if (region == nullptr) {
        munmap(p, sizeof(SharedLayout));
        fd->reset();
    }
    return region;
}

std::unique_ptr<SharedRegion> SharedRegion::adopt(const UniqueFd& fd) {
    if (sealedSize(fd) != sizeof(SharedLayout)) return nullptr;
    void* p = mmap(nullptr, sizeof(SharedLayout), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (p == MAP_FAILED) return nullptr;
    std::unique_ptr<SharedRegion> region(new (std::nothrow)
                                                 SharedRegion(static_cast<SharedLayout*>(p)));
    if (region == nullptr) munmap(p, sizeof(SharedLayout));
    return region;
}

BulkRegion::~BulkRegion() {
    munmap(mData, mSize);
}

std::unique_ptr<BulkRegion> BulkRegion::create(size_t size, UniqueFd* fd) {
    if (!validBulkSize(size)) return nullptr;
    void* p = createSealed("zuv-hidl-bulk", size, fd);
    if (p == nullptr) return nullptr;
    std::unique_ptr<BulkRegion> region(new (std::nothrow)
                                               BulkRegion(static_cast<uint8_t*>(p), size));
    if (region == nullptr) {
        munmap(p, size);
        fd->reset();
    }
    return region;
}

std::unique_ptr<BulkRegion> BulkRegion::adopt(const UniqueFd& fd) {
    const size_t size = sealedSize(fd);
    if (!validBulkSize(size)) return nullptr;
    void* p = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd.get(), 0);
    if (p == MAP_FAILED) return nullptr;
    std::unique_ptr<BulkRegion> region(new (std::nothrow)
                                               BulkRegion(static_cast<uint8_t*>(p), size));
    if (region == nullptr) munmap(p, size);
    return region;
}

void futexWait(std::atomic<uint32_t>* word, uint32_t expected, int timeoutMs) {
    timespec ts{timeoutMs / 1000, (timeoutMs % 1000) * 1000000L};
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), FUTEX_WAIT, expected, &ts, nullptr, 0);
}

void futexWake(std::atomic<uint32_t>* word) {
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
