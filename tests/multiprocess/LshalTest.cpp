// zuv_lshal against a real daemon and the example service, each test in its
// own runtime directory.
#include <sys/stat.h>

#include <algorithm>
#include <sstream>

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

// The row of fqName/instance in a listing, split into its columns; empty when
// absent.
std::vector<std::string> row(const Outcome& listing, const std::string& fqName,
                             const std::string& instance) {
    for (const std::string& l : listing.lines) {
        std::istringstream in(l);
        std::vector<std::string> cols;
        for (std::string c; in >> c;) cols.push_back(c);
        if (cols.size() >= 2 && cols[0] == fqName && cols[1] == instance) return cols;
    }
    return {};
}

class LshalTest : public ProcessTest {
  protected:
    LshalTest() { mEnv = {{"ZUV_HIDL_SERVICE_MANAGER", "daemon"}}; }

    Outcome lshal(std::vector<std::string> args) {
        args.insert(args.begin(), ZUV_LSHAL_PATH);
        return run(args);
    }
};

constexpr const char* kFingerprint = "vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint";
constexpr const char* kManager = "android.hidl.manager@1.0::IServiceManager";

TEST_F(LshalTest, ListsTheExampleServiceWithItsProcessPingAndInterfaceChain) {
    Outcome none = lshal({});
    EXPECT_EQ(1, none.exitCode);  // no daemon yet
    EXPECT_TRUE(none.lines.empty());
    Outcome bogus = lshal({"--bogus"});
    EXPECT_EQ(2, bogus.exitCode);
    EXPECT_NE(std::string::npos, bogus.err.find("--bogus")) << bogus.err;
    // The daemon parses its options the same way: --option=value, usage errors exit 2.
    Outcome threads = run({ZUV_SERVICEMANAGER_PATH, "--threads=0"});
    EXPECT_EQ(2, threads.exitCode);
    EXPECT_NE(std::string::npos, threads.err.find("--threads")) << threads.err;

    auto sm = manager({"--call-timeout-ms=500"});
    auto service = started({ZUV_FINGERPRINT_SERVICE_PATH, "--instance", "sensor0"});
    ASSERT_TRUE(sm && service);

    Outcome plain = lshal({"--runtime-dir=" + runtimeDir()});
    EXPECT_EQ(0, plain.exitCode);
    EXPECT_EQ((std::vector<std::string>{kFingerprint, "sensor0", std::to_string(service->pid()),
                                        "hwbinder"}),
              row(plain, kFingerprint, "sensor0"));
    EXPECT_EQ(
            (std::vector<std::string>{kManager, "default", std::to_string(sm->pid()), "hwbinder"}),
            row(plain, kManager, "default"));

    Outcome full = lshal({"--ping", "--debug"});
    EXPECT_EQ(0, full.exitCode);
    EXPECT_EQ((std::vector<std::string>{kFingerprint, "sensor0", std::to_string(service->pid()),
                                        "hwbinder", "ok"}),
              row(full, kFingerprint, "sensor0"));
    EXPECT_THAT(full.lines, ::testing::Contains(std::string("    chain: ") + kFingerprint +
                                                " android.hidl.base@1.0::IBase"));
    const std::string debugPrefix = "    debug info: pid " + std::to_string(service->pid()) + ",";
    EXPECT_TRUE(std::any_of(full.lines.begin(), full.lines.end(),
                            [&](const std::string& l) { return l.rfind(debugPrefix, 0) == 0; }));
}

#ifdef ZUV_SOCKET_ACTIVATE_PATH
// As systemd starts it from the installed units: the socket exists before the
// daemon, which serves it and, stopping, leaves it to systemd for the next.
TEST_F(LshalTest, DaemonServesTheSocketSystemdHandsOver) {
    const std::string run = runtimeDir();
    const std::string socketPath = run + "/hwservicemanager.sock";
    ASSERT_EQ(0, mkdir(run.c_str(), 0700));
    // The daemon starts on the first connection: the service's registration.
    auto sm = Process::start({ZUV_SOCKET_ACTIVATE_PATH, "-l", socketPath, ZUV_SERVICEMANAGER_PATH,
                              "--runtime-dir", run},
                             env());
    ASSERT_TRUE(sm);
    // The socket appears once systemd-socket-activate listens, a moment later.
    ASSERT_TRUE(eventually([&] { return access(socketPath.c_str(), F_OK) == 0; }))
            << "systemd-socket-activate did not listen";
    auto service = started({ZUV_FINGERPRINT_SERVICE_PATH});
    ASSERT_TRUE(service && sm->line("ready"));

    Outcome listing = lshal({});
    EXPECT_EQ(0, listing.exitCode);
    EXPECT_EQ((std::vector<std::string>{kFingerprint, "default", std::to_string(service->pid()),
                                        "hwbinder"}),
              row(listing, kFingerprint, "default"));

    sm->signal(SIGTERM);
    EXPECT_EQ(0, sm->exitCode(kStopTimeout));
    EXPECT_EQ(0, access(socketPath.c_str(), F_OK)) << "the handed-over socket was removed";
    EXPECT_NE(0, access((run + "/hwservicemanager.lock").c_str(), F_OK));
}
#endif

}  // namespace
}  // namespace zuv_mp
