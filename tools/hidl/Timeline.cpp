#include "Timeline.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "timeline/TimelinePage.h"

namespace zuv_hidl {

using nlohmann::json;

namespace {

struct Section {
    int64_t pid = 0, tid = 0;
    std::string name, call, kind;  // call: the name without the side
    double begin = 0, end = 0;
    json args;
};

// "IFoo::op (client)" -> {"IFoo::op", "client"}.
std::pair<std::string, std::string> splitSide(const std::string& name) {
    const size_t open = name.rfind(" (");
    if (open == std::string::npos || name.back() != ')') return {name, "other"};
    return {name.substr(0, open), name.substr(open + 2, name.size() - open - 3)};
}

// The runtime puts a call's outcome in its section's args under this key:
// "OK", or what went wrong.
constexpr const char* kOutcomeKey = "status";

// Merges the end event's args into the section's: the outcome is known only
// when the call returns.
void mergeArgs(json* into, const json& from) {
    if (!from.is_object()) return;
    for (auto it = from.begin(); it != from.end(); ++it) (*into)[it.key()] = it.value();
}

std::string outcomeOf(const json& args) {
    if (!args.is_object() || !args.contains(kOutcomeKey)) return "";
    const json& v = args[kOutcomeKey];
    return v.is_string() ? v.get<std::string>() : v.dump();
}

bool failed(const std::string& outcome) {
    return !outcome.empty() && outcome != "OK" && outcome != "ok";
}

// Reads one trace's events: names from metadata, sections from B/E, b/e
// and X events, peer deaths from instant events. Throws json::exception on
// an event of the wrong shape.
void readEvents(const json& events, std::map<int64_t, std::string>* processNames,
                std::map<std::pair<int64_t, int64_t>, std::string>* threadNames,
                std::vector<Section>* sections, json* deaths) {
    std::map<std::pair<int64_t, int64_t>, std::vector<Section>> open;
    // Async sections pair by process, category and id, not by thread.
    std::map<std::tuple<int64_t, std::string, std::string>, Section> openAsync;
    for (const json& e : events) {
        if (!e.is_object()) continue;
        const std::string ph = e.value("ph", "");
        const int64_t pid = e.value("pid", int64_t{0}), tid = e.value("tid", int64_t{0});
        const json args = e.contains("args") && e["args"].is_object() ? e["args"] : json::object();
        if (ph == "M") {
            const std::string n = args.value("name", "");
            if (e.value("name", "") == "process_name") (*processNames)[pid] = n;
            if (e.value("name", "") == "thread_name") (*threadNames)[{pid, tid}] = n;
            continue;
        }
        Section s;
        s.pid = pid;
        s.tid = tid;
        s.name = e.value("name", "");
        std::tie(s.call, s.kind) = splitSide(s.name);
        s.begin = e.value("ts", 0.0);
        s.args = args;
        if (ph == "i" || ph == "I") {
            // The runtime names one "peer pid N died"; other tools say "death".
            if (s.name.find("death") == std::string::npos &&
                s.name.find("died") == std::string::npos)
                continue;
            threadNames->emplace(std::make_pair(pid, tid), "");
            deaths->push_back({{"pid", pid},
                               {"tid", tid},
                               {"name", s.name},
                               {"ts", s.begin},
                               {"args", args}});
            continue;
        }
        const json id = e.contains("id") ? e["id"] : json();
        const auto asyncKey = std::make_tuple(pid, e.value("cat", ""), id.dump());
        if (ph == "B") {
            open[{pid, tid}].push_back(s);
        } else if (ph == "E") {
            auto& stack = open[{pid, tid}];
            if (stack.empty()) continue;
            Section done = stack.back();
            stack.pop_back();
            done.end = e.value("ts", done.begin);
            mergeArgs(&done.args, args);
            sections->push_back(done);
        } else if (ph == "b") {
            openAsync[asyncKey] = s;
        } else if (ph == "e") {
            auto it = openAsync.find(asyncKey);
            if (it == openAsync.end()) continue;
            Section done = it->second;
            openAsync.erase(it);
            done.end = e.value("ts", done.begin);
            mergeArgs(&done.args, args);
            sections->push_back(done);
        } else if (ph == "X") {
            s.end = s.begin + e.value("dur", 0.0);
            sections->push_back(s);
        } else {
            continue;
        }
        threadNames->emplace(std::make_pair(pid, tid), "");
    }
}

}  // namespace

json buildTimeline(const std::vector<std::string>& traceFiles) {
    std::map<int64_t, std::string> processNames;
    std::map<std::pair<int64_t, int64_t>, std::string> threadNames;
    std::vector<Section> sections;
    json deaths = json::array();
    for (const std::string& path : traceFiles) {
        std::ifstream in(path);
        if (!in) throw std::runtime_error("cannot read " + path);
        json doc = json::parse(in, nullptr, false);
        if (doc.is_discarded() || !doc.is_object() || !doc.contains("traceEvents") ||
            !doc["traceEvents"].is_array())
            throw std::runtime_error(path + " is not a trace (Chrome trace JSON with traceEvents)");
        try {
            readEvents(doc["traceEvents"], &processNames, &threadNames, &sections, &deaths);
        } catch (const json::exception& e) {
            throw std::runtime_error(path + " has an event of the wrong shape: " + e.what());
        }
    }
    std::stable_sort(sections.begin(), sections.end(),
                     [](const Section& a, const Section& b) { return a.begin < b.begin; });

    // A client section caused the first server section of the same call in
    // another process that starts inside it (or, for oneway calls, soon
    // after it returned).
    json links = json::array();
    std::vector<bool> taken(sections.size(), false);
    for (size_t c = 0; c < sections.size(); ++c) {
        const Section& client = sections[c];
        if (client.kind != "client") continue;
        const auto from = std::lower_bound(sections.begin(), sections.end(), client.begin,
                                           [](const Section& a, double t) { return a.begin < t; });
        for (size_t s = static_cast<size_t>(from - sections.begin()); s < sections.size(); ++s) {
            const Section& server = sections[s];
            if (taken[s] || server.kind != "server" || server.call != client.call ||
                server.pid == client.pid || server.begin < client.begin)
                continue;
            if (server.begin > client.end + 1e6) break;
            taken[s] = true;
            links.push_back({{"client", c}, {"server", s}});
            break;
        }
    }

    json out = {{"processes", json::array()},
                {"sections", json::array()},
                {"links", links},
                {"deaths", deaths}};
    for (const auto& [key, name] : threadNames) {
        const std::string process = processNames.count(key.first) ? processNames[key.first] : "";
        out["processes"].push_back(
                {{"pid", key.first}, {"tid", key.second}, {"process", process}, {"thread", name}});
    }
    for (const Section& s : sections) {
        const std::string outcome = outcomeOf(s.args);
        out["sections"].push_back({{"pid", s.pid},
                                   {"tid", s.tid},
                                   {"name", s.name},
                                   {"call", s.call},
                                   {"kind", s.kind},
                                   {"begin", s.begin},
                                   {"end", s.end},
                                   {"outcome", outcome},
                                   {"failed", failed(outcome)},
                                   {"args", s.args}});
    }
    return out;
}

std::string timelineHtml(const json& timeline) {
    // '<' only occurs inside JSON strings, where \u003c means the same and
    // cannot end or confuse the script element that holds the data.
    std::string data;
    for (char c : timeline.dump(-1, ' ', false, json::error_handler_t::replace)) {
        if (c == '<')
            data += "\\u003c";
        else
            data += c;
    }
    std::string page(timelinePage());
    page.replace(page.find("@DATA@"), 6, data);
    return page;
}

}  // namespace zuv_hidl
