// The members of each record by name, for tools that show records to people
// or build them from text. The wire never uses these: it copies records
// whole (see types.h).
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <tuple>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

template <typename R, typename M>
struct RecordField {
    const char* name;
    M R::*member;
};

template <typename R, typename M>
constexpr RecordField<R, M> recordField(const char* name, M R::*member) {
    return {name, member};
}

// RecordFields<R>::kName and RecordFields<R>::fields(), a tuple of
// RecordField in declaration order; only records specialise it.
template <typename R>
struct RecordFields;

#define ZUV_RECORD_FIELD(Record, member) recordField(#member, &Record::member)
#define ZUV_RECORD(Record, ...)                                                 \
    template <>                                                                 \
    struct RecordFields<Record> {                                               \
        static constexpr const char* kName = #Record;                           \
        static constexpr auto fields() { return std::make_tuple(__VA_ARGS__); } \
    };

ZUV_RECORD(CaptureDebugData, ZUV_RECORD_FIELD(CaptureDebugData, text),
           ZUV_RECORD_FIELD(CaptureDebugData, bytes), ZUV_RECORD_FIELD(CaptureDebugData, tail))
ZUV_RECORD(EnrollRecord, ZUV_RECORD_FIELD(EnrollRecord, head), ZUV_RECORD_FIELD(EnrollRecord, text),
           ZUV_RECORD_FIELD(EnrollRecord, middle), ZUV_RECORD_FIELD(EnrollRecord, texts),
           ZUV_RECORD_FIELD(EnrollRecord, tail))
ZUV_RECORD(FieldMfgFormat, ZUV_RECORD_FIELD(FieldMfgFormat, head),
           ZUV_RECORD_FIELD(FieldMfgFormat, text))
ZUV_RECORD(FrameworkInfo, ZUV_RECORD_FIELD(FrameworkInfo, head),
           ZUV_RECORD_FIELD(FrameworkInfo, words), ZUV_RECORD_FIELD(FrameworkInfo, text))
ZUV_RECORD(ReadInfoResult, ZUV_RECORD_FIELD(ReadInfoResult, head),
           ZUV_RECORD_FIELD(ReadInfoResult, bytes1), ZUV_RECORD_FIELD(ReadInfoResult, bytes2),
           ZUV_RECORD_FIELD(ReadInfoResult, middle), ZUV_RECORD_FIELD(ReadInfoResult, bytes3))

#define ZUV_FLAT_RECORD(Record) ZUV_RECORD(Record, ZUV_RECORD_FIELD(Record, raw))
ZUV_FLAT_RECORD(BiasTestResult)
ZUV_FLAT_RECORD(TxTestResult)
ZUV_FLAT_RECORD(NoiseTestResult)
ZUV_FLAT_RECORD(DbiasCalibrationResult)
ZUV_FLAT_RECORD(CaptouchCalibrationResult)
ZUV_FLAT_RECORD(ContactResistanceTestResult)
ZUV_FLAT_RECORD(TemperatureTestResult)
ZUV_FLAT_RECORD(DigitalTestResult)
ZUV_FLAT_RECORD(PsfVerificationResult)
ZUV_FLAT_RECORD(PsfSettingFormat)
ZUV_FLAT_RECORD(PsfCalibrationResult)
ZUV_FLAT_RECORD(ImageQualityTestResult)
ZUV_FLAT_RECORD(OtpTestResult)
#undef ZUV_FLAT_RECORD
#undef ZUV_RECORD
#undef ZUV_RECORD_FIELD

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
