// The peer program of the socket tests.
//   socket_peer serve <tag> <threads>   registers a TestObject with the test's
//                                       hub under tag and serves it
//   socket_peer context                 serves a TestObject as context object;
//                                       prints "ready" once it does
//   socket_peer client                  calls the context object, then waits
//                                       for its death; prints its thread
//                                       count after each step and "dead"
#include <hidl/HidlTransportSupport.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>

#include "PeerObjects.h"

using namespace android;
using namespace android::hardware;

int main(int argc, char** argv) {
    if (argc >= 4 && strcmp(argv[1], "serve") == 0) {
        configureRpcThreadpool(static_cast<size_t>(atoi(argv[3])), true);
        sp<IBinder> hub = host::getContextObject();
        if (hub == nullptr) return 2;
        Parcel data, reply;
        data.writeInt32(atoi(argv[2]));
        data.writeStrongBinder(new peer::TestObject());
        if (hub->transact(peer::kRegister, data, &reply) != OK) return 2;
        joinRpcThreadpool();
        return 0;
    }
    if (argc >= 2 && strcmp(argv[1], "context") == 0) {
        configureRpcThreadpool(2, true);
        if (host::serveContextObject(new peer::TestObject()) != OK) return 2;
        printf("ready\n");
        fflush(stdout);
        joinRpcThreadpool();
        return 0;
    }
    if (argc >= 2 && strcmp(argv[1], "client") == 0) {
        auto threads = [] {
            return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                                 std::filesystem::directory_iterator{});
        };
        sp<IBinder> context = host::getContextObject();
        Parcel reply;
        if (context == nullptr || peer::echoThrough(context, 1, &reply) != OK) return 2;
        printf("calling threads %ld\n", static_cast<long>(threads()));
        struct Recipient : IBinder::DeathRecipient {
            std::promise<void> told;
            void binderDied(const wp<IBinder>&) override { told.set_value(); }
        };
        sp<Recipient> recipient = new Recipient();
        std::future<void> dead = recipient->told.get_future();
        if (context->linkToDeath(recipient) != OK) return 2;
        printf("watching threads %ld\n", static_cast<long>(threads()));
        fflush(stdout);
        dead.wait();
        printf("dead\n");
        return 0;
    }
    fprintf(stderr, "usage: %s serve <tag> <threads> | context | client\n", argv[0]);
    return 1;
}
