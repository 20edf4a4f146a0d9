#include "trace/TraceRecorder.h"

#include <fcntl.h>
#include <hidl/Status.h>
#include <hidl_host/CallOutcome.h>
#include <hidl_host/Instrumentation.h>
#include <hidl_host/Log.h>
#include <hidl_host/Settings.h>
#include <hidl_host/TraceExport.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace android {
namespace hardware {

namespace {

using details::InstrumentationEvent;

// Event kinds beyond the instrumentation events.
constexpr uint8_t kSectionBegin = 0xfe;
constexpr uint8_t kSectionEnd = 0xff;
// How the client call the thread is making ended, and the status the stub
// serving a call on the thread answered with; a failed one, which reports no
// exit, ends its slice.
constexpr uint8_t kCallOutcome = 0xfd;
constexpr uint8_t kServedOutcome = 0xfb;
// A peer process died (an instant event; `exception` holds its pid).
constexpr uint8_t kPeerDied = 0xfc;

// What one call site names; interned once, never freed, so events hold a
// pointer only.
struct Names {
    std::string package;
    std::string version;
    std::string interface;
    std::string method;  // the section name for sections
};

struct Event {
    uint64_t ns;
    int32_t tid;
    uint8_t kind;
    const Names* names;     // null for a section end, an outcome or a death
    int32_t exception = 0;  // of an outcome
    int32_t error = 0;
};

uint64_t nowNs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint64_t>(ts.tv_sec) * 1000000000u + static_cast<uint64_t>(ts.tv_nsec);
}

size_t capacityFromEnvironment() {
    return static_cast<size_t>(host::settingInteger(
            host::kTraceMaxEventsEnvVar, static_cast<int64_t>(host::kDefaultTraceMaxEvents), 1,
            INT64_C(1) << 32));
}

std::string readComm(const std::string& path) {
    std::ifstream in(path);
    std::string name;
    std::getline(in, name);
    return name;
}

class Recorder {
  public:
    Recorder() : mCapacity(capacityFromEnvironment()) {
        pthread_atfork([] { instance().lockAll(); }, [] { instance().unlockAll(); },
                       [] { instance().forkedChild(); });
    }

    static Recorder& instance() {
        // Never destroyed: threads may still record while the process exits.
        static Recorder* const recorder = new Recorder();
        return *recorder;
    }

    std::atomic<bool> recording{false};
    std::atomic<bool> installed{false};
    // Bumped in a forked child, where every cached thread id is stale.
    std::atomic<uint32_t> generation{1};

    void record(uint8_t kind, const Names* names, int32_t exception = 0, int32_t error = 0) {
        const uint64_t ns = nowNs();
        const int32_t tid = currentTid();
        std::lock_guard<std::mutex> lock(mLock);
        if (mEvents.size() < mCapacity) {
            mEvents.push_back({ns, tid, kind, names, exception, error});
        } else {
            mEvents[mHead] = {ns, tid, kind, names, exception, error};
            mHead = (mHead + 1) % mCapacity;
            ++mDropped;
        }
    }

    const Names* intern(const char* package, const char* version, const char* interface,
                        const char* method);

    void resize(size_t capacity) {
        std::lock_guard<std::mutex> lock(mLock);
        mCapacity = capacity;
        clearLocked();
        mEvents.shrink_to_fit();
    }

    void clear() {
        std::lock_guard<std::mutex> lock(mLock);
        clearLocked();
    }

    host::TraceStats stats() {
        std::lock_guard<std::mutex> lock(mLock);
        return {mEvents.size(), mDropped, mCapacity};
    }

    std::string json();

  private:
    struct ThreadCache {
        uint32_t generation = 0;
        int32_t tid = 0;
    };

    int32_t currentTid() {
        thread_local ThreadCache cache;
        const uint32_t gen = generation.load(std::memory_order_relaxed);
        if (cache.generation != gen) {
            cache.generation = gen;
            cache.tid = static_cast<int32_t>(syscall(SYS_gettid));
            // Named at the first event: threads name themselves early.
            std::string name = readComm("/proc/self/task/" + std::to_string(cache.tid) + "/comm");
            std::lock_guard<std::mutex> lock(mLock);
            mThreadNames[cache.tid] = name;
        }
        return cache.tid;
    }

