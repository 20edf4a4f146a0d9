// Children of the five records that hold strings and vectors. Members move in
// ascending offset order and the first failure ends the record.
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/Parcel.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <cstddef>

#include "types/EmbeddedVector.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

using ::android::OK;
using ::android::status_t;
using ::android::hardware::Parcel;

status_t writeEmbeddedToParcel(const CaptureDebugData& obj, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    status_t err = ::android::hardware::writeEmbeddedToParcel(obj.text, parcel, parentHandle,
                                                              parentOffset);
    if (err != OK) return err;
    return writeEmbeddedVector(obj.bytes, parcel, parentHandle,
                               embeddedOffset(parentOffset, offsetof(CaptureDebugData, bytes)));
}

status_t readEmbeddedFromParcel(const CaptureDebugData& obj, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    status_t err = ::android::hardware::readEmbeddedFromParcel(obj.text, parcel, parentHandle,
                                                               parentOffset);
    if (err != OK) return err;
    return readEmbeddedVector(obj.bytes, parcel, parentHandle,
                              embeddedOffset(parentOffset, offsetof(CaptureDebugData, bytes)));
}

status_t writeEmbeddedToParcel(const FrameworkInfo& obj, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    status_t err =
            writeEmbeddedVector(obj.words, parcel, parentHandle,
                                embeddedOffset(parentOffset, offsetof(FrameworkInfo, words)));
    if (err != OK) return err;
    return ::android::hardware::writeEmbeddedToParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(FrameworkInfo, text)));
}

status_t readEmbeddedFromParcel(const FrameworkInfo& obj, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset) {
    status_t err = readEmbeddedVector(obj.words, parcel, parentHandle,
                                      embeddedOffset(parentOffset, offsetof(FrameworkInfo, words)));
    if (err != OK) return err;
    return ::android::hardware::readEmbeddedFromParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(FrameworkInfo, text)));
}

// The strings of texts hang off the element array, not off the record.
status_t writeEmbeddedToParcel(const EnrollRecord& obj, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    status_t err = ::android::hardware::writeEmbeddedToParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(EnrollRecord, text)));
    if (err != OK) return err;
    return writeEmbeddedVector(obj.texts, parcel, parentHandle,
                               embeddedOffset(parentOffset, offsetof(EnrollRecord, texts)));
}

status_t readEmbeddedFromParcel(const EnrollRecord& obj, const Parcel& parcel, size_t parentHandle,
                                size_t parentOffset) {
    status_t err = ::android::hardware::readEmbeddedFromParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(EnrollRecord, text)));
    if (err != OK) return err;
    return readEmbeddedVector(obj.texts, parcel, parentHandle,
                              embeddedOffset(parentOffset, offsetof(EnrollRecord, texts)));
}

status_t writeEmbeddedToParcel(const ReadInfoResult& obj, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    status_t err =
            writeEmbeddedVector(obj.bytes1, parcel, parentHandle,
                                embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes1)));
    if (err != OK) return err;
    err = writeEmbeddedVector(obj.bytes2, parcel, parentHandle,
                              embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes2)));
    if (err != OK) return err;
    return writeEmbeddedVector(obj.bytes3, parcel, parentHandle,
                               embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes3)));
}

status_t readEmbeddedFromParcel(const ReadInfoResult& obj, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    status_t err =
            readEmbeddedVector(obj.bytes1, parcel, parentHandle,
                               embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes1)));
    if (err != OK) return err;
    err = readEmbeddedVector(obj.bytes2, parcel, parentHandle,
                             embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes2)));
    if (err != OK) return err;
    return readEmbeddedVector(obj.bytes3, parcel, parentHandle,
                              embeddedOffset(parentOffset, offsetof(ReadInfoResult, bytes3)));
}

status_t writeEmbeddedToParcel(const FieldMfgFormat& obj, Parcel* parcel, size_t parentHandle,
                               size_t parentOffset) {
    return ::android::hardware::writeEmbeddedToParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(FieldMfgFormat, text)));
}

status_t readEmbeddedFromParcel(const FieldMfgFormat& obj, const Parcel& parcel,
                                size_t parentHandle, size_t parentOffset) {
    return ::android::hardware::readEmbeddedFromParcel(
            obj.text, parcel, parentHandle,
            embeddedOffset(parentOffset, offsetof(FieldMfgFormat, text)));
}

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
