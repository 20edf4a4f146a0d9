// Parcels carried through a flattened and rebuilt wire image: everything
// arrives, in fresh memory owned by the rebuilt parcel, and the reads still
// check what they find.
#include <gtest/gtest.h>
#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>

#include <map>

#include "ParcelTestUtil.h"

namespace {

using android::BAD_VALUE;
using android::OK;
using android::sp;
using android::hardware::BHwBinder;
using android::hardware::IBinder;
using android::hardware::host::kMaxTransactionSize;
using namespace zuv_test;

TEST(WireImage, StringsAndVectorsAreFixedUpAtEveryLevelInFreshMemory) {
    const hidl_string key("calibration.key");
    const hidl_vec<uint8_t> bytes{0, 1, 2, 3, 4, 5, 6, 7, 8};
    const hidl_vec<uint8_t> none;
    const hidl_vec<hidl_string> names{"alpha", "", "gamma-gamma-gamma"};
    // The parcel points into these until it is flattened: they outlive it.
    Parcel in;
    ASSERT_EQ(writeString(&in, key), OK);
    ASSERT_EQ(writeBytes(&in, bytes), OK);
    ASSERT_EQ(writeBytes(&in, none), OK);
    ASSERT_EQ(writeStrings(&in, names), OK);

    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, nullptr, &image), OK);
    Parcel out;
    ASSERT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &out),
              OK);
    // The rebuilt parcel shares nothing with the image or the writer.
    std::fill(image.bytes.begin(), image.bytes.end(), 0xAA);

    const hidl_string* s = nullptr;
    ASSERT_EQ(readString(out, &s), OK);
    EXPECT_EQ(*s, key);
    EXPECT_NE(s->c_str(), key.c_str());
    const hidl_vec<uint8_t>* v = nullptr;
    ASSERT_EQ(readBytes(out, &v), OK);
    EXPECT_EQ(*v, bytes);
    EXPECT_NE(v->data(), bytes.data());
    ASSERT_EQ(readBytes(out, &v), OK);
    EXPECT_EQ(v->data(), nullptr);  // empty vectors keep null data
    const size_t namesAt = out.dataPosition();
    const hidl_vec<hidl_string>* got = nullptr;
    ASSERT_EQ(readStrings(out, &got), OK);
    EXPECT_EQ(*got, names);
    EXPECT_NE(got->data(), names.data());
    EXPECT_EQ(out.dataAvail(), 0u);

    // Reading again gives the same memory.
    out.setDataPosition(namesAt);
    const hidl_vec<hidl_string>* again = nullptr;
    ASSERT_EQ(readStrings(out, &again), OK);
    EXPECT_EQ(again, got);
}

TEST(WireImage, ReadsOfARebuiltParcelStillCheckEverything) {
    hidl_vec<uint8_t> bytes{1, 2, 3, 4};
    Parcel in;
    ASSERT_EQ(writeBytes(&in, bytes), OK);
    Parcel out;
    ASSERT_EQ(roundTrip(in, &out), OK);

    size_t handle, child;
    const void* header = nullptr;
    const void* data = nullptr;
    EXPECT_EQ(out.readBuffer(8, &handle, &header), BAD_VALUE);
    ASSERT_EQ(out.readBuffer(16, &handle, &header), OK);
    const size_t childPos = out.dataPosition();
    EXPECT_EQ(out.readNullableEmbeddedBuffer(5, &child, handle, 0, &data), BAD_VALUE);
    EXPECT_EQ(out.readNullableEmbeddedBuffer(4, &child, handle, 8, &data), BAD_VALUE);
    EXPECT_EQ(out.readNullableEmbeddedBuffer(4, &child, handle + 1, 0, &data), BAD_VALUE);
    EXPECT_EQ(out.dataPosition(), childPos);
    ASSERT_EQ(out.readNullableEmbeddedBuffer(4, &child, handle, 0, &data), OK);
    EXPECT_EQ(memcmp(data, bytes.data(), 4), 0);

    // Truncating the received data takes the objects past the cut with it.
    ASSERT_EQ(out.setDataSize(childPos + 8), OK);
    out.setDataPosition(childPos);
    EXPECT_EQ(out.readNullableEmbeddedBuffer(4, &child, handle, 0, &data), BAD_VALUE);
}

TEST(WireImage, StringWithoutItsTerminatorIsRefused) {
    const hidl_string abc("abc");  // the parcel points into it until flattened
    Parcel in;
    ASSERT_EQ(writeString(&in, abc), OK);
    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, nullptr, &image), OK);
    // The character data is the second buffer: 16 bytes of header first.
    const size_t chars = ImageView{image.bytes}.buffersStart() + 16;
    ASSERT_EQ(image.bytes[chars + 3], '\0');
    image.bytes[chars + 3] = 'd';

    Parcel out;
    ASSERT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &out),
              OK);
    const hidl_string* got = nullptr;
    EXPECT_EQ(readString(out, &got), BAD_VALUE);
}

TEST(WireImage, EmptyParcelTravelsAndOversizeParcelDoesNot) {
    Parcel out;
    ASSERT_EQ(roundTrip(Parcel(), &out), OK);
    EXPECT_EQ(out.dataSize(), 0u);

    std::vector<uint8_t> big(kMaxTransactionSize);
    Parcel in;
    size_t h;
    ASSERT_EQ(in.writeBuffer(big.data(), big.size(), &h), OK);
    WireImage image;
    EXPECT_NE(WireImageCodec::flatten(in, nullptr, &image), OK);
    EXPECT_TRUE(image.bytes.empty());
}

