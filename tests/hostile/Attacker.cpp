// zuv_attacker: misbehaves towards the transport the way a buggy or hostile
// process of the same user could. Raw modes speak the socket framing by hand
// to SOCKET (the daemon's or a service's); the others go through the library.
//
//   pipeline SOCKET N        N connections pipelining empty two-way calls, never reading
//   fds SOCKET FRAMES FDS    messages declaring no descriptors, each carrying FDS of them
//   hold SOCKET N [BYTES]    N connections, idle or each sending only a header
//                            announcing BYTES
//   refs SOCKET COUNT        one call naming COUNT binder references
//   stuck-listener           a registration listener whose socket never accepts
//   sink NAME                serves NAME, counting its oneway calls ("count" answers)
//   send NAME ID COUNT       COUNT oneway calls to NAME, exiting right after the last
//   flood NAMES LISTENS LEN  one object added under NAMES distinct names, then one
//                            listener registered for LISTENS distinct interfaces, all
//                            names about LEN bytes; tells "names ACCEPTED STATUS" and
//                            "listeners ACCEPTED STATUS" (the first refusal, or "none")
//   slow-listener REGS ADDS  one listener that takes 0.5 s over each notification,
//                            registered REGS times for every ITest, then ADDS ITest
//                            objects added; "ready REGISTERED ADDED SLOWEST_ADD_MS"
//   pool NAME N              a well-behaved client of sink NAME: "widen" makes N slow
//                            calls at once, which leaves N pooled connections open
//                            ("widened FAILED"); "calls MS" pings it from N threads for
//                            MS ms ("calls TOTAL FAILED")
//   dribble SOCKET BYTES     a header announcing BYTES, then one byte every 20 ms
//   bulk SOCKET ATTACK       on the fast path, large messages misused; ATTACK is one of
//                            offers (unsealed, odd-sized and over-budget bulk regions,
//                            then 40 valid ones, with calls over the socket between:
//                            "ready TAKEN ANSWERED"), unacked (a message in a bulk
//                            region never offered) or beyond (a message longer than
//                            the region taken): "ready SERVED DROPPED"
//
// Prints "ready ..." once the attack is in place, then holds everything until
// stdin closes. "open" answers how many of its connections the other side
// has not closed.
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <fcntl.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/ProcessState.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "ChainedService.h"
#include "TestNames.h"
#include "socket/Connection.h"
#include "socket/SharedRegion.h"

using ::android::hidl::base::V1_0::BnHwBase;
using namespace ::android::hardware::host::socket;
using ::android::hardware::host::UniqueFd;
namespace hw = ::android::hardware;

