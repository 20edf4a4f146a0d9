// Records and vectors with out-of-line children, sent through a rebuilt wire
// image: the receiver sees fresh memory whose pointers were fixed up from the
// parent handles and offsets the writer recorded, so a wrong handle or offset
// shows up both in the buffer objects and as a failed read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Parcel.h>
#include <linux/android/binder.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>
#include <vector>

#include "types/EmbeddedVector.h"

namespace zuv_test {
namespace {

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

using ::android::OK;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Parcel;
using ::android::hardware::host::WireImage;
using ::android::hardware::host::WireImageCodec;
using ::testing::ElementsAre;

constexpr size_t kTopLevel = std::numeric_limits<size_t>::max();

// What a buffer object says about its place in the tree.
struct Buffer {
    size_t length;
    size_t parent;  // kTopLevel when it has none
    size_t parentOffset;
    bool operator==(const Buffer& o) const {
        return length == o.length && parent == o.parent && parentOffset == o.parentOffset;
    }
};

void PrintTo(const Buffer& b, std::ostream* os) {
    *os << "{length " << b.length;
    if (b.parent == kTopLevel) {
        *os << ", top level}";
    } else {
        *os << ", parent " << b.parent << " at " << b.parentOffset << "}";
    }
}

Buffer top(size_t length) {
    return {length, kTopLevel, 0};
}
Buffer child(size_t length, size_t parent, size_t offset) {
    return {length, parent, offset};
}

std::vector<Buffer> buffersOf(const Parcel& parcel) {
    std::vector<Buffer> out;
    for (size_t i = 0; i < parcel.objectsCount(); ++i) {
        binder_buffer_object object;
        std::memcpy(&object, parcel.data() + parcel.objects()[i], sizeof(object));
        EXPECT_EQ(BINDER_TYPE_PTR, object.hdr.type);
        if ((object.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
            out.push_back(child(object.length, object.parent, object.parent_offset));
        } else {
            out.push_back(top(object.length));
        }
    }
    return out;
}

// The receiving side of a transport: flatten, then rebuild into fresh memory.
void rebuild(const Parcel& sent, Parcel* received) {
    WireImage image;
    ASSERT_EQ(OK, WireImageCodec::flatten(sent, nullptr, &image));
    ASSERT_EQ(OK, WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(),
                                          std::move(image.fds), nullptr, received));
}

// Reads the top-level buffer of T and hands back the received copy.
template <typename T>
const T* readTop(const Parcel& parcel, size_t* handle) {
    const void* data = nullptr;
    EXPECT_EQ(OK, parcel.readBuffer(sizeof(T), handle, &data));
    return static_cast<const T*>(data);
}

hidl_vec<uint8_t> bytes(std::initializer_list<uint8_t> values) {
    return hidl_vec<uint8_t>(values);
}

TEST(EmbeddedVectorTest, StringsHangOffTheElementArrayInIndexOrder) {
    const hidl_vec<hidl_string> names{"first", "", "third name"};
    Parcel sent;
    size_t header = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&names, sizeof(names), &header));
    ASSERT_EQ(OK, fp::writeEmbeddedVector(names, &sent, header, 0));
    EXPECT_THAT(buffersOf(sent), ElementsAre(top(16), child(48, 0, 0), child(6, 1, 0),
                                             child(1, 1, 16), child(11, 1, 32)));

    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    size_t handle = 0;
    const auto* got = readTop<hidl_vec<hidl_string>>(received, &handle);
    ASSERT_NE(nullptr, got);
    ASSERT_EQ(OK, fp::readEmbeddedVector(*got, received, handle, 0));
    EXPECT_EQ(names, *got);
    EXPECT_NE(names[0].c_str(), (*got)[0].c_str());
}

