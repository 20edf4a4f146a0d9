// The input format of fuzzService() (hidl_host/FuzzService.h, library
// ZuvFingerprint::fuzz), written from calls given as JSON, so a recorded
// session becomes a seed input (`zuv_hidl corpus`).
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace fuzz {

using describe::json;

struct PlannedCall {
    std::string interface;  // short name
    std::string operation;
    json args;  // keyed by parameter name, as a recording holds them
};

// At most this many calls are made per input; later ones are not encoded.
constexpr size_t kMaxCalls = 16;

// The input that makes these calls with these arguments; an interface object
// becomes a stand-in that answers. Vectors longer than 64 elements and
// strings longer than 255 bytes are cut. Throws ArgumentError naming the
// call and argument that does not fit.
std::vector<uint8_t> encodeCalls(const std::vector<PlannedCall>& calls);

}  // namespace fuzz
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
