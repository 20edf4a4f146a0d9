// The trace recorder in one process: what calls through the loopback
// transport and passthrough wrappers leave in the exported JSON, the bound on
// memory, escaping and writing files.
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/TraceExport.h>
#include <sys/syscall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>

#include <cerrno>

#include "ProcessHarness.h"
#include "TestNames.h"
#include "TraceEvents.h"

namespace zuv_trace_test {
namespace {

struct ConfigFingerprint : fp::MockZuvExtendedFingerprint {
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb cb) override {
        cb(std::string(key) + "!");
        return Void();
    }
};

long currentTid() {
    return static_cast<long>(syscall(SYS_gettid));
}

class TraceExportTest : public ::testing::Test {
  protected:
    void SetUp() override {
        host::startTrace(1024);
        // Built after the start: objects copy the callbacks when they are made.
        stub = new fp::BnHwZuvExtendedFingerprint(new ::testing::NiceMock<ConfigFingerprint>);
        proxy = new fp::BpHwZuvExtendedFingerprint(host::loopbackProxyFor(stub));
    }
    void TearDown() override {
        host::stopTrace();
        host::clearTrace();
    }

    void call() {
        std::string value;
        ASSERT_TRUE(proxy->getConfigValue("mode", [&](const hidl_string& v) { value = v; }).isOk());
        ASSERT_EQ("mode!", value);
    }

    sp<::android::hardware::BHwBinder> stub;
    sp<fp::IZuvExtendedFingerprint> proxy;
};

TEST_F(TraceExportTest, LoopbackCallNestsClientAroundServerOnTheCallingThread) {
    call();
    const std::vector<Json> events = traceEvents(host::traceJson());
    EXPECT_EQ(kOneCall, slices(events, "hidl"));

    double lastTs = 0;
    bool processNamed = false, threadNamed = false;
    for (const Json& e : events) {
        EXPECT_EQ(getpid(), static_cast<pid_t>(e.value("pid", -1.0)));
        if (e.value("ph", "") == "M") {
            processNamed |= e.value("name", "") == "process_name";
            threadNamed |=
                    e.value("name", "") == "thread_name" && e.value("tid", -1.0) == currentTid();
            continue;
        }
        EXPECT_EQ(currentTid(), static_cast<long>(e.value("tid", -1.0)));
        EXPECT_GE(e.value("ts", -1.0), lastTs);
        lastTs = e.value("ts", -1.0);
        if (e.value("ph", "") == "B") {
            ASSERT_TRUE(e.contains("args"));
            EXPECT_EQ("vendor.zuv.hardware.fingerprint@1.0", e.at("args").value("package", ""));
        }
    }
    EXPECT_TRUE(processNamed);
    EXPECT_TRUE(threadNamed);
}

// A registry that refuses what it is asked, as the daemon refuses a caller.
struct RefusingManager : ::android::hidl::manager::V1_0::IServiceManager {
    Return<sp<IBase>> get(const hidl_string&, const hidl_string&) override { return sp<IBase>(); }
    Return<bool> add(const hidl_string&, const sp<IBase>&) override { return false; }
    Return<Transport> getTransport(const hidl_string&, const hidl_string&) override {
        return Status::fromExceptionCode(Status::EX_SECURITY);
    }
    Return<void> list(list_cb) override { return Void(); }
    Return<void> listByInterface(const hidl_string&, listByInterface_cb) override { return Void(); }
    Return<bool> registerForNotifications(
            const hidl_string&, const hidl_string&,
            const sp<::android::hidl::manager::V1_0::IServiceNotification>&) override {
        return false;
    }
    Return<void> debugDump(debugDump_cb) override { return Void(); }
    Return<void> registerPassthroughClient(const hidl_string&, const hidl_string&) override {
        return Void();
    }
};

// Both ends say how the call ended: the client what it got, the server what
// its stub answered. A failed call, which reports no exit, still ends its
// slices.
TEST_F(TraceExportTest, SlicesEndWithTheCallsOutcome) {
    call();
    ASSERT_TRUE(host::killLoopbackTarget(stub));
    EXPECT_TRUE(proxy->getConfigValue("mode", [](const hidl_string&) {}).isDeadObject());
    namespace mgr = ::android::hidl::manager::V1_0;
    sp<mgr::IServiceManager> refusing = new mgr::BpHwServiceManager(
            host::loopbackProxyFor(new mgr::BnHwServiceManager(new RefusingManager)));
    EXPECT_FALSE(refusing->getTransport("a@1.0::IA", "default").isOk());

    std::vector<std::string> ends;
    for (const Json& e : traceEvents(host::traceJson())) {
        if (e.value("ph", "") == "E")
            ends.push_back(e.value("name", "") + " " +
                           (e.contains("args") ? e.at("args").value("status", "") : ""));
    }
    const std::string kRefusal = "EX_SECURITY";
    EXPECT_EQ((std::vector<std::string>{kServer + " OK", kClient + " OK", kClient + " DEAD_OBJECT",
                                        "IServiceManager::getTransport (server) " + kRefusal,
                                        "IServiceManager::getTransport (client) " + kRefusal}),
              ends);
    EXPECT_EQ("0", otherData(host::traceJson(), "unmatchedEnds"));
}

TEST_F(TraceExportTest, FullBufferKeepsTheNewestEventsAndStoppedRecordsNothing) {
    // A call is six events: two slices and each side's outcome.
    host::startTrace(6);
    for (int i = 0; i < 3; ++i) call();
    host::TraceStats stats = host::traceStats();
    EXPECT_EQ(6u, stats.recorded);
    EXPECT_EQ(12u, stats.dropped);
    const std::string json = host::traceJson();
    EXPECT_EQ(kOneCall, slices(traceEvents(json), "hidl"));
    EXPECT_EQ("12", otherData(json, "droppedEvents"));
    // Ends that lost their begins: TraceProcessTest's capped trace.

    host::stopTrace();
    call();
    EXPECT_EQ(6u, host::traceStats().recorded);
    host::clearTrace();
    EXPECT_TRUE(slices(traceEvents(host::traceJson()), "hidl").empty());
}

TEST_F(TraceExportTest, ConcurrentCallsStayWholeAndNestedPerThread) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 40;  // six events each, within the buffer
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this] {
            for (int i = 0; i < kCalls; ++i) call();
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(0u, host::traceStats().dropped);

    std::map<long, std::vector<std::string>> perThread;
    for (const Json& e : traceEvents(host::traceJson())) {
        if (e.value("cat", "") == "hidl") {
            perThread[static_cast<long>(e.value("tid", -1.0))].push_back(e.value("ph", "") + " " +
                                                                         e.value("name", ""));
        }
    }
    ASSERT_EQ(static_cast<size_t>(kThreads), perThread.size());
    for (const auto& [tid, seq] : perThread) {
        ASSERT_EQ(static_cast<size_t>(kCalls) * 4, seq.size()) << tid;
        for (size_t i = 0; i < seq.size(); i += 4) {
            ASSERT_EQ(kOneCall, std::vector<std::string>(seq.begin() + i, seq.begin() + i + 4))
                    << "thread " << tid << " at " << i;
        }
    }
}

