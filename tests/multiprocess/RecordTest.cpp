// Call recordings of the example session, on both sides: `zuv_hidl record`
// around the client, ZUV_HIDL_RECORD with %p on the service.
#include <dirent.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

using nlohmann::json;

// Every whole line of a recording, parsed; a line that is not JSON fails.
// A last line without its newline is the call a killed process was writing.
std::vector<json> readRecording(const std::string& path) {
    std::string text = fileText(path);
    EXPECT_FALSE(text.empty()) << path;
    text.erase(text.find_last_of('\n') + 1);
    std::vector<json> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(json::parse(line, nullptr, false));
        EXPECT_FALSE(lines.back().is_discarded()) << path << ":" << lines.size() << ": " << line;
    }
    if (!lines.empty()) {
        EXPECT_EQ("zuv-hidl-recording", lines[0].value("format", ""));
        EXPECT_EQ(1, lines[0].value("version", 0));
    }
    return lines;
}

const json* find(const std::vector<json>& lines, const std::string& side, const std::string& op) {
    for (const json& l : lines)
        if (l.value("side", "") == side && l.value("operation", "") == op) return &l;
    return nullptr;
}

// What `inside` names: for a call made, the call its thread was serving,
// which began before it and ends (and is written) after it; for a call
// served, a call to the caller in progress when it arrived.
void expectNesting(const std::vector<json>& lines, size_t* nested) {
    std::map<uint64_t, size_t> at;  // seq -> line index
    for (size_t i = 1; i < lines.size(); ++i) at[lines[i]["seq"].get<uint64_t>()] = i;
    EXPECT_EQ(lines.size() - 1, at.size()) << "seqs repeat";
    for (size_t i = 1; i < lines.size(); ++i) {
        if (!lines[i].contains("inside")) continue;
        ++*nested;
        const auto outer = at.find(lines[i]["inside"].get<uint64_t>());
        ASSERT_NE(at.end(), outer) << lines[i];
        const json& o = lines[outer->second];
        EXPECT_NE(o["side"], lines[i]["side"]) << o << "\n" << lines[i];
        const int64_t t = lines[i]["time_ns"], start = o["time_ns"];
        EXPECT_LE(start, t);
        if (lines[i]["side"] == "client") {
            EXPECT_GT(outer->second, i) << lines[i];
            EXPECT_GE(start + o["duration_ns"].get<int64_t>(), t);
        }
    }
}

class RecordTest : public ProcessTest {};

TEST_F(RecordTest, RecordsTheExampleSessionOnBothSides) {
    const std::string dir = mDir.path();
    auto sm = manager();
    auto service = started({ZUV_FINGERPRINT_SERVICE_PATH},
                           {{"ZUV_HIDL_RECORD", dir + "/service-%p.jsonl"}});
    ASSERT_TRUE(sm && service);

    Outcome client =
            run({ZUV_HIDL_PATH, "record", "-o", dir + "/client.jsonl", "--", ZUV_CLIENT_PATH});
    ASSERT_EQ(0, client.exitCode) << client.err;

    // The client: its calls, and the objects it handed out being called.
    const std::vector<json> c = readRecording(dir + "/client.jsonl");
    ASSERT_GT(c.size(), 10u);
    const json* get = find(c, "client", "getConfigValue");
    ASSERT_NE(nullptr, get);
    EXPECT_EQ("IZuvExtendedFingerprint", (*get)["interface"]);
    EXPECT_EQ("default", (*get)["instance"]);
    EXPECT_EQ("IZuvExtendedFingerprint#1", (*get)["object"]);
    EXPECT_TRUE((*get)["args"].contains("key"));
    EXPECT_EQ("OK", (*get)["status"]);
    EXPECT_TRUE((*get)["result"]["value"].is_string()) << *get;

    const json* reg = find(c, "client", "registerAndroidServices");
    ASSERT_NE(nullptr, reg);
    const std::string services = (*reg)["args"]["services"]["object"];
    EXPECT_EQ(0u, services.rfind("IDaxAndroidServices#", 0));
    const json* match = find(c, "client", "match");
    ASSERT_NE(nullptr, match);
    const std::string callback = (*match)["args"]["callback"]["object"];
    std::set<std::string> servedCallbacks, servedServices;
    for (const json& l : c) {
        if (l.value("side", "") != "server") continue;
        if (l["object"] == callback) servedCallbacks.insert(l["operation"].get<std::string>());
        if (l["object"] == services) servedServices.insert(l["operation"].get<std::string>());
    }
    EXPECT_TRUE(servedCallbacks.count("onMatch") && servedCallbacks.count("onStatus"));
    EXPECT_TRUE(servedServices.count("checkRequestingAppType"));
    size_t nested = 0;
    expectNesting(c, &nested);
    EXPECT_GT(nested, 0u) << "no call served inside a call to the service";

    // The service, in its own file: the same calls served, and its calls on
    // the objects the client handed it.
    std::string serviceFile;
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(nullptr, d);
    while (dirent* e = readdir(d))
        if (std::string(e->d_name).rfind("service-", 0) == 0) serviceFile = dir + "/" + e->d_name;
    closedir(d);
    ASSERT_EQ(dir + "/service-" + std::to_string(service->pid()) + ".jsonl", serviceFile);
    // A recorded watcher sees the service die; the service's lines stay whole.
    auto watcher = Process::start(
            {ZUV_HIDL_PATH, "record", "-o", dir + "/watch.jsonl", "--", ZUV_HIDL_PATH, "watch",
             "--timeout", "3", "match", "7", "index", "[9,8]", "", "0"},
            env());
    ASSERT_NE(nullptr, watcher);
    ASSERT_TRUE(watcher->line("{\"call\":\"onMatch\""));
    service->signal(SIGKILL);
    ASSERT_TRUE(service->waitExit(kStopTimeout) && watcher->waitExit(kStopTimeout));
    bool death = false;
    for (const json& l : readRecording(dir + "/watch.jsonl"))
        death = death || (l.value("event", "") == "death" &&
                          l.value("object", "") == "IZuvExtendedFingerprint#1");
    EXPECT_TRUE(death) << fileText(dir + "/watch.jsonl");
    const std::vector<json> s = readRecording(serviceFile);
    const json* served = find(s, "server", "getConfigValue");
    ASSERT_NE(nullptr, served);
    EXPECT_EQ("default", (*served)["instance"]);
    EXPECT_EQ((*get)["args"], (*served)["args"]);
    EXPECT_EQ((*get)["result"], (*served)["result"]);
    EXPECT_NE(nullptr, find(s, "client", "checkRequestingAppType"));
    EXPECT_NE(nullptr, find(s, "client", "onMatch"));
    nested = 0;
    expectNesting(s, &nested);
    EXPECT_GT(nested, 0u);
}

}  // namespace
}  // namespace zuv_mp
