// The records of vendor.zuv.hardware.fingerprint@1.0.
//
// Each record travels as one parcel buffer of exactly sizeof(record) bytes,
// so sizes and the offsets of string and vector members are wire constants.
// Byte ranges whose inner layout belongs to the fingerprint service are
// carried as opaque byte arrays; this package never looks into them.
#pragma once

#include <hidl/HidlSupport.h>
#include <utils/Errors.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace android {
namespace hardware {
class Parcel;
}  // namespace hardware
}  // namespace android

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

// ---------------------------------------------------------------------------
// Records with out-of-line children (strings and vectors).

struct CaptureDebugData {
    ::android::hardware::hidl_string text;
    ::android::hardware::hidl_vec<uint8_t> bytes;
    std::array<uint8_t, 8> tail{};
};

struct EnrollRecord {
    std::array<uint8_t, 8> head{};
    ::android::hardware::hidl_string text;
    std::array<uint8_t, 8> middle{};
    ::android::hardware::hidl_vec<::android::hardware::hidl_string> texts;
    std::array<uint8_t, 8> tail{};
};

struct FieldMfgFormat {
    std::array<uint8_t, 8> head{};
    ::android::hardware::hidl_string text;
};

// The words are 4-byte values whose signedness the wire does not carry;
// they are declared signed, as the service fills them.
struct FrameworkInfo {
    std::array<uint8_t, 8> head{};
    ::android::hardware::hidl_vec<int32_t> words;
    ::android::hardware::hidl_string text;
};

struct ReadInfoResult {
    std::array<uint8_t, 16> head{};
    ::android::hardware::hidl_vec<uint8_t> bytes1;
    ::android::hardware::hidl_vec<uint8_t> bytes2;
    std::array<uint8_t, 16> middle{};
    ::android::hardware::hidl_vec<uint8_t> bytes3;
};

static_assert(sizeof(CaptureDebugData) == 40, "CaptureDebugData is 40 bytes on the wire");
static_assert(alignof(CaptureDebugData) == 8, "CaptureDebugData is 8-aligned");
static_assert(offsetof(CaptureDebugData, text) == 0, "CaptureDebugData.text at 0");
static_assert(offsetof(CaptureDebugData, bytes) == 16, "CaptureDebugData.bytes at 16");
static_assert(offsetof(CaptureDebugData, tail) == 32, "CaptureDebugData.tail at 32");

static_assert(sizeof(EnrollRecord) == 56, "EnrollRecord is 56 bytes on the wire");
static_assert(alignof(EnrollRecord) == 8, "EnrollRecord is 8-aligned");
static_assert(offsetof(EnrollRecord, text) == 8, "EnrollRecord.text at 8");
static_assert(offsetof(EnrollRecord, middle) == 24, "EnrollRecord.middle at 24");
static_assert(offsetof(EnrollRecord, texts) == 32, "EnrollRecord.texts at 32");
static_assert(offsetof(EnrollRecord, tail) == 48, "EnrollRecord.tail at 48");

static_assert(sizeof(FieldMfgFormat) == 24, "FieldMfgFormat is 24 bytes on the wire");
static_assert(alignof(FieldMfgFormat) == 8, "FieldMfgFormat is 8-aligned");
static_assert(offsetof(FieldMfgFormat, text) == 8, "FieldMfgFormat.text at 8");

static_assert(sizeof(FrameworkInfo) == 40, "FrameworkInfo is 40 bytes on the wire");
static_assert(alignof(FrameworkInfo) == 8, "FrameworkInfo is 8-aligned");
static_assert(offsetof(FrameworkInfo, words) == 8, "FrameworkInfo.words at 8");
static_assert(offsetof(FrameworkInfo, text) == 24, "FrameworkInfo.text at 24");

static_assert(sizeof(ReadInfoResult) == 80, "ReadInfoResult is 80 bytes on the wire");
static_assert(alignof(ReadInfoResult) == 8, "ReadInfoResult is 8-aligned");
static_assert(offsetof(ReadInfoResult, bytes1) == 16, "ReadInfoResult.bytes1 at 16");
static_assert(offsetof(ReadInfoResult, bytes2) == 32, "ReadInfoResult.bytes2 at 32");
static_assert(offsetof(ReadInfoResult, middle) == 48, "ReadInfoResult.middle at 48");
static_assert(offsetof(ReadInfoResult, bytes3) == 64, "ReadInfoResult.bytes3 at 64");

