// zuv_hidl against a real daemon and the example service: one call of each
// shape, a watched match, and the messages a mistaken user reads.
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

using nlohmann::json;

json only(const Outcome& run) {
    return run.lines.size() == 1 ? json::parse(run.lines[0], nullptr, false) : json();
}

class HidlToolTest : public ProcessTest {
  protected:
    void startService() {
        mProcs.push_back(manager());
        mProcs.push_back(started({ZUV_FINGERPRINT_SERVICE_PATH}));
        ASSERT_TRUE(mProcs[0] && mProcs[1]);
    }

    std::vector<std::unique_ptr<Process>> mProcs;
};

TEST_F(HidlToolTest, CallsOneOperationOfEachShapeAndWatchesMatch) {
    startService();

    Outcome callback = hidl({"call", "getConfigValue", "sensor.model"});
    ASSERT_EQ(0, callback.exitCode) << callback.err;
    EXPECT_EQ("zuv-sim-1", only(callback)["result"]);
    EXPECT_EQ("value", only(callback)["name"]);

    EXPECT_EQ(0, hidl({"call", "setConfigValue", "\"led.color\"", "red"}).exitCode);  // none
    EXPECT_EQ("red", only(hidl({"call", "getConfigValue", "led.color"}))["result"]);

    Outcome direct = hidl({"call", "getLivenessEnabled", "[1,2]"});
    ASSERT_EQ(0, direct.exitCode) << direct.err;
    EXPECT_TRUE(only(direct)["result"].is_number_unsigned());

    Outcome record = hidl({"call", "readInfo"});
    ASSERT_EQ(0, record.exitCode) << record.err;
    const json info = only(record)["result"];
    EXPECT_EQ(32u, info["head"].get<std::string>().size());  // 16 bytes as hex
    EXPECT_EQ("010203", info["bytes1"]);                     // a byte vector too

    // Bytes are taken as hex (with or without 0x) or as numbers alike.
    for (const char* bytes : {"0x0A0b", "0a0b", "[10,11]"}) {
        Outcome echoed = hidl({"call", "processRequest", bytes});
        ASSERT_EQ(0, echoed.exitCode) << echoed.err;
        EXPECT_EQ("0b0a", only(echoed)["result"]) << bytes;  // the example answers reversed
    }

    Outcome oneway = hidl({"call", "--interface", "IDaxAndroidServices", "setTimer", "5000"});
    EXPECT_EQ(0, oneway.exitCode) << oneway.err;
    EXPECT_EQ(json(nullptr), only(oneway)["result"]);

    Outcome watched = hidl(
            {"watch", "--count", "2", "--timeout", "20", "match", "7", "index", "0908", "", "0"});
    ASSERT_EQ(0, watched.exitCode) << watched.err;
    ASSERT_EQ(2u, watched.lines.size());
    const json status = json::parse(watched.lines[0]), match = json::parse(watched.lines[1]);
    EXPECT_EQ("onStatus", status["call"]);
    EXPECT_EQ("onMatch", match["call"]);
    EXPECT_EQ("index", match["args"]["strArg1"]);
    EXPECT_EQ("0908", match["args"]["data"]);
    EXPECT_LE(status["t_us"].get<int64_t>(), match["t_us"].get<int64_t>());
}

// A stopped service is told apart from one that is not registered, and a
// watch ends as soon as the service it watches dies.
TEST_F(HidlToolTest, StoppedAndDeadServicesAreToldApart) {
    startService();
    Process* service = mProcs.back().get();
    const std::string pid = std::to_string(service->pid());
    const std::string trace = mDir.path() + "/watch-trace.json";
    auto watching = Process::start(
            {ZUV_HIDL_PATH, "watch", "--timeout", "30", "match", "1", "index", "[1]", "", "0"},
            env({{"ZUV_HIDL_TRACE_FILE", trace}}));
    ASSERT_NE(nullptr, watching);
    ASSERT_TRUE(watching->line("{\"call\":\"onMatch\""));

    service->signal(SIGSTOP);
    Outcome call = hidl({"call", "readInfo"});
    EXPECT_EQ(1, call.exitCode);
    EXPECT_THAT(call.err, HasSubstr("registered by pid " + pid + " but did not answer within"));
    EXPECT_THAT(call.err, HasSubstr("kill -CONT " + pid));
    Outcome list = hidl({"list", "--ping"});
    EXPECT_EQ(1, list.exitCode);
    EXPECT_THAT(list.lines, ::testing::Contains(HasSubstr("no answer")));

    service->signal(SIGKILL);
    const auto killed = std::chrono::steady_clock::now();
    EXPECT_EQ(1, watching->exitCode(std::chrono::seconds(5)));
    EXPECT_LT(std::chrono::steady_clock::now() - killed, timeBound(std::chrono::seconds(1)));
    // The death is in the watcher's trace.
    EXPECT_THAT(fileText(trace), HasSubstr("\"peer pid " + pid + " died\""));
}

