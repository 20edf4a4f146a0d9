// A small two-way call between two processes over the socket transport,
// side by side with a raw ping-pong of the same size over a Unix socket
// between the same two processes. The "ratio" counter is transport / raw.
//
// Where the processes run decides most of a round trip's cost on small or
// virtual machines (waking an idle CPU dwarfs the work), so both pairs get
// the same placement: ZUV_BENCH_CPUS=same (default) runs everything on one
// CPU, split puts clients on one CPU and servers on another, none leaves it
// to the scheduler.
#include <benchmark/benchmark.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <utility>

using namespace android;
using namespace android::hardware;

namespace {

constexpr size_t kMessageSize = 32;  // about what a small call's request holds

class EchoObject : public BHwBinder {
  protected:
    status_t onTransact(uint32_t, const Parcel& data, Parcel* reply, uint32_t,
                        TransactCallback callback) override {
        int32_t v = 0;
        data.readInt32(&v);
        reply->writeInt32(v);
        if (callback != nullptr) callback(*reply);
        return OK;
    }
};

int gRawFd = -1;
sp<IBinder> gRemote;

bool rawRoundTrip() {
    char buf[kMessageSize] = {1};
    if (write(gRawFd, buf, sizeof(buf)) != static_cast<ssize_t>(sizeof(buf))) return false;
    size_t got = 0;
    while (got < sizeof(buf)) {
        ssize_t n = read(gRawFd, buf + got, sizeof(buf) - got);
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

bool transportRoundTrip(int32_t value) {
    Parcel data, reply;
    data.writeInt32(value);
    if (gRemote->transact(1, data, &reply) != OK) return false;
    int32_t echoed = -1;
    return reply.readInt32(&echoed) == OK && echoed == value;
}

void BM_RawSocketPingPong(benchmark::State& state) {
    for (auto _ : state) {
        if (!rawRoundTrip()) state.SkipWithError("raw ping-pong failed");
    }
}
BENCHMARK(BM_RawSocketPingPong)->UseRealTime();

void BM_TransportRoundTrip(benchmark::State& state) {
    int32_t i = 0;
    for (auto _ : state) {
        if (!transportRoundTrip(i++)) state.SkipWithError("transaction failed");
    }
}
BENCHMARK(BM_TransportRoundTrip)->UseRealTime();

// Both in alternating blocks, so load on the machine hits them alike while
// each runs in its steady state (single alternating round trips measure
// mostly how fast an idle CPU wakes up). One iteration is one block of each.
void BM_TransportVsRaw(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr int kBlock = 200;
    Clock::duration raw{}, transport{};
    int32_t i = 0;
    for (auto _ : state) {
        bool ok = true;
        auto t0 = Clock::now();
        for (int k = 0; k < kBlock; ++k) ok = rawRoundTrip() && ok;
        auto t1 = Clock::now();
        for (int k = 0; k < kBlock; ++k) ok = transportRoundTrip(i++) && ok;
        auto t2 = Clock::now();
        if (!ok) state.SkipWithError("round trip failed");
        raw += t1 - t0;
        transport += t2 - t1;
    }
    const double rawNs = std::chrono::duration<double, std::nano>(raw).count();
    const double transportNs = std::chrono::duration<double, std::nano>(transport).count();
    const double n = static_cast<double>(state.iterations()) * kBlock;
    state.counters["raw_ns"] = rawNs / n;
    state.counters["transport_ns"] = transportNs / n;
    state.counters["ratio"] = rawNs > 0 ? transportNs / rawNs : 0;
}
BENCHMARK(BM_TransportVsRaw)->UseRealTime();

[[noreturn]] void serveRaw(int fd) {
    char buf[kMessageSize];
    for (;;) {
        size_t got = 0;
        while (got < sizeof(buf)) {
            ssize_t n = read(fd, buf + got, sizeof(buf) - got);
            if (n <= 0) _exit(0);
            got += static_cast<size_t>(n);
        }
        if (write(fd, buf, sizeof(buf)) != static_cast<ssize_t>(sizeof(buf))) _exit(0);
    }
}

[[noreturn]] void serveTransport(int ready) {
    configureRpcThreadpool(1, true);
    if (host::serveContextObject(new EchoObject()) != OK) _exit(1);
    char c = 'r';
    if (write(ready, &c, 1) != 1) _exit(1);
    close(ready);
    joinRpcThreadpool();
    _exit(0);
}

// The first two CPUs this process may use (the same one twice if only one).
std::pair<int, int> twoCpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    std::pair<int, int> cpus{-1, -1};
    if (sched_getaffinity(0, sizeof(set), &set) != 0) return cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (!CPU_ISSET(cpu, &set)) continue;
        if (cpus.first < 0) {
            cpus.first = cpus.second = cpu;
        } else {
            cpus.second = cpu;
            break;
        }
    }
    return cpus;
}

void pinTo(int cpu) {
    if (cpu < 0) return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    sched_setaffinity(0, sizeof(set), &set);
}

std::string gPlacement = "same";
std::pair<int, int> gCpus{-1, -1};

pid_t forkServer() {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (gPlacement == "split") pinTo(gCpus.second);
    }
    return pid;
}

}  // namespace

int main(int argc, char** argv) {
    if (const char* placement = getenv("ZUV_BENCH_CPUS"); placement != nullptr) {
        gPlacement = placement;
    }
    gCpus = twoCpus();
    if (gPlacement == "same" || gPlacement == "split") pinTo(gCpus.first);
    benchmark::AddCustomContext("placement", gPlacement);

    // Both servers are forked before this process starts any thread.
    char dir[] = "/tmp/zuv-bench-XXXXXX";
    if (mkdtemp(dir) == nullptr) return 1;
    setenv(host::kRuntimeDirEnvVar, dir, 1);

    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return 1;
    const pid_t rawServer = forkServer();
    if (rawServer == 0) {
        close(pair[0]);
        serveRaw(pair[1]);
    }
    close(pair[1]);
    gRawFd = pair[0];

    int ready[2];
    if (pipe(ready) != 0) return 1;
    const pid_t transportServer = forkServer();
    if (transportServer == 0) {
        close(ready[0]);
        serveTransport(ready[1]);
    }
    close(ready[1]);
    char c;
    int status = 1;
    if (read(ready[0], &c, 1) == 1 && (gRemote = host::getContextObject()) != nullptr) {
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        benchmark::Shutdown();
        status = 0;
    } else {
        fprintf(stderr, "transport_bench: the transport server did not start\n");
    }
    gRemote.clear();
    close(gRawFd);
    kill(transportServer, SIGKILL);
    kill(rawServer, SIGKILL);
    waitpid(transportServer, nullptr, 0);
    waitpid(rawServer, nullptr, 0);
    std::string cleanup = std::string("rm -rf '") + dir + "'";
    if (system(cleanup.c_str()) != 0) status = status != 0 ? status : 1;
    return status;
}