// ---------------------------------------------------------------------------
// Flat records: opaque blocks filled by the service. The receiving side reads
// exactly sizeof(record) bytes, so the sizes must never change; the
// alignment is the widest member the service's definition may hold.

struct BiasTestResult {
    alignas(8) std::array<uint8_t, 24> raw{};
};
struct TxTestResult {
    alignas(4) std::array<uint8_t, 20> raw{};
};
struct NoiseTestResult {
    alignas(4) std::array<uint8_t, 12> raw{};
};
struct DbiasCalibrationResult {
    alignas(8) std::array<uint8_t, 8> raw{};
};
struct CaptouchCalibrationResult {
    alignas(8) std::array<uint8_t, 24> raw{};
};
struct ContactResistanceTestResult {
    alignas(8) std::array<uint8_t, 16> raw{};
};
struct TemperatureTestResult {
    alignas(8) std::array<uint8_t, 16> raw{};
};
struct DigitalTestResult {
    alignas(4) std::array<uint8_t, 12> raw{};
};
struct PsfVerificationResult {
    alignas(8) std::array<uint8_t, 8> raw{};
};
struct PsfSettingFormat {
    alignas(8) std::array<uint8_t, 24> raw{};
};
struct PsfCalibrationResult {
    alignas(8) std::array<uint8_t, 16> raw{};
};
struct ImageQualityTestResult {
    alignas(4) std::array<uint8_t, 12> raw{};
};
struct OtpTestResult {
    alignas(8) std::array<uint8_t, 16> raw{};
};

static_assert(sizeof(BiasTestResult) == 24 && alignof(BiasTestResult) <= 8, "BiasTestResult");
static_assert(sizeof(TxTestResult) == 20 && alignof(TxTestResult) <= 4, "TxTestResult");
static_assert(sizeof(NoiseTestResult) == 12 && alignof(NoiseTestResult) <= 4, "NoiseTestResult");
static_assert(sizeof(DbiasCalibrationResult) == 8 && alignof(DbiasCalibrationResult) <= 8,
              "DbiasCalibrationResult");
static_assert(sizeof(CaptouchCalibrationResult) == 24 && alignof(CaptouchCalibrationResult) <= 8,
              "CaptouchCalibrationResult");
static_assert(sizeof(ContactResistanceTestResult) == 16 &&
                      alignof(ContactResistanceTestResult) <= 8,
              "ContactResistanceTestResult");
static_assert(sizeof(TemperatureTestResult) == 16 && alignof(TemperatureTestResult) <= 8,
              "TemperatureTestResult");
static_assert(sizeof(DigitalTestResult) == 12 && alignof(DigitalTestResult) <= 4,
              "DigitalTestResult");
static_assert(sizeof(PsfVerificationResult) == 8 && alignof(PsfVerificationResult) <= 8,
              "PsfVerificationResult");
static_assert(sizeof(PsfSettingFormat) == 24 && alignof(PsfSettingFormat) <= 8, "PsfSettingFormat");
static_assert(sizeof(PsfCalibrationResult) == 16 && alignof(PsfCalibrationResult) <= 8,
              "PsfCalibrationResult");
static_assert(sizeof(ImageQualityTestResult) == 12 && alignof(ImageQualityTestResult) <= 4,
              "ImageQualityTestResult");
static_assert(sizeof(OtpTestResult) == 16 && alignof(OtpTestResult) <= 8, "OtpTestResult");

// ---------------------------------------------------------------------------
// Equality, member by member (opaque ranges included).

bool operator==(const CaptureDebugData& a, const CaptureDebugData& b);
bool operator==(const EnrollRecord& a, const EnrollRecord& b);
bool operator==(const FieldMfgFormat& a, const FieldMfgFormat& b);
bool operator==(const FrameworkInfo& a, const FrameworkInfo& b);
bool operator==(const ReadInfoResult& a, const ReadInfoResult& b);

#define ZUV_FINGERPRINT_FLAT_EQUALITY(Record)                  \
    inline bool operator==(const Record& a, const Record& b) { \
        return a.raw == b.raw;                                 \
    }
