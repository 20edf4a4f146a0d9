// zuv_hidl: one command for the package's services: list what is
// registered, describe the interfaces, call any operation with JSON
// arguments, watch the callbacks a session produces, and draw traces as a
// timeline.
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/TraceExport.h>
#include <signal.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Command.h"
#include "List.h"
#include "Reach.h"
#include "Record.h"
#include "Timeline.h"
#include "Watcher.h"

using namespace zuv_hidl;
namespace host = ::android::hardware::host;

namespace {

constexpr int kCallFailed = 1;
constexpr int kUsage = 2;

// Ends the process without stopping the transport's threads; a trace asked
// for is written first.
[[noreturn]] void leave(int status) {
    std::fflush(nullptr);
    if (!host::traceFilePath().empty()) (void)host::flushTrace();
    _exit(status);
}

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string signature(const Operation& op) {
    std::string s = op.name + "(";
    for (size_t i = 0; i < op.params.size(); ++i)
        s += (i ? ", " : "") + op.params[i].type + " " + op.params[i].name;
    s += ")";
    if (!op.result.type.empty())
        s += " -> " + op.result.type + (op.result.name.empty() ? "" : " " + op.result.name);
    return s;
}

std::string argumentList(const Operation& op) {
    std::string s;
    for (const Param& p : op.params) {
        if (p.isCallbackObject) continue;
        s += (s.empty() ? "" : ", ") + p.type + " " + p.name;
    }
    return s;
}

const InterfaceOps& interfaceNamed(const std::string& name) {
    if (const InterfaceOps* i = findInterface(name)) return *i;
    std::string known;
    for (const InterfaceOps& i : allInterfaces()) known += " " + i.name;
    throw UsageError("unknown interface '" + name + "'; the interfaces are:" + known);
}

const Operation& operationNamed(const InterfaceOps& iface, const std::string& name) {
    if (const Operation* op = iface.find(name)) return *op;
    throw UsageError(iface.name + " has no operation '" + name + "' (`zuv_hidl describe " +
                     iface.name + "` lists them)");
}

// One word as the JSON value it stands for. A word that is not JSON is a
// string, unless it starts as JSON does: then it was meant as JSON, and where
// it breaks is the mistake to report.
json argumentValue(const std::string& word, const std::string& where, const Param& param) {
    json j = json::parse(word, nullptr, false);
    if (j.is_discarded()) {
        const size_t first = word.find_first_not_of(" \t\n");
        if (first == std::string::npos ||
            std::string("[{\"").find(word[first]) == std::string::npos)
            return word;
        try {
            j = json::parse(word);
        } catch (const json::parse_error& e) {
            // "[json.exception.parse_error.101] parse error at line 1, column 5: ..."
            std::string what = e.what();
            const size_t at = what.find("] ");
            what = at == std::string::npos ? what : what.substr(at + 2);
            throw UsageError(where + ": " + word + " is not valid JSON (" + what + ")" +
                             (param.type == "string"
                                      ? "; to pass it as a string: '" + json(word).dump() + "'"
                                      : ""));
        }
    }
    if (param.type == "string" && j.is_primitive() && !j.is_string()) {
        throw UsageError(where + ": expected string, got " + j.dump() +
                         "; quote it to pass it as a string: '" + json(word).dump() + "'");
    }
    return j;
}

json parseArguments(const Operation& op, const std::vector<std::string>& words) {
    const size_t expected = op.argCount();
    if (words.size() != expected) {
        throw UsageError(op.name + " takes " + std::to_string(expected) + " argument" +
                         (expected == 1 ? "" : "s") + " (" + argumentList(op) + "), got " +
                         std::to_string(words.size()));
    }
    json args = json::array();
    for (const Param& p : op.params) {
        if (p.isCallbackObject) continue;
        const std::string where =
                op.name + ": argument " + std::to_string(args.size() + 1) + " (" + p.name + ")";
        args.push_back(argumentValue(words[args.size()], where, p));
    }
    try {
        op.invoke(nullptr, args, nullptr);
    } catch (const ArgumentError& e) {
        throw UsageError(op.name + ": " + e.what());
    }
    return args;
}

::android::sp<IBase> findService(const InterfaceOps& iface, const std::string& instance,
                                 pid_t* pid) {
    setenv(host::kServiceManagerEnvVar, "daemon", 1);
    boundCalls();
    auto sm = ::android::hardware::defaultServiceManager();
    if (sm == nullptr) {
        std::fprintf(stderr, "zuv_hidl: %s\n", noServiceManager().c_str());
        leave(kCallFailed);
    }
    Return<::android::sp<IBase>> got = sm->get(iface.descriptor, instance);
    ::android::sp<IBase> base = got.isOk() ? static_cast<::android::sp<IBase>>(got) : nullptr;
    ::android::sp<IBase> service = base == nullptr ? nullptr : iface.cast(base);
    if (service == nullptr) {
        std::fprintf(stderr, "zuv_hidl: %s\n",
                     whyNotFound(*sm, iface.descriptor, instance).c_str());
        leave(kCallFailed);
    }
    *pid = registeredPid(*sm, iface.descriptor, instance);
    return service;
}

constexpr const char* kShapes =
        "Shapes: direct    the call returns its result\n"
        "        callback  the service hands its result to a callback within the call\n"
        "                  (zuv_hidl prints it as the result, named)\n"
        "        none      the call waits for the service and returns no result\n"
        "        oneway    the call is sent without waiting; no result, no status from the "
        "service\n";

// The record named, then each record its members name, each once.
void collectRecords(const RecordInfo& record, std::vector<const RecordInfo*>* out) {
    for (const RecordInfo* r : *out)
        if (r == &record) return;
    out->push_back(&record);
    for (const Param& m : record.members) {
        for (const RecordInfo& r : allRecords()) {
            // vec<R>, R[N] and R itself all hold R.
            const size_t at = m.type.find(r.name);
            const size_t end = at + r.name.size();
            if (at != std::string::npos && (at == 0 || m.type[at - 1] == '<') &&
                (end == m.type.size() || m.type[end] == '>' || m.type[end] == '['))
                collectRecords(r, out);
        }
    }
}

int describeRecord(const RecordInfo& record, bool asJson) {
    std::vector<const RecordInfo*> records;
    collectRecords(record, &records);
    json out = json::array();
    for (const RecordInfo* r : records) {
        json members = json::array();
        for (const Param& m : r->members) members.push_back({{"name", m.name}, {"type", m.type}});
        out.push_back({{"record", r->name}, {"members", members}});
        if (asJson) continue;
        std::printf(
                "%s: a record; as JSON, an object of these members (any left out are "
                "zero)\n",
                r->name.c_str());
        for (const Param& m : r->members)
            std::printf("  %-16s %s\n", m.type.c_str(), m.name.c_str());
    }
    if (asJson) std::printf("%s\n", out.dump(2).c_str());
    return 0;
}

int describe(const std::string& which, bool asJson) {
    std::vector<const InterfaceOps*> chosen;
    if (which.empty()) {
        for (const InterfaceOps& i : allInterfaces()) chosen.push_back(&i);
    } else if (const RecordInfo* record = findRecord(which)) {
        return describeRecord(*record, asJson);
    } else if (const InterfaceOps* iface = findInterface(which)) {
        chosen.push_back(iface);
    } else {
        std::string interfaces, records;
        for (const InterfaceOps& i : allInterfaces()) interfaces += " " + i.name;
        for (const RecordInfo& r : allRecords()) records += " " + r.name;
        throw UsageError("no interface or record is named '" + which +
                         "'; the interfaces are:" + interfaces + "; the records:" + records);
    }
    json out = json::array();
    for (const InterfaceOps* iface : chosen) {
        if (!asJson) std::printf("%s\n", iface->descriptor.c_str());
        json ops = json::array();
        for (const Operation& op : iface->operations) {
            if (!asJson) {
                std::printf("  %3u  %-9s %s\n", op.code, op.shape.c_str(), signature(op).c_str());
                continue;
            }
            json params = json::array();
            for (const Param& p : op.params) params.push_back({{"name", p.name}, {"type", p.type}});
            json j = {
                    {"code", op.code}, {"name", op.name}, {"shape", op.shape}, {"params", params}};
            j["result"] = op.result.type.empty()
                                  ? json(nullptr)
                                  : json{{"name", op.result.name}, {"type", op.result.type}};
            ops.push_back(j);
        }
        out.push_back({{"interface", iface->name},
                       {"descriptor", iface->descriptor},
                       {"operations", ops}});
    }
    if (asJson) {
        std::printf("%s\n", out.dump(2).c_str());
        return 0;
    }
    std::printf("\n%s", kShapes);
    std::string records;
    for (const RecordInfo& r : allRecords()) records += " " + r.name;
    std::printf("Records (`zuv_hidl describe RECORD` shows the members):%s\n", records.c_str());
    return 0;
}

int call(const std::string& ifaceName, const std::string& instance, const std::string& opName,
         const std::vector<std::string>& words) {
    const InterfaceOps& iface = interfaceNamed(ifaceName);
    const Operation& op = operationNamed(iface, opName);
    for (const Param& p : op.params) {
        if (p.isCallbackObject)
            throw UsageError(op.name + " takes a callback object; use `zuv_hidl watch " + op.name +
                             "`");
    }
    const json args = parseArguments(op, words);
    pid_t pid = -1;
    ::android::sp<IBase> service = findService(iface, instance, &pid);
    const Outcome outcome = op.invoke(service, args, nullptr);
    if (!outcome.ok) {
        const std::string why = whyCallFailed(pid, outcome.status);
        std::fprintf(stderr, "zuv_hidl: %s::%s failed: %s%s%s\n", iface.name.c_str(),
                     op.name.c_str(), outcome.status.c_str(), why.empty() ? "" : ": ", why.c_str());
        return kCallFailed;
    }
    json out = {{"operation", op.name}, {"shape", op.shape}, {"result", outcome.result}};
    if (!op.result.name.empty()) out["name"] = op.result.name;
    std::printf("%s\n", out.dump().c_str());
    return 0;
}

volatile sig_atomic_t gStop = 0;

// Ends the watch rather than the process: other recipients of the same
// death (a recording's death line) still run.
struct DeathWatch : ::android::hardware::hidl_death_recipient {
    explicit DeathWatch(const ::android::sp<Watcher>& watcher) : mWatcher(watcher) {}
    void serviceDied(uint64_t, const ::android::wp<IBase>&) override { mWatcher->serviceDied(); }
    const ::android::sp<Watcher> mWatcher;
};

int watch(const std::string& instance, const std::string& opName,
          const std::vector<std::string>& words, size_t count, double timeoutS) {
    const InterfaceOps& iface = interfaceNamed(V1_0::IZuvExtendedFingerprint::descriptor);
    const Operation& op = operationNamed(iface, opName);
    bool takesCallback = false;
    for (const Param& p : op.params) takesCallback = takesCallback || p.isCallbackObject;
    if (!takesCallback) {
        std::string those;
        for (const Operation& o : iface.operations)
            for (const Param& p : o.params)
                if (p.isCallbackObject) those += " " + o.name;
        throw UsageError(op.name +
                         " takes no IZuvExtendedFingerprintCallback; watch works with:" + those);
    }
    const json args = parseArguments(op, words);
    ::android::hardware::configureRpcThreadpool(2, false);
    pid_t pid = -1;
    ::android::sp<IBase> service = findService(iface, instance, &pid);
    // The callbacks stop when the service dies; waiting on would only wait.
    const auto start = Watcher::Clock::now();
    ::android::sp<Watcher> watcher = new Watcher(start);

    signal(SIGINT, [](int) { gStop = 1; });
    signal(SIGTERM, [](int) { gStop = 1; });
    const Outcome outcome = op.invoke(service, args, watcher);
    if (!outcome.ok) {
        const std::string why = whyCallFailed(pid, outcome.status);
        std::fprintf(stderr, "zuv_hidl: %s failed: %s%s%s\n", op.name.c_str(),
                     outcome.status.c_str(), why.empty() ? "" : ": ", why.c_str());
        return kCallFailed;
    }
    std::fprintf(stderr, "zuv_hidl: %s returned %s; watching\n", op.name.c_str(),
                 outcome.result.dump().c_str());
    // Linked after the call, so that whoever linked during it (a recording's
    // death line) is told first; a death before then failed the call.
    ::android::sp<DeathWatch> death = new DeathWatch(watcher);
    const Return<bool> linked = service->linkToDeath(death, 0);
    if (!linked.isOk() || !static_cast<bool>(linked)) watcher->serviceDied();
    const auto until = start + std::chrono::duration_cast<Watcher::Clock::duration>(
                                       std::chrono::duration<double>(timeoutS));
    const bool done = watcher->waitFor(count == 0 ? SIZE_MAX : count, until, &gStop);
    if (gStop) return 130;
    if (!done && watcher->hasServiceDied()) {
        std::fprintf(stderr, "zuv_hidl: the service (pid %d) died; no more callbacks will come\n",
                     pid);
        return kCallFailed;
    }
    if (count != 0 && !done) {
        std::fprintf(stderr, "zuv_hidl: fewer than %zu callbacks within %g s\n", count, timeoutS);
        return kCallFailed;
    }
    return 0;
}

int timeline(const std::vector<std::string>& traces, const std::string& output) {
    json t;
    try {
        t = buildTimeline(traces);
    } catch (const std::runtime_error& e) {
        std::fprintf(stderr, "zuv_hidl: %s\n", e.what());
        return kCallFailed;
    }
    std::ofstream out(output);
    out << timelineHtml(t);
    out.close();
    if (!out) {
        std::fprintf(stderr, "zuv_hidl: cannot write %s\n", output.c_str());
        return kCallFailed;
    }
    std::printf("%s: %zu processes and threads, %zu sections, %zu links\n", output.c_str(),
                t["processes"].size(), t["sections"].size(), t["links"].size());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{
            "zuv_hidl: list, describe, call and watch the services of "
            "vendor.zuv.hardware.fingerprint@1.0; draw traces as a timeline.\n"
            "Exit status: 0 done, 1 the call failed, 2 usage."};
    app.require_subcommand(1);
    std::string runtimeDir;
    app.add_option("--runtime-dir", runtimeDir,
                   std::string("the runtime directory (default: $") + host::kRuntimeDirEnvVar +
                           ", else the transport's default)");

    auto* list = app.add_subcommand("list", "the services the service manager knows");
    bool ping = false, debug = false, listJson = false;
    list->add_flag("--ping", ping, "ping each service; exit 1 when one does not answer");
    list->add_flag("--debug", debug, "show each service's interface chain and debug info");
    list->add_flag("--json", listJson, "one JSON array instead of the table");

    auto* desc = app.add_subcommand(
            "describe", "the operations of the package's interfaces, or the members of a record");
    std::string descIface;
    bool descJson = false;
    desc->add_option("NAME", descIface,
                     "IZuvExtendedFingerprint, IZuvExtendedFingerprintCallback, "
                     "IDaxAndroidServices, or a record such as ReadInfoResult (default: all "
                     "interfaces)");
    desc->add_flag("--json", descJson, "as JSON");
    desc->footer(
            std::string("Each operation: its code, its shape, its parameters and its result.\n") +
            kShapes);

    auto* callCmd = app.add_subcommand(
            "call", "call one operation with JSON arguments and print its result as JSON");
    std::string instance = "default", ifaceName = "IZuvExtendedFingerprint", opName;
    std::vector<std::string> words;
    callCmd->add_option("--instance", instance, "the service's instance name")
            ->capture_default_str();
    callCmd->add_option("--interface", ifaceName, "IZuvExtendedFingerprint or IDaxAndroidServices")
            ->capture_default_str();
    callCmd->add_option("OPERATION", opName, "the operation's name")->required();
    // Everything after OPERATION is an argument, taken as it is: "-5" and
    // "[1,2]" are values, not options or lists.
    callCmd->prefix_command();
    callCmd->footer(
            "ARG...: one JSON value per parameter, in order: numbers; strings (a word that is "
            "not JSON is taken as a string; quote a number, '\"50\"', to pass it as one); arrays "
            "for vectors; objects for records with their member names (`zuv_hidl describe "
            "RECORD`); bytes (vec<uint8_t>, uint8_t[N]) as a hex string, '0a0b' or '0x0a0b', or "
            "an array of numbers, '[10,11]'; null for interface objects. Results print bytes as "
            "hex.");

    auto* watchCmd = app.add_subcommand(
            "watch", "call an operation with a callback object and print each callback as JSON");
    size_t count = 0;
    double timeoutS = 10;
    watchCmd->add_option("--instance", instance, "the service's instance name")
            ->capture_default_str();
    watchCmd->add_option("--count", count, "stop after N callbacks (default: only the timeout)")
            ->check(CLI::PositiveNumber);
    watchCmd->add_option("--timeout", timeoutS, "stop after S seconds")
            ->capture_default_str()
            ->check(CLI::PositiveNumber);
    watchCmd->add_option("OPERATION", opName, "match, startCapture or retrieveDebugData")
            ->required();
    watchCmd->prefix_command();
    watchCmd->footer("ARG...: the arguments but the callback object, as for call.");

    auto* timelineCmd =
            app.add_subcommand("timeline", "draw trace files as one self-contained HTML page");
    std::vector<std::string> traces;
    std::string output;
    timelineCmd->add_option("TRACE", traces, "trace files (JSON)")
            ->required()
            ->check(CLI::ExistingFile);
    timelineCmd->add_option("-o,--output", output, "the HTML file to write")->required();

    addRecordCommand(app, argc, argv);
    const std::vector<Command> commands = {addReplayCommand(app), addMockCommand(app),
                                           addCorpusCommand(app)};

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int rc = app.exit(e);
        return rc == 0 ? 0 : kUsage;
    }
    if (callCmd->parsed()) words = callCmd->remaining();
    if (watchCmd->parsed()) words = watchCmd->remaining();
    if (!runtimeDir.empty()) setenv(host::kRuntimeDirEnvVar, runtimeDir.c_str(), 1);

    try {
        for (const std::string& w : words) {
            if (w.size() > 2 && w.compare(0, 2, "--") == 0)
                throw UsageError("unknown option " + w + " (`zuv_hidl " +
                                 (callCmd->parsed() ? "call" : "watch") + " --help` lists them)");
        }
        if (list->parsed()) return runList("zuv_hidl", ping, debug, listJson);
        if (desc->parsed()) return describe(descIface, descJson);
        if (callCmd->parsed()) leave(call(ifaceName, instance, opName, words));
        if (watchCmd->parsed()) leave(watch(instance, opName, words, count, timeoutS));
        if (timelineCmd->parsed()) return timeline(traces, output);
        for (const Command& c : commands)
            if (c.app->parsed()) leave(c.run());
    } catch (const UsageError& e) {
        std::fprintf(stderr, "zuv_hidl: %s\n", e.what());
        return kUsage;
    }
    return kUsage;
}
