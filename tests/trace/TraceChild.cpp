// A process for the trace tests: one call through the loopback transport,
// then an ordinary exit, so that whatever the environment switched on is
// written by the exit handler; with "wait", it waits for a signal instead.
#include <hidl_host/Loopback.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>

#include <cstdio>
#include <string>

#include "TestNames.h"

int main(int argc, char** argv) {
    sp<fp::IZuvExtendedFingerprint> proxy = new fp::BpHwZuvExtendedFingerprint(
            ::android::hardware::host::loopbackProxyFor(new fp::BnHwZuvExtendedFingerprint(
                    new ::testing::NiceMock<fp::MockZuvExtendedFingerprint>)));
    const bool ok = proxy->getConfigValue("mode", [](const hidl_string&) {}).isOk();
    std::printf("%s\n", ok ? "called" : "failed");
    if (argc > 1 && std::string(argv[1]) == "wait") {
        std::printf("ready\n");
        std::fflush(stdout);
        pause();
    }
    return ok ? 0 : 1;
}
