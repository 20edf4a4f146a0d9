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
#include <tuple>
#include <utility>
#include <vector>

#include "TestNames.h"
#include "types/EmbeddedVector.h"

namespace zuv_test {
namespace {

using ::android::hardware::host::WireImage;
using ::android::hardware::host::WireImageCodec;
using ::testing::ElementsAre;

// What a buffer object says about its place in the tree: length, parent
// (-1 at the top level) and offset in the parent.
using Buffer = std::tuple<size_t, int64_t, size_t>;

Buffer top(size_t length) {
    return {length, -1, 0};
}
Buffer child(size_t length, int64_t parent, size_t offset) {
    return {length, parent, offset};
}

std::vector<Buffer> buffersOf(const Parcel& parcel) {
    std::vector<Buffer> out;
    for (size_t i = 0; i < parcel.objectsCount(); ++i) {
        binder_buffer_object object;
        std::memcpy(&object, parcel.data() + parcel.objects()[i], sizeof(object));
        EXPECT_EQ(BINDER_TYPE_PTR, object.hdr.type);
        if ((object.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
            out.push_back(child(object.length, static_cast<int64_t>(object.parent),
                                object.parent_offset));
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

// Vectors go through the vector writer, records through their own.
template <typename T>
::android::status_t writeChildren(const hidl_vec<T>& v, Parcel* p, size_t parent, size_t at) {
    return fp::writeEmbeddedVector(v, p, parent, at);
}
template <typename T>
::android::status_t readChildren(const hidl_vec<T>& v, const Parcel& p, size_t parent, size_t at) {
    return fp::readEmbeddedVector(v, p, parent, at);
}
template <typename Record>
::android::status_t writeChildren(const Record& r, Parcel* p, size_t parent, size_t at) {
    return fp::writeEmbeddedToParcel(r, p, parent, at);
}
template <typename Record>
::android::status_t readChildren(const Record& r, const Parcel& p, size_t parent, size_t at) {
    return fp::readEmbeddedFromParcel(r, p, parent, at);
}

// Writes value as a top-level buffer with its children, checks the buffer
// objects, sends it through a rebuilt image and compares what arrives.
template <typename T>
void expectTrip(const T& value, const ::testing::Matcher<std::vector<Buffer>>& layout) {
    Parcel sent;
    size_t handle = 0;
    ASSERT_EQ(OK, sent.writeBuffer(&value, sizeof(value), &handle));
    ASSERT_EQ(OK, writeChildren(value, &sent, handle, 0));
    EXPECT_THAT(buffersOf(sent), layout);
    Parcel received;
    ASSERT_NO_FATAL_FAILURE(rebuild(sent, &received));
    const T* got = readTop<T>(received, &handle);
    ASSERT_NE(nullptr, got);
    ASSERT_EQ(OK, readChildren(*got, received, handle, 0));
    EXPECT_EQ(value, *got);
}

TEST(EmbeddedVectorTest, ElementChildrenHangOffTheElementArrayInIndexOrder) {
    expectTrip(hidl_vec<hidl_string>{"first", "", "third name"},
               ElementsAre(top(16), child(48, 0, 0), child(6, 1, 0), child(1, 1, 16),
                           child(11, 1, 32)));

    hidl_vec<fp::CaptureDebugData> data(3);
    for (size_t i = 0; i < data.size(); ++i) {
        data[i].text = std::string(i + 1, static_cast<char>('a' + i));
        data[i].bytes = std::vector<uint8_t>(i * 2, static_cast<uint8_t>(i));
        data[i].tail.fill(static_cast<uint8_t>(0xf0 + i));
    }
    expectTrip(data,
               ElementsAre(top(16), child(120, 0, 0), child(2, 1, 0), child(0, 1, 16),
                           child(3, 1, 40), child(2, 1, 56), child(4, 1, 80), child(4, 1, 96)));
    // An empty vector sends only an empty element array.
    expectTrip(hidl_vec<fp::CaptureDebugData>(), ElementsAre(top(16), child(0, 0, 0)));
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

TEST(RecordMarshalTest, EachRecordsChildrenHangAtTheirOwnOffsets) {
    // Distinct lengths catch a vector attached at another member's offset.
    fp::ReadInfoResult info;
    info.head.fill(0x11);
    info.middle.fill(0x22);
    info.bytes1 = bytes({1});
    info.bytes2 = bytes({2, 2});
    info.bytes3 = bytes({3, 3, 3});
    expectTrip(info, ElementsAre(top(80), child(1, 0, 16), child(2, 0, 32), child(3, 0, 64)));

    fp::FrameworkInfo framework;
    framework.head.fill(0x5a);
    framework.words = hidl_vec<int32_t>{-1, 0, 0x7fffffff};
    framework.text = "framework";
    expectTrip(framework, ElementsAre(top(40), child(12, 0, 8), child(10, 0, 24)));

    fp::EnrollRecord record = enrollRecord();
    expectTrip(record, ElementsAre(top(56), child(7, 0, 8), child(48, 0, 32), child(11, 2, 0),
                                   child(12, 2, 16), child(6, 2, 32)));
    record.texts = hidl_vec<hidl_string>();
    expectTrip(record, ElementsAre(top(56), child(7, 0, 8), child(0, 0, 32)));
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