ZUV_FINGERPRINT_FLAT_EQUALITY(BiasTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(TxTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(NoiseTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(DbiasCalibrationResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(CaptouchCalibrationResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(ContactResistanceTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(TemperatureTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(DigitalTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(PsfVerificationResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(PsfSettingFormat)
ZUV_FINGERPRINT_FLAT_EQUALITY(PsfCalibrationResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(ImageQualityTestResult)
ZUV_FINGERPRINT_FLAT_EQUALITY(OtpTestResult)
#undef ZUV_FINGERPRINT_FLAT_EQUALITY

#define ZUV_FINGERPRINT_INEQUALITY(Record)                     \
    inline bool operator!=(const Record& a, const Record& b) { \
        return !(a == b);                                      \
    }
ZUV_FINGERPRINT_INEQUALITY(CaptureDebugData)
ZUV_FINGERPRINT_INEQUALITY(EnrollRecord)
ZUV_FINGERPRINT_INEQUALITY(FieldMfgFormat)
ZUV_FINGERPRINT_INEQUALITY(FrameworkInfo)
ZUV_FINGERPRINT_INEQUALITY(ReadInfoResult)
ZUV_FINGERPRINT_INEQUALITY(BiasTestResult)
ZUV_FINGERPRINT_INEQUALITY(TxTestResult)
ZUV_FINGERPRINT_INEQUALITY(NoiseTestResult)
ZUV_FINGERPRINT_INEQUALITY(DbiasCalibrationResult)
ZUV_FINGERPRINT_INEQUALITY(CaptouchCalibrationResult)
ZUV_FINGERPRINT_INEQUALITY(ContactResistanceTestResult)
ZUV_FINGERPRINT_INEQUALITY(TemperatureTestResult)
ZUV_FINGERPRINT_INEQUALITY(DigitalTestResult)
ZUV_FINGERPRINT_INEQUALITY(PsfVerificationResult)
ZUV_FINGERPRINT_INEQUALITY(PsfSettingFormat)
ZUV_FINGERPRINT_INEQUALITY(PsfCalibrationResult)
ZUV_FINGERPRINT_INEQUALITY(ImageQualityTestResult)
ZUV_FINGERPRINT_INEQUALITY(OtpTestResult)
#undef ZUV_FINGERPRINT_INEQUALITY

// ---------------------------------------------------------------------------
// Embedded marshalling of the records with children. The record itself lies
// at parentOffset inside the buffer parentHandle (its own buffer at top
// level, or a vector's element array); these move only its children, each
// attached at parentOffset + the member's offset. A parentOffset so large
// that a member offset wraps ends the process.
//
// Reads only validate and attach the children: once the parcel has been
// received the pointers inside the record already refer to them.

::android::status_t readEmbeddedFromParcel(const CaptureDebugData& obj,
                                           const ::android::hardware::Parcel& parcel,
                                           size_t parentHandle, size_t parentOffset);
::android::status_t writeEmbeddedToParcel(const CaptureDebugData& obj,
                                          ::android::hardware::Parcel* parcel, size_t parentHandle,
                                          size_t parentOffset);

::android::status_t readEmbeddedFromParcel(const EnrollRecord& obj,
                                           const ::android::hardware::Parcel& parcel,
                                           size_t parentHandle, size_t parentOffset);
::android::status_t writeEmbeddedToParcel(const EnrollRecord& obj,
                                          ::android::hardware::Parcel* parcel, size_t parentHandle,
                                          size_t parentOffset);

::android::status_t readEmbeddedFromParcel(const FieldMfgFormat& obj,
                                           const ::android::hardware::Parcel& parcel,
                                           size_t parentHandle, size_t parentOffset);
::android::status_t writeEmbeddedToParcel(const FieldMfgFormat& obj,
                                          ::android::hardware::Parcel* parcel, size_t parentHandle,
                                          size_t parentOffset);

::android::status_t readEmbeddedFromParcel(const FrameworkInfo& obj,
                                           const ::android::hardware::Parcel& parcel,
                                           size_t parentHandle, size_t parentOffset);
::android::status_t writeEmbeddedToParcel(const FrameworkInfo& obj,
                                          ::android::hardware::Parcel* parcel, size_t parentHandle,
                                          size_t parentOffset);

::android::status_t readEmbeddedFromParcel(const ReadInfoResult& obj,
                                           const ::android::hardware::Parcel& parcel,
                                           size_t parentHandle, size_t parentOffset);
::android::status_t writeEmbeddedToParcel(const ReadInfoResult& obj,
                                          ::android::hardware::Parcel* parcel, size_t parentHandle,
                                          size_t parentOffset);

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
