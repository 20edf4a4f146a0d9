// The peer processes. Each serves or calls until its parent closes the
// control socket or dies (they are started with PR_SET_PDEATHSIG).
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/Binder.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

#include "Common.h"
#include "FakeExtendedFingerprint.h"
#ifdef ZUV_BENCH_HAVE_GRPC
#include "GrpcEcho.h"
#endif

using namespace android;
using namespace android::hardware;
namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

namespace zuv_bench {
namespace {

// Answers processRequest with the very bytes it was given: the stub's reply
// is then the only copy on this side, as the raw peer's echo is on its side.
struct EchoingFingerprint : zuv_test::FakeExtendedFingerprint {
    Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb cb) override {
        cb(data);
        return Void();
    }
};

class EchoObject : public BHwBinder {
  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override {
        int32_t v = 0;
        switch (code) {
            case kEcho:
                data.readInt32(&v);
                reply->writeInt32(v);
                break;
            case kCount:
                mCount.fetch_add(1, std::memory_order_relaxed);
                return OK;
            case kTakeCount:
                reply->writeInt32(mCount.exchange(0));
                break;
            default:
                return mFingerprint->transact(code, data, reply, flags, callback);
        }
        if (callback != nullptr) callback(*reply);
        return OK;
    }

  private:
    std::atomic<int32_t> mCount{0};
    const sp<IBinder> mFingerprint = new fp::BnHwZuvExtendedFingerprint(new EchoingFingerprint);
};

void signalReady() {
    char c = 'r';
    if (!writeFull(kControlFd, &c, 1)) _exit(1);
}

int serve(const sp<BHwBinder>& object) {
    configureRpcThreadpool(std::max(2u, std::thread::hardware_concurrency()), true);
    if (host::serveContextObject(object) != OK) return 1;
    signalReady();
    joinRpcThreadpool();
    return 0;
}

// Echoes messages of size bytes on fd.
[[noreturn]] void serveRaw(int fd, size_t size) {
    std::vector<char> buf(size);
    signalReady();
    while (readFull(fd, buf.data(), size) && writeFull(fd, buf.data(), size)) {
    }
    _exit(0);
}

int listenOn(const std::string& path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    if (path.size() >= sizeof(addr.sun_path)) return -1;
    memcpy(addr.sun_path, path.c_str(), path.size());
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0 ||
        listen(fd, 128) != 0) {
        return -1;
    }
    return fd;
}

int connectTo(const std::string& path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    if (path.size() >= sizeof(addr.sun_path)) return -1;
    memcpy(addr.sun_path, path.c_str(), path.size());
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) return -1;
    return fd;
}

// The usual single-threaded epoll echo server the scaling row compares with.
int serveEpoll(const std::string& path) {
    int listener = listenOn(path);
    int ep = epoll_create1(EPOLL_CLOEXEC);
    if (listener < 0 || ep < 0) return 1;
    epoll_event ev{EPOLLIN, {}};
    ev.data.fd = listener;
    epoll_ctl(ep, EPOLL_CTL_ADD, listener, &ev);
    signalReady();
    epoll_event events[64];
    char buf[4096];
    for (;;) {
        int n = epoll_wait(ep, events, 64, -1);
        for (int i = 0; i < n; ++i) {
            int fd = events[i].data.fd;
            if (fd == listener) {
                int c = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                if (c < 0) continue;
                epoll_event cev{EPOLLIN, {}};
                cev.data.fd = c;
                epoll_ctl(ep, EPOLL_CTL_ADD, c, &cev);
                continue;
            }
            ssize_t got = read(fd, buf, sizeof(buf));
            if (got <= 0 || !writeFull(fd, buf, static_cast<size_t>(got))) close(fd);
        }
    }
}

// Answers the futex ping-pong of pair `index` of the shared memory at fd 4.
[[noreturn]] void serveFutex(int memfd, int index, bool spin) {
    void* map = mmap(nullptr, 2 * sizeof(FutexPair), PROT_READ | PROT_WRITE, MAP_SHARED, memfd, 0);
    if (map == MAP_FAILED) _exit(1);
    signalReady();
    futexServe(static_cast<FutexPair*>(map) + index, spin);
}

