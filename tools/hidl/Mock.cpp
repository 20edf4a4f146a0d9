// zuv_hidl mock: stands in for the services a recorded client called,
// answering each call from the recording and making the recorded calls back
// into the objects the client hands over, with faults on demand.
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <queue>
#include <set>
#include <thread>

#include "Command.h"
#include "Recording.h"

namespace zuv_hidl {

namespace {

constexpr int kUsage = 2;
// The status the process leaves with when --die-after ends it.
constexpr int kDiedOnPurpose = 3;

using Clock = std::chrono::steady_clock;

struct MockOptions {
    std::string file;
    std::string instance;
    std::vector<std::string> delays, fails, hangs;
    size_t dieAfter = 0;
    bool dropCallbacks = false;
};

struct Faults {
    std::map<std::string, std::chrono::milliseconds> delay;
    std::map<std::string, std::string> fail;
    std::set<std::string> hang;
};

json argsOf(const StandInCall& call) {
    json args = call.args;
    for (const auto& [name, object] : call.objects)
        args[name] = object == nullptr ? json() : json{{"object", "seen"}};
    return comparableArgs(*call.operation, args);
}

class Mock {
  public:
    Mock(Recording rec, Faults faults, size_t dieAfter, bool dropCallbacks)
        : mRec(std::move(rec)),
          mFaults(std::move(faults)),
          mDieAfter(dieAfter),
          mDropCallbacks(dropCallbacks) {
        index();
    }

    // The served objects' references with their interface and instance.
    const std::map<std::string, const RecordedEvent*>& served() const { return mServed; }

    StandInAnswer answer(const std::string& ref, const StandInCall& call) {
        const Clock::time_point start = Clock::now();
        const std::string& name = call.operation->name;
        if (mFaults.hang.count(name) != 0) {
            // Never answers; the process still ends on SIGINT/SIGTERM.
            for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
        }
        if (auto d = mFaults.delay.find(name); d != mFaults.delay.end())
            std::this_thread::sleep_for(d->second);

        const RecordedEvent* match = take(ref, call);
        StandInAnswer answer;
        if (match == nullptr) {
            std::fprintf(stderr,
                         "zuv_hidl mock: %s(%s) is not in the recording; answered with zero "
                         "values\n",
                         name.c_str(), call.args.dump().c_str());
        } else {
            if (!mDropCallbacks) callBack(*match, start);
            if (match->status != "OK") answer.failure = match->status;
            answer.message = match->message;
            answer.result = match->result;
        }
        if (auto f = mFaults.fail.find(name); f != mFaults.fail.end()) {
            answer.failure = f->second;
            answer.message =
                    "failed on purpose (zuv_hidl mock --fail " + name + "=" + f->second + ")";
            answer.result = nullptr;
        }
        if (mDieAfter != 0 && ++mAnswered == mDieAfter) {
            answer.afterReply = [] {
                std::fprintf(stderr,
                             "zuv_hidl mock: answered the calls --die-after allows; "
                             "exiting\n");
                std::fflush(nullptr);
                _exit(kDiedOnPurpose);
            };
        }
        return answer;
    }

    // Calls back made after an answer, each at its recorded offset, one at a
    // time and in order.
    void runScheduler() {
        std::unique_lock<std::mutex> lock(mLock);
        for (;;) {
            if (mDue.empty()) {
                mDueChanged.wait(lock);
                continue;
            }
            const Pending next = mDue.top();
            if (mDueChanged.wait_until(lock, next.at) != std::cv_status::timeout) continue;
            mDue.pop();
            lock.unlock();
            makeCall(*next.event);
            lock.lock();
        }
    }

  private:
    struct Pending {
        Clock::time_point at;
        const RecordedEvent* event;
        bool operator<(const Pending& o) const {
            return at != o.at ? at > o.at : event->seq > o.event->seq;
        }
    };

    void index() {
        std::set<std::string> handed;
        for (const RecordedEvent& e : mRec.events) {
            if (!e.isCall || e.side != "client" || e.instance.empty()) continue;
            mServed.emplace(e.object, &e);
            mLinesOn[e.object].push_back(&e);
            for (const Param& p : e.operation->params) {
                const json& v = e.args[p.name];
                if (findInterface(p.type) != nullptr && !v.is_null())
                    handed.insert(v["object"].get<std::string>());
            }
        }
        // Each call back belongs to the served call it happened inside, else
        // to the last served call that started before it.
        std::map<uint64_t, const RecordedEvent*> bySeq;
        for (const auto& [ref, lines] : mLinesOn)
            for (const RecordedEvent* e : lines) bySeq[e->seq] = e;
        for (const RecordedEvent& e : mRec.events) {
            if (!e.isCall || e.side != "server" || handed.count(e.object) == 0) continue;
            if (e.inside != 0 && bySeq.count(e.inside) != 0) {
                mInside[e.inside].push_back(&e);
                continue;
            }
            const RecordedEvent* anchor = nullptr;
            for (const auto& [seq, c] : bySeq)
                if (c->timeNs <= e.timeNs && (anchor == nullptr || c->timeNs >= anchor->timeNs))
                    anchor = c;
            if (anchor != nullptr) mAfter[anchor->seq].push_back(&e);
        }
    }