    void clearLocked() {
        mEvents.clear();
        mHead = 0;
        mDropped = 0;
    }

    void lockAll() {
        mInternLock.lock();
        mLock.lock();
    }
    void unlockAll() {
        mLock.unlock();
        mInternLock.unlock();
    }
    // The parent's events and threads are not the child's.
    void forkedChild() {
        unlockAll();
        clearLocked();
        mThreadNames.clear();
        generation.fetch_add(1);
    }

    std::mutex mLock;
    size_t mCapacity;
    std::vector<Event> mEvents;  // a ring once full; mHead is the oldest then
    size_t mHead = 0;
    size_t mDropped = 0;
    std::map<int32_t, std::string> mThreadNames;

    std::mutex mInternLock;
    std::unordered_map<std::string, std::unique_ptr<Names>> mInterned;
};

struct CacheKey {
    std::array<const char*, 4> p;
    bool operator==(const CacheKey& o) const { return p == o.p; }
};
struct CacheKeyHash {
    size_t operator()(const CacheKey& k) const {
        size_t h = 0;
        for (const char* s : k.p) h = h * 31 + std::hash<const void*>()(s);
        return h;
    }
};

const Names* Recorder::intern(const char* package, const char* version, const char* interface,
                              const char* method) {
    auto safe = [](const char* s) { return s != nullptr ? s : ""; };
    package = safe(package);
    version = safe(version);
    interface = safe(interface);
    method = safe(method);
    // Call sites pass the same literals each time, so a per-thread cache by
    // address skips the shared table; the contents are compared because an
    // address may be reused for another string (section names are built
    // in temporaries).
    thread_local std::unordered_map<CacheKey, const Names*, CacheKeyHash> cache;
    const CacheKey key{{package, version, interface, method}};
    auto it = cache.find(key);
    if (it != cache.end()) {
        const Names* n = it->second;
        if (n->package == package && n->version == version && n->interface == interface &&
            n->method == method) {
            return n;
        }
    }
    std::string full;
    for (const char* s : key.p) full.append(s).push_back('\0');
    const Names* found;
    {
        std::lock_guard<std::mutex> lock(mInternLock);
        auto& slot = mInterned[full];
        if (slot == nullptr) slot.reset(new Names{package, version, interface, method});
        found = slot.get();
    }
    // Bounded: a thread meets few distinct names besides section names.
    if (cache.size() > 4096) cache.clear();
    cache[key] = found;
    return found;
}

// JSON string contents: quotes, backslashes and control characters escaped;
// bytes that are not valid UTF-8 become U+FFFD so that any parser takes it.
void appendEscaped(std::string* out, const std::string& s) {
    const auto* b = reinterpret_cast<const unsigned char*>(s.data());
    const size_t n = s.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = b[i];
        if (c == '"' || c == '\\') {
            out->push_back('\\');
            out->push_back(static_cast<char>(c));
            ++i;
        } else if (c < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof(buf), "\\u%04x", c);
            out->append(buf);
            ++i;
        } else if (c < 0x80) {
            out->push_back(static_cast<char>(c));
            ++i;
        } else {
            size_t len = 0;
            uint32_t cp = 0;
            if ((c & 0xe0) == 0xc0) {
                len = 2;
                cp = c & 0x1f;
            } else if ((c & 0xf0) == 0xe0) {
                len = 3;
                cp = c & 0x0f;
            } else if ((c & 0xf8) == 0xf0) {
                len = 4;
                cp = c & 0x07;
            }
            bool valid = len != 0 && i + len <= n;
            for (size_t k = 1; valid && k < len; ++k) {
                if ((b[i + k] & 0xc0) != 0x80) valid = false;
                cp = (cp << 6) | (b[i + k] & 0x3f);
            }
            // Overlong forms, surrogates and values past U+10FFFF are invalid too.
            static constexpr uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
            if (valid && (cp < kMin[len] || cp > 0x10ffff || (cp >= 0xd800 && cp <= 0xdfff))) {
                valid = false;
            }
            if (valid) {
                out->append(s, i, len);
                i += len;
            } else {
                out->append("\\ufffd");
                ++i;
            }
        }
    }
}

