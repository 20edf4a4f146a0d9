#include "socket/Limits.h"

#include <hidl_host/Settings.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

size_t fromEnv(const char* name, size_t def, size_t min, size_t max) {
    return static_cast<size_t>(
            settingInteger(name, static_cast<int64_t>(def), static_cast<int64_t>(min),
                           static_cast<int64_t>(std::min<size_t>(max, INT64_MAX))));
}

// Three quarters of the descriptor limit: the rest is left for the
// process's own files and its outgoing connections.
size_t defaultMaxConnections() {
    rlimit rl{};
    if (getrlimit(RLIMIT_NOFILE, &rl) != 0 || rl.rlim_cur == RLIM_INFINITY) return 4096;
    return std::clamp<size_t>(static_cast<size_t>(rl.rlim_cur) / 4 * 3, 16, 4096);
}

}  // namespace

const Limits& limits() {
    static const Limits l = [] {
        constexpr size_t kMiB = 1024 * 1024;
        Limits v{};
        v.maxConnections = fromEnv("ZUV_HIDL_MAX_CONNECTIONS", defaultMaxConnections(), 1, 1 << 20);
        v.maxPeerConnections = fromEnv("ZUV_HIDL_MAX_PEER_CONNECTIONS", 32, 2, 1 << 16);
        // One largest message must always fit.
        v.maxPeerBytes = fromEnv("ZUV_HIDL_MAX_PEER_BYTES", 8 * kMiB, 2 * kMiB, SIZE_MAX / 2);
        v.maxTotalBytes = fromEnv("ZUV_HIDL_MAX_TOTAL_BYTES", 64 * kMiB, 2 * kMiB, SIZE_MAX / 2);
        v.maxPeerOneway = fromEnv("ZUV_HIDL_MAX_PEER_ONEWAY", 1000, 1, 1 << 24);
        v.maxMessageFds = fromEnv("ZUV_HIDL_MAX_FRAME_FDS", 64, 0, kMaxMessageFds);
        v.maxMessageRefs = fromEnv("ZUV_HIDL_MAX_FRAME_REFS", 1024, 0, 1 << 16);
        v.maxNesting = 64;
        return v;
    }();
    return l;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
