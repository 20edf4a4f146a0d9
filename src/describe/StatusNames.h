// The names a recording gives failed calls, both ways: what the recorder
// writes is what replay and the stand-ins read back and compare.
#pragma once

#include <hidl/Status.h>
#include <utils/Errors.h>

#include <cstdint>
#include <string>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {
namespace status_names {

struct Named {
    const char* name;
    int32_t code;
};

using ::android::hardware::Status;

inline constexpr Named kTransportStatuses[] = {
        {"DEAD_OBJECT", ::android::DEAD_OBJECT},
        {"FAILED_TRANSACTION", ::android::FAILED_TRANSACTION},
        {"TIMED_OUT", ::android::TIMED_OUT},
        {"UNKNOWN_ERROR", ::android::UNKNOWN_ERROR},
        {"NO_MEMORY", ::android::NO_MEMORY},
        {"INVALID_OPERATION", ::android::INVALID_OPERATION},
        {"BAD_VALUE", ::android::BAD_VALUE},
        {"BAD_TYPE", ::android::BAD_TYPE},
        {"NAME_NOT_FOUND", ::android::NAME_NOT_FOUND},
        {"PERMISSION_DENIED", ::android::PERMISSION_DENIED},
        {"NO_INIT", ::android::NO_INIT},
        {"ALREADY_EXISTS", ::android::ALREADY_EXISTS},
        {"NOT_ENOUGH_DATA", ::android::NOT_ENOUGH_DATA},
        {"WOULD_BLOCK", ::android::WOULD_BLOCK},
        {"UNKNOWN_TRANSACTION", ::android::UNKNOWN_TRANSACTION},
        {"FDS_NOT_ALLOWED", ::android::FDS_NOT_ALLOWED},
        {"UNEXPECTED_NULL", ::android::UNEXPECTED_NULL},
};

inline constexpr Named kExceptions[] = {
        {"EX_SECURITY", Status::EX_SECURITY},
        {"EX_BAD_PARCELABLE", Status::EX_BAD_PARCELABLE},
        {"EX_ILLEGAL_ARGUMENT", Status::EX_ILLEGAL_ARGUMENT},
        {"EX_NULL_POINTER", Status::EX_NULL_POINTER},
        {"EX_ILLEGAL_STATE", Status::EX_ILLEGAL_STATE},
        {"EX_NETWORK_MAIN_THREAD", Status::EX_NETWORK_MAIN_THREAD},
        {"EX_UNSUPPORTED_OPERATION", Status::EX_UNSUPPORTED_OPERATION},
        {"EX_HAS_REPLY_HEADER", Status::EX_HAS_REPLY_HEADER},
};

// A code without a name of its own gets the catch-all.
template <size_t N>
const char* nameOf(const Named (&table)[N], int32_t code, const char* other) {
    for (const Named& n : table)
        if (n.code == code) return n.name;
    return other;
}

inline const char* transportStatusName(::android::status_t err) {
    return nameOf(kTransportStatuses, err, "UNKNOWN_ERROR");
}

inline const char* exceptionName(int32_t code) {
    return nameOf(kExceptions, code, "EX_TRANSACTION_FAILED");
}

}  // namespace status_names
}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
