// Records with out-of-line children read from a rebuilt wire image: a
// reader stops at the first child that is not what its parent promises, and
// an offset that wraps ends the process. Where each operation's children
// hang is pinned by WireBytesTest, and every type's values both ways by
// DescribeTest.
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/WireImage.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <csignal>
#include <limits>

#include "TestNames.h"

namespace zuv_test {
namespace {

using ::android::hardware::host::WireImage;
using ::android::hardware::host::WireImageCodec;

TEST(RecordMarshalTest, EnrollRecordStopsAtTheFirstBadElement) {
    fp::EnrollRecord record;
    record.text = "user-7";
    record.texts = hidl_vec<hidl_string>{"left thumb", "right index", "spare"};
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

    WireImage image;
    ASSERT_EQ(OK, WireImageCodec::flatten(sent, nullptr, &image));
    Parcel received;
    ASSERT_EQ(OK, WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr,
                                          &received));
    const void* got = nullptr;
    ASSERT_EQ(OK, received.readBuffer(sizeof(record), &handle, &got));
    EXPECT_NE(OK, fp::readEmbeddedFromParcel(*static_cast<const fp::EnrollRecord*>(got), received,
                                             handle, 0));
    // The third string's object was never reached.
    ASSERT_EQ(6u, received.objectsCount());
    EXPECT_LE(received.dataPosition(), received.objects()[5]);
}

TEST(RecordMarshalDeathTest, WrappingChildOffsetAborts) {
    const fp::FieldMfgFormat field;
    const size_t nearEnd = std::numeric_limits<size_t>::max() - 3;  // 2^64 - 4
    Parcel parcel;
    EXPECT_EXIT((void)fp::writeEmbeddedToParcel(field, &parcel, 0, nearEnd),
                ::testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT((void)fp::readEmbeddedFromParcel(field, parcel, 0, nearEnd),
                ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace zuv_test