TEST(EmbeddedVectorTest, CaptureDebugDataChildrenFollowEachElement) {
    hidl_vec<fp::CaptureDebugData> data(3);
    for (size_t i = 0; i < data.size(); ++i) {
        data[i].text = std::string(i + 1, static_cast<char>('a' + i));
        data[i].bytes = std::vector<uint8_t>(i * 2, static_cast<uint8_t>(i));
        data[i].tail.fill(static_cast<uint8_t>(0xf0 + i));
    }
    Parcel sent;
    size_t header = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&data, sizeof(data), &header));
    ASSERT_EQ(OK, fp::writeEmbeddedVector(data, &sent, header, 0));
    EXPECT_THAT(buffersOf(sent),
                ElementsAre(top(16), child(120, 0, 0), child(2, 1, 0), child(0, 1, 16),
                            child(3, 1, 40), child(2, 1, 56), child(4, 1, 80), child(4, 1, 96)));

    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    size_t handle = 0;
    const auto* got = readTop<hidl_vec<fp::CaptureDebugData>>(received, &handle);
    ASSERT_NE(nullptr, got);
    ASSERT_EQ(OK, fp::readEmbeddedVector(*got, received, handle, 0));
    EXPECT_EQ(data, *got);
}

TEST(EmbeddedVectorTest, EmptyVectorSendsOnlyAnEmptyElementArray) {
    const hidl_vec<fp::CaptureDebugData> none;
    Parcel sent;
    size_t header = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&none, sizeof(none), &header));
    ASSERT_EQ(OK, fp::writeEmbeddedVector(none, &sent, header, 0));
    EXPECT_THAT(buffersOf(sent), ElementsAre(top(16), child(0, 0, 0)));

    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    size_t handle = 0;
    const auto* got = readTop<hidl_vec<fp::CaptureDebugData>>(received, &handle);
    ASSERT_NE(nullptr, got);
    ASSERT_EQ(OK, fp::readEmbeddedVector(*got, received, handle, 0));
    EXPECT_EQ(0u, got->size());
}

// Writes record as a top-level buffer with its children, sends it through a
// rebuilt image and reads it back; returns the received record.
template <typename Record>
const Record* roundTrip(const Record& record, Parcel* sent, Parcel* received) {
    size_t handle = 0;
    EXPECT_EQ(OK, sent->writeBuffer(&record, sizeof(record), &handle));
    EXPECT_EQ(OK, fp::writeEmbeddedToParcel(record, sent, handle, 0));
    rebuild(*sent, received);
    const Record* got = readTop<Record>(*received, &handle);
    if (got == nullptr) return nullptr;
    EXPECT_EQ(OK, fp::readEmbeddedFromParcel(*got, *received, handle, 0));
    return got;
}

TEST(RecordMarshalTest, ReadInfoResultVectorsHangAtTheirOwnOffsets) {
    fp::ReadInfoResult empty;
    empty.head.fill(0x11);
    empty.middle.fill(0x22);
    Parcel sent;
    Parcel received;
    const fp::ReadInfoResult* got = roundTrip(empty, &sent, &received);
    EXPECT_THAT(buffersOf(sent),
                ElementsAre(top(80), child(0, 0, 16), child(0, 0, 32), child(0, 0, 64)));
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(empty, *got);

    // Distinct lengths catch a vector attached at another member's offset.
    fp::ReadInfoResult full = empty;
    full.bytes1 = bytes({1});
    full.bytes2 = bytes({2, 2});
    full.bytes3 = bytes({3, 3, 3});
    Parcel sent2;
    Parcel received2;
    got = roundTrip(full, &sent2, &received2);
    EXPECT_THAT(buffersOf(sent2),
                ElementsAre(top(80), child(1, 0, 16), child(2, 0, 32), child(3, 0, 64)));
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(full, *got);
}

TEST(RecordMarshalTest, FrameworkInfoWordsThenText) {
    fp::FrameworkInfo info;
    info.head.fill(0x5a);
    info.words = hidl_vec<int32_t>{-1, 0, 0x7fffffff};
    info.text = "framework";
    Parcel sent;
    Parcel received;
    const fp::FrameworkInfo* got = roundTrip(info, &sent, &received);
    EXPECT_THAT(buffersOf(sent), ElementsAre(top(40), child(12, 0, 8), child(10, 0, 24)));
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(info, *got);
}