const char* sideOf(uint8_t kind) {
    switch (kind) {
        case InstrumentationEvent::SERVER_API_ENTRY:
        case InstrumentationEvent::SERVER_API_EXIT:
            return "server";
        case InstrumentationEvent::CLIENT_API_ENTRY:
        case InstrumentationEvent::CLIENT_API_EXIT:
            return "client";
        case InstrumentationEvent::SYNC_CALLBACK_ENTRY:
        case InstrumentationEvent::SYNC_CALLBACK_EXIT:
            return "sync callback";
        case InstrumentationEvent::ASYNC_CALLBACK_ENTRY:
        case InstrumentationEvent::ASYNC_CALLBACK_EXIT:
            return "async callback";
        case InstrumentationEvent::PASSTHROUGH_ENTRY:
        case InstrumentationEvent::PASSTHROUGH_EXIT:
            return "passthrough";
        default:
            return "unknown";
    }
}

bool isSection(uint8_t kind) {
    return kind == kSectionBegin || kind == kSectionEnd;
}

std::string outcomeText(const Event& e) {
    if (e.exception == Status::EX_NONE) return "OK";
    if (e.exception == Status::EX_TRANSACTION_FAILED) return statusToString(e.error);
    return Status::exceptionToString(e.exception);
}
// Instrumentation entries are the even events, exits the odd ones.
bool isBegin(uint8_t kind) {
    return isSection(kind) ? kind == kSectionBegin : (kind % 2) == 0;
}

std::string sliceName(const Event& e) {
    if (isSection(e.kind)) return e.names->method;
    return e.names->interface + "::" + e.names->method + " (" + sideOf(e.kind) + ")";
}

