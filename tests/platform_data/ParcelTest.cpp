// The parcel on its own: item encodings, and the checks every read of a
// buffer, binder or native-handle object makes.
#include <gtest/gtest.h>
#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>

#include <cmath>
#include <limits>

#include "ParcelTestUtil.h"

namespace {

using android::BAD_TYPE;
using android::BAD_VALUE;
using android::NOT_ENOUGH_DATA;
using android::OK;
using android::sp;
using android::String16;
using android::UNEXPECTED_NULL;
using android::hardware::BHwBinder;
using android::hardware::IBinder;
using namespace zuv_test;

TEST(ParcelScalars, EveryScalarTakesAPaddedSlotAndSurvivesTheImage) {
    Parcel p;
    ASSERT_EQ(p.writeInt8(-2), OK);
    ASSERT_EQ(p.writeUint8(0xfe), OK);
    ASSERT_EQ(p.writeInt16(-3000), OK);
    ASSERT_EQ(p.writeUint16(0xbeef), OK);
    ASSERT_EQ(p.writeInt32(std::numeric_limits<int32_t>::min()), OK);
    ASSERT_EQ(p.writeUint32(0xdeadbeef), OK);
    ASSERT_EQ(p.writeInt64(-1234567890123LL), OK);
    ASSERT_EQ(p.writeUint64(0xfedcba9876543210ULL), OK);
    ASSERT_EQ(p.writeFloat(1.5f), OK);
    ASSERT_EQ(p.writeDouble(-2.25), OK);
    ASSERT_EQ(p.writeBool(true), OK);
    EXPECT_EQ(p.dataSize(), 4u * 6 + 8 * 2 + 4 + 8 + 4);
    // An 8-bit value sits in the first byte of its 4-byte slot, rest zero.
    EXPECT_EQ(p.data()[0], 0xfe);
    EXPECT_EQ(p.data()[1], 0);
    EXPECT_EQ(p.data()[3], 0);

    p.writeInterfaceToken("vendor.zuv@1.0::IFoo");
    Parcel out;  // plain data crosses the image byte for byte
    ASSERT_EQ(roundTrip(p, &out), OK);
    ASSERT_EQ(out.dataSize(), p.dataSize());
    EXPECT_EQ(memcmp(out.data(), p.data(), p.dataSize()), 0);

    int8_t i8;
    uint8_t u8;
    int16_t i16;
    uint16_t u16;
    int32_t i32;
    uint32_t u32;
    int64_t i64;
    uint64_t u64;
    float f;
    double d;
    bool b;
    ASSERT_EQ(out.readInt8(&i8), OK);
    ASSERT_EQ(out.readUint8(&u8), OK);
    ASSERT_EQ(out.readInt16(&i16), OK);
    ASSERT_EQ(out.readUint16(&u16), OK);
    ASSERT_EQ(out.readInt32(&i32), OK);
    ASSERT_EQ(out.readUint32(&u32), OK);
    ASSERT_EQ(out.readInt64(&i64), OK);
    ASSERT_EQ(out.readUint64(&u64), OK);
    ASSERT_EQ(out.readFloat(&f), OK);
    ASSERT_EQ(out.readDouble(&d), OK);
    ASSERT_EQ(out.readBool(&b), OK);
    EXPECT_EQ(i8, -2);
    EXPECT_EQ(u8, 0xfe);
    EXPECT_EQ(i16, -3000);
    EXPECT_EQ(u16, 0xbeef);
    EXPECT_EQ(i32, std::numeric_limits<int32_t>::min());
    EXPECT_EQ(u32, 0xdeadbeefu);
    EXPECT_EQ(i64, -1234567890123LL);
    EXPECT_EQ(u64, 0xfedcba9876543210ULL);
    EXPECT_EQ(f, 1.5f);
    EXPECT_EQ(d, -2.25);
    EXPECT_TRUE(b);
    EXPECT_TRUE(out.enforceInterface("vendor.zuv@1.0::IFoo"));
    EXPECT_EQ(out.dataAvail(), 0u);
}

TEST(ParcelScalars, ReadingPastTheEndFailsAndLeavesThePosition) {
    Parcel p;
    p.writeInt32(1);
    p.setDataPosition(0);
    int64_t wide;
    EXPECT_EQ(p.readInt64(&wide), NOT_ENOUGH_DATA);
    EXPECT_EQ(p.dataPosition(), 0u);
    int32_t v;
    EXPECT_EQ(p.readInt32(&v), OK);
    EXPECT_EQ(p.readInt32(&v), NOT_ENOUGH_DATA);
    p.setDataPosition(1000);
    EXPECT_EQ(p.readInt32(&v), NOT_ENOUGH_DATA);
    EXPECT_EQ(p.readInplace(4), nullptr);
    EXPECT_EQ(p.readCString(), nullptr);
    EXPECT_EQ(p.dataAvail(), 0u);
    p.setDataPosition(0);
    EXPECT_EQ(p.readInplace(std::numeric_limits<size_t>::max()), nullptr);
}

TEST(ParcelStrings, CStringsAndInterfaceTokens) {
    Parcel p;
    ASSERT_EQ(p.writeInterfaceToken("vendor.zuv@1.0::IFoo"), OK);
    ASSERT_EQ(p.writeCString("abc"), OK);  // 4 bytes with NUL, no padding
    EXPECT_EQ(p.dataSize(), 24u + 4u);
    p.setDataPosition(0);
    EXPECT_TRUE(p.enforceInterface("vendor.zuv@1.0::IFoo"));
    EXPECT_STREQ(p.readCString(), "abc");

    p.setDataPosition(0);
    EXPECT_FALSE(p.enforceInterface("vendor.zuv@1.0::IBar"));

    Parcel unterminated;
    unterminated.write("abcd", 4);
    unterminated.setDataPosition(0);
    EXPECT_EQ(unterminated.readCString(), nullptr);
    EXPECT_FALSE(unterminated.enforceInterface("abcd"));
}

TEST(ParcelStrings, String16LayoutNullAndTruncation) {
    Parcel p;
    ASSERT_EQ(p.writeString16(String16("hé")), OK);
    ASSERT_EQ(p.writeString16(nullptr, 0), OK);
    const uint8_t expected[] = {2, 0, 0, 0, 'h', 0, 0xe9, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff};
    ASSERT_EQ(p.dataSize(), sizeof(expected));
    EXPECT_EQ(memcmp(p.data(), expected, sizeof(expected)), 0);

    p.setDataPosition(0);
    String16 s;
    ASSERT_EQ(p.readString16(&s), OK);
    EXPECT_EQ(s, String16("hé"));
    EXPECT_EQ(p.readString16(&s), UNEXPECTED_NULL);

    Parcel bad;
    bad.writeInt32(3);
    bad.writeInt32(0x00620061);  // "ab" and no room for the rest or the NUL
    bad.setDataPosition(0);
    size_t len = 99;
    EXPECT_EQ(bad.readString16Inplace(&len), nullptr);
    EXPECT_EQ(bad.dataPosition(), 0u);
    bad.setDataPosition(0);
    bad.writeInt32(-7);
    bad.setDataPosition(0);
    EXPECT_EQ(bad.readString16(&s), BAD_VALUE);

    Parcel missingNul;
    missingNul.writeInt32(1);
    missingNul.writeInt32(0x00410041);  // 'A' where the NUL belongs
    missingNul.setDataPosition(0);
    EXPECT_EQ(missingNul.readString16Inplace(&len), nullptr);
}

TEST(ParcelBuffers, TopLevelBufferReadChecksSizeObjectAndType) {
    const uint64_t record[3] = {1, 2, 3};
    Parcel p;
    size_t handle;
    ASSERT_EQ(p.writeInt32(9), OK);
    ASSERT_EQ(p.writeBuffer(record, sizeof(record), &handle), OK);
    EXPECT_EQ(handle, 0u);
    ASSERT_EQ(p.objectsCount(), 1u);
    EXPECT_EQ(p.objects()[0], 4u);

    const void* out = nullptr;
    p.setDataPosition(0);  // no object at 0
    EXPECT_EQ(p.readBuffer(sizeof(record), &handle, &out), BAD_VALUE);
    p.setDataPosition(4);
    EXPECT_EQ(p.readBuffer(sizeof(record) - 1, &handle, &out), BAD_VALUE);
    EXPECT_EQ(p.readBuffer(sizeof(record) + 8, &handle, &out), BAD_VALUE);
    EXPECT_EQ(p.dataPosition(), 4u);
    ASSERT_EQ(p.readBuffer(sizeof(record), &handle, &out), OK);
    EXPECT_EQ(out, record);
    EXPECT_EQ(p.dataPosition(), 4u + sizeof(binder_buffer_object));

    // An object must start exactly at the read position.
    p.setDataPosition(8);
    EXPECT_EQ(p.readBuffer(sizeof(record), &handle, &out), BAD_VALUE);
}

TEST(ParcelBuffers, NullBuffersOnlyThroughNullableReads) {
    Parcel p;
    size_t handle;
    EXPECT_EQ(p.writeBuffer(nullptr, 8, &handle), BAD_VALUE);
    ASSERT_EQ(p.writeBuffer(nullptr, 0, &handle), OK);
    const void* out = &handle;
    p.setDataPosition(0);
    EXPECT_EQ(p.readBuffer(0, &handle, &out), UNEXPECTED_NULL);
    ASSERT_EQ(p.readNullableBuffer(0, &handle, &out), OK);
    EXPECT_EQ(out, nullptr);
}

TEST(ParcelBuffers, EmbeddedReadChecksParentOffsetAndPointerSlot) {
    hidl_vec<uint8_t> vec{1, 2, 3};
    Parcel p;
    size_t parent, child;
    ASSERT_EQ(p.writeBuffer(&vec, sizeof(vec), &parent), OK);
    ASSERT_EQ(p.writeEmbeddedBuffer(vec.data(), 3, &child, parent, 0), OK);
    EXPECT_EQ(child, 1u);

    const void* out = nullptr;
    size_t h;
    p.setDataPosition(sizeof(binder_buffer_object));
    EXPECT_EQ(p.readEmbeddedBuffer(3, &h, parent, 8, &out), BAD_VALUE);  // wrong offset
    EXPECT_EQ(p.readEmbeddedBuffer(3, &h, 5, 0, &out), BAD_VALUE);       // wrong parent
    EXPECT_EQ(p.readEmbeddedBuffer(4, &h, parent, 0, &out), BAD_VALUE);  // wrong size
    EXPECT_EQ(p.readBuffer(3, &h, &out), BAD_VALUE);  // embedded is not top-level
    ASSERT_EQ(p.readEmbeddedBuffer(3, &h, parent, 0, &out), OK);
    EXPECT_EQ(out, vec.data());
    EXPECT_EQ(h, child);

    // The parent's pointer slot must hold exactly the child's address.
    hidl_vec<uint8_t> other{4, 5, 6};
    Parcel mismatch;
    mismatch.writeBuffer(&vec, sizeof(vec), &parent);
    mismatch.writeEmbeddedBuffer(other.data(), 3, &child, parent, 0);
    mismatch.setDataPosition(sizeof(binder_buffer_object));
    EXPECT_EQ(mismatch.readEmbeddedBuffer(3, &h, parent, 0, &out), BAD_VALUE);
    EXPECT_EQ(mismatch.readNullableEmbeddedBuffer(3, &h, parent, 0, &out), BAD_VALUE);
}

TEST(ParcelBuffers, EmbeddedWriteNeedsABufferParentHoldingTheSlot) {
    uint64_t parentData = 0;
    uint8_t child[4] = {};
    Parcel p;
    size_t parent, h;
    ASSERT_EQ(p.writeBuffer(&parentData, sizeof(parentData), &parent), OK);
    EXPECT_EQ(p.writeEmbeddedBuffer(child, 4, &h, parent, 1), BAD_VALUE);
    EXPECT_EQ(p.writeEmbeddedBuffer(child, 4, &h, parent + 1, 0), BAD_VALUE);
    EXPECT_EQ(p.writeEmbeddedBuffer(nullptr, 4, &h, parent, 0), BAD_VALUE);
    EXPECT_EQ(p.writeEmbeddedBuffer(child, 4, &h, parent, 0), OK);
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

    // Shrinking the data drops objects that no longer fit.
    ASSERT_EQ(p.setDataSize(10), OK);
    EXPECT_EQ(p.objectsCount(), 0u);
    p.setDataPosition(4);
    const void* out = nullptr;
    EXPECT_EQ(p.readBuffer(sizeof(data), &h, &out), BAD_VALUE);
}

class FakeRemote : public IBinder {
  public:
    android::status_t transact(uint32_t, const Parcel&, Parcel*, uint32_t,
                               TransactCallback) override {
        return android::INVALID_OPERATION;
    }
    android::status_t linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) override {
        return OK;
    }
    android::status_t unlinkToDeath(const android::wp<DeathRecipient>&, void*, uint32_t,
                                    android::wp<DeathRecipient>*) override {
        return OK;
    }
    void attachObject(const void*, void*, void*, object_cleanup_func) override {}
    void* findObject(const void*) const override { return nullptr; }
    void detachObject(const void*) override {}
};

