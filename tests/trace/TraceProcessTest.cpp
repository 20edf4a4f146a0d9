// Tracing switched on by the environment in a real child process: the file
// named by ZUV_HIDL_TRACE_FILE, written at exit, with the package's trace
// sections when the atrace shim is preloaded.

#include "ProcessHarness.h"
#include "TraceEvents.h"

namespace zuv_trace_test {
namespace {

class TraceProcessTest : public zuv_mp::ProcessTest {
  protected:
    // Runs the child to its end; its pid, or -1 when it failed.
    pid_t runChild(const zuv_mp::Process::Env& env,
                   const std::string& program = ZUV_TRACE_CHILD_PATH) {
        zuv_mp::Outcome child = run({program}, env);
        EXPECT_EQ(std::vector<std::string>{"called"}, child.lines);
        if (child.exitCode != 0) {
            ADD_FAILURE() << "the child did not exit cleanly";
            return -1;
        }
        return child.pid;
    }

    std::string traceFile(pid_t pid) const {
        return mDir.path() + "/trace-" + std::to_string(pid) + ".json";
    }
    std::string traceOf(pid_t pid) const { return zuv_mp::fileText(traceFile(pid)); }
    std::string pattern() const { return mDir.path() + "/trace-%p.json"; }
};

TEST_F(TraceProcessTest, EnvironmentVariableWritesTheTraceAtExitCappedAsConfigured) {
    const pid_t plain = runChild({});
    ASSERT_GT(plain, 0);
    EXPECT_FALSE(std::filesystem::exists(traceFile(plain)));

    // Named whole, past the kernel's 15 characters.
    const std::string longName = "zuv_trace_child_named_at_length";
    std::filesystem::create_symlink(ZUV_TRACE_CHILD_PATH, mDir.path() + "/" + longName);
    const pid_t pid = runChild({{"ZUV_HIDL_TRACE_FILE", pattern()}}, mDir.path() + "/" + longName);
    ASSERT_GT(pid, 0);
    const std::vector<Json> events = traceEvents(traceOf(pid));
    ASSERT_FALSE(events.empty());
    EXPECT_EQ("process_name", events[0].value("name", ""));
    EXPECT_EQ(longName, events[0]["args"].value("name", ""));
    EXPECT_EQ(kOneCall, slices(events, "hidl"));
    for (const Json& e : events) EXPECT_EQ(pid, static_cast<pid_t>(e.value("pid", -1.0)));
    // libcutils discards the sections unless the shim is preloaded.
    EXPECT_TRUE(slices(events, "atrace").empty());

    const pid_t capped =
            runChild({{"ZUV_HIDL_TRACE_FILE", pattern()}, {"ZUV_HIDL_TRACE_MAX_EVENTS", "4"}});
    ASSERT_GT(capped, 0);
    const std::string json = traceOf(capped);
    // The four newest are both ends and both outcomes; the begins were
    // overwritten.
    EXPECT_TRUE(slices(traceEvents(json), "hidl").empty());
    EXPECT_EQ("2", otherData(json, "unmatchedEnds"));
    EXPECT_EQ("2", otherData(json, "droppedEvents"));
}

// A traced process without a handler of its own that SIGTERM or SIGINT ends
// leaves its trace and still ends by the signal.
TEST_F(TraceProcessTest, TerminatingSignalWritesTheTrace) {
    for (int sig : {SIGTERM, SIGINT}) {
        auto child = zuv_mp::Process::start({ZUV_TRACE_CHILD_PATH, "wait"},
                                            env({{"ZUV_HIDL_TRACE_FILE", pattern()}}));
        ASSERT_TRUE(child && child->line("ready"));
        child->signal(sig);
        auto status = child->waitExit(std::chrono::seconds(5));
        ASSERT_TRUE(status);
        EXPECT_TRUE(WIFSIGNALED(*status) && WTERMSIG(*status) == sig);
        EXPECT_EQ(4u, slices(traceEvents(traceOf(child->pid())), "hidl").size()) << sig;
    }
}

TEST_F(TraceProcessTest, PreloadedShimRecordsThePackageTraceSections) {
    const pid_t pid =
            runChild({{"ZUV_HIDL_TRACE_FILE", pattern()}, {"LD_PRELOAD", ZUV_ATRACE_SHIM_PATH}});
    ASSERT_GT(pid, 0);
    const std::vector<Json> events = traceEvents(traceOf(pid));
    const std::string client = "HIDL::IZuvExtendedFingerprint::getConfigValue::client";
    const std::string server = "HIDL::IZuvExtendedFingerprint::getConfigValue::server";
    EXPECT_EQ(
            (std::vector<std::string>{"b " + client, "b " + server, "e " + server, "e " + client}),
            slices(events, "atrace"));
    EXPECT_EQ(4u, slices(events, "hidl").size());
}

}  // namespace
}  // namespace zuv_trace_test
