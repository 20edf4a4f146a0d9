// The service manager between real processes: zuv_hwservicemanager and test
// peers started for real, each test in its own runtime directory.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

constexpr const char* kTest = "vendor.zuv.test@1.0::ITest";

class RegistryAcrossProcesses : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_FALSE(mDir.path().empty()); }

    Process::Env env(Process::Env extra = {}) const {
        Process::Env e{{"ZUV_HIDL_RUNTIME_DIR", mDir.path() + "/run"},
                       {"ZUV_HIDL_SERVICE_MANAGER", "daemon"},
                       {"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "30000"}};
        for (auto& [k, v] : extra) e[k] = v;
        return e;
    }

    // Started and ready, or null (and the test has failed).
    std::unique_ptr<Process> started(const std::vector<std::string>& argv,
                                     Process::Env extra = {}) {
        auto p = Process::start(argv, env(std::move(extra)));
        if (p == nullptr) {
            ADD_FAILURE() << "cannot start " << argv[0];
            return nullptr;
        }
        if (!p->line("ready")) {
            ADD_FAILURE() << argv[0] << " never got ready";
            return nullptr;
        }
        return p;
    }
    std::unique_ptr<Process> manager() { return started({ZUV_SERVICEMANAGER_PATH}); }
    std::unique_ptr<Process> peer(Process::Env extra = {}) {
        return started({ZUV_TEST_PEER_PATH}, std::move(extra));
    }

    // The registry's entries as one peer lists them.
    static std::vector<std::string> list(Process& p, const std::string& command = "list") {
        if (!p.send(command)) return {};
        auto lines = p.linesUntil("list end");
        if (!lines) return {};
        std::vector<std::string> entries;
        for (auto& l : *lines) {
            if (l.rfind("list ", 0) == 0) entries.push_back(l.substr(5));
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    static long long elapsedMs(const std::string& gotLine) {
        return std::stoll(gotLine.substr(gotLine.rfind(' ') + 1));
    }

    TempDir mDir;  // declared first: outlives every process of the test
};

TEST_F(RegistryAcrossProcesses, RegisteredInOneProcessFoundAndCalledFromAnother) {
    auto sm = manager();
    auto server = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && client);

    EXPECT_EQ(server->ask("register fp", "registered"), "registered fp 0");
    auto got = client->ask("get fp", "got fp");
    ASSERT_TRUE(got);
    EXPECT_EQ(got->substr(0, 13), "got fp remote");
    // The call reaches the server's process.
    EXPECT_EQ(client->ask("whois fp", "whois"), "whois fp " + std::to_string(server->pid()));
    // The manager knows which process serves what.
    ASSERT_TRUE(client->send("dump"));
    auto dump = client->linesUntil("dump end");
    ASSERT_TRUE(dump);
    EXPECT_NE(std::find(dump->begin(), dump->end(),
                        std::string("dump ") + kTest + "/fp " + std::to_string(server->pid())),
              dump->end());
    EXPECT_NE(std::find(dump->begin(), dump->end(),
                        "dump android.hidl.manager@1.0::IServiceManager/default " +
                                std::to_string(sm->pid())),
              dump->end());

    // Looked up by the registering process itself, it is its own object.
    auto own = server->ask("tryget fp", "got fp");
    ASSERT_TRUE(own);
    EXPECT_EQ(own->substr(0, 12), "got fp local");
}

TEST_F(RegistryAcrossProcesses, LookupsWaitOnlyWhenAskedAndOnlyAsLongAsConfigured) {
    auto sm = manager();
    auto server = peer();
    auto impatient = peer({{"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "300"}});
    auto patient = peer();
    ASSERT_TRUE(sm && server && impatient && patient);

    // tryGetService does not wait, even with a long timeout configured.
    auto missing = patient->ask("tryget nobody", "got nobody");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->substr(0, 15), "got nobody null");
    EXPECT_LT(elapsedMs(*missing), 5000);

    // getService gives up after its timeout.
    auto timedOut = impatient->ask("get nobody", "got nobody");
    ASSERT_TRUE(timedOut);
    EXPECT_EQ(timedOut->substr(0, 15), "got nobody null");
    EXPECT_GE(elapsedMs(*timedOut), 300);
    EXPECT_LT(elapsedMs(*timedOut), 20000);

    // ... and finds a service registered while it waits.
    ASSERT_TRUE(patient->send("get late"));
    EXPECT_EQ(server->ask("register late", "registered"), "registered late 0");
    auto found = patient->line("got late");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->substr(0, 15), "got late remote");
}

TEST_F(RegistryAcrossProcesses, ListsEveryInterfaceOfEveryRegistration) {
    auto sm = manager();
    auto server = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && client);
    EXPECT_EQ(server->ask("register a", "registered"), "registered a 0");
    EXPECT_EQ(server->ask("register b", "registered"), "registered b 0");

    EXPECT_EQ(list(*client), (std::vector<std::string>{
                                     "android.hidl.base@1.0::IBase/a",
                                     "android.hidl.base@1.0::IBase/b",
                                     "android.hidl.base@1.0::IBase/default",
                                     "android.hidl.manager@1.0::IServiceManager/default",
                                     "vendor.zuv.test@1.0::ITest/a",
                                     "vendor.zuv.test@1.0::ITest/b",
                             }));
    EXPECT_EQ(list(*client, std::string("listby ") + kTest), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(list(*client, "listby vendor.zuv.none@1.0::INone").empty());
}

TEST_F(RegistryAcrossProcesses, ListenersInOtherProcessesAreToldOfRegistrations) {
    auto sm = manager();
    auto server = peer();
    auto watcher = peer();
    ASSERT_TRUE(sm && server && watcher);
    EXPECT_EQ(server->ask("register early", "registered"), "registered early 0");

    EXPECT_EQ(watcher->ask(std::string("watch ") + kTest + " -", "watching"), "watching 1");
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " early 1");
    EXPECT_EQ(watcher->ask(std::string("watch ") + kTest + " late", "watching"), "watching 1");

    EXPECT_EQ(server->ask("register late", "registered"), "registered late 0");
    // Both listeners hear of it: the one for every instance and the one for "late".
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " late 0");
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " late 0");

    // A listener whose process died is dropped; registrations carry on.
    watcher->signal(SIGKILL);
    ASSERT_TRUE(watcher->waitExit(kLineTimeout));
    EXPECT_EQ(server->ask("register later", "registered"), "registered later 0");
    EXPECT_EQ(server->ask("register latest", "registered"), "registered latest 0");
}

