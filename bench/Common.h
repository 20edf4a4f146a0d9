// What the benchmark program and the peer processes it starts share: the
// echo object's codes, the raw ping-pong, child processes and placement.
#pragma once

#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/types.h>
#include <utils/StrongPointer.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zuv_bench {

using Clock = std::chrono::steady_clock;

inline double nanosSince(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

// The raw peers move this many bytes each way: what the echo call's frame
// takes on the socket (a 48-byte frame header and a 40-byte image of one
// int32), so that both sides of a comparison carry the same bytes.
constexpr size_t kMessageSize = 88;

// The largest processRequest payload the rows move: a transaction carries at
// most 1 MiB including the parcel's own bytes, so the largest round size
// that fits is 4 KiB less.
constexpr size_t kMaxLargeSize = 1024 * 1024 - 4096;

// What the parent of a call-client writes to ask for a block of calls.
struct CallRequest {
    int32_t block = 0;  // calls in the block
    int32_t size = 0;   // 0: echo calls; else processRequest calls of size bytes
};

// Codes of the echo object every transport peer serves. Any other code goes
// to a fingerprint stub whose processRequest answers the bytes it was given,
// so a BpHwZuvExtendedFingerprint on the same remote calls the package's
// real stub (processRequest's code is none of these).
enum EchoCode : uint32_t {
    kEcho = 1,       // two-way: answers the int32 it was given
    kCount = 2,      // oneway: counts one arrival
    kTakeCount = 3,  // two-way: answers the arrivals counted and restarts the count
};

bool echoCall(const android::sp<android::hardware::IBinder>& remote, int32_t value);
bool rawRoundTrip(int fd);

// The large calls: data's first byte is set to mark, and the answer must
// come back with data's size and the mark at both ends (checking every byte
// would cost as much as moving them). data's last byte is mark too.
bool processRequestCall(
        const android::sp<::vendor::zuv::hardware::fingerprint::V1_0::IZuvExtendedFingerprint>&
                service,
        android::hardware::hidl_vec<uint8_t>& data, uint8_t mark);
// The same bytes over a raw socket to a peer that echoes messages of
// buf's size.
bool rawRoundTrip(int fd, std::vector<uint8_t>& buf, uint8_t mark);
bool readFull(int fd, void* data, size_t size);
bool writeFull(int fd, const void* data, size_t size);

// A futex ping-pong in memory shared by two processes: word is 1 while a
// ping waits for its answer and 2 once answered. With spin, each side spins a
// little before it sleeps and a wake is made only for a side that sleeps.
struct alignas(64) FutexPair {
    std::atomic<uint32_t> word{0};
    std::atomic<uint32_t> serverAsleep{0};
    std::atomic<uint32_t> clientAsleep{0};
};
// One round trip; false when no answer came within a second.
bool futexPing(FutexPair* pair, bool spin);
[[noreturn]] void futexServe(FutexPair* pair, bool spin);

// Call latencies in nanoseconds, counted in log-linear buckets (exact below
// 32 ns, then 16 per power of two: within 6%), so clients can record every
// call in fixed memory and the parent merges them by adding counts.
struct LatencyHistogram {
    static constexpr size_t kBuckets = 32 + 59 * 16;
    std::array<uint64_t, kBuckets> counts{};

    static size_t bucket(uint64_t ns);
    // The middle of the bucket.
    static double value(size_t bucket);
    void add(uint64_t ns) { ++counts[bucket(ns)]; }
    void merge(const LatencyHistogram& other);
    uint64_t total() const;
    // The latency below which fraction q of the calls fall; -1 when empty.
    double quantile(double q) const;
};

// A peer is this program started again with "--role NAME ARGS...". It talks
// to its parent on descriptor 3 (the control socket) and finds the one
// descriptor it is handed, if any, at 4.
constexpr int kControlFd = 3;
constexpr int kPassedFd = 4;

struct Child {
    pid_t pid = -1;
    int control = -1;
};

Child spawn(const std::string& role, const std::vector<std::string>& args,
            const std::vector<std::string>& env = {}, int passFd = -1);
// Another program, found next to this one, started the same way.
Child spawnProgram(const std::string& name, const std::vector<std::string>& args,
                   const std::vector<std::string>& env = {}, int passFd = -1);
// Waits for the byte a peer sends once it serves; false on timeout or death.
bool awaitReady(const Child& child, int timeoutMs = 10000);
// Kills and reaps; every child still running is stopped at exit, and on
// SIGINT and SIGTERM too, which also remove the scratch directory.
void stop(Child& child);
void installCleanup(const std::string& scratchDir);

// Where the client side and the server side of a comparison run.
enum class Placement { Same, Split, None };
const char* placementName(Placement p);
struct Cpus {
    int client = -1;  // -1: every CPU this program was allowed at start
    int server = -1;
};
Cpus cpusFor(Placement p);
void recordAllowedCpus();
// Moves every thread of the process to cpu (-1: all allowed ones). Threads
// started later inherit it from the thread that starts them.
void placeProcess(pid_t pid, int cpu);
long residentKb(pid_t pid);

int runRole(const std::string& role, const std::vector<std::string>& args);

}  // namespace zuv_bench