TEST(ParcelBinders, BindersComeFromTheSideTableNotFromData) {
    sp<IBinder> local = new BHwBinder();
    sp<IBinder> remote = new FakeRemote();
    Parcel p;
    ASSERT_EQ(p.writeStrongBinder(local), OK);
    ASSERT_EQ(p.writeStrongBinder(nullptr), OK);
    ASSERT_EQ(p.writeStrongBinder(remote), OK);
    ASSERT_EQ(p.objectsCount(), 3u);

    flat_binder_object obj;
    memcpy(&obj, p.data(), sizeof(obj));
    EXPECT_EQ(obj.hdr.type, BINDER_TYPE_BINDER);
    memcpy(&obj, p.data() + p.objects()[1], sizeof(obj));
    EXPECT_EQ(obj.hdr.type, BINDER_TYPE_BINDER);
    EXPECT_EQ(obj.binder, 0u);
    memcpy(&obj, p.data() + p.objects()[2], sizeof(obj));
    EXPECT_EQ(obj.hdr.type, BINDER_TYPE_HANDLE);

    p.setDataPosition(0);
    sp<IBinder> out;
    ASSERT_EQ(p.readStrongBinder(&out), OK);
    EXPECT_EQ(out, local);
    EXPECT_EQ(p.readStrongBinder(&out), UNEXPECTED_NULL);
    p.setDataPosition(p.objects()[1]);
    ASSERT_EQ(p.readNullableStrongBinder(&out), OK);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(p.readStrongBinder(), remote);

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