TEST_F(HidlToolTest, MistakesNameTheirCause) {
    const struct {
        std::vector<std::string> args;
        int exitCode;
        std::vector<std::string> says;
    } mistakes[] = {
            {{"call", "readInfo"},
             1,
             {"no service manager serves " + runtimeDir(), "zuv_hwservicemanager --runtime-dir"}},
            {{"call", "setConfigValue", "key"},
             2,
             {"takes 2 arguments (string key, string value), got 1"}},
            {{"call", "getEnrollRecord", "[1]"}, 2, {"argument 1 (key): expected string, got [1]"}},
            {{"call", "setLivenessEnabled", "[1, 300]", "1"},
             2,
             {"argument 1 (data)[1]: expected uint8_t (0..255), got 300"}},
            {{"call", "setConfigValue", "threshold", "50"},
             2,
             {"argument 2 (value): expected string, got 50; quote it to pass it as a string: "
              "'\"50\"'"}},
            {{"call", "postEvent", "[1,2"},
             2,
             {"argument 1 (data): [1,2 is not valid JSON", "column 5"}},
            {{"call", "nosuch"}, 2, {"IZuvExtendedFingerprint has no operation 'nosuch'"}},
            {{"call", "--bogus", "readInfo"}, 2, {"--bogus"}},
    };
    for (const auto& m : mistakes) {
        const Outcome out = hidl(m.args);
        EXPECT_EQ(m.exitCode, out.exitCode) << m.args[1];
        for (const std::string& cause : m.says) EXPECT_THAT(out.err, HasSubstr(cause));
    }
}

TEST_F(HidlToolTest, DescribesOperationsWithDeclaredNamesAndTypes) {
    Outcome d = hidl({"describe", "--json", "IZuvExtendedFingerprint"});
    ASSERT_EQ(0, d.exitCode);
    const json ops = json::parse(d.text())[0]["operations"];
    ASSERT_EQ(59u, ops.size());
    const json match = ops[34];
    EXPECT_EQ("match", match["name"]);
    EXPECT_EQ(35, match["code"]);
    EXPECT_EQ("direct", match["shape"]);
    EXPECT_EQ((json{{"name", "data"}, {"type", "vec<uint8_t>"}}), match["params"][3]);
    EXPECT_EQ("IZuvExtendedFingerprintCallback", match["params"][0]["type"]);
    EXPECT_EQ((json{{"name", "value"}, {"type", "string"}}), ops[55]["result"]);  // getConfigValue

    Outcome record = hidl({"describe", "--json", "ReadInfoResult"});
    ASSERT_EQ(0, record.exitCode) << record.err;
    const json members = json::parse(record.text())[0]["members"];
    ASSERT_EQ(5u, members.size());
    EXPECT_EQ((json{{"name", "head"}, {"type", "uint8_t[16]"}}), members[0]);
    EXPECT_EQ((json{{"name", "bytes1"}, {"type", "vec<uint8_t>"}}), members[1]);

    // The text says what the shape words mean.
    const Outcome plain = hidl({"describe", "IDaxAndroidServices"});
    EXPECT_THAT(plain.lines, ::testing::Contains(HasSubstr("oneway    the call is sent without")));
}

// What a person meets when the runtime directory or an environment value is
// wrong: one line naming the cause, in the process where it happens.
TEST_F(HidlToolTest, MisconfigurationsSayWhatIsWrong) {
    auto stderrOf = [&](const std::vector<std::string>& argv, const Process::Env& env) {
        Outcome r = run(argv, env);
        EXPECT_GE(r.exitCode, 0) << argv[0] << " did not exit";
        return r.err;
    };
    const std::string missing = mDir.path() + "/absent/run";
    EXPECT_THAT(stderrOf({ZUV_FINGERPRINT_SERVICE_PATH}, {{"ZUV_HIDL_RUNTIME_DIR", missing}}),
                HasSubstr("its parent directory " + mDir.path() + "/absent does not exist"));
    const std::string daemon =
            stderrOf({ZUV_SERVICEMANAGER_PATH, "--verbose"}, {{"ZUV_HIDL_RUNTIME_DIR", missing}});
    EXPECT_THAT(daemon, HasSubstr("cannot create the runtime directory " + missing));
    EXPECT_THAT(daemon, ::testing::Not(HasSubstr("registered")));
    EXPECT_THAT(daemon, ::testing::Not(HasSubstr("not permitted")));

    const std::string unsafe = mDir.path() + "/open";
    ASSERT_EQ(0, mkdir(unsafe.c_str(), 0755));
    EXPECT_THAT(stderrOf({ZUV_FINGERPRINT_SERVICE_PATH}, {{"ZUV_HIDL_RUNTIME_DIR", unsafe}}),
                HasSubstr("it is unsafe"));
    // zuv_hidl says what is wrong with the directory rather than to start a
    // daemon that would refuse it.
    const std::string open = stderrOf({ZUV_HIDL_PATH, "--runtime-dir", unsafe, "list"}, {});
    EXPECT_THAT(open, HasSubstr("its mode is 0755"));
    EXPECT_THAT(open, HasSubstr("chmod 700 " + unsafe));
    EXPECT_THAT(open, ::testing::Not(HasSubstr("start one")));
    const std::string file = mDir.path() + "/file";
    std::ofstream(file) << "x";
    EXPECT_THAT(stderrOf({ZUV_HIDL_PATH, "--runtime-dir", file, "call", "readInfo"}, {}),
                HasSubstr(file + " is not a directory but a regular file"));

    const std::string waiting = stderrOf(
            {ZUV_HIDL_PATH, "list"},
            {{"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "2s"}, {"ZUV_HIDL_CALL_TIMEOUT_MS", "-5"}});
    EXPECT_THAT(waiting, HasSubstr("ignoring ZUV_HIDL_CALL_TIMEOUT_MS=-5 (accepted: a whole "
                                   "number from 0 to 86400000); using 0"));
    EXPECT_THAT(waiting, HasSubstr("start one with: zuv_hwservicemanager --runtime-dir"));
}

}  // namespace
}  // namespace zuv_mp
