#include "Recording.h"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "Reach.h"

namespace zuv_hidl {

namespace host = ::android::hardware::host;

namespace {

constexpr const char* kObjectMarker = "<object>";
// Far above what a session writes; they keep a broken file from taking the
// machine's memory.
constexpr size_t kMaxLineBytes = size_t{16} << 20;
constexpr size_t kMaxLines = 1000000;

class LineReader {
  public:
    LineReader(const std::string& path, size_t line) : mWhere(path + ":" + std::to_string(line)) {}

    [[noreturn]] void fail(const std::string& field, const std::string& what) const {
        throw RecordingError(mWhere + ": " + field + ": " + what);
    }

    const json& member(const json& j, const char* field) const {
        auto it = j.find(field);
        if (it == j.end()) fail(field, "missing");
        return *it;
    }
    std::string string(const json& j, const char* field) const {
        const json& v = member(j, field);
        if (!v.is_string()) fail(field, "expected a string, got " + v.dump());
        return v.get<std::string>();
    }
    int64_t integer(const json& j, const char* field, bool positive) const {
        const json& v = member(j, field);
        if (!v.is_number_integer() || (positive && v.get<int64_t>() <= 0) || v.get<int64_t>() < 0)
            fail(field, std::string("expected a ") + (positive ? "positive" : "non-negative") +
                                " integer, got " + v.dump());
        return v.get<int64_t>();
    }

  private:
    std::string mWhere;
};

const InterfaceOps& interfaceOf(const LineReader& r, const json& j) {
    const std::string name = r.string(j, "interface");
    const InterfaceOps* iface = findInterface(name);
    if (iface == nullptr) {
        std::string known;
        for (const InterfaceOps& i : allInterfaces()) known += " " + i.name;
        r.fail("interface", "unknown interface '" + name + "'; the interfaces are:" + known);
    }
    return *iface;
}

// "<Interface>#<n>" with the interface the line names.
void checkReference(const LineReader& r, const char* field, const std::string& ref,
                    const std::string& iface) {
    const std::string prefix = iface + "#";
    const std::string number =
            ref.compare(0, prefix.size(), prefix) == 0 ? ref.substr(prefix.size()) : std::string();
    if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos)
        r.fail(field, "expected a reference " + prefix + "<n>, got \"" + ref + "\"");
}

RecordedEvent readEvent(const LineReader& r, const json& j, size_t line) {
    RecordedEvent e;
    e.line = line;
    const std::string event = r.string(j, "event");
    if (event != "call" && event != "death")
        r.fail("event", "expected \"call\" or \"death\", got \"" + event + "\"");
    e.isCall = event == "call";
    e.seq = static_cast<uint64_t>(r.integer(j, "seq", true));
    e.timeNs = r.integer(j, "time_ns", false);
    r.integer(j, "pid", true);
    const InterfaceOps& iface = interfaceOf(r, j);
    e.interface = &iface;
    e.object = r.string(j, "object");
    checkReference(r, "object", e.object, iface.name);
    if (j.contains("instance")) e.instance = r.string(j, "instance");
    if (!e.isCall) return e;

    r.integer(j, "duration_ns", false);
    e.side = r.string(j, "side");
    if (e.side != "client" && e.side != "server")
        r.fail("side", "expected \"client\" or \"server\", got \"" + e.side + "\"");
    const std::string opName = r.string(j, "operation");
    e.operation = iface.find(opName);
    if (e.operation == nullptr)
        r.fail("operation", iface.name + " has no operation '" + opName + "' (`zuv_hidl describe " +
                                    iface.name + "` lists them)");
    e.args = r.member(j, "args");
    try {
        e.args = checkArguments(*e.operation, e.args);
    } catch (const ArgumentError& err) {
        const std::string what = err.what();
        const size_t colon = what.find(": ");
        r.fail(what.substr(0, colon), what.substr(colon + 2));
    }
    for (const Param& p : e.operation->params) {
        const json& v = e.args[p.name];
        if (findInterface(p.type) != nullptr && v.is_object())
            checkReference(r, ("args." + p.name).c_str(), v["object"].get<std::string>(), p.type);
    }
    e.status = r.string(j, "status");
    if (e.status.empty()) r.fail("status", "empty");
    if (e.status != "OK" && j.contains("message")) e.message = r.string(j, "message");
    if (e.status == "OK" && !e.operation->result.type.empty() && e.operation->shape != "oneway") {
        const std::string key =
                e.operation->result.name.empty() ? "result" : e.operation->result.name;
        const json& result = r.member(j, "result");
        if (!result.is_object() || result.size() != 1 || !result.contains(key))
            r.fail("result", "expected {\"" + key + "\": <" + e.operation->result.type +
                                     ">}, got " + result.dump());
        e.result = result[key];
        try {
            e.result = checkResult(*e.operation, e.result, "result." + key);
        } catch (const ArgumentError& err) {
            const std::string what = err.what();
            const size_t colon = what.find(": ");
            r.fail(what.substr(0, colon), what.substr(colon + 2));
        }
    }
    if (j.contains("inside")) e.inside = static_cast<uint64_t>(r.integer(j, "inside", true));
    return e;
}

// A line, or false at the end; a line longer than kMaxLineBytes is refused
// before it is held whole. *ended: the line ended with a newline.
bool readLine(std::istream& in, std::string* text, const std::string& path, size_t line,
              bool* ended) {
    text->clear();
    *ended = false;
    char chunk[1 << 16];
    for (;;) {
        in.getline(chunk, sizeof chunk);
        const auto got = static_cast<size_t>(in.gcount());
        const bool whole = !in.fail();  // the newline was read (or the end reached)
        text->append(chunk, whole && got > 0 && !in.eof() ? got - 1 : got);
        if (text->size() > kMaxLineBytes)
            LineReader(path, line)
                    .fail("line", "longer than " + std::to_string(kMaxLineBytes >> 20) +
                                          " MiB; not a line of a recording");
        *ended = whole && !in.eof();
        if (whole) return got > 0 || !in.eof();
        if (in.eof()) return !text->empty();
        in.clear();  // the chunk was full; the line goes on
    }
}

}  // namespace