std::string Recorder::json() {
    std::vector<Event> events;
    std::map<int32_t, std::string> threads;
    size_t dropped;
    {
        std::lock_guard<std::mutex> lock(mLock);
        events.reserve(mEvents.size());
        events.insert(events.end(), mEvents.begin() + mHead, mEvents.end());
        events.insert(events.end(), mEvents.begin(), mEvents.begin() + mHead);
        threads = mThreadNames;
        dropped = mDropped;
    }
    const int pid = getpid();

    // Pairs each end with its begin. Calls nest per thread, except a
    // passthrough oneway call that ends on the queue's thread: such a pair
    // becomes an async slice. Sections go to an async track per thread,
    // since their markers interleave with the call events rather than nest.
    // Ends whose begin is not in the buffer (overwritten, or recorded before
    // the trace started) are left out.
    enum class Role : uint8_t { kBegin, kEnd, kAsyncBegin, kAsyncEnd, kSkip };
    std::vector<Role> role(events.size(), Role::kSkip);
    std::vector<size_t> partner(events.size(), 0);
    std::map<int32_t, std::vector<size_t>> calls, sections;
    size_t unmatched = 0;
    auto samePair = [&](size_t b, size_t e) {
        return events[b].names == events[e].names && events[b].kind + 1 == events[e].kind;
    };
    // The outcome event that goes with an end (or is the end itself).
    std::vector<size_t> outcome(events.size(), SIZE_MAX);
    std::map<int32_t, size_t> lastEnd;
    for (size_t i = 0; i < events.size(); ++i) {
        const Event& e = events[i];
        if (e.kind == kPeerDied) continue;
        if (e.kind == kCallOutcome || e.kind == kServedOutcome) {
            auto& own = calls[e.tid];
            const uint8_t entry = e.kind == kCallOutcome ? InstrumentationEvent::CLIENT_API_ENTRY
                                                         : InstrumentationEvent::SERVER_API_ENTRY;
            if (e.exception != Status::EX_NONE && !own.empty() &&
                events[own.back()].kind == entry) {
                partner[i] = own.back();
                own.pop_back();
                role[i] = Role::kEnd;
                outcome[i] = i;
            } else if (auto end = lastEnd.find(e.tid); end != lastEnd.end()) {
                outcome[end->second] = i;
                lastEnd.erase(end);
            }
            continue;
        }
        auto& stacks = isSection(e.kind) ? sections : calls;
        auto& own = stacks[e.tid];
        if (isBegin(e.kind)) {
            own.push_back(i);
            role[i] = isSection(e.kind) ? Role::kAsyncBegin : Role::kBegin;
            continue;
        }
        if (isSection(e.kind)) {
            if (own.empty()) {
                ++unmatched;
            } else {
                partner[i] = own.back();
                own.pop_back();
                role[i] = Role::kAsyncEnd;
            }
            continue;
        }
        if (!own.empty() && samePair(own.back(), i)) {
            partner[i] = own.back();
            own.pop_back();
            role[i] = Role::kEnd;
            lastEnd[e.tid] = i;
            continue;
        }
        // Begun on another thread: the most recent open begin of the pair.
        bool found = false;
        for (auto& [tid, stack] : calls) {
            if (tid == e.tid) continue;
            for (size_t k = stack.size(); k-- > 0 && !found;) {
                if (samePair(stack[k], i)) {
                    partner[i] = stack[k];
                    role[stack[k]] = Role::kAsyncBegin;
                    role[i] = Role::kAsyncEnd;
                    stack.erase(stack.begin() + static_cast<std::ptrdiff_t>(k));
                    found = true;
                }
            }
            if (found) break;
        }
        if (!found) {
            ++unmatched;
            lastEnd.erase(e.tid);  // an outcome that follows is not the previous call's
        }
    }

    std::string out;
    out.reserve(events.size() * 160 + 1024);
    out.append("{\"traceEvents\":[\n");
    bool first = true;
    auto open = [&] {
        if (!first) out.append(",\n");
        first = false;
    };
    auto metadata = [&](const char* what, int32_t tid, const std::string& name) {
        open();
        out.append("{\"name\":\"").append(what).append("\",\"ph\":\"M\",\"pid\":");
        out.append(std::to_string(pid)).append(",\"tid\":").append(std::to_string(tid));
        out.append(",\"args\":{\"name\":\"");
        appendEscaped(&out, name);
        out.append("\"}}");
    };
    metadata("process_name", pid, host::programName());
    for (const auto& [tid, name] : threads) metadata("thread_name", tid, name);

    char ts[48];
    for (size_t i = 0; i < events.size(); ++i) {
        const Event& e = events[i];
        if (e.kind == kPeerDied) {
            open();
            std::snprintf(ts, sizeof(ts), "%" PRIu64 ".%03u", e.ns / 1000,
                          static_cast<unsigned>(e.ns % 1000));
            out.append("{\"name\":\"peer pid ").append(std::to_string(e.exception));
            out.append(" died\",\"cat\":\"hidl\",\"ph\":\"i\",\"s\":\"p\",\"ts\":").append(ts);
            out.append(",\"pid\":").append(std::to_string(pid));
            out.append(",\"tid\":").append(std::to_string(e.tid));
            out.append(",\"args\":{\"peer\":").append(std::to_string(e.exception)).append("}}");
            continue;
        }
        if (role[i] == Role::kSkip) continue;
        const Event& named =
                role[i] == Role::kEnd || role[i] == Role::kAsyncEnd ? events[partner[i]] : e;
        const bool section = isSection(e.kind);
        open();
        out.append("{\"name\":\"");
        appendEscaped(&out, sliceName(named));
        out.append("\",\"cat\":\"").append(section ? "atrace" : "hidl").append("\",\"ph\":\"");
        switch (role[i]) {
            case Role::kBegin:
                out.append("B");
                break;
            case Role::kEnd:
                out.append("E");
                break;
            case Role::kAsyncBegin:
                out.append("b");
                break;
            default:
                out.append("e");
                break;
        }
        std::snprintf(ts, sizeof(ts), "\",\"ts\":%" PRIu64 ".%03u", e.ns / 1000,
                      static_cast<unsigned>(e.ns % 1000));
        out.append(ts);
        out.append(",\"pid\":").append(std::to_string(pid));
        out.append(",\"tid\":").append(std::to_string(e.tid));
        if (role[i] == Role::kAsyncBegin || role[i] == Role::kAsyncEnd) {
            // Sections share one track per thread; a cross-thread call is a
            // track of its own, named by its begin's position.
            const size_t id = section ? static_cast<size_t>(e.tid)
                                      : (role[i] == Role::kAsyncBegin ? i : partner[i]);
            out.append(",\"id\":\"").append(section ? "t" : "c").append(std::to_string(id));
            out.append("\"");
        }
        if (!section && (role[i] == Role::kBegin || role[i] == Role::kAsyncBegin)) {
            out.append(",\"args\":{\"package\":\"");
            std::string package = named.names->package;
            if (!named.names->version.empty()) package.append("@").append(named.names->version);
            appendEscaped(&out, package);
            out.append("\"}");
        }
        if (outcome[i] != SIZE_MAX) {
            out.append(",\"args\":{\"status\":\"");
            appendEscaped(&out, outcomeText(events[outcome[i]]));
            out.append("\"}");
        }
        out.append("}");
    }
    out.append("\n],\"displayTimeUnit\":\"ns\",\"otherData\":{");
    out.append("\"droppedEvents\":\"").append(std::to_string(dropped));
    out.append("\",\"unmatchedEnds\":\"").append(std::to_string(unmatched));
    out.append("\",\"clock\":\"CLOCK_MONOTONIC\"}}\n");
    return out;
}

