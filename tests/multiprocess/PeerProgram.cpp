// A process the multiprocess tests drive line by line over stdin, reporting
// on stdout: it registers, finds, calls and watches services like any
// client or service would. One command per line:
//
//   register NAME [FQNAME]
//                        publish a test service as NAME (of FQNAME, default the test's)
//   get NAME [FQNAME] / tryget NAME [FQNAME]
//                        look NAME up, waiting or not; "got NAME remote|local|null MS"
//   whois NAME           getDebugInfo on the service found: "whois NAME PID" or the error
//   ping NAME            "ping NAME ok" or "ping NAME <status>"
//   list / listby FQNAME "list ENTRY"... then "list end"
//   watch FQNAME NAME    registrations reported as "notified FQNAME NAME 0|1"; NAME "-" for all
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/ProcessState.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>

#include "ChainedService.h"
#include "TestNames.h"

using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::DebugInfo;
using ::android::hidl::manager::V1_0::IServiceNotification;

namespace {

std::mutex gOutLock;
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));
void say(const char* format, ...) {
    std::lock_guard<std::mutex> lock(gOutLock);
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::printf("\n");
    std::fflush(stdout);
}

struct Listener : IServiceNotification {
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name,
                                bool preexisting) override {
        say("notified %s %s %d", fqName.c_str(), name.c_str(), preexisting ? 1 : 0);
        return Void();
    }
};

using zuv_test::kTestDescriptor;
using zuv_test::publishable;

std::map<std::string, sp<IBase>> gServices;  // registered here or found
std::vector<sp<Listener>> gListeners;

void lookup(const std::string& name, const std::string& descriptor, bool retry) {
    const auto start = std::chrono::steady_clock::now();
    sp<IBase> service =
            ::android::hardware::details::getRawServiceInternal(descriptor, name, retry, false);
    const long long ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                                 std::chrono::steady_clock::now() - start)
                                 .count();
    if (service != nullptr) gServices[name] = service;
    say("got %s %s %lld", name.c_str(),
        service == nullptr    ? "null"
        : service->isRemote() ? "remote"
                              : "local",
        ms);
}

void listing(const std::string& fqName) {
    auto sm = ::android::hardware::defaultServiceManager();
    if (sm == nullptr) {
        say("list none");
        return;
    }
    auto print = [](const hidl_vec<hidl_string>& names) {
        for (size_t i = 0; i < names.size(); ++i) say("list %s", names[i].c_str());
    };
    Return<void> ret = fqName.empty() ? sm->list(print) : sm->listByInterface(fqName, print);
    if (!ret.isOk()) say("list failed %s", ret.description().c_str());
    say("list end");
}

}  // namespace

int main() {
    publishable(kTestDescriptor);
    ::android::hardware::configureRpcThreadpool(4, false);
    ::android::hardware::ProcessState::self()->startThreadPool();
    say("ready");

    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream in(line);
        std::string command, name, extra;
        in >> command >> name >> extra;
        const std::string descriptor = extra.empty() ? kTestDescriptor : extra;
        if (command == "register") {
            publishable(descriptor);
            sp<IBase> service = new zuv_test::ChainedService(descriptor);
            gServices[name] = service;
            ::android::status_t err =
                    ::android::hardware::details::registerAsServiceInternal(service, name);
            say("registered %s %d", name.c_str(), err);
        } else if (command == "get" || command == "tryget") {
            lookup(name, descriptor, command == "get");
        } else if (command == "whois" || command == "ping") {
            auto it = gServices.find(name);
            if (it == gServices.end()) {
                say("%s %s unknown", command.c_str(), name.c_str());
                continue;
            }
            int32_t pid = 0;
            Return<void> ret = command == "ping"
                                       ? it->second->ping()
                                       : it->second->getDebugInfo(
                                                 [&](const DebugInfo& info) { pid = info.pid; });
            if (!ret.isOk()) {
                say("%s %s %s", command.c_str(), name.c_str(),
                    ret.isDeadObject() ? "DEAD_OBJECT" : ret.description().c_str());
            } else if (command == "ping") {
                say("ping %s ok", name.c_str());
            } else {
                say("whois %s %d", name.c_str(), pid);
            }
        } else if (command == "list") {
            listing("");
        } else if (command == "listby") {
            listing(name);
        } else if (command == "watch") {
            sp<Listener> listener = new Listener();
            gListeners.push_back(listener);
            auto sm = ::android::hardware::defaultServiceManager();
            if (sm == nullptr) {
                say("watching 0");
                continue;
            }
            Return<bool> ok =
                    sm->registerForNotifications(name, extra == "-" ? "" : extra, listener);
            say("watching %d", ok.isOk() && static_cast<bool>(ok) ? 1 : 0);
        } else if (command == "exit") {
            break;
        } else {
            say("unknown %s", command.c_str());
        }
    }
    std::fflush(stdout);
    _exit(0);  // the pool's threads are not asked to stop
}
