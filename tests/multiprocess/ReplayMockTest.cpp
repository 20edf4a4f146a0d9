// zuv_hidl replay and mock on real processes: a hand-written recording of
// fingerprint_client's session replayed against the example service and
// against a mock with a fault, the client run against the mock alone, and
// the messages a broken recording gets.

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

const std::string kRecording = std::string(ZUV_RECORDINGS_DIR) + "/fingerprint_client.jsonl";

class ReplayMockTest : public ProcessTest {
  protected:
    std::unique_ptr<Process> mock(std::vector<std::string> args) {
        args.insert(args.begin(), {ZUV_HIDL_PATH, "mock", kRecording});
        return started(args, {}, mDir.path() + "/mock.err");
    }
};

TEST_F(ReplayMockTest, ReplayMatchesTheServiceAndNamesTheOperationThatDiffers) {
    auto sm = manager();
    auto service = started({ZUV_FINGERPRINT_SERVICE_PATH});
    ASSERT_NE(nullptr, service);
    Outcome same = hidl({"replay", kRecording});
    EXPECT_EQ(0, same.exitCode) << same.text() << same.err;
    EXPECT_THAT(same.text(), HasSubstr("14 calls, 12 calls back compared; 0 differences"));
    // A session recorded now replays the same.
    const std::string fresh = mDir.path() + "/fresh.jsonl";
    ASSERT_EQ(0, hidl({"record", "-o", fresh, "--", ZUV_FINGERPRINT_CLIENT_PATH}).exitCode);
    Outcome again = hidl({"replay", "--speed", "4", fresh});
    EXPECT_EQ(0, again.exitCode) << again.text() << again.err;
    service.reset();

    // The same session against a stand-in whose getConfigValue fails: the
    // client notices that step, replay names that operation and nothing else.
    auto failing = mock({"--fail", "getConfigValue=EX_ILLEGAL_STATE"});
    ASSERT_NE(nullptr, failing);
    Outcome client = run({ZUV_FINGERPRINT_CLIENT_PATH});
    EXPECT_EQ(1, client.exitCode);
    EXPECT_THAT(client.text(), HasSubstr("2 step(s) failed"));
    for (const std::string& l : client.lines) {
        if (l.find("FAILED") != std::string::npos) {
            EXPECT_THAT(l, HasSubstr("getConfigValue"));
        }
    }

    Outcome differs = hidl({"replay", "--no-wait", kRecording});
    EXPECT_EQ(1, differs.exitCode) << differs.err;
    ASSERT_EQ(3u, differs.lines.size()) << differs.text();
    EXPECT_EQ("getConfigValue seq 3: status: recorded \"OK\", seen \"EX_ILLEGAL_STATE\"",
              differs.lines[0]);
    EXPECT_THAT(differs.lines[2], HasSubstr("2 differences"));
    EXPECT_EQ(0, hidl({"replay", "--ignore", "getConfigValue", kRecording}).exitCode);
}

TEST_F(ReplayMockTest, ClientPassesAgainstTheMockAloneAndSeesItDie) {
    auto sm = manager();
    {
        auto stand = mock({});
        ASSERT_NE(nullptr, stand);
        Outcome client = run({ZUV_FINGERPRINT_CLIENT_PATH});
        EXPECT_EQ(0, client.exitCode) << client.text() << fileText(mDir.path() + "/mock.err");
        EXPECT_THAT(client.text(), HasSubstr("onMatch: match finger-9 result=1 score=12"));
    }

    auto dying = mock({"--die-after", "3"});
    ASSERT_NE(nullptr, dying);
    const auto start = std::chrono::steady_clock::now();
    auto client = Process::start({ZUV_FINGERPRINT_CLIENT_PATH}, env());
    ASSERT_NE(nullptr, client);
    // The fourth call meets a dead service at once, not after a timeout.
    auto fourth = client->line("client: setConfigValue", 5s);
    ASSERT_TRUE(fourth.has_value());
    EXPECT_THAT(*fourth, HasSubstr("FAILED"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    EXPECT_EQ(3, dying->exitCode(2s)) << "-1: the mock still runs";

    // What the client saw, by name.
    dying = mock({"--die-after", "3"});
    ASSERT_NE(nullptr, dying);
    Outcome replay = hidl({"replay", "--no-wait", kRecording});
    EXPECT_EQ(1, replay.exitCode);
    ASSERT_LT(3u, replay.lines.size()) << replay.err;
    EXPECT_EQ("setConfigValue seq 4: status: recorded \"OK\", seen \"DEAD_OBJECT\"",
              replay.lines[0]);
}

TEST_F(ReplayMockTest, BadRecordingsAndOptionsNameTheirCause) {
    const std::string header =
            R"({"format":"zuv-hidl-recording","version":1,"pid":7,"program":"c","start_ns":1})";
    const std::string call =
            R"({"event":"call","seq":1,"time_ns":5,"duration_ns":1,"pid":7,"side":"client",)"
            R"("interface":"IZuvExtendedFingerprint","instance":"default",)"
            R"("object":"IZuvExtendedFingerprint#1",)";
    const std::vector<std::pair<std::string, std::string>> cases = {
            {R"({"format":"other"})", ":1: format: not a recording"},
            {header + "\n" + call + R"("operation":"getConfigValue","args":{"key":"a"},"st)",
             ":2: line: not a JSON object"},
            {header + "\n" + call + R"("operation":"getConfigValue","args":{"key":"a"}})",
             ":2: status: missing"},
            {header + "\n" + call + R"("operation":"nosuch","args":{},"status":"OK"})",
             ":2: operation: IZuvExtendedFingerprint has no operation 'nosuch'"},
            {header + "\n" + call +
                     R"("operation":"getConfigValue","args":{"key":7},"status":"OK"})",
             ":2: args.key: expected string, got 7"},
            {header + "\n" + call +
                     R"("operation":"getConfigValue","args":{"key":"a"},"status":"OK",)"
                     R"("result":{"value":[1]}})",
             ":2: result.value: expected string"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        const std::string path = mDir.path() + "/bad" + std::to_string(i) + ".jsonl";
        std::ofstream(path) << cases[i].first << "\n";
        Outcome r = hidl({i % 2 == 0 ? "replay" : "mock", path});
        EXPECT_EQ(2, r.exitCode) << cases[i].first;
        EXPECT_THAT(r.err, HasSubstr(path + cases[i].second));
    }

    Outcome status = hidl({"mock", "--fail", "getConfigValue=EX_NOPE", kRecording});
    EXPECT_EQ(2, status.exitCode);
    EXPECT_THAT(status.err, HasSubstr("unknown status 'EX_NOPE'; the statuses are: DEAD_OBJECT"));
    Outcome op = hidl({"mock", "--hang", "nosuch", kRecording});
    EXPECT_EQ(2, op.exitCode);
    EXPECT_THAT(op.err, HasSubstr("'nosuch' is not an operation"));
}

}  // namespace
}  // namespace zuv_mp
