// `zuv_hidl list` (and zuv_lshal): the services registered with the
// service-manager daemon of one runtime directory: interface, instance,
// serving process, transport; optionally pings each one and shows what it
// says about itself.
#include "List.h"

#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <hidl_host/TraceExport.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Reach.h"

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hidl::base::V1_0::DebugInfo;
using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::IServiceManager;
namespace host = ::android::hardware::host;

namespace {

struct Entry {
    std::string interface;
    std::string instance;
    int32_t pid = -1;
    std::string transport = "?";
    std::string ping;
    std::vector<std::string> debug;
};

const char* transportName(IServiceManager::Transport t) {
    switch (t) {
        case IServiceManager::Transport::HWBINDER:
            return "hwbinder";
        case IServiceManager::Transport::PASSTHROUGH:
            return "passthrough";
        default:
            return "none";
    }
}

const char* archName(DebugInfo::Architecture a) {
    switch (a) {
        case DebugInfo::Architecture::IS_64BIT:
            return "64-bit";
        case DebugInfo::Architecture::IS_32BIT:
            return "32-bit";
        default:
            return "unknown";
    }
}

std::string failure(const Return<void>& ret) {
    return ret.isDeadObject() ? "DEAD_OBJECT" : ret.description();
}

// Pings and interrogates one service; a service that dies meanwhile is
// reported, not fatal.
void inspect(const char* tool, IServiceManager& sm, Entry* e, bool ping, bool debug) {
    Return<sp<IBase>> got = sm.get(e->interface, e->instance);
    sp<IBase> service = got.isOk() ? static_cast<sp<IBase>>(got) : nullptr;
    if (service == nullptr) {
        const std::string why = zuv_hidl::whyNotFound(sm, e->interface, e->instance);
        std::fprintf(stderr, "%s: %s\n", tool, why.c_str());
        e->ping = zuv_hidl::shortReason(why);
        if (debug) e->debug.push_back(e->ping);
        return;
    }
    if (ping) {
        Return<void> r = service->ping();
        const std::string why = r.isOk() ? "" : zuv_hidl::whyCallFailed(e->pid, failure(r));
        if (!why.empty())
            std::fprintf(stderr, "%s: %s/%s: %s\n", tool, e->interface.c_str(), e->instance.c_str(),
                         why.c_str());
        e->ping = r.isOk() ? "ok" : why.empty() ? failure(r) : zuv_hidl::shortReason(why);
    }
    if (!debug) return;
    Return<void> r = service->interfaceChain([e](const hidl_vec<hidl_string>& chain) {
        std::string line = "chain:";
        for (size_t i = 0; i < chain.size(); ++i) line.append(" ").append(chain[i].c_str());
        e->debug.push_back(line);
    });
    if (!r.isOk()) e->debug.push_back("chain: " + failure(r));
    r = service->getDebugInfo([e](const DebugInfo& info) {
        char line[128];
        std::snprintf(line, sizeof(line), "debug info: pid %d, ptr 0x%" PRIx64 ", %s", info.pid,
                      info.ptr, archName(info.arch));
        e->debug.push_back(line);
    });
    if (!r.isOk()) e->debug.push_back("debug info: " + failure(r));
}

}  // namespace

namespace zuv_hidl {

int runList(const char* tool, bool ping, bool debug, bool asJson) {
    // The daemon's view or nothing: a registry of our own would list nothing.
    setenv(host::kServiceManagerEnvVar, "daemon", 1);
    zuv_hidl::boundCalls();

    sp<IServiceManager> sm = ::android::hardware::defaultServiceManager();
    if (sm == nullptr) {
        std::fprintf(stderr, "%s: %s\n", tool, zuv_hidl::noServiceManager().c_str());
        return 1;
    }

    std::vector<Entry> entries;
    std::string leftOut;
    Return<void> dumped = sm->debugDump([&](const auto& infos) {
        for (size_t i = 0; i < infos.size(); ++i) {
            // The daemon's note that the rest did not fit in its reply.
            if (i + 1 == infos.size() && infos[i].interfaceName == host::kDebugDumpTruncated) {
                leftOut = infos[i].instanceName.c_str();
                continue;
            }
            Entry e;
            e.interface = infos[i].interfaceName.c_str();
            e.instance = infos[i].instanceName.c_str();
            e.pid = infos[i].pid;
            entries.push_back(e);
        }
    });
    if (!dumped.isOk()) {
        std::fprintf(stderr, "%s: the service manager did not answer: %s\n", tool,
                     failure(dumped).c_str());
        return 1;
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.interface != b.interface ? a.interface < b.interface : a.instance < b.instance;
    });

    bool allAnswered = true;
    for (Entry& e : entries) {
        Return<IServiceManager::Transport> t = sm->getTransport(e.interface, e.instance);
        if (t.isOk()) e.transport = transportName(t);
        if (ping || debug) inspect(tool, *sm, &e, ping, debug);
        if (ping && e.ping != "ok") allAnswered = false;
    }

    if (asJson) {
        nlohmann::json out = nlohmann::json::array();
        for (const Entry& e : entries) {
            nlohmann::json j = {
                    {"interface", e.interface},
                    {"instance", e.instance},
                    {"pid", e.pid < 0 ? nlohmann::json(nullptr) : nlohmann::json(e.pid)},
                    {"transport", e.transport}};
            if (ping) j["ping"] = e.ping;
            if (debug) j["debug"] = e.debug;
            out.push_back(j);
        }
        std::printf("%s\n", out.dump(2).c_str());
    } else {
        size_t wInterface = std::string("Interface").size(),
               wInstance = std::string("Instance").size();
        for (const Entry& e : entries) {
            wInterface = std::max(wInterface, e.interface.size());
            wInstance = std::max(wInstance, e.instance.size());
        }
        std::printf("%-*s  %-*s  %7s  %-11s%s\n", static_cast<int>(wInterface), "Interface",
                    static_cast<int>(wInstance), "Instance", "Pid", "Transport",
                    ping ? "  Ping" : "");
        for (const Entry& e : entries) {
            const std::string pid = e.pid < 0 ? "N/A" : std::to_string(e.pid);
            std::printf("%-*s  %-*s  %7s  %-11s%s%s\n", static_cast<int>(wInterface),
                        e.interface.c_str(), static_cast<int>(wInstance), e.instance.c_str(),
                        pid.c_str(), e.transport.c_str(), ping ? "  " : "",
                        ping ? e.ping.c_str() : "");
            for (const std::string& line : e.debug) std::printf("    %s\n", line.c_str());
        }
        std::printf("%zu services in %s\n", entries.size(), host::runtimeDirectory().c_str());
    }
    std::fflush(stdout);
    if (!leftOut.empty()) {
        std::fprintf(stderr,
                     "%s: not all services are listed: %s (a process holds very many names; "
                     "the daemon's --max-names bounds them)\n",
                     tool, leftOut.c_str());
    }
    // The transport's threads are not asked to stop, so the exit handlers do
    // not run: a trace asked for is written here.
    if (!host::traceFilePath().empty()) (void)host::flushTrace();
    _exit(allAnswered ? 0 : 1);
}

}  // namespace zuv_hidl
