// A service that implements one operation and leaves the others to
// IZuvExtendedFingerprintDefault, called through a proxy and stub over the
// loopback transport as a client would. Exits 0 when the override answers
// and an operation it does not have answers zero.
#include <hidl_host/Loopback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

#include <cstdio>
#include <string>

using namespace vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;

struct Sensor : IZuvExtendedFingerprintDefault {
    Return<int32_t> isFingerprintEnabled() override { return 1; }
};

int main() {
    sp<IZuvExtendedFingerprint> fp =
            new BpHwZuvExtendedFingerprint(::android::hardware::host::loopbackProxyFor(
                    new BnHwZuvExtendedFingerprint(new Sensor)));
    const int32_t enabled = fp->isFingerprintEnabled();
    const int32_t cancelled = fp->cancel();
    std::string mode = "unset";
    Return<void> got = fp->getConfigValue("mode", [&](const hidl_string& v) { mode = v; });
    if (enabled != 1 || cancelled != 0 || !got.isOk() || !mode.empty()) {
        std::fprintf(stderr, "default_service: got %d, %d, '%s'\n", enabled, cancelled,
                     mode.c_str());
        return 1;
    }
    std::printf("default_service: override and defaults answered\n");
    return 0;
}
