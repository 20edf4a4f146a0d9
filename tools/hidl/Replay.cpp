// zuv_hidl replay: makes a recorded client's calls again against the live
// service, with stand-ins for the objects the client passed, and reports
// every result and every call back that differs from the recording.
#include <hidl/HidlTransportSupport.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "Command.h"
#include "Recording.h"

namespace zuv_hidl {

namespace {

constexpr int kDifferent = 1;
constexpr int kUsage = 2;
// How long calls back still owed are waited for after the recorded lag.
constexpr std::chrono::seconds kCallbackGrace{2};

using Clock = std::chrono::steady_clock;

struct ReplayOptions {
    std::string file;
    std::string instance;
    std::vector<std::string> ignore;
    double speed = 1;
    bool noWait = false;
};

struct SeenCall {
    const Operation* operation;
    json args;  // comparable
};

// What the service does to one of the stand-ins, in order. Guarded by mLock:
// the service's calls arrive on the transport's threads.
class CallbackLog {
  public:
    explicit CallbackLog(std::vector<const RecordedEvent*> expected)
        : mExpected(std::move(expected)) {}

    // Answers with the recorded answer of the call expected at this place.
    StandInAnswer take(const StandInCall& call) {
        json args = call.args;
        for (const auto& [name, object] : call.objects)
            args[name] = object == nullptr ? json() : json{{"object", "seen"}};
        std::lock_guard<std::mutex> lock(mLock);
        const size_t at = mSeen.size();
        mSeen.push_back({call.operation, comparableArgs(*call.operation, args)});
        mChanged.notify_all();
        StandInAnswer answer;
        if (at < mExpected.size() && mExpected[at]->operation == call.operation) {
            const RecordedEvent& e = *mExpected[at];
            if (e.status != "OK") answer.failure = e.status;
            answer.message = e.message;
            answer.result = e.result;
        }
        return answer;
    }

    // Waits until the calls recorded before `timeNs` have been made.
    // False when they were not.
    bool waitForCallsBefore(int64_t timeNs, Clock::time_point until) {
        size_t n = 0;
        while (n < mExpected.size() && mExpected[n]->timeNs < timeNs) ++n;
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_until(lock, until, [&] { return mSeen.size() >= n; });
    }

    std::vector<SeenCall> seen() {
        std::lock_guard<std::mutex> lock(mLock);
        return mSeen;
    }
    const std::vector<const RecordedEvent*>& expected() const { return mExpected; }

  private:
    const std::vector<const RecordedEvent*> mExpected;
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<SeenCall> mSeen;
};

class Report {
  public:
    explicit Report(std::vector<std::string> ignore) : mIgnore(std::move(ignore)) {}

    void add(const std::string& op, const std::string& where, const std::string& field,
             const json& recorded, const json& seen) {
        if (ignored(op, field)) return;
        ++mCount;
        std::printf("%s %s: %s: recorded %s, seen %s\n", op.c_str(), where.c_str(), field.c_str(),
                    recorded.dump().c_str(), seen.dump().c_str());
    }
    void compare(const std::string& op, const std::string& where, const std::string& field,
                 const json& recorded, const json& seen) {
        std::vector<Difference> found;
        differences(field, recorded, seen, &found);
        for (const Difference& d : found) add(op, where, d.field, d.recorded, d.seen);
    }
    size_t count() const { return mCount; }

  private:
    // OPERATION, or OPERATION.FIELD with FIELD a path with or without its
    // first part (result.info.text or info.text).
    bool ignored(const std::string& op, const std::string& field) const {
        const size_t dot = field.find('.');
        const std::string inner = dot == std::string::npos ? field : field.substr(dot + 1);
        for (const std::string& entry : mIgnore) {
            const size_t split = entry.find('.');
            if (entry.substr(0, split) != op) continue;
            if (split == std::string::npos) return true;
            const std::string f = entry.substr(split + 1);
            for (const std::string& candidate : {field, inner}) {
                if (candidate.compare(0, f.size(), f) != 0) continue;
                if (candidate.size() == f.size() || candidate[f.size()] == '.' ||
                    candidate[f.size()] == '[')
                    return true;
            }
        }
        return false;
    }

