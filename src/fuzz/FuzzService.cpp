// fuzzService: fuzz bytes become calls through a proxy, the loopback wire and
// the implementation's own stub; what a client would notice as a fault ends
// the process with the calls that led there.
#include <fcntl.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/FuzzService.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/UniqueFd.h>
#include <hidl_host/frame/CallObserver.h>
#include <signal.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/FuzzCalls.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "Sha1.h"
#include "Values.h"
#include "android_services/AndroidServicesMethods.h"
#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"

// ASan calls this as it begins a report; the calls made so far come first.
extern "C" void __asan_on_error();

namespace zuv_fuzz_service {

using fpv::fuzz::json;
using fpv::fuzz::kMaxCalls;
using fpv::fuzz::PlannedCall;

// The zero value of an operation's result as JSON; null when it has none.
json zeroResult(const fpv::describe::InterfaceOps& iface, const fpv::describe::Operation& op);

namespace {

using namespace fpv::describe;

template <typename T>
struct IsObjectRef : std::false_type {};
template <typename I>
struct IsObjectRef<sp<I>> : std::true_type {};
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::IBase;
using Clock = std::chrono::steady_clock;

int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
            .count();
}

// Status names as a recording writes them.
std::string statusName(const Status& s, std::string* message) {
    static const std::pair<int32_t, const char*> kTransport[] = {
            {::android::DEAD_OBJECT, "DEAD_OBJECT"},
            {::android::FAILED_TRANSACTION, "FAILED_TRANSACTION"},
            {::android::TIMED_OUT, "TIMED_OUT"},
            {::android::NO_MEMORY, "NO_MEMORY"},
            {::android::INVALID_OPERATION, "INVALID_OPERATION"},
            {::android::BAD_VALUE, "BAD_VALUE"},
            {::android::BAD_TYPE, "BAD_TYPE"},
            {::android::NAME_NOT_FOUND, "NAME_NOT_FOUND"},
            {::android::PERMISSION_DENIED, "PERMISSION_DENIED"},
            {::android::NO_INIT, "NO_INIT"},
            {::android::ALREADY_EXISTS, "ALREADY_EXISTS"},
            {::android::NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
            {::android::WOULD_BLOCK, "WOULD_BLOCK"},
            {::android::UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
            {::android::FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
            {::android::UNEXPECTED_NULL, "UNEXPECTED_NULL"},
    };
    static const std::pair<int32_t, const char*> kExceptions[] = {
            {Status::EX_SECURITY, "EX_SECURITY"},
            {Status::EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
            {Status::EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
            {Status::EX_NULL_POINTER, "EX_NULL_POINTER"},
            {Status::EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
            {Status::EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
            {Status::EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
            {Status::EX_HAS_REPLY_HEADER, "EX_HAS_REPLY_HEADER"},
    };
    if (s.isOk()) return "OK";
    if (s.exceptionCode() == Status::EX_TRANSACTION_FAILED) {
        for (const auto& n : kTransport)
            if (n.first == s.transactionError()) return n.second;
        return "UNKNOWN_ERROR";
    }
    *message = s.exceptionMessage();
    for (const auto& n : kExceptions)
        if (n.first == s.exceptionCode()) return n.second;
    return "EX_TRANSACTION_FAILED";
}

std::string shellQuote(const std::string& s) {
    std::string out = "'";
    for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// ---- What a report is made of, kept ready so a signal handler only writes.

// The report's parts and the recording, appended to as calls happen (never
// rebuilt, so an input costs no more than its calls); a crash on any thread
// writes what is there.
struct Buffer {
    char data[1 << 16];
    std::atomic<size_t> size{0};
    bool full = false;  // a whole line was left out
    // Cuts what does not fit: a report too long for this is long enough.
    // Whole lines only keep a recording readable: it ends before the first
    // line that does not fit.
    void append(const std::string& s, bool whole = false) {
        const size_t at = size.load();
        if (whole && (full || s.size() > sizeof(data) - at)) {
            full = true;
            return;
        }
        const size_t n = std::min(s.size(), sizeof(data) - at);
        memcpy(data + at, s.data(), n);
        size.store(at + n);
    }
    void assign(const std::string& s) {
        full = false;
        size.store(0);
        append(s);
    }
};

struct Published {
    std::mutex lock;  // writers; the signal handler reads without it
    Buffer history;   // calls that returned, one line each
    Buffer running;   // the call in progress, or empty
    Buffer commands;  // the calls as zuv_hidl command lines
    Buffer recording;
    std::atomic<uint64_t> calls{0};
    char recordingPath[4096];  // ZUV_FUZZ_RECORDING, or empty
    char artifactPrefix[4096];
    const uint8_t* input = nullptr;  // the input being run, for its file name
    size_t inputSize = 0;
    std::atomic<bool> reported{false};
    std::atomic<bool> active{false};
};

Published& published() {
    static Published* p = new Published;  // lives as long as the process
    return *p;
}

void put(int fd, const char* s, size_t n) {
    while (n > 0) {
        const ssize_t w = ::write(fd, s, n);
        if (w <= 0) return;
        s += w;
        n -= static_cast<size_t>(w);
    }
}
void put(int fd, const char* s) {
    put(fd, s, strlen(s));
}

// Writes the report once; safe in a signal handler.
void writeReport(const char* why) {
    Published& p = published();
    if (!p.active.load() || p.reported.exchange(true)) return;
    put(2, "\n==zuv-fuzz== ");
    put(2, why);
    put(2, "\n");
    char count[64];
    snprintf(count, sizeof(count), "calls made, in order (%llu):\n",
             static_cast<unsigned long long>(p.calls.load()));
    put(2, count);
    put(2, p.history.data, p.history.size.load());
    put(2, p.running.data, p.running.size.load());
    put(2, "as zuv_hidl commands (a callback object is zuv_hidl's own, a services object null):\n");
    put(2, p.commands.data, p.commands.size.load());
    char path[4096 + 64];
    if (p.recordingPath[0] != '\0') {
        snprintf(path, sizeof(path), "%s", p.recordingPath);
    } else {
        char digest[41];
        sha1Hex(p.input, p.inputSize, digest);
        snprintf(path, sizeof(path), "%scrash-%s.jsonl", p.artifactPrefix, digest);
    }
    const ::android::hardware::host::UniqueFd fd(
            ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!fd) {
        put(2, "==zuv-fuzz== the recording could not be written to ");
        put(2, path);
        put(2, " (set ZUV_FUZZ_RECORDING to a writable file)\n");
        return;
    }
    put(fd.get(), p.recording.data, p.recording.size.load());
    put(2, "==zuv-fuzz== recording of these calls: ");
    put(2, path);
    put(2, "\n  rerun against a running service: zuv_hidl replay ");
    put(2, path);
    put(2, "\n  stand in for the service:        zuv_hidl mock ");
    put(2, path);
    put(2, "\n\n");
}

[[noreturn]] void fault(const std::string& why) {
    writeReport(why.c_str());
    std::abort();
}

struct sigaction gPrevious[32];

void onSignal(int sig, siginfo_t* info, void* context) {
    writeReport(sig == SIGABRT ? "the process aborted (the cause is printed above)"
                               : "the process crashed with a signal");
    const struct sigaction& prev = gPrevious[sig];
    if ((prev.sa_flags & SA_SIGINFO) != 0 && prev.sa_sigaction != nullptr) {
        prev.sa_sigaction(sig, info, context);
    } else if (prev.sa_handler != SIG_IGN && prev.sa_handler != SIG_DFL) {
        prev.sa_handler(sig);
    } else {
        signal(sig, SIG_DFL);
        raise(sig);
    }
}

void installSignalHandlers() {
    for (int sig : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        struct sigaction sa {};
        sa.sa_sigaction = onSignal;
        sa.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&sa.sa_mask);
        sigaction(sig, &sa, &gPrevious[sig]);
    }
}

// ---- The per-call limit.

int64_t callTimeoutMs() {
    static const int64_t kMs = [] {
        const char* v = getenv("ZUV_FUZZ_CALL_TIMEOUT_MS");
        if (v == nullptr || *v == '\0') return int64_t{1000};
        char* end = nullptr;
        const long long ms = strtoll(v, &end, 10);
        if (*end != '\0' || ms <= 0 || ms > 3600000) {
            fprintf(stderr,
                    "zuv-fuzz: ZUV_FUZZ_CALL_TIMEOUT_MS=\"%s\" is not a number of milliseconds "
                    "from 1 to 3600000; using 1000\n",
                    v);
            return int64_t{1000};
        }
        return static_cast<int64_t>(ms);
    }();
    return kMs;
}

// One thread watching the call in progress; a call still running at its
// deadline is a fault.
class Watchdog {
  public:
    Watchdog() : mThread([this] { run(); }) { mThread.detach(); }
    void arm(std::string what) {
        std::lock_guard<std::mutex> l(mLock);
        mWhat = std::move(what);
        mDeadline = Clock::now() + std::chrono::milliseconds(callTimeoutMs());
        mArmed = true;
        mChanged.notify_one();
    }
    void disarm() {
        std::lock_guard<std::mutex> l(mLock);
        mArmed = false;
    }

  private:
    void run() {
        std::unique_lock<std::mutex> l(mLock);
        for (;;) {
            if (!mArmed) {
                mChanged.wait(l);
                continue;
            }
            if (Clock::now() < mDeadline) {
                mChanged.wait_until(l, mDeadline);
                continue;
            }
            fault(mWhat + " did not return within " + std::to_string(callTimeoutMs()) +
                  " ms (ZUV_FUZZ_CALL_TIMEOUT_MS); the implementation hangs or waits on "
                  "something that never comes");
        }
    }

    std::mutex mLock;  // guards everything below
    std::condition_variable mChanged;
    bool mArmed = false;
    Clock::time_point mDeadline;
    std::string mWhat;
    std::thread mThread;
};

// ---- One input's calls.

struct OpEntry;

class Run : public ObjectSource, public std::enable_shared_from_this<Run> {
  public:
    Run() : mStart(nowNs()) {}

    // The target's proxies, per interface index; null where not implemented.
    sp<IBase> proxies[3];
    IBase* targets[3] = {nullptr, nullptr, nullptr};

    sp<fpv::IZuvExtendedFingerprintCallback> callback(Behaviour b) override {
        return fpv::IZuvExtendedFingerprintCallback::castFrom(standIn(1, b));
    }
    sp<fpv::IDaxAndroidServices> services(Behaviour b) override {
        return fpv::IDaxAndroidServices::castFrom(standIn(2, b));
    }

    // Empties what a report shows and starts this input's recording.
    void open() {
        Published& p = published();
        std::lock_guard<std::mutex> pl(p.lock);
        p.history.assign("");
        p.running.assign("");
        p.commands.assign("");
        p.calls.store(0);
        p.recording.assign(json{{"format", "zuv-hidl-recording"},
                                {"version", 1},
                                {"pid", getpid()},
                                {"program", "zuv-fuzz"},
                                {"start_ns", mStart}}
                                   .dump() +
                           "\n");
    }

    void nameTargets() {
        std::lock_guard<std::mutex> l(mLock);
        for (int i = 0; i < 3; ++i)
            if (targets[i] != nullptr) mNames[targets[i]] = newName(i);
    }

    // A client call about to be made; its seq.
    uint64_t begin(int iface, const Operation& op, const void* const* args) {
        std::lock_guard<std::mutex> l(mLock);
        const uint64_t seq = ++mSeq;
        mCurrent = seq;
        mCallStart = nowNs();
        mArgs = op.argsToJson(args, [this](IBase* o, const std::string&) {
            auto it = mNames.find(o);
            return it == mNames.end() ? json(nullptr) : json{{"object", it->second}};
        });
        const std::string ifaceName = allInterfaces()[iface].name;
        mCall = ifaceName + "::" + op.name + " " +
                mArgs.dump(-1, ' ', false, json::error_handler_t::replace);
        std::string line = "zuv_hidl ";
        const bool watch = std::any_of(op.params.begin(), op.params.end(),
                                       [](const Param& p) { return p.isCallbackObject; });
        line += watch ? "watch" : "call";
        if (iface != 0) line += " --interface " + ifaceName;
        line += " " + op.name;
        for (const Param& p : op.params) {
            if (p.isCallbackObject) continue;
            const json& v = mArgs[p.name];
            line += " " + shellQuote(v.is_object() ? std::string("null")
                                                   : v.dump(-1, ' ', false,
                                                            json::error_handler_t::replace));
        }
        Published& p = published();
        std::lock_guard<std::mutex> pl(p.lock);
        p.commands.append(line + "\n");
        if (op.shape == "oneway") mOnewaySent.push_back({iface, op.code, seq});
        mServed = false;
        p.calls.store(mSeq);
        p.running.assign("  " + std::to_string(seq) + ". " + mCall + " -> (running)\n");
        return seq;
    }

    // The client call has returned with `status` and `result` (null for none).
    void end(int iface, const Operation& op, uint64_t seq, const Status& status, const json& result,
             int resultCalls) {
        std::vector<sp<IBase>> dying;
        std::string problem;
        {
            std::lock_guard<std::mutex> l(mLock);
            std::string message;
            const std::string name = statusName(status, &message);
            std::string outcome = name;
            if (!message.empty()) outcome += " \"" + message + "\"";
            if (!result.is_null())
                outcome += " " + result.dump(-1, ' ', false, json::error_handler_t::replace);
            const std::string done =
                    "  " + std::to_string(seq) + ". " + mCall + " -> " + outcome + "\n";
            json line = {{"event", "call"},
                         {"seq", seq},
                         {"time_ns", mCallStart},
                         {"duration_ns", nowNs() - mCallStart},
                         {"pid", getpid()},
                         {"side", "client"},
                         {"interface", allInterfaces()[iface].name},
                         {"instance", "default"},
                         {"object", mNames[targets[iface]]},
                         {"operation", op.name},
                         {"args", mArgs},
                         {"status", name}};
            if (!message.empty()) line["message"] = message;
            if (status.isOk() && !op.result.type.empty() && op.shape != "oneway")
                line["result"] = json{{op.result.name.empty() ? "result" : op.result.name, result}};
            {
                Published& p = published();
                std::lock_guard<std::mutex> pl(p.lock);
                p.history.append(done);
                p.running.assign("");
                p.recording.append(line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n",
                                   true);
                p.calls.store(mSeq);
            }
            mCurrent = 0;
            if (op.shape == "callback" && resultCalls != (status.isOk() ? 1 : 0)) {
                problem = "the result callback of " + op.name + " was called " +
                          std::to_string(resultCalls) + " times for a call ending " + name +
                          "; it must be called once when the call succeeds";
            }
            // A transport error the implementation did not answer with is
            // the wire failing: the reply (or the request) did not decode.
            if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
                !(mServed && mServerStatus.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
                  mServerStatus.transactionError() == status.transactionError())) {
                problem = op.name + " failed with " + name + " on the wire, but the " +
                          (mServed ? "implementation answered " +
                                             std::string(mServerStatus.description().c_str())
                                   : std::string("implementation was never reached")) +
                          ": the reply or request does not decode";
            }
            dying.swap(mDying);
        }
        if (!problem.empty()) fault(problem);
        // A dying stand-in's process goes away once the call that passed it
        // is over, whether or not it was called.
        for (const sp<IBase>& d : dying)
            ::android::hardware::host::killLoopbackTarget(
                    ::android::hardware::getOrCreateCachedBinder(d.get()));
    }

    // The stub of the target is about to run an operation of `object`.
    bool serverBegin(IBase* object, const ::android::hardware::frame::ObservedOperation& op) {
        std::lock_guard<std::mutex> l(mLock);
        int iface = -1;
        for (int i = 0; i < 3; ++i)
            if (targets[i] == object && allInterfaces()[i].descriptor == op.descriptor) iface = i;
        if (iface < 0) return false;
        if (op.oneway) {
            const std::string name = allInterfaces()[iface].operations.at(op.code - 1).name;
            if (mOnewaySent.empty() || mOnewaySent.front().code != op.code ||
                mOnewaySent.front().iface != iface) {
                const std::string expected =
                        mOnewaySent.empty()
                                ? std::string("none was waiting")
                                : "call " + std::to_string(mOnewaySent.front().seq) + " (" +
                                          allInterfaces()[mOnewaySent.front().iface]
                                                  .operations.at(mOnewaySent.front().code - 1)
                                                  .name +
                                          ") was next";
                mPendingFault = "the oneway call " + name + " was run out of order: " + expected;
            } else {
                mOnewaySent.pop_front();
            }
        }
        return true;
    }
    void serverEnd(const Status& status) {
        std::string problem;
        {
            std::lock_guard<std::mutex> l(mLock);
            mServed = true;
            mServerStatus = status;
            problem.swap(mPendingFault);
        }
        if (!problem.empty()) fault(problem);
    }

    // The input is over: stand-ins still called later record nothing.
    void finish() {
        std::lock_guard<std::mutex> l(mLock);
        mOver = true;
    }

  private:
    struct Oneway {
        int iface;
        uint32_t code;
        uint64_t seq;
    };

    std::string newName(int iface) {
        return allInterfaces()[iface].name + "#" + std::to_string(++mObjectCounts[iface]);
    }

    sp<IBase> standIn(int iface, Behaviour b);

    StandInAnswer answerStandIn(const std::string& objectName, Behaviour b, const sp<IBase>& self,
                                const StandInCall& call);

    std::mutex mLock;  // guards everything below; stand-ins run on other threads
    const int64_t mStart;
    uint64_t mSeq = 0;
    uint64_t mCurrent = 0;  // the client call in progress, 0 for none
    int64_t mCallStart = 0;
    json mArgs;
    std::string mCall;
    std::map<IBase*, std::string> mNames;
    int mObjectCounts[3] = {0, 0, 0};
    std::deque<Oneway> mOnewaySent;
    bool mServed = false;
    Status mServerStatus;
    std::string mPendingFault;
    std::vector<sp<IBase>> mDying;
    std::vector<sp<IBase>> mStandIns;
    size_t mFailures = 0;
    bool mOver = false;
};

sp<IBase> Run::standIn(int iface, Behaviour b) {
    std::weak_ptr<Run> weak = shared_from_this();
    auto self = std::make_shared<::android::wp<IBase>>();
    std::string name;
    {
        std::lock_guard<std::mutex> l(mLock);
        name = newName(iface);
    }
    sp<IBase> object =
            makeStandIn(allInterfaces()[iface], [weak, self, name, b](const StandInCall& c) {
                std::shared_ptr<Run> run = weak.lock();
                if (run == nullptr) return StandInAnswer{};
                return run->answerStandIn(name, b, self->promote(), c);
            });
    *self = object;
    std::lock_guard<std::mutex> l(mLock);
    mNames[object.get()] = name;
    mStandIns.push_back(object);
    if (b == kDies) mDying.push_back(object);
    return object;
}

StandInAnswer Run::answerStandIn(const std::string& objectName, Behaviour b, const sp<IBase>&,
                                 const StandInCall& call) {
    StandInAnswer answer;
    if (b == kLate) {
        // Late, but well inside the call limit: lateness is not a hang.
        std::this_thread::sleep_for(
                std::chrono::milliseconds(std::min<int64_t>(20, callTimeoutMs() / 10)));
    } else if (b == kFails) {
        static const char* kFailures[] = {"EX_ILLEGAL_STATE", "DEAD_OBJECT", "FAILED_TRANSACTION",
                                          "EX_ILLEGAL_ARGUMENT"};
        std::lock_guard<std::mutex> l(mLock);
        answer.failure = kFailures[mFailures++ % 4];
        answer.message = "failed by the fuzzer's stand-in";
    }
    std::lock_guard<std::mutex> l(mLock);
    if (mOver) return answer;
    json line = {{"event", "call"},
                 {"seq", ++mSeq},
                 {"time_ns", nowNs()},
                 {"duration_ns", 0},
                 {"pid", getpid()},
                 {"side", "server"},
                 {"interface", call.interface->name},
                 {"object", objectName},
                 {"operation", call.operation->name},
                 {"args", call.args},
                 {"status", answer.failure.empty() ? "OK" : answer.failure}};
    if (!answer.message.empty()) line["message"] = answer.message;
    if (answer.failure.empty() && !call.operation->result.type.empty() &&
        call.operation->shape != "oneway") {
        line["result"] =
                json{{call.operation->result.name.empty() ? "result" : call.operation->result.name,
                      zeroResult(*call.interface, *call.operation)}};
    }
    if (mCurrent != 0) line["inside"] = mCurrent;
    Published& p = published();
    std::lock_guard<std::mutex> pl(p.lock);
    p.recording.append(line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n", true);
    p.calls.store(mSeq);
    return answer;
}

// ---- The calls, one template over every operation.

using CallFn = void (*)(Run&, int iface, const Operation&, ByteReader&);

template <typename M, size_t... I>
void callWith(Run& run, int iface, const Operation& op, ByteReader& in, std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    std::tuple<std::tuple_element_t<I, Tuple>...> values;
    ((std::get<I>(values) = Value<std::tuple_element_t<I, Tuple>>::read(in, run)), ...);
    const void* args[] = {static_cast<const void*>(&std::get<I>(values))..., nullptr};
    auto* proxy = static_cast<typename M::Interface*>(run.proxies[iface].get());
    const uint64_t seq = run.begin(iface, op, args);
    json result;
    int resultCalls = 0;
    Status status;
    if constexpr (M::kShape == ::android::hardware::frame::Shape::kCallback) {
        using R = typename ::android::hardware::frame::CallbackTraits<
                typename M::Traits::LastParam>::Result;
        Return<void> ret = (proxy->*M::kMember)(std::get<I>(values)..., [&](const R& r) {
            ++resultCalls;
            result = op.resultToJson(&r);
        });
        status = ret.isOk() ? Status::ok() : ret.getStatus();
    } else if constexpr (M::kShape == ::android::hardware::frame::Shape::kDirect) {
        using R = typename M::Traits::DirectResult;
        Return<R> ret = (proxy->*M::kMember)(std::get<I>(values)...);
        status = ret.isOk() ? Status::ok() : ret.getStatus();
        if (ret.isOk()) {
            const R value = ret;
            result = op.resultToJson(&value);
        }
    } else {
        Return<void> ret = (proxy->*M::kMember)(std::get<I>(values)...);
        status = ret.isOk() ? Status::ok() : ret.getStatus();
    }
    run.end(iface, op, seq, status, result, resultCalls);
}

template <typename M>
void call(Run& run, int iface, const Operation& op, ByteReader& in) {
    constexpr size_t kAll = M::Traits::kParamCount;
    constexpr size_t kIn =
            M::kShape == ::android::hardware::frame::Shape::kCallback ? kAll - 1 : kAll;
    callWith<M>(run, iface, op, in, std::make_index_sequence<kIn>());
}

// The input bytes of one call's arguments, from a recording's JSON.
using EncodeFn = void (*)(ByteWriter&, const json& args, const std::string& where);

template <typename M, size_t... I>
void encodeWith(ByteWriter& out, const json& args, const std::string& where,
                std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    (([&] {
         using P = std::tuple_element_t<I, Tuple>;
         const char* name = M::kParamNames[I];
         const json v = args.contains(name) ? args[name] : json(nullptr);
         if constexpr (!IsObjectRef<P>::value) {
             P value{};
             if (!v.is_null()) JsonCodec<P>::from(v, &value, where + "." + name);
             Value<P>::write(out, value);
         } else {
             Value<P>::write(out, !v.is_null());
         }
     }()),
     ...);
}

template <typename M>
void encode(ByteWriter& out, const json& args, const std::string& where) {
    constexpr size_t kAll = M::Traits::kParamCount;
    constexpr size_t kIn =
            M::kShape == ::android::hardware::frame::Shape::kCallback ? kAll - 1 : kAll;
    encodeWith<M>(out, args, where, std::make_index_sequence<kIn>());
}

template <typename M>
json zero() {
    if constexpr (M::kShape == ::android::hardware::frame::Shape::kCallback) {
        using R = typename ::android::hardware::frame::CallbackTraits<
                typename M::Traits::LastParam>::Result;
        return JsonCodec<R>::to(R{});
    } else if constexpr (M::kShape == ::android::hardware::frame::Shape::kDirect) {
        using R = typename M::Traits::DirectResult;
        return JsonCodec<R>::to(R{});
    } else {
        return nullptr;
    }
}

struct OpFns {
    CallFn call;
    EncodeFn encode;
    json (*zero)();
};

namespace efm = fpv::extended_fingerprint_methods;
namespace cbm = fpv::extended_fingerprint_callback_methods;
namespace asm_ = fpv::android_services_methods;
#define ZUV_EF(kind, code, name, names) OpFns{call<efm::name>, encode<efm::name>, zero<efm::name>},
#define ZUV_CB(kind, code, name, names) OpFns{call<cbm::name>, encode<cbm::name>, zero<cbm::name>},
#define ZUV_AS(kind, code, name, names) \
    OpFns{call<asm_::name>, encode<asm_::name>, zero<asm_::name>},
// In the order of allInterfaces(), each in code order.
const std::vector<OpFns> kFns[3] = {{ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_EF)},
                                    {ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_CB)},
                                    {ZUV_ANDROID_SERVICES_METHODS(ZUV_AS)}};
#undef ZUV_AS
#undef ZUV_CB
#undef ZUV_EF

int indexOf(const InterfaceOps& iface) {
    return static_cast<int>(&iface - allInterfaces().data());
}

}  // namespace

json zeroResult(const InterfaceOps& iface, const Operation& op) {
    return kFns[indexOf(iface)].at(op.code - 1).zero();
}

namespace {

// Tells the current run what the target's stub serves.
class ServedCalls final : public ::android::hardware::frame::CallObserver {
  public:
    std::mutex lock;  // guards run
    std::shared_ptr<Run> run;

    void* clientBegin(const ::android::hardware::frame::ObservedOperation&,
                      ::android::hardware::IInterface*, const void* const*) override {
        return nullptr;
    }
    void* serverBegin(const ::android::hardware::frame::ObservedOperation& op, IBase* object,
                      const void* const*) override {
        std::shared_ptr<Run> r = current();
        if (r == nullptr || !r->serverBegin(object, op)) return nullptr;
        return this;
    }
    void result(void*, const void*) override {}
    void end(void*, const Status& status) override {
        std::shared_ptr<Run> r = current();
        if (r != nullptr) r->serverEnd(status);
    }
    void serviceFound(const std::string&, IBase*) override {}
    void serviceRegistered(const std::string&, IBase*) override {}

    std::shared_ptr<Run> current() {
        std::lock_guard<std::mutex> l(lock);
        return run;
    }
};

struct Fuzzer {
    ServedCalls observer;
    Watchdog watchdog;

    Fuzzer() {
        Published& p = published();
        const char* rec = getenv("ZUV_FUZZ_RECORDING");
        snprintf(p.recordingPath, sizeof(p.recordingPath), "%s", rec != nullptr ? rec : "");
        // libFuzzer writes crash-<sha1> under -artifact_prefix; the
        // recording goes beside it.
        std::ifstream cmdline("/proc/self/cmdline", std::ios::binary);
        std::string arg;
        while (std::getline(cmdline, arg, '\0')) {
            const std::string flag = "-artifact_prefix=";
            if (arg.compare(0, flag.size(), flag) == 0)
                snprintf(p.artifactPrefix, sizeof(p.artifactPrefix), "%s",
                         arg.substr(flag.size()).c_str());
        }
        ::android::hardware::frame::setCallObserver(&observer);
        installSignalHandlers();
    }
};

Fuzzer& fuzzer() {
    static Fuzzer* f = new Fuzzer;  // lives as long as the process
    return *f;
}

template <typename I, typename Bn, typename Bp>
void connect(Run& run, int index, const sp<IBase>& service) {
    sp<I> typed = I::castFrom(service);
    if (typed == nullptr) return;
    run.targets[index] = typed.get();
    run.proxies[index] = new Bp(::android::hardware::host::loopbackProxyFor(new Bn(typed)));
}

}  // namespace

std::vector<uint8_t> encodeCallsToInput(const std::vector<PlannedCall>& calls) {
    ByteWriter out;
    size_t n = 0;
    for (const PlannedCall& c : calls) {
        if (n++ == kMaxCalls) break;
        const InterfaceOps* iface = findInterface(c.interface);
        if (iface == nullptr) throw ArgumentError("no interface " + c.interface);
        const Operation* op = iface->find(c.operation);
        if (op == nullptr) throw ArgumentError(c.interface + " has no operation " + c.operation);
        out.u8(static_cast<uint8_t>(indexOf(*iface)));
        out.u8(static_cast<uint8_t>(op->code - 1));
        kFns[indexOf(*iface)].at(op->code - 1).encode(out, c.args, c.operation + " args");
    }
    return out.data();
}

}  // namespace zuv_fuzz_service

namespace vendor::zuv::hardware::fingerprint::V1_0::fuzz {

std::vector<uint8_t> encodeCalls(const std::vector<PlannedCall>& calls) {
    return zuv_fuzz_service::encodeCallsToInput(calls);
}

}  // namespace vendor::zuv::hardware::fingerprint::V1_0::fuzz

extern "C" void __asan_on_error() {
    zuv_fuzz_service::writeReport("a sanitizer found a fault (its report follows)");
}

namespace android {
namespace hardware {
namespace host {

int fuzzService(const sp<::android::hidl::base::V1_0::IBase>& service, const uint8_t* data,
                size_t size) {
    using namespace zuv_fuzz_service;
    if (service == nullptr) return 0;
    Fuzzer& f = fuzzer();
    auto run = std::make_shared<Run>();
    connect<fpv::IZuvExtendedFingerprint, fpv::BnHwZuvExtendedFingerprint,
            fpv::BpHwZuvExtendedFingerprint>(*run, 0, service);
    connect<fpv::IZuvExtendedFingerprintCallback, fpv::BnHwZuvExtendedFingerprintCallback,
            fpv::BpHwZuvExtendedFingerprintCallback>(*run, 1, service);
    connect<fpv::IDaxAndroidServices, fpv::BnHwDaxAndroidServices, fpv::BpHwDaxAndroidServices>(
            *run, 2, service);
    int implemented[3];
    int count = 0;
    for (int i = 0; i < 3; ++i)
        if (run->proxies[i] != nullptr) implemented[count++] = i;
    if (count == 0) return 0;
    run->nameTargets();
    run->open();
    {
        std::lock_guard<std::mutex> l(f.observer.lock);
        f.observer.run = run;
    }
    Published& p = published();
    p.input = data;
    p.inputSize = size;
    p.reported = false;
    p.active = true;

    ByteReader in(data, size);
    for (size_t n = 0; n < kMaxCalls && !in.empty(); ++n) {
        // An interface the object does not implement stands for the first
        // one it does, so an input written for one object fits another.
        int iface = in.u8() % 3;
        if (run->proxies[iface] == nullptr) iface = implemented[0];
        const InterfaceOps& ops = fpv::describe::allInterfaces()[iface];
        const size_t which = in.u8() % ops.operations.size();
        f.watchdog.arm(ops.name + "::" + ops.operations[which].name);
        kFns[iface][which].call(*run, iface, ops.operations[which], in);
        f.watchdog.disarm();
    }
    run->finish();
    p.active = false;
    {
        std::lock_guard<std::mutex> l(f.observer.lock);
        f.observer.run = nullptr;
    }
    return 0;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