Recording readRecording(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw RecordingError(path + ": cannot be read; check the path and its permissions");
    Recording rec;
    rec.path = path;
    std::string text;
    size_t line = 0;
    bool ended = true;
    while (readLine(in, &text, path, line + 1, &ended)) {
        ++line;
        const LineReader r(path, line);
        if (line > kMaxLines)
            r.fail("line", "more than " + std::to_string(kMaxLines) +
                                   " lines; cut the recording (head -n) to the session to use");
        if (line > 1 && text.find_first_not_of(" \t\r") == std::string::npos) continue;
        const json j = json::parse(text, nullptr, false);
        if ((j.is_discarded() || !j.is_object()) && !ended && line > 1) {
            // What a process killed while writing leaves: the call it was
            // recording is lost, the rest stands.
            std::fprintf(stderr,
                         "zuv_hidl: %s:%zu: the last line is cut short (its process was killed "
                         "while writing it); ignored\n",
                         path.c_str(), line);
            break;
        }
        if (j.is_discarded() || !j.is_object())
            r.fail("line", "not a JSON object (cut short or edited by hand?)");
        if (line == 1) {
            const bool header = j.value("format", "") == "zuv-hidl-recording";
            if (!header)
                r.fail("format",
                       "not a recording: the first line must be the header "
                       "{\"format\":\"zuv-hidl-recording\",\"version\":1,...}");
            if (r.integer(j, "version", true) != 1)
                r.fail("version", "version " + j["version"].dump() +
                                          " is not known to this zuv_hidl, which reads version 1");
            continue;
        }
        rec.events.push_back(readEvent(r, j, line));
    }
    if (line == 0) throw RecordingError(path + ":1: format: the file is empty; not a recording");
    std::stable_sort(rec.events.begin(), rec.events.end(),
                     [](const RecordedEvent& a, const RecordedEvent& b) { return a.seq < b.seq; });
    return rec;
}

json comparableArgs(const Operation& op, const json& args) {
    json out = args;
    for (const Param& p : op.params) {
        if (findInterface(p.type) == nullptr || !out.contains(p.name)) continue;
        if (!out[p.name].is_null()) out[p.name] = kObjectMarker;
    }
    return out;
}

void differences(const std::string& where, const json& recorded, const json& seen,
                 std::vector<Difference>* out) {
    if (recorded.is_object() && seen.is_object()) {
        for (auto it = recorded.begin(); it != recorded.end(); ++it) {
            auto other = seen.find(it.key());
            differences(where + "." + it.key(), it.value(), other == seen.end() ? json() : *other,
                        out);
        }
        for (auto it = seen.begin(); it != seen.end(); ++it)
            if (!recorded.contains(it.key()))
                out->push_back({where + "." + it.key(), json(), it.value()});
        return;
    }
    if (recorded.is_array() && seen.is_array() && recorded.size() == seen.size()) {
        for (size_t i = 0; i < recorded.size(); ++i)
            differences(where + "[" + std::to_string(i) + "]", recorded[i], seen[i], out);
        return;
    }
    if (recorded != seen) out->push_back({where, recorded, seen});
}

::android::sp<IBase> findRegistered(const InterfaceOps& iface, const std::string& instance,
                                    std::string* error) {
    setenv(host::kServiceManagerEnvVar, "daemon", 1);
    auto sm = ::android::hardware::defaultServiceManager();
    const std::string dir = host::runtimeDirectory();
    if (sm == nullptr) {
        *error = noServiceManager();
        return nullptr;
    }
    auto got = sm->get(iface.descriptor, instance);
    ::android::sp<IBase> base = got.isOk() ? static_cast<::android::sp<IBase>>(got) : nullptr;
    ::android::sp<IBase> service = base == nullptr ? nullptr : iface.cast(base);
    if (service == nullptr)
        *error = "no " + iface.descriptor + "/" + instance + " is registered in " + dir +
                 " (`zuv_hidl list` shows what is)";
    return service;
}

}  // namespace zuv_hidl