    std::vector<std::string> mIgnore;
    size_t mCount = 0;
};

bool isObjectParam(const Param& p) {
    return findInterface(p.type) != nullptr;
}

int replay(const ReplayOptions& o) {
    for (const std::string& entry : o.ignore) {
        const std::string op = entry.substr(0, entry.find('.'));
        bool known = false;
        for (const InterfaceOps& i : allInterfaces()) known = known || i.find(op) != nullptr;
        if (!known) {
            std::fprintf(stderr,
                         "zuv_hidl replay: --ignore %s: no interface of the package has an "
                         "operation '%s' (`zuv_hidl describe` lists them)\n",
                         entry.c_str(), op.c_str());
            return kUsage;
        }
    }
    Recording rec;
    try {
        rec = readRecording(o.file);
    } catch (const RecordingError& e) {
        std::fprintf(stderr, "zuv_hidl replay: %s\n", e.what());
        return kUsage;
    }

    // The client's own calls, and what was done to each object it passed.
    std::vector<const RecordedEvent*> calls;
    std::map<std::string, std::vector<const RecordedEvent*>> expectedOn;
    for (const RecordedEvent& e : rec.events) {
        if (!e.isCall) continue;
        if (e.side == "client" && e.inside == 0) calls.push_back(&e);
        if (e.side == "server") expectedOn[e.object].push_back(&e);
    }
    if (calls.empty()) {
        std::fprintf(stderr,
                     "zuv_hidl replay: %s has no client calls to replay (record the client, "
                     "not the service)\n",
                     o.file.c_str());
        return kUsage;
    }

    ::android::hardware::configureRpcThreadpool(4, false);
    std::map<std::string, std::shared_ptr<CallbackLog>> logs;
    std::map<std::string, sp<IBase>> standIns;
    std::map<std::string, sp<IBase>> services;
    for (const RecordedEvent* c : calls) {
        for (const Param& p : c->operation->params) {
            const json& v = c->args[p.name];
            if (!isObjectParam(p) || v.is_null()) continue;
            const std::string ref = v["object"].get<std::string>();
            if (standIns.count(ref) != 0) continue;
            auto log = std::make_shared<CallbackLog>(expectedOn[ref]);
            logs[ref] = log;
            standIns[ref] = makeStandIn(*findInterface(p.type),
                                        [log](const StandInCall& call) { return log->take(call); });
        }
        if (services.count(c->object) != 0) continue;
        const std::string instance = o.instance.empty() ? c->instance : o.instance;
        if (instance.empty()) {
            std::fprintf(stderr,
                         "zuv_hidl replay: %s:%zu: instance: the call goes to %s, which the "
                         "client did not get by an instance name; replay calls services only\n",
                         o.file.c_str(), c->line, c->object.c_str());
            return kUsage;
        }
        std::string error;
        sp<IBase> service = findRegistered(*c->interface, instance, &error);
        if (service == nullptr) {
            std::fprintf(stderr, "zuv_hidl replay: %s\n", error.c_str());
            return kDifferent;
        }
        services[c->object] = service;
    }

    Report report(o.ignore);
    const Clock::time_point start = Clock::now();
    const int64_t firstNs = calls.front()->timeNs;
    bool behind = false;
    for (const RecordedEvent* c : calls) {
        if (!o.noWait) {
            const auto offset = std::chrono::nanoseconds(
                    static_cast<int64_t>(static_cast<double>(c->timeNs - firstNs) / o.speed));
            std::this_thread::sleep_until(start + offset);
        }
        // The recorded client had these calls back before it went on. Once
        // one has not come, the service is taken not to make them and none
        // is waited for again.
        const Clock::time_point due = Clock::now() + kCallbackGrace;
        for (const auto& [ref, log] : logs) {
            if (!behind && !log->waitForCallsBefore(c->timeNs, due)) behind = true;
        }
        std::map<std::string, sp<IBase>> objects;
        for (const Param& p : c->operation->params) {
            const json& v = c->args[p.name];
            if (isObjectParam(p) && !v.is_null())
                objects[p.name] = standIns[v["object"].get<std::string>()];
        }
        CallOutcome out;
        try {
            out = invokeWith(*c->operation, services[c->object], c->args, objects);
        } catch (const ArgumentError& e) {
            out.status = "UNKNOWN_ERROR";
            out.message = e.what();
        }
        const std::string& op = c->operation->name;
        const std::string where = "seq " + std::to_string(c->seq);
        if (out.status != c->status) {
            report.add(op, where, "status", c->status, out.status);
        } else if (out.status != "OK" && out.message != c->message) {
            report.add(op, where, "message", c->message, out.message);
        } else if (!c->result.is_null()) {
            const std::string key =
                    c->operation->result.name.empty() ? "result" : c->operation->result.name;
            report.compare(op, where, "result." + key, c->result, out.result);
        }
    }

    // Calls back still owed: the recorded lag after the last call, then a grace.
    int64_t lagNs = 0;
    for (const auto& [ref, log] : logs)
        for (const RecordedEvent* e : log->expected())
            lagNs = std::max(lagNs, e->timeNs - calls.back()->timeNs);
    const auto wait = std::chrono::duration_cast<Clock::duration>(
            std::chrono::nanoseconds(
                    o.noWait ? 0 : static_cast<int64_t>(static_cast<double>(lagNs) / o.speed)) +
            kCallbackGrace);
    const Clock::time_point until = behind ? Clock::now() : Clock::now() + wait;
    const std::string missing =
            behind ? "none (an earlier one never came; not waited for)"
                   : "none within " +
                             std::to_string(
                                     std::chrono::duration_cast<std::chrono::milliseconds>(wait)
                                             .count()) +
                             " ms of the last call";
    size_t callbacks = 0;
    for (const auto& [ref, log] : logs) {
        log->waitForCallsBefore(INT64_MAX, until);
        const std::vector<SeenCall> seen = log->seen();
        const auto& expected = log->expected();
        for (size_t k = 0; k < std::max(seen.size(), expected.size()); ++k) {
            ++callbacks;
            if (k >= seen.size()) {
                const RecordedEvent& e = *expected[k];
                report.add(e.operation->name, "seq " + std::to_string(e.seq), "call",
                           json{{"object", ref}, {"args", e.args}}, missing);
                continue;
            }
            const std::string where = "on " + ref + " (call " + std::to_string(k + 1) + ")";
            if (k >= expected.size()) {
                report.add(seen[k].operation->name, where, "call", "none",
                           json{{"args", seen[k].args}});
                continue;
            }
            const RecordedEvent& e = *expected[k];
            if (e.operation != seen[k].operation) {
                report.add(e.operation->name, "seq " + std::to_string(e.seq), "operation",
                           e.operation->name, seen[k].operation->name);
                continue;
            }
            report.compare(e.operation->name, "seq " + std::to_string(e.seq), "args",
                           comparableArgs(*e.operation, e.args), seen[k].args);
        }
    }
    std::printf("replay: %zu calls, %zu calls back compared; %zu difference%s\n", calls.size(),
                callbacks, report.count(), report.count() == 1 ? "" : "s");
    return report.count() == 0 ? 0 : kDifferent;
}

}  // namespace

Command addReplayCommand(CLI::App& app) {
    auto options = std::make_shared<ReplayOptions>();
    CLI::App* cmd = app.add_subcommand(
            "replay",
            "make a recorded client's calls against the live service and report every result "
            "and call back that differs");
    cmd->add_option("FILE", options->file, "the recording (JSON Lines)")->required();
    cmd->add_option("--instance", options->instance,
                    "call this instance instead of the one recorded");
    cmd->add_option("--ignore", options->ignore,
                    "OPERATION or OPERATION.FIELD (e.g. getFrameworkInfo.info.text): differences "
                    "there are not reported; repeatable");
    cmd->add_option("--speed", options->speed, "replay X times faster than recorded")
            ->capture_default_str()
            ->check(CLI::PositiveNumber);
    cmd->add_flag("--no-wait", options->noWait, "make the calls without the recorded pauses");
    cmd->footer(
            "Exit status: 0 everything matched, 1 a difference (one line each on stdout) or no "
            "service, 2 usage or a bad recording.");
    return {cmd, [options] { return replay(*options); }};
}

}  // namespace zuv_hidl