TEST(WireImage, NativeHandleFdsTravelOutOfBandAndAreOwnedByTheParcel) {
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    native_handle_t* nh = native_handle_create(2, 2);
    nh->data[0] = pipeFds[0];
    nh->data[1] = pipeFds[1];
    nh->data[2] = 11;
    nh->data[3] = 22;

    // A top-level handle and one embedded in a record at offset 8.
    struct Record {
        uint64_t head;
        android::hardware::hidl_handle h;
    } record{5, android::hardware::hidl_handle(nh)};
    Parcel in;
    ASSERT_EQ(in.writeNativeHandleNoDup(nh), OK);
    size_t parent;
    ASSERT_EQ(in.writeBuffer(&record, sizeof(record), &parent), OK);
    ASSERT_EQ(android::hardware::writeEmbeddedToParcel(record.h, &in, parent, 8), OK);

    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, nullptr, &image), OK);
    ASSERT_EQ(image.fds.size(), 4u);
    EXPECT_EQ(image.fds[0], pipeFds[0]);

    const size_t before = openFdCount();
    {
        Parcel out;
        ASSERT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), dupFds(image.fds),
                                          nullptr, &out),
                  OK);
        EXPECT_EQ(openFdCount(), before + 4);
        const native_handle_t* got = nullptr;
        ASSERT_EQ(out.readNativeHandleNoDup(&got), OK);
        ASSERT_NE(got, nh);
        EXPECT_EQ(got->numFds, 2);
        EXPECT_EQ(got->data[2], 11);
        EXPECT_EQ(got->data[3], 22);
        EXPECT_NE(got->data[1], pipeFds[1]);
        // The received fds really are the pipe.
        ASSERT_EQ(write(got->data[1], "z", 1), 1);
        char c = 0;
        ASSERT_EQ(read(pipeFds[0], &c, 1), 1);
        EXPECT_EQ(c, 'z');

        size_t h;
        const void* rec = nullptr;
        ASSERT_EQ(out.readBuffer(sizeof(Record), &h, &rec), OK);
        const auto* gotRecord = static_cast<const Record*>(rec);
        EXPECT_EQ(gotRecord->head, 5u);
        ASSERT_EQ(android::hardware::readEmbeddedFromParcel(gotRecord->h, out, h, 8), OK);
        ASSERT_NE(gotRecord->h.getNativeHandle(), nullptr);
        EXPECT_EQ(gotRecord->h->data[3], 22);
    }
    EXPECT_EQ(openFdCount(), before);  // the parcel closed what it owned

    // A refused image closes the fds it was given too.
    image.bytes[0] ^= 1;
    Parcel refused;
    EXPECT_NE(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), dupFds(image.fds),
                                      nullptr, &refused),
              OK);
    EXPECT_EQ(openFdCount(), before);

    native_handle_delete(nh);
    close(pipeFds[0]);
    close(pipeFds[1]);
}

// Hands out small numbers for binders and accepts back only those.
class TableTranslator : public BinderTranslator {
  public:
    android::status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type,
                                    uint64_t* ref) override {
        *type = BINDER_TYPE_HANDLE;
        for (auto& [id, b] : mTable) {
            if (b == binder) {
                *ref = id;
                return OK;
            }
        }
        *ref = mTable.size() + 100;
        mTable[*ref] = binder;
        return OK;
    }
    android::status_t unflattenBinder(uint32_t type, uint64_t ref, sp<IBinder>* out) override {
        auto it = mTable.find(ref);
        if (type != BINDER_TYPE_HANDLE || it == mTable.end()) return android::NAME_NOT_FOUND;
        *out = it->second;
        return OK;
    }

  private:
    std::map<uint64_t, sp<IBinder>> mTable;
};

TEST(WireImage, BindersGoThroughTheTranslator) {
    sp<IBinder> a = new BHwBinder();
    sp<IBinder> b = new BHwBinder();
    Parcel in;
    in.writeStrongBinder(a);
    in.writeStrongBinder(nullptr);
    in.writeStrongBinder(b);
    in.writeStrongBinder(a);

    TableTranslator translator;
    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, &translator, &image), OK);
    ImageView view{image.bytes};
    flat_binder_object wire;
    memcpy(&wire, image.bytes.data() + view.object(0), sizeof(wire));
    EXPECT_EQ(wire.hdr.type, BINDER_TYPE_HANDLE);
    EXPECT_EQ(wire.binder, 100u);

    Parcel out;
    ASSERT_EQ(
            WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, &translator, &out),
            OK);
    EXPECT_EQ(out.readStrongBinder(), a);
    sp<IBinder> none = a;
    ASSERT_EQ(out.readNullableStrongBinder(&none), OK);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(out.readStrongBinder(), b);
    EXPECT_EQ(out.readStrongBinder(), a);

    // Without a translator binders cannot travel; a reference the receiver
    // never handed out is refused.
    EXPECT_NE(WireImageCodec::flatten(in, nullptr, &image), OK);
    ASSERT_EQ(WireImageCodec::flatten(in, &translator, &image), OK);
    wire.binder = 999;
    memcpy(image.bytes.data() + ImageView{image.bytes}.object(2), &wire, sizeof(wire));
    EXPECT_EQ(
            WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, &translator, &out),
            android::NAME_NOT_FOUND);
    EXPECT_EQ(out.dataSize(), 0u);
    EXPECT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &out),
              BAD_VALUE);
}

}  // namespace
