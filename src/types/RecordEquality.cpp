#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

bool operator==(const CaptureDebugData& a, const CaptureDebugData& b) {
    return a.text == b.text && a.bytes == b.bytes && a.tail == b.tail;
}

bool operator==(const EnrollRecord& a, const EnrollRecord& b) {
    return a.head == b.head && a.text == b.text && a.middle == b.middle && a.texts == b.texts &&
           a.tail == b.tail;
}

bool operator==(const FieldMfgFormat& a, const FieldMfgFormat& b) {
    return a.head == b.head && a.text == b.text;
}

bool operator==(const FrameworkInfo& a, const FrameworkInfo& b) {
    return a.head == b.head && a.words == b.words && a.text == b.text;
}

bool operator==(const ReadInfoResult& a, const ReadInfoResult& b) {
    return a.head == b.head && a.bytes1 == b.bytes1 && a.bytes2 == b.bytes2 &&
           a.middle == b.middle && a.bytes3 == b.bytes3;
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