// A oneway passthrough call begins on the caller's thread and ends on the
// wrapper's queue: an async slice, not an end closing the queue's last slice.
TEST_F(TraceExportTest, OnewayPassthroughCallEndingOnAnotherThreadIsOneAsyncSlice) {
    sp<fp::IDaxAndroidServices> wrapper =
            new fp::BsDaxAndroidServices(new ::testing::NiceMock<fp::MockDaxAndroidServices>);
    ASSERT_TRUE(wrapper->setTimer(7).isOk());
    // The exit is reported on the queue after the implementation returns.
    for (int i = 0; i < 30000 && host::traceStats().recorded < 2; ++i) usleep(1000);

    const std::vector<Json> events = traceEvents(host::traceJson());
    const std::string name = "IDaxAndroidServices::setTimer (passthrough)";
    std::vector<const Json*> found;
    for (const Json& e : events) {
        if (e.value("name", "") == name) found.push_back(&e);
    }
    ASSERT_EQ(2u, found.size());
    EXPECT_EQ("b", found[0]->value("ph", ""));
    EXPECT_EQ("e", found[1]->value("ph", ""));
    EXPECT_EQ(found[0]->value("id", ""), found[1]->value("id", ""));
    EXPECT_EQ(currentTid(), static_cast<long>(found[0]->value("tid", -1.0)));
    EXPECT_NE(currentTid(), static_cast<long>(found[1]->value("tid", -1.0)));
    EXPECT_EQ("0", otherData(host::traceJson(), "unmatchedEnds"));
}

TEST_F(TraceExportTest, SectionNamesAreEscapedAndSectionsNestPerThread) {
    const std::string awkward = std::string("say \"hi\"\\ \t\n\x01 caf\xc3\xa9 \xe2\x82\xac");
    host::traceSectionBegin(awkward.c_str());
    host::traceSectionBegin("\xff\xc0\xaf broken");  // not UTF-8
    host::traceSectionEnd();
    host::traceSectionEnd();
    host::traceSectionEnd();  // one too many: left out

    const std::string json = host::traceJson();
    EXPECT_EQ((std::vector<std::string>{
                      "b " + awkward, "b \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd broken",
                      "e \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd broken", "e " + awkward}),
              slices(traceEvents(json), "atrace"));
    EXPECT_EQ("1", otherData(json, "unmatchedEnds"));
}

using zuv_mp::fileText;

TEST_F(TraceExportTest, WritesFilesNamedByPidAndReportsFailures) {
    zuv_mp::TempDir tmp;
    ASSERT_FALSE(tmp.path().empty());
    // The file the environment names, written at exit, is in TraceProcessTest.
    call();
    errno = 0;
    EXPECT_FALSE(host::writeTrace(tmp.path() + "/missing/t.json"));
    EXPECT_EQ(ENOENT, errno);
    // Nothing half-written is left behind.
    EXPECT_EQ("", fileText(tmp.path() + "/missing/t.json"));

    unsetenv(host::kTraceFileEnvVar);
    EXPECT_FALSE(host::flushTrace());
    setenv(host::kTraceFileEnvVar, (tmp.path() + "/env-%p.json").c_str(), 1);
    EXPECT_TRUE(host::flushTrace());
    unsetenv(host::kTraceFileEnvVar);
    const std::string written = fileText(tmp.path() + "/env-" + std::to_string(getpid()) + ".json");
    EXPECT_EQ(kOneCall, slices(traceEvents(written), "hidl"));
}

}  // namespace
}  // namespace zuv_trace_test
