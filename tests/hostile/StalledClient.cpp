// zuv_stalled_client: a fingerprint client that stops inside its callback,
// as one paused at a debugger breakpoint does, and goes on asking.
//
// Prints "ready" once it has the service, then answers commands on stdin:
//   stall              a match whose onStatus never returns ("stalled" once in it)
//   flood N BYTES      N matches with BYTES-byte images ("flood A accepted R refused E failed")
#include <hidl/HidlTransportSupport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallbackDefault.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "TestNames.h"

namespace {

void say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

struct StuckCallback : fp::IZuvExtendedFingerprintCallbackDefault {
    Return<void> onStatus(int32_t, const hidl_vec<uint8_t>&) override {
        say("stalled");
        for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    }
};

}  // namespace

int main() {
    ::android::hardware::configureRpcThreadpool(2, false);
    sp<fp::IZuvExtendedFingerprint> service = fp::IZuvExtendedFingerprint::getService("default");
    if (service == nullptr) {
        std::fprintf(stderr, "stalled client: no fingerprint service\n");
        return 1;
    }
    sp<StuckCallback> callback = new StuckCallback();
    say("ready");
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream in(line);
        std::string command;
        in >> command;
        if (command == "stall") {
            service->match(callback, 0, "finger-1", std::vector<uint8_t>(16), "", 0);
        } else if (command == "flood") {
            size_t count = 0, bytes = 0;
            in >> count >> bytes;
            const std::vector<uint8_t> image(bytes, 0x5a);
            size_t accepted = 0, refused = 0, failed = 0;
            for (size_t i = 0; i < count; ++i) {
                Return<int32_t> r = service->match(callback, 0, "finger-1", image, "", 0);
                if (!r.isOk()) {
                    ++failed;
                } else if (static_cast<int32_t>(r) == 0) {
                    ++accepted;
                } else if (static_cast<int32_t>(r) == -ENOBUFS) {
                    ++refused;
                } else {
                    ++failed;
                }
            }
            say("flood " + std::to_string(accepted) + " accepted " + std::to_string(refused) +
                " refused " + std::to_string(failed) + " failed");
        }
    }
    return 0;
}