TEST_F(RegistryAcrossProcesses, AServiceWhoseProcessDiesDisappears) {
    auto sm = manager();
    auto server = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && client);
    EXPECT_EQ(server->ask("register doomed", "registered"), "registered doomed 0");
    auto got = client->ask("get doomed", "got doomed");
    ASSERT_TRUE(got);
    ASSERT_EQ(got->substr(0, 17), "got doomed remote");
    EXPECT_EQ(client->ask("link doomed", "linked"), "linked doomed 1");
    EXPECT_EQ(client->ask("ping doomed", "ping"), "ping doomed ok");

    server->signal(SIGKILL);
    ASSERT_TRUE(server->waitExit(kLineTimeout));

    EXPECT_EQ(client->line("died doomed"), "died doomed");
    EXPECT_EQ(client->ask("ping doomed", "ping"), "ping doomed DEAD_OBJECT");
    EXPECT_EQ(client->ask("deaths doomed", "deaths"), "deaths doomed 1");
    // The manager learns of the death on its own; the entry goes soon after.
    const auto deadline = Clock::now() + kLineTimeout;
    std::vector<std::string> left;
    do {
        left = list(*client, std::string("listby ") + kTest);
    } while (!left.empty() && Clock::now() < deadline);
    EXPECT_TRUE(left.empty());
    auto gone = client->ask("tryget doomed", "got doomed");
    ASSERT_TRUE(gone);
    EXPECT_EQ(gone->substr(0, 15), "got doomed null");
}

TEST_F(RegistryAcrossProcesses, ServicesOutliveTheManager) {
    auto sm = manager();
    auto server = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && client);
    EXPECT_EQ(server->ask("register fp", "registered"), "registered fp 0");
    auto got = client->ask("get fp", "got fp");
    ASSERT_TRUE(got);

    sm->signal(SIGKILL);
    ASSERT_TRUE(sm->waitExit(kLineTimeout));

    // Calls do not go through the manager.
    EXPECT_EQ(client->ask("whois fp", "whois"), "whois fp " + std::to_string(server->pid()));
    // New lookups fail, without hanging, while no manager serves.
    auto missing = client->ask("tryget fp", "got fp");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->substr(0, 11), "got fp null");

    // A new manager serves the directory; services register again with it.
    auto again = manager();
    ASSERT_TRUE(again);
    EXPECT_EQ(server->ask("register fp2", "registered"), "registered fp2 0");
    auto found = client->ask("get fp2", "got fp2");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->substr(0, 14), "got fp2 remote");
}

TEST_F(RegistryAcrossProcesses, OneManagerPerDirectoryAndItStopsCleanly) {
    auto sm = manager();
    ASSERT_TRUE(sm);
    auto second = Process::start({ZUV_SERVICEMANAGER_PATH}, env());
    ASSERT_TRUE(second);
    auto status = second->waitExit(kLineTimeout);
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 1);

    const std::string socket = mDir.path() + "/run/hwservicemanager.sock";
    EXPECT_TRUE(std::filesystem::exists(socket));
    sm->signal(SIGTERM);
    status = sm->waitExit(kLineTimeout);
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status) && WEXITSTATUS(*status) == 0);
    EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST_F(RegistryAcrossProcesses, TheEnvironmentChoosesTheRegistry) {
    // No manager yet: a process that requires one cannot register...
    auto required = peer();
    ASSERT_TRUE(required);
    EXPECT_NE(required->ask("register x", "registered"), "registered x 0");
    // ... one that wants its own registry can, and finds it there.
    auto own = peer({{"ZUV_HIDL_SERVICE_MANAGER", "inprocess"}});
    ASSERT_TRUE(own);
    EXPECT_EQ(own->ask("register x", "registered"), "registered x 0");
    auto local = own->ask("tryget x", "got x");
    ASSERT_TRUE(local);
    EXPECT_EQ(local->substr(0, 11), "got x local");

    // With a manager serving, "auto" uses it and "inprocess" still does not.
    auto sm = manager();
    auto automatic = peer({{"ZUV_HIDL_SERVICE_MANAGER", "auto"}});
    ASSERT_TRUE(sm && automatic);
    EXPECT_EQ(automatic->ask("register y", "registered"), "registered y 0");
    auto remote = required->ask("tryget y", "got y");
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->substr(0, 12), "got y remote");
    auto invisible = own->ask("tryget y", "got y");
    ASSERT_TRUE(invisible);
    EXPECT_EQ(invisible->substr(0, 10), "got y null");
}

}  // namespace
}  // namespace zuv_mp
