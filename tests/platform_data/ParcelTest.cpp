// The parcel on its own: the checks every read makes, of plain data and of
// buffer, binder or native-handle objects.
#include <gtest/gtest.h>
#include <hwbinder/IBinder.h>

#include <limits>

#include "ParcelTestUtil.h"

namespace {

using android::BAD_TYPE;
using android::BAD_VALUE;
using android::NOT_ENOUGH_DATA;
using android::String16;
using android::UNEXPECTED_NULL;
using namespace zuv_test;

// The layout of scalars, tokens and String16 on the wire is pinned by
// WireBytesTest and StatusParcel; here, what every read checks.
TEST(ParcelScalars, ReadingPastTheEndFailsAndLeavesThePosition) {
    Parcel p;
    p.writeInt32(1);
    p.setDataPosition(0);
    int64_t wide;
    EXPECT_EQ(p.readInt64(&wide), NOT_ENOUGH_DATA);
    EXPECT_EQ(p.dataPosition(), 0u);
    EXPECT_EQ(p.readInplace(std::numeric_limits<size_t>::max()), nullptr);
    p.setDataPosition(1000);
    int32_t v;
    EXPECT_EQ(p.readInt32(&v), NOT_ENOUGH_DATA);
    EXPECT_EQ(p.readCString(), nullptr);
    EXPECT_EQ(p.dataAvail(), 0u);
}

TEST(ParcelStrings, String16ThatLiesAboutItsLengthIsRefused) {
    // Three characters with room for "ab" only and no NUL; a negative
    // length; 'A' where the NUL belongs.
    for (const auto& [length, chars] : {std::pair{3, 0x00620061}, {-7, 0}, {1, 0x00410041}}) {
        SCOPED_TRACE(length);
        Parcel p;
        p.writeInt32(length);
        if (chars != 0) p.writeInt32(chars);
        p.setDataPosition(0);
        size_t len = 99;
        EXPECT_EQ(p.readString16Inplace(&len), nullptr);
        EXPECT_EQ(p.dataPosition(), 0u);
        String16 s;
        EXPECT_EQ(p.readString16(&s), BAD_VALUE);
    }
}

TEST(ParcelBuffers, TopLevelBufferReadChecksPositionSizeAndNull) {
    const uint64_t record[3] = {1, 2, 3};
    Parcel p;
    size_t handle;
    p.writeInt32(9);
    ASSERT_EQ(p.writeBuffer(record, sizeof(record), &handle), OK);
    EXPECT_EQ(handle, 0u);
    ASSERT_EQ(p.objectsCount(), 1u);
    EXPECT_EQ(p.objects()[0], 4u);

    const void* out = nullptr;
    for (size_t pos : {0, 8}) {  // an object must start exactly at the read position
        p.setDataPosition(pos);
        EXPECT_EQ(p.readBuffer(sizeof(record), &handle, &out), BAD_VALUE) << pos;
    }
    p.setDataPosition(4);
    EXPECT_EQ(p.readBuffer(sizeof(record) - 1, &handle, &out), BAD_VALUE);
    EXPECT_EQ(p.readBuffer(sizeof(record) + 8, &handle, &out), BAD_VALUE);
    EXPECT_EQ(p.dataPosition(), 4u);
    ASSERT_EQ(p.readBuffer(sizeof(record), &handle, &out), OK);
    EXPECT_EQ(out, record);
    EXPECT_EQ(p.dataPosition(), 4u + sizeof(binder_buffer_object));

    Parcel nulls;
    EXPECT_EQ(nulls.writeBuffer(nullptr, 8, &handle), BAD_VALUE);
    ASSERT_EQ(nulls.writeBuffer(nullptr, 0, &handle), OK);
    nulls.setDataPosition(0);
    EXPECT_EQ(nulls.readBuffer(0, &handle, &out), UNEXPECTED_NULL);
    ASSERT_EQ(nulls.readNullableBuffer(0, &handle, &out), OK);
    EXPECT_EQ(out, nullptr);
}

TEST(ParcelBuffers, EmbeddedBuffersCheckParentOffsetSizeAndPointerSlot) {
    hidl_vec<uint8_t> vec{1, 2, 3};
    Parcel p;
    size_t parent, child, h;
    ASSERT_EQ(p.writeBuffer(&vec, sizeof(vec), &parent), OK);
    ASSERT_EQ(p.writeEmbeddedBuffer(vec.data(), 3, &child, parent, 0), OK);
    EXPECT_EQ(child, 1u);

    // What a transport rebuilt is checked alike.
    Parcel rebuilt;
    ASSERT_EQ(roundTrip(p, &rebuilt), OK);
    const void* out = nullptr;
    for (Parcel* read : {&p, &rebuilt}) {
        read->setDataPosition(sizeof(binder_buffer_object));
        EXPECT_EQ(read->readEmbeddedBuffer(3, &h, parent, 8, &out), BAD_VALUE);
        EXPECT_EQ(read->readEmbeddedBuffer(3, &h, 5, 0, &out), BAD_VALUE);
        EXPECT_EQ(read->readEmbeddedBuffer(4, &h, parent, 0, &out), BAD_VALUE);
        EXPECT_EQ(read->readBuffer(3, &h, &out), BAD_VALUE);  // embedded is not top-level
        EXPECT_EQ(read->dataPosition(), sizeof(binder_buffer_object));
        ASSERT_EQ(read->readEmbeddedBuffer(3, &h, parent, 0, &out), OK);
        EXPECT_EQ(memcmp(out, vec.data(), 3), 0);
        EXPECT_EQ(h, child);
        // Truncating the data takes the objects past the cut with it.
        ASSERT_EQ(read->setDataSize(sizeof(binder_buffer_object) + 8), OK);
        read->setDataPosition(sizeof(binder_buffer_object));
        EXPECT_EQ(read->readEmbeddedBuffer(3, &h, parent, 0, &out), BAD_VALUE);
    }

    // A child needs a buffer parent with room for its pointer at the offset.
    uint64_t slot = 0;
    Parcel writes;
    ASSERT_EQ(writes.writeBuffer(&slot, sizeof(slot), &parent), OK);
    EXPECT_EQ(writes.writeEmbeddedBuffer(vec.data(), 3, &h, parent, 1), BAD_VALUE);
    EXPECT_EQ(writes.writeEmbeddedBuffer(vec.data(), 3, &h, parent + 1, 0), BAD_VALUE);
    EXPECT_EQ(writes.writeEmbeddedBuffer(nullptr, 3, &h, parent, 0), BAD_VALUE);
    EXPECT_EQ(writes.writeEmbeddedBuffer(vec.data(), 3, &h, parent, 0), OK);

    // The parent's pointer slot must hold exactly the child's address.
    hidl_vec<uint8_t> other{4, 5, 6};
    Parcel mismatch;
    mismatch.writeBuffer(&vec, sizeof(vec), &parent);
    mismatch.writeEmbeddedBuffer(other.data(), 3, &child, parent, 0);
    mismatch.setDataPosition(sizeof(binder_buffer_object));
    EXPECT_EQ(mismatch.readNullableEmbeddedBuffer(3, &h, parent, 0, &out), BAD_VALUE);
}

TEST(ParcelBuffers, RawWritesCannotOverwriteObjects) {
    uint64_t data = 7;
    Parcel p;
    size_t h;
    p.writeInt32(1);
    ASSERT_EQ(p.writeBuffer(&data, sizeof(data), &h), OK);
    const size_t end = p.dataSize();
    p.setDataPosition(8);
    EXPECT_EQ(p.writeInt32(0x1234), BAD_VALUE);
    EXPECT_EQ(p.writeInplace(4), nullptr);
    p.setDataPosition(2);  // objects only go after the existing ones, aligned
    EXPECT_EQ(p.writeBuffer(&data, sizeof(data), &h), BAD_VALUE);
    p.setDataPosition(0);
    EXPECT_EQ(p.writeInt32(2), OK);  // plain data before the object is fine
    p.setDataPosition(end);
    EXPECT_EQ(p.writeInt32(3), OK);
}

TEST(ParcelBinders, BindersComeFromTheSideTableNotFromData) {
    sp<IBinder> local = new BHwBinder();
    Parcel p;
    ASSERT_EQ(p.writeStrongBinder(local), OK);
    ASSERT_EQ(p.writeStrongBinder(nullptr), OK);
    ASSERT_EQ(p.objectsCount(), 2u);
    flat_binder_object obj;
    memcpy(&obj, p.data() + p.objects()[1], sizeof(obj));
    EXPECT_EQ(obj.hdr.type, BINDER_TYPE_BINDER);
    EXPECT_EQ(obj.binder, 0u);

    p.setDataPosition(0);
    sp<IBinder> out;
    ASSERT_EQ(p.readStrongBinder(&out), OK);
    EXPECT_EQ(out, local);
    EXPECT_EQ(p.readStrongBinder(&out), UNEXPECTED_NULL);
    p.setDataPosition(p.objects()[1]);
    ASSERT_EQ(p.readNullableStrongBinder(&out), OK);
    EXPECT_EQ(out, nullptr);

    // A buffer object is not a binder, and vice versa.
    uint64_t data = 0;
    size_t h;
    Parcel mixed;
    mixed.writeBuffer(&data, sizeof(data), &h);
    mixed.writeStrongBinder(local);
    mixed.setDataPosition(0);
    EXPECT_EQ(mixed.readNullableStrongBinder(&out), BAD_TYPE);
    mixed.setDataPosition(sizeof(binder_buffer_object));
    const void* ptr = nullptr;
    EXPECT_EQ(mixed.readBuffer(sizeof(flat_binder_object), &h, &ptr), BAD_TYPE);
}

TEST(ParcelNativeHandles, BufferThenFdArrayAndReadChecksBoth) {
    native_handle_t* nh = native_handle_create(2, 1);
    nh->data[0] = 0;
    nh->data[1] = 1;
    nh->data[2] = 77;
    Parcel p;
    ASSERT_EQ(p.writeNativeHandleNoDup(nh), OK);
    ASSERT_EQ(p.writeNativeHandleNoDup(nullptr), OK);
    ASSERT_EQ(p.objectsCount(), 3u);
    binder_fd_array_object fda;
    memcpy(&fda, p.data() + p.objects()[1], sizeof(fda));
    EXPECT_EQ(fda.hdr.type, BINDER_TYPE_FDA);
    EXPECT_EQ(fda.num_fds, 2u);
    EXPECT_EQ(fda.parent, 0u);
    EXPECT_EQ(fda.parent_offset, 12u);

    p.setDataPosition(0);
    const native_handle_t* out = nullptr;
    ASSERT_EQ(p.readNativeHandleNoDup(&out), OK);
    EXPECT_EQ(out, nh);
    EXPECT_EQ(p.readNativeHandleNoDup(&out), UNEXPECTED_NULL);
    ASSERT_EQ(p.readNullableNativeHandleNoDup(&out), OK);
    EXPECT_EQ(out, nullptr);

    // A handle whose header lies about its size is refused at write time.
    nh->version = 3;
    Parcel bad;
    EXPECT_EQ(bad.writeNativeHandleNoDup(nh), BAD_VALUE);
    nh->version = sizeof(native_handle_t);  // native_handle_delete refuses to free it otherwise
    native_handle_delete(nh);
}

}  // namespace