    // The recorded call this one stands for: the first unused one with the
    // same operation and arguments, else the last one used again. Binds the
    // objects the call hands over to their recorded references.
    const RecordedEvent* take(const std::string& ref, const StandInCall& call) {
        const json seen = argsOf(call);
        std::lock_guard<std::mutex> lock(mLock);
        const RecordedEvent* match = nullptr;
        for (const RecordedEvent* e : mLinesOn[ref]) {
            if (e->operation != call.operation || comparableArgs(*e->operation, e->args) != seen)
                continue;
            match = e;
            if (mUsed.insert(e->seq).second) break;
        }
        if (match == nullptr) return nullptr;
        for (const Param& p : match->operation->params) {
            const json& v = match->args[p.name];
            auto given = call.objects.find(p.name);
            if (!v.is_null() && given != call.objects.end() && given->second != nullptr)
                mBound[v["object"].get<std::string>()] = given->second;
        }
        return match;
    }

    void callBack(const RecordedEvent& match, Clock::time_point start) {
        auto offset = [&](const RecordedEvent& e) {
            return start + std::chrono::nanoseconds(std::max<int64_t>(0, e.timeNs - match.timeNs));
        };
        if (auto it = mInside.find(match.seq); it != mInside.end()) {
            for (const RecordedEvent* e : it->second) {
                std::this_thread::sleep_until(offset(*e));
                makeCall(*e);
            }
        }
        if (auto it = mAfter.find(match.seq); it != mAfter.end()) {
            std::lock_guard<std::mutex> lock(mLock);
            // Never before one already due: calls that come faster than
            // recorded still see their calls back in the recorded order.
            for (const RecordedEvent* e : it->second) {
                mLastDue = std::max(mLastDue, offset(*e));
                mDue.push({mLastDue, e});
            }
            mDueChanged.notify_all();
        }
    }

    void makeCall(const RecordedEvent& e) {
        sp<IBase> target;
        std::map<std::string, sp<IBase>> objects;
        {
            std::lock_guard<std::mutex> lock(mLock);
            auto it = mBound.find(e.object);
            if (it != mBound.end()) target = it->second;
            for (const Param& p : e.operation->params) {
                const json& v = e.args[p.name];
                if (findInterface(p.type) == nullptr || v.is_null()) continue;
                auto b = mBound.find(v["object"].get<std::string>());
                if (b != mBound.end()) objects[p.name] = b->second;
            }
        }
        if (target == nullptr) {
            std::fprintf(stderr,
                         "zuv_hidl mock: %s:%zu: %s not made: the client has not handed over "
                         "%s\n",
                         mRec.path.c_str(), e.line, e.operation->name.c_str(), e.object.c_str());
            return;
        }
        CallOutcome out;
        try {
            out = invokeWith(*e.operation, target, e.args, objects);
        } catch (const ArgumentError& err) {
            out.status = err.what();
        }
        if (out.status != "OK")
            std::fprintf(stderr, "zuv_hidl mock: %s:%zu: calling %s on %s failed: %s\n",
                         mRec.path.c_str(), e.line, e.operation->name.c_str(), e.object.c_str(),
                         out.status.c_str());
    }

    const Recording mRec;
    const Faults mFaults;
    const size_t mDieAfter;
    const bool mDropCallbacks;
    std::atomic<size_t> mAnswered{0};
    // Read only after construction.
    std::map<std::string, const RecordedEvent*> mServed;
    std::map<std::string, std::vector<const RecordedEvent*>> mLinesOn;
    std::map<uint64_t, std::vector<const RecordedEvent*>> mInside, mAfter;

