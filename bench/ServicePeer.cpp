// The service the footprint row measures: a fingerprint service with two
// binder threads, as a device's would be, in a program of its own so that its
// memory is the runtime's and the package's and not the benchmark's (which
// loads gRPC and Google Benchmark). It tells descriptor 3 once it serves.
#include <hidl/HidlTransportSupport.h>
#include <hidl_host/SocketTransport.h>
#include <unistd.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>

#include "FakeExtendedFingerprint.h"

int main() {
    using namespace android::hardware;
    namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;
    configureRpcThreadpool(2, true);
    if (host::serveContextObject(new fp::BnHwZuvExtendedFingerprint(
                new zuv_test::FakeExtendedFingerprint)) != android::OK) {
        return 1;
    }
    const char ready = 'r';
    if (write(3, &ready, 1) != 1) return 1;
    joinRpcThreadpool();
    return 0;
}