void recordCall(InstrumentationEvent event, const char* package, const char* version,
                const char* interface, const char* method) {
    Recorder& r = Recorder::instance();
    if (!r.recording.load(std::memory_order_relaxed)) return;
    const Names* names = r.intern(package, version, interface, method);
    r.record(static_cast<uint8_t>(event), names);
}

std::string withPid(const std::string& pattern) {
    std::string path;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern.compare(i, 2, "%p") == 0) {
            path.append(std::to_string(getpid()));
            ++i;
        } else {
            path.push_back(pattern[i]);
        }
    }
    return path;
}

void writeAtExit() {
    if (!host::traceFilePath().empty() && !host::flushTrace()) {
        host::logf(host::LogLevel::Error, "trace: cannot write %s: %s\n",
                   host::traceFilePath().c_str(), std::strerror(errno));
    }
}

// A process traced from the environment that SIGTERM or SIGINT ends still
// leaves its trace. The file cannot be written from a signal handler (it is
// built with allocations and locks), so the handler asks a thread of the
// recorder's own to write it, waits for that (at most kFlushWaitMs), then
// restores the default action and raises the signal again, so the process
// ends as it would have; the interrupted thread never resumes. The handlers
// are installed only where the action is still the default: an application's
// own handler, installed before or after, is left alone and stays in charge
// (it calls flushTrace itself). The pipes are plain ints, process-lived: a
// signal handler reads them, and an owning object would close them at exit
// while a handler may still run.
int gSignalPipe[2] = {-1, -1};   // handler -> flushing thread: the signal
int gFlushedPipe[2] = {-1, -1};  // closed once the trace is written
constexpr int kFlushedSignals[] = {SIGTERM, SIGINT};
constexpr int kFlushWaitMs = 5000;

void onTerminatingSignal(int sig) {
    const unsigned char byte = static_cast<unsigned char>(sig);
    if (write(gSignalPipe[1], &byte, 1) == 1) {
        pollfd flushed{gFlushedPipe[0], POLLIN, 0};
        while (poll(&flushed, 1, kFlushWaitMs) < 0 && errno == EINTR) {
        }
    }
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigemptyset(&standard.sa_mask);
    sigaction(sig, &standard, nullptr);
    raise(sig);  // blocked while this handler runs; delivered as it returns
}

bool handlerIsOurs(int sig) {
    struct sigaction current {};
    return sigaction(sig, nullptr, &current) == 0 && current.sa_handler == onTerminatingSignal;
}

void flushOnTerminatingSignals() {
    if (pipe2(gSignalPipe, O_CLOEXEC) != 0) return;
    if (pipe2(gFlushedPipe, O_CLOEXEC) != 0) return;
    // A forked child has no flushing thread: it ends on the signal as usual.
    pthread_atfork(nullptr, nullptr, [] {
        for (int sig : kFlushedSignals) {
            if (handlerIsOurs(sig)) signal(sig, SIG_DFL);
        }
    });
    // The thread blocks every signal, so an application that takes its
    // signals with sigwait still gets them.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    // Process-lived: it waits for the one signal that ends the process and is
    // never joined (the process exits with it still waiting or just done).
    std::thread([] {
        unsigned char sig = 0;
        while (read(gSignalPipe[0], &sig, 1) < 0 && errno == EINTR) {
        }
        writeAtExit();
        close(gFlushedPipe[1]);  // wakes every handler waiting
    }).detach();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    for (int sig : kFlushedSignals) {
        struct sigaction current {};
        if (sigaction(sig, nullptr, &current) != 0 || current.sa_handler != SIG_DFL) continue;
        struct sigaction action {};
        action.sa_handler = onTerminatingSignal;
        sigemptyset(&action.sa_mask);
        for (int other : kFlushedSignals) sigaddset(&action.sa_mask, other);
        sigaction(sig, &action, nullptr);
    }
}

}  // namespace

