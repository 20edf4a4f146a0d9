// The service manager between real processes: zuv_hwservicemanager and test
// peers started for real, each test in its own runtime directory.

#include <algorithm>

#include "ProcessHarness.h"

namespace zuv_mp {
namespace {

constexpr const char* kTest = "vendor.zuv.test@1.0::ITest";

class RegistryAcrossProcesses : public ProcessTest {
  protected:
    RegistryAcrossProcesses() {
        mEnv = {{"ZUV_HIDL_SERVICE_MANAGER", "daemon"},
                {"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "30000"}};
    }

    std::string managerLogText() const { return fileText(managerLog()); }

    // The registry's entries as one peer lists them, or its names of fqName.
    static std::vector<std::string> list(Process& p, const std::string& fqName = "") {
        if (!p.send(fqName.empty() ? "list" : "listby " + fqName)) return {};
        auto lines = p.linesUntil("list end");
        if (!lines) return {};
        std::vector<std::string> entries;
        for (auto& l : *lines) {
            if (l.rfind("list ", 0) == 0) entries.push_back(l.substr(5));
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    static bool registered(Process& p, const std::string& name) {
        return p.ask("register " + name, "registered") == "registered " + name + " 0";
    }

    // How p finds name with get or tryget: "remote", "local" or "null".
    static std::string found(Process& p, const std::string& how, const std::string& name) {
        auto l = p.ask(how + " " + name, "got " + name + " ");
        return l ? l->substr(5 + name.size(), l->rfind(' ') - 5 - name.size()) : "";
    }

    static long long elapsedMs(const std::string& gotLine) {
        return std::stoll(gotLine.substr(gotLine.rfind(' ') + 1));
    }
};

TEST_F(RegistryAcrossProcesses, RegisteredInOneProcessListedFoundAndCalledFromAnother) {
    auto sm = manager();
    auto server = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && client);

    EXPECT_TRUE(registered(*server, "a"));
    EXPECT_TRUE(registered(*server, "b"));
    EXPECT_EQ(found(*client, "get", "a"), "remote");
    // The call reaches the server's process.
    EXPECT_EQ(client->ask("whois a", "whois"), "whois a " + std::to_string(server->pid()));
    // Looked up by the registering process itself, it is its own object.
    EXPECT_EQ(found(*server, "tryget", "a"), "local");

    // Every interface of every registration is listed.
    EXPECT_EQ(list(*client), (std::vector<std::string>{
                                     "android.hidl.base@1.0::IBase/a",
                                     "android.hidl.base@1.0::IBase/b",
                                     "android.hidl.base@1.0::IBase/default",
                                     "android.hidl.manager@1.0::IServiceManager/default",
                                     "vendor.zuv.test@1.0::ITest/a",
                                     "vendor.zuv.test@1.0::ITest/b",
                             }));
    EXPECT_EQ(list(*client, kTest), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(list(*client, "vendor.zuv.none@1.0::INone").empty());
}

TEST_F(RegistryAcrossProcesses, LookupsWaitOnlyWhenAskedAndOnlyAsLongAsConfigured) {
    auto sm = manager();
    auto server = peer();
    const std::string impatientLog = mDir.path() + "/impatient.log";
    auto impatient = peer({{"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "200"}}, impatientLog);
    auto patient = peer();
    ASSERT_TRUE(sm && server && impatient && patient);

    // A bad timeout is reported by the first lookup, though it does not wait.
    const std::string badLog = mDir.path() + "/bad.log";
    auto bad = peer({{"ZUV_HIDL_GET_SERVICE_TIMEOUT_MS", "soon"}}, badLog);
    ASSERT_TRUE(bad && bad->ask("tryget nobody", "got nobody"));
    EXPECT_THAT(fileText(badLog), HasSubstr("ZUV_HIDL_GET_SERVICE_TIMEOUT_MS"));

    // tryGetService does not wait, even with a long timeout configured.
    auto missing = patient->ask("tryget nobody", "got nobody");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->substr(0, 15), "got nobody null");
    EXPECT_LT(elapsedMs(*missing), 5000);

    // getService gives up after its timeout.
    auto timedOut = impatient->ask("get nobody", "got nobody");
    ASSERT_TRUE(timedOut);
    EXPECT_EQ(timedOut->substr(0, 15), "got nobody null");
    EXPECT_GE(elapsedMs(*timedOut), 200);
    EXPECT_LT(elapsedMs(*timedOut), 20000);
    const std::string gaveUp = fileText(impatientLog);
    EXPECT_THAT(gaveUp,
                HasSubstr("getService gave up on vendor.zuv.test@1.0::ITest/nobody after 200 ms"));
    EXPECT_THAT(gaveUp, HasSubstr(runtimeDir() + "/hwservicemanager.sock"));

    // ... and finds a service registered while it waits.
    // Another interface's registration under the name does not end the wait.
    ASSERT_TRUE(patient->send("get late"));
    std::this_thread::sleep_for(50ms);  // waiting by then
    EXPECT_EQ(server->ask("register late vendor.zuv.other@1.0::IOther", "registered"),
              "registered late 0");
    EXPECT_TRUE(registered(*server, "late"));
    auto late = patient->line("got late");
    ASSERT_TRUE(late);
    EXPECT_EQ(late->substr(0, 15), "got late remote");
}

TEST_F(RegistryAcrossProcesses, ANameBelongsToItsProcessUntilItDiesAndThenDisappears) {
    auto sm = manager();
    auto owner = peer();
    const std::string intruderLog = mDir.path() + "/intruder.log";
    auto intruder = peer({}, intruderLog);
    auto client = peer();
    ASSERT_TRUE(sm && owner && intruder && client);
    const std::string ownerPid = std::to_string(owner->pid());
    EXPECT_TRUE(registered(*owner, "fp"));

    // Refused with an error that names the owner, in the caller and the daemon's log.
    EXPECT_EQ(intruder->ask("register fp", "registered"), "registered fp -1");  // PERMISSION_DENIED
    EXPECT_THAT(managerLogText(), HasSubstr("to pid " + std::to_string(intruder->pid()) +
                                            ": registered by pid " + ownerPid));
    EXPECT_THAT(fileText(intruderLog),
                AllOf(HasSubstr("cannot register \"fp\": Status(EX_SECURITY"),
                      HasSubstr("registered by pid " + ownerPid)));
    // The intruder's exit does not take the owner's entry with it.
    intruder->send("exit");
    ASSERT_TRUE(intruder->waitExit(kLineTimeout));
    EXPECT_EQ(found(*client, "get", "fp"), "remote");
    EXPECT_EQ(client->ask("whois fp", "whois"), "whois fp " + ownerPid);

    // The owner may replace its own registration.
    EXPECT_TRUE(registered(*owner, "fp"));

    // Its process dies: the manager learns of it on its own, the entry going
    // soon after and the name free. (Clients are told: SocketTest's
    // DeadPeerFailsCallsAndTellsRecipientsOnce.)
    owner->signal(SIGKILL);
    ASSERT_TRUE(owner->waitExit(kLineTimeout));
    EXPECT_TRUE(eventually([&] { return list(*client, kTest).empty(); }));
    EXPECT_EQ(found(*client, "tryget", "fp"), "null");
    EXPECT_TRUE(registered(*client, "fp"));
}

TEST_F(RegistryAcrossProcesses, APolicyFileDecidesWhoMayAddWhat) {
    const std::string policy = mDir.path() + "/policy";
    {
        std::ofstream out(policy);
        out << "# test services\n"
            << "allow " << getuid() << " " << kTest << " open-*\n"
            << "allow * vendor.zuv.*::ITest peer " << ZUV_TEST_PEER_PATH << "\n"
            << "allow * " << kTest << " other /nonexistent/*   # no such program\n";
    }
    auto sm = manager({"--policy", policy});
    auto p = peer();
    ASSERT_TRUE(sm && p);
    EXPECT_TRUE(registered(*p, "open-1"));
    EXPECT_TRUE(registered(*p, "peer"));
    EXPECT_EQ(p->ask("register other", "registered"), "registered other -1");
    EXPECT_EQ(p->ask("register unlisted", "registered"), "registered unlisted -1");
    EXPECT_EQ(list(*p, kTest), (std::vector<std::string>{"open-1", "peer"}));
    EXPECT_EQ(list(*p, "android.hidl.manager@1.0::IServiceManager"),
              std::vector<std::string>{"default"});
    const std::string log = managerLogText();
    EXPECT_THAT(log, AllOf(HasSubstr("pid " + std::to_string(p->pid()) + " (uid " +
                                     std::to_string(getuid()) + ", executable "),
                           HasSubstr("may not add " + std::string(kTest) + "/other")));

    // A bad file stops the manager before it serves, naming the line.
    {
        std::ofstream out(policy);
        out << "allow * " << kTest << " a\n\nallow * " << kTest << "\n";
    }
    auto bad = Process::start({ZUV_SERVICEMANAGER_PATH, "--policy", policy}, env(), managerLog());
    ASSERT_TRUE(bad);
    EXPECT_EQ(bad->exitCode(), 2);
    EXPECT_THAT(managerLogText(), HasSubstr(policy + ":3: "));
}

TEST_F(RegistryAcrossProcesses, OneManagerPerDirectoryAndARestartedOneLearnsWhatWasRegistered) {
    auto sm = manager();
    auto server = peer();
    auto watcher = peer();
    auto client = peer();
    ASSERT_TRUE(sm && server && watcher && client);
    auto second = Process::start({ZUV_SERVICEMANAGER_PATH}, env());
    ASSERT_TRUE(second);
    EXPECT_EQ(second->exitCode(), 1);

    EXPECT_TRUE(registered(*server, "fp"));
    ASSERT_EQ(found(*client, "get", "fp"), "remote");
    // One listener for every instance, one for fp: each hears of fp once.
    EXPECT_EQ(watcher->ask(std::string("watch ") + kTest + " -", "watching"), "watching 1");
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " fp 1");
    EXPECT_EQ(watcher->ask(std::string("watch ") + kTest + " fp", "watching"), "watching 1");
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " fp 1");

    sm->signal(SIGKILL);
    ASSERT_TRUE(sm->waitExit(kLineTimeout));
    // Calls do not go through the manager.
    EXPECT_EQ(client->ask("whois fp", "whois"), "whois fp " + std::to_string(server->pid()));
    // New lookups fail, without hanging, while no manager serves; a waiting
    // one waits across the restart.
    EXPECT_EQ(found(*client, "tryget", "fp"), "null");
    ASSERT_TRUE(client->send("get fp"));

    // A new manager takes over the dead one's socket and learns what the
    // running processes registered, within a second (with room for a loaded
    // machine).
    auto again = manager();
    ASSERT_TRUE(again);
    const auto ready = Clock::now();
    std::vector<std::string> listed;
    eventually([&] { return !(listed = list(*server, kTest)).empty(); });
    const auto took = Clock::now() - ready;
    EXPECT_EQ(listed, std::vector<std::string>{"fp"});
    EXPECT_LT(took, 2s) << std::chrono::duration_cast<std::chrono::milliseconds>(took).count()
                        << " ms";
    auto got = client->line("got fp");
    ASSERT_TRUE(got);
    EXPECT_EQ(got->substr(0, 13), "got fp remote");

    // The listeners were registered again too: each hears of fp once more, as
    // already present or as newly added, whichever of the two came back first.
    for (int i = 0; i < 2; ++i) {
        auto notified = watcher->line("notified");
        ASSERT_TRUE(notified);
        EXPECT_EQ(notified->substr(0, notified->size() - 2),
                  std::string("notified ") + kTest + " fp");
    }
    // A later registration reaches only the listener for every instance.
    EXPECT_TRUE(registered(*server, "late"));
    EXPECT_EQ(watcher->line("notified"), std::string("notified ") + kTest + " late 0");
    // A listener whose process died is dropped; registrations carry on.
    watcher->signal(SIGKILL);
    ASSERT_TRUE(watcher->waitExit(kLineTimeout));
    EXPECT_TRUE(registered(*server, "later"));

    // Stopped, the manager exits cleanly and leaves neither socket nor lock.
    const std::string socket = runtimeDir() + "/hwservicemanager.sock";
    const std::string lock = runtimeDir() + "/hwservicemanager.lock";
    EXPECT_TRUE(std::filesystem::exists(socket) && std::filesystem::exists(lock));
    again->signal(SIGTERM);
    EXPECT_EQ(again->exitCode(), 0);
    EXPECT_FALSE(std::filesystem::exists(socket));
    EXPECT_FALSE(std::filesystem::exists(lock));
    EXPECT_FALSE(
            std::filesystem::exists(runtimeDir() + "/p" + std::to_string(again->pid()) + ".sock"));
}

TEST_F(RegistryAcrossProcesses, TheEnvironmentChoosesTheRegistry) {
    // No manager yet: a process that requires one cannot register...
    auto required = peer();
    ASSERT_TRUE(required);
    EXPECT_FALSE(registered(*required, "x"));
    // ... one that wants its own registry can, and finds it there.
    auto own = peer({{"ZUV_HIDL_SERVICE_MANAGER", "inprocess"}});
    ASSERT_TRUE(own);
    EXPECT_TRUE(registered(*own, "x"));
    EXPECT_EQ(found(*own, "tryget", "x"), "local");

    // With a manager serving, "auto" uses it and "inprocess" still does not.
    auto sm = manager();
    auto automatic = peer({{"ZUV_HIDL_SERVICE_MANAGER", "auto"}});
    ASSERT_TRUE(sm && automatic);
    EXPECT_TRUE(registered(*automatic, "y"));
    EXPECT_EQ(found(*required, "tryget", "y"), "remote");
    EXPECT_EQ(found(*own, "tryget", "y"), "null");
}

}  // namespace
}  // namespace zuv_mp