// Runs blocks of calls on request: the parent writes a CallRequest and reads
// back the nanoseconds the block took (-1 when a call failed), so a transport
// configured by this process's environment can be compared with rows the
// parent measures itself. Size 0 asks for echo calls, any other size for
// processRequest calls moving that many bytes each way.
int callOnRequest() {
    sp<IBinder> remote = host::getContextObject();
    if (remote == nullptr) return 1;
    sp<fp::IZuvExtendedFingerprint> service = new fp::BpHwZuvExtendedFingerprint(remote);
    signalReady();
    CallRequest request;
    hidl_vec<uint8_t> data;
    int32_t value = 0;
    while (readFull(kControlFd, &request, sizeof(request)) && request.block > 0 &&
           request.size >= 0 && static_cast<size_t>(request.size) <= kMaxLargeSize) {
        if (data.size() != static_cast<size_t>(request.size)) data.resize(request.size);
        bool ok = true;
        auto start = Clock::now();
        for (int32_t i = 0; i < request.block; ++i) {
            ok = (request.size == 0
                          ? echoCall(remote, value)
                          : processRequestCall(service, data, static_cast<uint8_t>(value))) &&
                 ok;
            ++value;
        }
        double ns = ok ? nanosSince(start) : -1;
        if (!writeFull(kControlFd, &ns, sizeof(ns))) break;
    }
    return 0;
}

// One of the scaling row's clients: in phase k (from the start time its
// parent sends once every client is ready, each phaseNs long) it calls the
// transport's echo object when k is even and the epoll server when k is odd,
// and reports both counts at the end (-1 when a call failed). A client woken
// late joins at the next even phase, so it still splits its time evenly.
// With latencies it times every call and then also sends one
// LatencyHistogram per side (ours, then the epoll server's).
int callInPhases(const std::string& epollPath, int64_t phaseNs, int phases, bool latencies) {
    sp<IBinder> remote = host::getContextObject();
    int raw = connectTo(epollPath);
    if (remote == nullptr || raw < 0 || !echoCall(remote, 0) || !rawRoundTrip(raw)) return 1;
    signalReady();
    auto now = [] { return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count(); };
    int64_t startNs = 0;
    if (!readFull(kControlFd, &startNs, sizeof(startNs))) return 1;
    int k = 0;
    while (now() > startNs + k * phaseNs) k += 2;
    while (now() < startNs + k * phaseNs)
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    int64_t counts[2] = {0, 0};
    // Heap, not stack: 8 KB each.
    std::vector<LatencyHistogram> histograms(latencies ? 2 : 0);
    int32_t value = 0;
    bool ok = true;
    for (; k < phases && ok; ++k) {
        const int64_t end = startNs + (k + 1) * phaseNs;
        // The clock read that ends one call starts the next and is the one
        // the loop makes anyway, so timing every call adds no read.
        for (int64_t t = now(); ok && t < end;) {
            ok = k % 2 == 0 ? echoCall(remote, value++) : rawRoundTrip(raw);
            ++counts[k % 2];
            if (latencies) {
                const int64_t done = now();
                histograms[k % 2].add(static_cast<uint64_t>(done - t));
                t = done;
            } else {
                t = now();
            }
        }
    }
    if (!ok) counts[0] = counts[1] = -1;
    if (!writeFull(kControlFd, counts, sizeof(counts))) return 1;
    for (const LatencyHistogram& h : histograms) {
        if (!writeFull(kControlFd, &h, sizeof(h))) return 1;
    }
    return 0;
}

// Holds one connection to a fingerprint service until the parent lets go.
int holdConnection() {
    sp<IBinder> binder = host::getContextObject();
    if (binder == nullptr) return 1;
    sp<fp::IZuvExtendedFingerprint> service = new fp::BpHwZuvExtendedFingerprint(binder);
    if (!service->getPingResult().isOk()) return 1;
    signalReady();
    char c;
    while (read(kControlFd, &c, 1) > 0) {
    }
    return 0;
}

}  // namespace

int runRole(const std::string& role, const std::vector<std::string>& args) {
    if (role == "echo-server") return serve(new EchoObject);
    if (role == "raw-server" && args.size() <= 1) {
        const size_t size = args.empty() ? kMessageSize : std::stoul(args[0]);
        if (size > 0 && size <= kMaxLargeSize) serveRaw(kPassedFd, size);
    }
    if (role == "futex-server" && args.size() == 1) {
        const bool spin = args[0] == "spin";
        serveFutex(kPassedFd, spin ? 1 : 0, spin);
    }
    if (role == "epoll-server" && args.size() == 1) return serveEpoll(args[0]);
    if (role == "call-client") return callOnRequest();
    if (role == "phase-client" && (args.size() == 3 || args.size() == 4)) {
        const bool latencies = args.size() == 4 && args[3] == "latencies";
        return callInPhases(args[0], std::stoll(args[1]), std::stoi(args[2]), latencies);
    }
    if (role == "idle-client") return holdConnection();
#ifdef ZUV_BENCH_HAVE_GRPC
    if (role == "grpc-server" && args.size() == 1) return runGrpcEchoServer(args[0], signalReady);
#endif
    fprintf(stderr, "zuv_bench: unknown role %s\n", role.c_str());
    return 2;
}

}  // namespace zuv_bench
