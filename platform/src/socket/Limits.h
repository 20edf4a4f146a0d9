// What one peer process may cost this process, and in total. Each limit has
// a default and an environment override, read once, at the first call from
// any thread; constant after that.
#pragma once

#include <cstddef>

namespace android {
namespace hardware {
namespace host {
namespace socket {

struct Limits {
    size_t maxConnections;      // ZUV_HIDL_MAX_CONNECTIONS: incoming, all peers together
    size_t maxPeerConnections;  // ZUV_HIDL_MAX_PEER_CONNECTIONS: incoming from one process,
                                // and outgoing to one process; each carries one two-way
                                // call at a time
    size_t maxPeerBytes;        // ZUV_HIDL_MAX_PEER_BYTES: buffered for one process
    size_t maxTotalBytes;       // ZUV_HIDL_MAX_TOTAL_BYTES: buffered for all of them
    size_t maxPeerOneway;       // ZUV_HIDL_MAX_PEER_ONEWAY: oneway calls of one process
                                // waiting to run before reading from it pauses
    size_t maxMessageFds;       // ZUV_HIDL_MAX_FRAME_FDS: descriptors in one message
    size_t maxMessageRefs;      // ZUV_HIDL_MAX_FRAME_REFS: binder references in one message
    size_t maxNesting;          // calls served inside a call on one thread
};

const Limits& limits();

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