TEST(RecordMarshalTest, FieldMfgFormatInsideAnotherBuffer) {
    struct Holder {
        uint8_t before[16];
        fp::FieldMfgFormat field;
    } holder{};
    static_assert(offsetof(Holder, field) == 16, "field at 16");
    holder.field.head.fill(0x77);
    holder.field.text = "serial-0042";

    Parcel sent;
    size_t handle = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&holder, sizeof(holder), &handle));
    ASSERT_EQ(OK, fp::writeEmbeddedToParcel(holder.field, &sent, handle, 16));
    EXPECT_THAT(buffersOf(sent), ElementsAre(top(40), child(12, 0, 24)));

    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    const Holder* got = readTop<Holder>(received, &handle);
    ASSERT_NE(nullptr, got);
    ASSERT_EQ(OK, fp::readEmbeddedFromParcel(got->field, received, handle, 16));
    EXPECT_EQ(holder.field, got->field);
}

fp::EnrollRecord enrollRecord() {
    fp::EnrollRecord record;
    record.head.fill(1);
    record.text = "user-7";
    record.middle.fill(2);
    record.texts = hidl_vec<hidl_string>{"left thumb", "right index", "spare"};
    record.tail.fill(3);
    return record;
}

TEST(RecordMarshalTest, EnrollRecordTextsHangOffTheirElementArray) {
    const fp::EnrollRecord record = enrollRecord();
    Parcel sent;
    Parcel received;
    const fp::EnrollRecord* got = roundTrip(record, &sent, &received);
    EXPECT_THAT(buffersOf(sent), ElementsAre(top(56), child(7, 0, 8), child(48, 0, 32),
                                             child(11, 2, 0), child(12, 2, 16), child(6, 2, 32)));
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(record, *got);

    fp::EnrollRecord empty = record;
    empty.texts = hidl_vec<hidl_string>();
    Parcel sent2;
    Parcel received2;
    got = roundTrip(empty, &sent2, &received2);
    EXPECT_THAT(buffersOf(sent2), ElementsAre(top(56), child(7, 0, 8), child(0, 0, 32)));
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(empty, *got);
}

TEST(RecordMarshalTest, EnrollRecordStopsAtTheFirstBadElement) {
    const fp::EnrollRecord record = enrollRecord();
    // A writer that drops the second string's terminator: its buffer is one
    // byte shorter than its header promises.
    Parcel sent;
    size_t handle = 0;
    size_t array = 0;
    size_t unused = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&record, sizeof(record), &handle));
    ASSERT_EQ(OK, ::android::hardware::writeEmbeddedToParcel(record.text, &sent, handle, 8));
    ASSERT_EQ(OK, sent.writeEmbeddedBuffer(record.texts.data(), 48, &array, handle, 32));
    ASSERT_EQ(OK, ::android::hardware::writeEmbeddedToParcel(record.texts[0], &sent, array, 0));
    ASSERT_EQ(OK, sent.writeEmbeddedBuffer(record.texts[1].c_str(), record.texts[1].size(), &unused,
                                           array, 16));
    ASSERT_EQ(OK, ::android::hardware::writeEmbeddedToParcel(record.texts[2], &sent, array, 32));

    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    const fp::EnrollRecord* got = readTop<fp::EnrollRecord>(received, &handle);
    ASSERT_NE(nullptr, got);
    EXPECT_NE(OK, fp::readEmbeddedFromParcel(*got, received, handle, 0));
    // The third string's object was never reached.
    ASSERT_EQ(6u, received.objectsCount());
    EXPECT_LE(received.dataPosition(), received.objects()[5]);
}

TEST(RecordMarshalDeathTest, WrappingChildOffsetAborts) {
    const fp::FieldMfgFormat field;
    const size_t nearEnd = std::numeric_limits<size_t>::max() - 3;  // 2^64 - 4
    EXPECT_EXIT(
            {
                Parcel parcel;
                (void)fp::writeEmbeddedToParcel(field, &parcel, 0, nearEnd);
            },
            ::testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(
            {
                Parcel parcel;
                (void)fp::readEmbeddedFromParcel(field, parcel, 0, nearEnd);
            },
            ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace zuv_test