namespace {

constexpr const char* kSinkDescriptor = "vendor.zuv.test@1.0::ISink";
constexpr uint32_t kCountCode = 1;  // the first code an interface may use
constexpr uint32_t kPauseCode = 2;  // a two-way call that takes 100 ms

std::vector<int> gConnections;

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

// Enough descriptors for a thousand connections.
void raiseFdLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

sockaddr_un unixAddress(const std::string& path) {
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
    return addr;
}

int connectTo(const std::string& path, bool nonblocking) {
    const sockaddr_un addr = unixAddress(path);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | (nonblocking ? SOCK_NONBLOCK : 0), 0);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

int connectKept(const std::string& path) {
    int fd = connectTo(path, false);
    if (fd >= 0) gConnections.push_back(fd);
    return fd;
}

MessageHeader header(uint16_t kind, uint32_t payloadSize = 0, uint32_t tableCount = 0) {
    static uint64_t seq = 1;
    MessageHeader h{};
    h.magic = kMessageMagic;
    h.kind = kind;
    h.seq = seq++;
    h.code = 0x5f504e47;  // ping
    h.payloadSize = payloadSize;
    h.tableCount = tableCount;
    return h;
}

bool sendAll(int fd, const void* data, size_t size) {
    const auto* p = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t n = send(fd, p, size, MSG_NOSIGNAL);
        if (n <= 0) return false;
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// One header carrying descriptors, whatever the header declares of them.
bool sendFds(int fd, const MessageHeader& h, const std::vector<int>& carried) {
    std::vector<char> control(CMSG_SPACE(sizeof(int) * carried.size()));
    iovec iov{const_cast<MessageHeader*>(&h), sizeof(h)};
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    msg.msg_control = control.data();
    msg.msg_controllen = control.size();
    cmsghdr* c = CMSG_FIRSTHDR(&msg);
    c->cmsg_level = SOL_SOCKET;
    c->cmsg_type = SCM_RIGHTS;
    c->cmsg_len = CMSG_LEN(sizeof(int) * carried.size());
    std::memcpy(CMSG_DATA(c), carried.data(), sizeof(int) * carried.size());
    return sendmsg(fd, &msg, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof(h));
}

// Up to count connections, while the other side keeps accepting (a full
// backlog is retried for up to a second).
void connectMany(const std::string& path, int count) {
    auto lastProgress = std::chrono::steady_clock::now();
    while (static_cast<int>(gConnections.size()) < count &&
           std::chrono::steady_clock::now() - lastProgress < std::chrono::seconds(1)) {
        int fd = connectTo(path, true);
        if (fd < 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            continue;
        }
        gConnections.push_back(fd);
        lastProgress = std::chrono::steady_clock::now();
    }
}

int openConnections() {
    int open = 0;
    for (int fd : gConnections) {
        pollfd p{fd, POLLRDHUP, 0};
        if (poll(&p, 1, 0) == 0 || (p.revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0) ++open;
    }
    return open;
}

// Empty two-way calls, written until the other side stops reading.
void pipeline(const std::string& path, int count) {
    connectMany(path, count);
    long sent = 0;
    for (int round = 0; round < 5; ++round) {
        for (int fd : gConnections) {
            for (int i = 0; i < 100000; ++i) {
                MessageHeader h = header(kTransact);
                if (send(fd, &h, sizeof(h), MSG_NOSIGNAL) != sizeof(h)) break;
                ++sent;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    say("ready " + std::to_string(gConnections.size()) + " " + std::to_string(sent));
}

// Descriptors the messages do not declare.
void fds(const std::string& path, int messages, int perMessage) {
    int fd = connectKept(path);
    const std::vector<int> carried(static_cast<size_t>(perMessage),
                                   open("/dev/null", O_RDONLY | O_CLOEXEC));
    int sent = 0;
    while (fd >= 0 && sent < messages && sendFds(fd, header(kRelease), carried)) ++sent;
    say("ready " + std::to_string(sent));
}

// N connections, each sending only a header announcing BYTES when that is given.
void hold(const std::string& path, int count, uint32_t bytes) {
    connectMany(path, count);
    for (int fd : gConnections) {
        MessageHeader h = header(kTransact, bytes);
        if (bytes > 0) (void)send(fd, &h, sizeof(h), MSG_NOSIGNAL);
    }
    say("ready " + std::to_string(gConnections.size()));
}

void dribble(const std::string& path, uint32_t bytes) {
    int fd = connectKept(path);
    if (fd < 0) return say("ready 0");
    MessageHeader h = header(kTransact, bytes);
    sendAll(fd, &h, sizeof(h));
    std::thread([fd, bytes] {
        const char byte = 0;
        for (uint32_t i = 1; i < bytes && send(fd, &byte, 1, MSG_NOSIGNAL) == 1; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }).detach();
    say("ready 1");
}

// A memfd of size bytes, sealed as a bulk region must be or not.
int bulkFd(size_t size, bool sealed) {
    int fd = memfd_create("attacker-bulk", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0 || ftruncate(fd, static_cast<off_t>(size)) != 0) return fd;
    if (sealed) fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
    return fd;
}

// A fast-path client speaking the mailbox by hand: the library's connection
// only reads.
struct FastClient {
    int fd = -1;
    std::unique_ptr<Connection> conn;
    MailSlot* out = nullptr;
    uint64_t number = 0;
    uint32_t generation = 0;

    bool open(const std::string& path) {
        fd = connectTo(path, false);
        UniqueFd memfd;
        std::unique_ptr<SharedRegion> region = SharedRegion::create(&memfd);
        if (fd < 0 || region == nullptr) return false;
        out = &region->out(true);
        conn = std::make_unique<Connection>(UniqueFd(fd), 0, 0);
        MessageHeader h = header(kShmOffer);
        h.fdCount = 1;
        const bool sent = sendFds(fd, h, {memfd.get()});
        Message answer;
        if (!sent || conn->waitMessage(&answer, Clock::now() + std::chrono::seconds(2)) != 0 ||
            answer.header.kind != kReply || answer.header.status != 0) {
            return false;
        }
        return conn->attachShared(std::move(region), true);
    }
    void post(uint32_t kind, uint32_t length) {
        out->kind = kind;
        out->length = length;
        out->generation = generation;
        out->mseq = number++;
        out->seq.fetch_add(1);
        MessageHeader bell = header(kDoorbell);
        bell.code = 0;
        sendAll(fd, &bell, sizeof(bell));
    }
    bool offer(int memfd) {
        MessageHeader h = header(kBulkOffer);
        h.seq = 0;
        h.code = ++generation;
        h.fdCount = 1;
        const bool sent = sendFds(fd, h, {memfd});
        close(memfd);
        return sent;
    }
    // A call of payload bytes over the socket; true when answered.
    bool call(uint32_t payload) {
        std::vector<uint8_t> message(sizeof(MessageHeader) + payload);
        MessageHeader h = header(kTransact, payload);
        std::memcpy(message.data(), &h, sizeof(h));
        if (!sendAll(fd, message.data(), message.size())) return false;
        out->kind = kOnSocket;
        out->length = 0;
        out->mseq = number++;
        out->seq.fetch_add(1);
        return answered();
    }
    bool answered() {
        Message reply;
        return conn->waitMessage(&reply, Clock::now() + std::chrono::seconds(2)) == 0 &&
               reply.header.kind == kReply;
    }
    // Whether the other side closed the connection within two seconds.
    bool dropped() {
        pollfd p{fd, POLLRDHUP, 0};
        return poll(&p, 1, 2000) == 1;
    }
};

FastClient gFast;

void bulk(const std::string& path, const std::string& attack) {
    FastClient& c = gFast;
    if (!c.open(path)) return say("ready no fast path");
    if (attack == "offers") {
        int answered = 0;
        // Unsealed, not a power of two, over the budget the test sets.
        for (int fd :
             {bulkFd(64 * 1024, false), bulkFd(100 * 1000, true), bulkFd(kMaxBulkBytes, true)}) {
            c.offer(fd);
            answered += c.call(200 * 1024);
        }
        const uint32_t declined = c.out->bulkTaken.load();
        // Valid ones, every one filled so that each costs whoever keeps it.
        for (int i = 0; i < 40; ++i) {
            int fd = bulkFd(1024 * 1024, true);
            void* p = mmap(nullptr, 1024 * 1024, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            if (p != MAP_FAILED) {
                std::memset(p, 1, 1024 * 1024);
                munmap(p, 1024 * 1024);
            }
            c.offer(fd);
        }
        answered += c.call(200 * 1024);
        return say("ready " + std::to_string(declined) + " " + std::to_string(answered));
    }
    int served = 0;
    if (attack == "beyond") {
        const size_t size = kMinBulkBytes;
        int fd = bulkFd(size, true);
        auto* p = static_cast<uint8_t*>(
                mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        c.offer(fd);
        for (int i = 0; i < 200 && c.out->bulkTaken.load() != c.generation; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        // One proper message in the region, then one longer than it.
        const uint32_t payload = 20 * 1024;
        MessageHeader h = header(kTransact, payload);
        if (p != MAP_FAILED) {
            std::memset(p, 0, size);
            std::memcpy(p, &h, sizeof(h));
        }
        c.post(kInBulk, sizeof(h) + payload);
        served += c.answered();
        c.post(kInBulk, static_cast<uint32_t>(2 * size));
    } else {
        c.generation = 1;  // never offered
        c.post(kInBulk, 32 * 1024);
    }
    say("ready " + std::to_string(served) + " " + (c.dropped() ? "1" : "0"));
}

// One call whose table names count distinct nodes of this process; answers
// how long until the message was answered or the connection closed.
void refs(const std::string& path, uint32_t count) {
    int fd = connectKept(path);
    std::vector<BinderRef> table(count);
    for (uint32_t i = 0; i < count; ++i) table[i] = {kSenderNode, 0, 0x1000 + i};
    MessageHeader h = header(kTransact, count * sizeof(BinderRef), count);
    const auto start = std::chrono::steady_clock::now();
    const bool sent = fd >= 0 && sendAll(fd, &h, sizeof(h)) &&
                      sendAll(fd, table.data(), table.size() * sizeof(BinderRef));
    pollfd p{fd, POLLIN, 0};
    // A send cut short by the receiver closing counts as an answer too.
    const int answered = sent ? poll(&p, 1, 10000) : (fd >= 0 ? 1 : 0);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::steady_clock::now() - start)
                            .count();
    say("ready " + std::string(answered > 0 ? "answered " : "unanswered ") + std::to_string(ms));
}

// Takes `delay` over each notification.
struct Listener : ::android::hidl::manager::V1_0::IServiceNotification {
    explicit Listener(std::chrono::milliseconds takes = {}) : delay(takes) {}
    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        std::this_thread::sleep_for(delay);
        return Void();
    }
    const std::chrono::milliseconds delay;
};

// Registered for every registration, then the socket the daemon will call it
// on is swapped for one whose backlog is full and that never accepts.
void stuckListener() {
    hw::ProcessState::self()->startThreadPool();
    static sp<Listener> listener = new Listener();
    auto sm = hw::defaultServiceManager();
    bool ok = sm != nullptr && sm->registerForNotifications(zuv_test::kTestDescriptor, "", listener)
                                       .withDefault(false);
    const std::string path =
            hw::host::runtimeDirectory() + "/p" + std::to_string(getpid()) + ".sock";
    unlink(path.c_str());
    const sockaddr_un addr = unixAddress(path);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ok = ok && bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr)) == 0 &&
         listen(fd, 0) == 0;
    int filled = 0;
    for (int c; filled < 8 && (c = connectTo(path, true)) >= 0; ++filled) gConnections.push_back(c);
    say(std::string("ready ") + (ok ? "1 " : "0 ") + std::to_string(filled));
}

// Counts oneway calls of kCountCode, each carrying (sender, sequence).
class SinkStub : public BnHwBase {
  public:
    using BnHwBase::BnHwBase;
    ::android::status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                                   TransactCallback cb) override {
        if (code == kPauseCode) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            return ::android::OK;
        }
        if (code != kCountCode) return BnHwBase::onTransact(code, data, reply, flags, cb);
        uint32_t sender = 0, seq = 0;
        if (data.readUint32(&sender) != ::android::OK || data.readUint32(&seq) != ::android::OK) {
            return ::android::BAD_VALUE;
        }
        std::lock_guard<std::mutex> lock(sLock);
        ++sTotal;
        if (seq != sNext[sender]) ++sDisordered;
        sNext[sender] = seq + 1;
        return ::android::OK;
    }
    static void report() {
        std::lock_guard<std::mutex> lock(sLock);
        say("count " + std::to_string(sTotal) + " " + std::to_string(sDisordered));
    }

  private:
    static inline std::mutex sLock;
    static inline std::map<uint32_t, uint32_t> sNext;
    static inline long sTotal = 0;
    static inline long sDisordered = 0;
};

void sink(const std::string& name) {
    hw::details::getBnConstructorMap().set(kSinkDescriptor, [](void* iface) -> sp<hw::IBinder> {
        return new SinkStub(static_cast<IBase*>(iface));
    });
    hw::configureRpcThreadpool(4, false);
    hw::ProcessState::self()->startThreadPool();
    static sp<IBase> service = new zuv_test::ChainedService(kSinkDescriptor);
    say("ready " + std::to_string(hw::details::registerAsServiceInternal(service, name)));
}

constexpr const char* kFloodDescriptor = "vendor.zuv.test@1.0::IFlood";

using zuv_test::kTestDescriptor;
using zuv_test::publishable;

std::string padded(const std::string& head, size_t length) {
    return head + std::string(length > head.size() ? length - head.size() : 0, 'x');
}

// Each call's outcome, counted until the first refusal, whose reason is told.
template <typename Call>
void flooding(const char* what, size_t count, Call call) {
    size_t accepted = 0;
    std::string refusal = "none";
    for (size_t i = 0; i < count; ++i) {
        Return<bool> ret = call(i);
        if (ret.isOk() && static_cast<bool>(ret)) {
            ++accepted;
        } else if (refusal == "none") {
            refusal = ret.isOk() ? "false" : ret.description();
        }
    }
    say(std::string(what) + " " + std::to_string(accepted) + " " + refusal);
}

void flood(size_t names, size_t listens, size_t length) {
    publishable(kFloodDescriptor);
    hw::ProcessState::self()->startThreadPool();
    auto sm = hw::defaultServiceManager();
    if (sm == nullptr) return say("ready no daemon");
    static sp<IBase> object = new zuv_test::ChainedService(kFloodDescriptor);
    flooding("names", names,
             [&](size_t i) { return sm->add(padded(std::to_string(i), length), object); });
    static sp<Listener> listener = new Listener();
    flooding("listeners", listens, [&](size_t i) {
        return sm->registerForNotifications(
                padded("vendor.zuv.flood" + std::to_string(i) + "@1.0::I", length), "", listener);
    });
    say("ready");
}

void slowListener(size_t registrations, size_t adds) {
    publishable(kTestDescriptor);
    hw::ProcessState::self()->startThreadPool();
    auto sm = hw::defaultServiceManager();
    if (sm == nullptr) return say("ready no daemon");
    static sp<Listener> listener = new Listener(std::chrono::milliseconds(500));
    size_t registered = 0, added = 0;
    for (size_t i = 0; i < registrations; ++i) {
        registered +=
                sm->registerForNotifications(kTestDescriptor, "", listener).withDefault(false);
    }
    static std::vector<sp<IBase>> objects;
    long slowest = 0;
    for (size_t i = 0; i < adds; ++i) {
        objects.push_back(new zuv_test::ChainedService(kTestDescriptor));
        const auto start = std::chrono::steady_clock::now();
        added += sm->add("slow" + std::to_string(i), objects.back()).withDefault(false);
        slowest = std::max<long>(slowest, std::chrono::duration_cast<std::chrono::milliseconds>(
                                                  std::chrono::steady_clock::now() - start)
                                                  .count());
    }
    say("ready " + std::to_string(registered) + " " + std::to_string(added) + " " +
        std::to_string(slowest));
}

[[noreturn]] void sendOneway(const std::string& name, uint32_t id, uint32_t count) {
    sp<IBase> base = hw::details::getRawServiceInternal(kSinkDescriptor, name, true, false);
    sp<hw::IBinder> binder = base != nullptr ? hw::getOrCreateCachedBinder(base.get()) : nullptr;
    uint32_t sent = 0;
    for (; binder != nullptr && sent < count; ++sent) {
        Parcel data;
        data.writeUint32(id);
        data.writeUint32(sent);
        if (binder->transact(kCountCode, data, nullptr, hw::IBinder::FLAG_ONEWAY) !=
            ::android::OK) {
            break;
        }
    }
    say("sent " + std::to_string(sent));
    _exit(0);  // at once: nothing may wait for the calls to be read
}

sp<IBase> gPooled;
int gPoolThreads = 0;

void pool(const std::string& name, int threads) {
    hw::ProcessState::self()->startThreadPool();
    gPooled = hw::details::getRawServiceInternal(kSinkDescriptor, name, true, false);
    gPoolThreads = threads;
    say(std::string("ready ") + (gPooled != nullptr ? "1" : "0"));
}

void widen() {
    sp<hw::IBinder> binder =
            gPooled != nullptr ? hw::getOrCreateCachedBinder(gPooled.get()) : nullptr;
    std::atomic<int> failed{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < gPoolThreads; ++i) {
        callers.emplace_back([&] {
            Parcel data, reply;
            if (binder == nullptr || binder->transact(kPauseCode, data, &reply) != ::android::OK) {
                ++failed;
            }
        });
    }
    for (auto& t : callers) t.join();
    say("widened " + std::to_string(failed));
}

void pooledCalls(long ms) {
    std::atomic<long> total{0}, failed{0};
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    std::vector<std::thread> callers;
    for (int i = 0; i < gPoolThreads; ++i) {
        callers.emplace_back([&] {
            do {
                ++total;
                if (gPooled == nullptr || !gPooled->ping().isOk()) ++failed;
            } while (std::chrono::steady_clock::now() < end);
        });
    }
    for (auto& t : callers) t.join();
    say("calls " + std::to_string(total) + " " + std::to_string(failed));
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    auto num = [&](size_t i) { return i < args.size() ? std::stoul(args[i]) : 0UL; };
    const std::string mode = args.empty() ? "" : args[0];
    const std::string target = args.size() > 1 ? args[1] : "";
    raiseFdLimit();
    if (mode == "pipeline") {
        pipeline(target, static_cast<int>(num(2)));
    } else if (mode == "fds") {
        fds(target, static_cast<int>(num(2)), static_cast<int>(num(3)));
    } else if (mode == "hold") {
        hold(target, static_cast<int>(num(2)), static_cast<uint32_t>(num(3)));
    } else if (mode == "dribble") {
        dribble(target, static_cast<uint32_t>(num(2)));
    } else if (mode == "bulk") {
        bulk(target, args.size() > 2 ? args[2] : "");
    } else if (mode == "refs") {
        refs(target, static_cast<uint32_t>(num(2)));
    } else if (mode == "stuck-listener") {
        stuckListener();
    } else if (mode == "sink") {
        sink(target);
    } else if (mode == "flood") {
        flood(num(1), num(2), num(3));
    } else if (mode == "slow-listener") {
        slowListener(num(1), num(2));
    } else if (mode == "pool") {
        pool(target, static_cast<int>(num(2)));
    } else if (mode == "send") {
        sendOneway(target, static_cast<uint32_t>(num(2)), static_cast<uint32_t>(num(3)));
    } else {
        std::fprintf(stderr, "zuv_attacker: unknown mode \"%s\"\n", mode.c_str());
        return 2;
    }
    std::string line;
    while (std::getline(std::cin, line)) {
        if (line == "open") say("open " + std::to_string(openConnections()));
        if (line == "count") SinkStub::report();
        if (line.rfind("calls ", 0) == 0) pooledCalls(std::stol(line.substr(6)));
        if (line == "widen") widen();
        if (line == "release") {
            for (int fd : gConnections) close(fd);
            gConnections.clear();
            say("released");
        }
    }
    _exit(0);
}
