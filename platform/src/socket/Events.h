// What an event of the serving loop's epoll set stands for: the low byte
// says what, the rest which.
#pragma once

#include <cstdint>

namespace android {
namespace hardware {
namespace host {
namespace socket {

enum Tag : uint64_t { kTagWake = 1, kTagTimer, kTagListen, kTagPid, kTagConnection };

inline uint64_t tagged(Tag tag, uint64_t value) {
    return (value << 8) | tag;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