    std::mutex mLock;  // guards what follows
    std::set<uint64_t> mUsed;
    std::map<std::string, sp<IBase>> mBound;  // reference -> the client's object
    std::priority_queue<Pending> mDue;
    Clock::time_point mLastDue;
    std::condition_variable mDueChanged;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string operationsOf(const std::set<const InterfaceOps*>& ifaces) {
    std::string names;
    for (const InterfaceOps* i : ifaces)
        for (const Operation& op : i->operations) names += " " + op.name;
    return names;
}

// OPERATION or OPERATION=VALUE, the operation one of the served interfaces'.
std::pair<std::string, std::string> operationOption(const std::string& option,
                                                    const std::string& text, bool withValue,
                                                    const std::set<const InterfaceOps*>& ifaces) {
    const size_t eq = text.find('=');
    if (withValue && (eq == std::string::npos || eq + 1 == text.size()))
        throw UsageError(option + " " + text + ": expected OPERATION=VALUE");
    const std::string op = withValue ? text.substr(0, eq) : text;
    for (const InterfaceOps* i : ifaces)
        if (i->find(op) != nullptr) return {op, withValue ? text.substr(eq + 1) : ""};
    throw UsageError(option + " " + text + ": '" + op +
                     "' is not an operation of the services the recording's client called; "
                     "they are:" +
                     operationsOf(ifaces));
}

Faults parseFaults(const MockOptions& o, const std::set<const InterfaceOps*>& ifaces) {
    Faults f;
    for (const std::string& d : o.delays) {
        auto [op, value] = operationOption("--delay", d, true, ifaces);
        size_t used = 0;
        long ms = -1;
        try {
            ms = std::stol(value, &used);
        } catch (const std::exception&) {
        }
        if (used != value.size() || ms < 0)
            throw UsageError("--delay " + d + ": expected OPERATION=MS with MS a whole number");
        f.delay[op] = std::chrono::milliseconds(ms);
    }
    for (const std::string& s : o.fails) {
        auto [op, status] = operationOption("--fail", s, true, ifaces);
        if (!isFailureName(status)) {
            std::string names;
            for (const std::string& n : failureNames()) names += " " + n;
            throw UsageError("--fail " + s + ": unknown status '" + status +
                             "'; the statuses are:" + names);
        }
        f.fail[op] = status;
    }
    for (const std::string& h : o.hangs)
        f.hang.insert(operationOption("--hang", h, false, ifaces).first);
    return f;
}

int mock(const MockOptions& o) {
    Recording rec;
    try {
        rec = readRecording(o.file);
    } catch (const RecordingError& e) {
        std::fprintf(stderr, "zuv_hidl mock: %s\n", e.what());
        return kUsage;
    }
    std::set<const InterfaceOps*> ifaces;
    for (const RecordedEvent& e : rec.events)
        if (e.isCall && e.side == "client" && !e.instance.empty()) ifaces.insert(e.interface);
    if (ifaces.empty()) {
        std::fprintf(stderr,
                     "zuv_hidl mock: %s has no client calls to a service got by instance name; "
                     "record the client, not the service\n",
                     o.file.c_str());
        return kUsage;
    }
    Faults faults;
    try {
        faults = parseFaults(o, ifaces);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "zuv_hidl mock: %s\n", e.what());
        return kUsage;
    }

    setenv(::android::hardware::host::kServiceManagerEnvVar, "daemon", 1);
    // Blocked before any thread starts, so that only the waiter sees them.
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGINT);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);

    // Enough threads that a hung or delayed call does not hold up the rest.
    ::android::hardware::configureRpcThreadpool(8, false);
    auto mock =
            std::make_shared<Mock>(std::move(rec), std::move(faults), o.dieAfter, o.dropCallbacks);
    std::thread([mock] { mock->runScheduler(); }).detach();

    // Kept to the end: the process leaves with _exit, and releasing a
    // stand-in a hung call still holds would wait for that call.
    auto* keep = new std::vector<sp<IBase>>();
    for (const auto& [ref, e] : mock->served()) {
        const std::string instance = o.instance.empty() ? e->instance : o.instance;
        const std::string key = ref;
        sp<IBase> object = makeStandIn(*e->interface, [mock, key](const StandInCall& call) {
            return mock->answer(key, call);
        });
        const int err = registerStandIn(object, instance);
        if (err != 0) {
            std::fprintf(stderr,
                         "zuv_hidl mock: cannot register %s/%s (status %d); is a service manager "
                         "running? (`zuv_hidl list`)\n",
                         e->interface->descriptor.c_str(), instance.c_str(), err);
            return 1;
        }
        std::printf("zuv_hidl mock: serving %s/%s\n", e->interface->descriptor.c_str(),
                    instance.c_str());
        keep->push_back(object);
    }
    std::printf("ready\n");
    std::fflush(stdout);
    int signal = 0;
    while (sigwait(&stop, &signal) != 0) {
    }
    return 0;
}

}  // namespace

Command addMockCommand(CLI::App& app) {
    auto options = std::make_shared<MockOptions>();
    CLI::App* cmd = app.add_subcommand(
            "mock",
            "stand in for the services a recorded client called: answer from the recording, "
            "make its calls back, inject faults");
    cmd->add_option("FILE", options->file, "the recording (JSON Lines)")->required();
    cmd->add_option("--instance", options->instance,
                    "register as this instance instead of the one recorded");
    cmd->add_option("--delay", options->delays, "OPERATION=MS: answer MS later; repeatable");
    cmd->add_option("--fail", options->fails,
                    "OPERATION=STATUS: answer with a transport status (DEAD_OBJECT, ...) or an "
                    "exception (EX_ILLEGAL_STATE, ...); repeatable");
    cmd->add_option("--hang", options->hangs, "OPERATION: never answer; repeatable");
    cmd->add_option("--die-after", options->dieAfter,
                    "exit at once (status 3, no cleanup) after answering N calls")
            ->check(CLI::PositiveNumber);
    cmd->add_flag("--drop-callbacks", options->dropCallbacks, "make no calls back");
    cmd->footer(
            "Runs until SIGINT or SIGTERM. Exit status: 0 stopped, 1 cannot register, 2 "
            "usage or a bad recording, 3 --die-after.");
    return {cmd, [options] { return mock(*options); }};
}

}  // namespace zuv_hidl