namespace tracing {

bool claimInstallFromEnvironment() {
    const char* path = std::getenv(host::kTraceFileEnvVar);
    if (path == nullptr || *path == '\0') return false;
    Recorder& r = Recorder::instance();
    if (r.installed.exchange(true)) return false;
    r.recording = true;
    std::atexit(writeAtExit);
    flushOnTerminatingSignals();
    return true;
}

details::InstrumentationCallback recorderCallback() {
    return [](const InstrumentationEvent event, const char* package, const char* version,
              const char* interface, const char* method,
              std::vector<void*>*) { recordCall(event, package, version, interface, method); };
}

void recordPeerDeath(int32_t pid) {
    Recorder& r = Recorder::instance();
    if (r.recording.load(std::memory_order_relaxed)) r.record(kPeerDied, nullptr, pid);
}

void recordCallOutcome(const Status& outcome) {
    Recorder& r = Recorder::instance();
    if (!r.recording.load(std::memory_order_relaxed)) return;
    r.record(kCallOutcome, nullptr, outcome.exceptionCode(), outcome.transactionError());
}

void recordServedOutcome(const Status& outcome) {
    Recorder& r = Recorder::instance();
    if (!r.recording.load(std::memory_order_relaxed)) return;
    r.record(kServedOutcome, nullptr, outcome.exceptionCode(), outcome.transactionError());
}

}  // namespace tracing

namespace host {

std::string programName() {
    std::ifstream in("/proc/self/cmdline");
    std::string argv0;
    std::getline(in, argv0, '\0');
    const std::string name = argv0.substr(argv0.find_last_of('/') + 1);
    return name.empty() ? readComm("/proc/self/comm") : name;
}

void startTrace(size_t maxEvents) {
    // Builds the registry first, which may install the recorder itself.
    (void)isInstrumentationEnabled();
    Recorder& r = Recorder::instance();
    if (maxEvents != 0) r.resize(maxEvents);
    if (!r.installed.exchange(true)) addInstrumentationCallback(tracing::recorderCallback());
    setInstrumentationEnabled(true);
    r.recording = true;
}

void stopTrace() {
    Recorder::instance().recording = false;
}

bool isTraceRecording() {
    return Recorder::instance().recording.load();
}

void clearTrace() {
    Recorder::instance().clear();
}

TraceStats traceStats() {
    return Recorder::instance().stats();
}

std::string traceJson() {
    return Recorder::instance().json();
}

std::string traceFilePath() {
    const char* value = std::getenv(kTraceFileEnvVar);
    return value == nullptr ? std::string() : withPid(value);
}

bool writeTrace(const std::string& pathPattern) {
    const std::string path = withPid(pathPattern);
    if (path.empty()) {
        errno = EINVAL;
        return false;
    }
    const std::string json = traceJson();
    // Written aside and renamed, so a reader never sees half a file.
    const std::string temporary = path + ".tmp" + std::to_string(getpid());
    FILE* f = std::fopen(temporary.c_str(), "we");
    if (f == nullptr) return false;
    const bool written = std::fwrite(json.data(), 1, json.size(), f) == json.size();
    const int writeErrno = errno;
    if (std::fclose(f) != 0 || !written) {
        const int err = written ? errno : writeErrno;
        unlink(temporary.c_str());
        errno = err;
        return false;
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int err = errno;
        unlink(temporary.c_str());
        errno = err;
        return false;
    }
    return true;
}

bool flushTrace() {
    const std::string path = traceFilePath();
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    return writeTrace(path);
}

void traceSectionBegin(const char* name) {
    Recorder& r = Recorder::instance();
    if (!r.recording.load(std::memory_order_relaxed)) return;
    r.record(kSectionBegin, r.intern("", "", "", name));
}

void traceSectionEnd() {
    Recorder& r = Recorder::instance();
    if (!r.recording.load(std::memory_order_relaxed)) return;
    r.record(kSectionEnd, nullptr);
}

}  // namespace host
}  // namespace hardware
}  // namespace android
