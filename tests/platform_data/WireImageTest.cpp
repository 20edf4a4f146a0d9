// Parcels carried through a flattened and rebuilt wire image: everything
// arrives, in fresh memory owned by the rebuilt parcel, and the reads still
// check what they find.
#include <gtest/gtest.h>
#include <hwbinder/IBinder.h>

#include <map>

#include "ParcelTestUtil.h"

namespace {

using android::BAD_VALUE;
using android::hardware::host::kMaxTransactionSize;
using namespace zuv_test;

TEST(WireImage, StringsAndVectorsAreFixedUpAtEveryLevelInFreshMemory) {
    const hidl_string key("calibration.key");
    const hidl_vec<uint8_t> bytes{0, 1, 2, 3, 4, 5, 6, 7, 8};
    const hidl_vec<uint8_t> none;
    const hidl_vec<hidl_string> names{"alpha", "", "gamma-gamma-gamma"};
    // The parcel points into these until it is flattened: they outlive it.
    Parcel in;
    ASSERT_EQ(writeValue(&in, key), OK);
    ASSERT_EQ(writeValue(&in, bytes), OK);
    ASSERT_EQ(writeValue(&in, none), OK);
    ASSERT_EQ(writeValue(&in, names), OK);

    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, nullptr, &image), OK);
    Parcel out;
    ASSERT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &out),
              OK);
    // The rebuilt parcel shares nothing with the image or the writer.
    std::fill(image.bytes.begin(), image.bytes.end(), 0xAA);

    const hidl_string* s = nullptr;
    ASSERT_EQ(readValue(out, &s), OK);
    EXPECT_EQ(*s, key);
    EXPECT_NE(s->c_str(), key.c_str());
    const hidl_vec<uint8_t>* v = nullptr;
    ASSERT_EQ(readValue(out, &v), OK);
    EXPECT_EQ(*v, bytes);
    EXPECT_NE(v->data(), bytes.data());
    ASSERT_EQ(readValue(out, &v), OK);
    EXPECT_EQ(v->data(), nullptr);  // empty vectors keep null data
    const size_t namesAt = out.dataPosition();
    const hidl_vec<hidl_string>* got = nullptr;
    ASSERT_EQ(readValue(out, &got), OK);
    EXPECT_EQ(*got, names);
    EXPECT_NE(got->data(), names.data());
    EXPECT_EQ(out.dataAvail(), 0u);

    // Reading again gives the same memory.
    out.setDataPosition(namesAt);
    const hidl_vec<hidl_string>* again = nullptr;
    ASSERT_EQ(readValue(out, &again), OK);
    EXPECT_EQ(again, got);
}

TEST(WireImage, StringWithoutItsTerminatorIsRefused) {
    const hidl_string abc("abc");  // the parcel points into it until flattened
    Parcel in;
    ASSERT_EQ(writeValue(&in, abc), OK);
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
    EXPECT_EQ(readValue(out, &got), BAD_VALUE);
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

    // Closing them, whether the image is taken or refused, is checked by
    // ImageCorruption.RandomDamageNeverCrashesOrLeaks.
    Parcel out;
    ASSERT_EQ(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), dupFds(image.fds),
                                      nullptr, &out),
              OK);
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

// Large buffers: a top-level vector, one nested in a record and a native
// handle, whose fd array points into its buffer.
struct LargeParcel {
    struct Record {
        uint64_t tag;
        hidl_vec<uint8_t> inner;
    };
    hidl_vec<uint8_t> top;
    Record record;
    native_handle_t* nh = native_handle_create(1, 2);
    int pipeFds[2] = {-1, -1};
    Parcel parcel;

    LargeParcel() {
        top.resize(96 * 1024);
        record.tag = 0x1122334455667788;
        record.inner.resize(64 * 1024);
        for (size_t i = 0; i < top.size(); ++i) top[i] = static_cast<uint8_t>(i * 7);
        for (size_t i = 0; i < record.inner.size(); ++i) record.inner[i] = static_cast<uint8_t>(~i);
        EXPECT_EQ(pipe(pipeFds), 0);
        nh->data[0] = pipeFds[0];
        nh->data[1] = 41;
        nh->data[2] = 42;
        size_t parent, child;
        EXPECT_EQ(writeValue(&parcel, top), OK);
        EXPECT_EQ(parcel.writeBuffer(&record, sizeof(record), &parent), OK);
        EXPECT_EQ(parcel.writeEmbeddedBuffer(record.inner.data(), record.inner.size(), &child,
                                             parent, offsetof(Record, inner)),
                  OK);
        EXPECT_EQ(parcel.writeNativeHandleNoDup(nh), OK);
    }
    ~LargeParcel() {
        native_handle_delete(nh);
        close(pipeFds[0]);
        close(pipeFds[1]);
    }

    // Checks a parcel rebuilt from this one; every buffer must lie in
    // [lo, hi) when that is given.
    void expectSame(const Parcel& out, const uint8_t* lo = nullptr, const uint8_t* hi = nullptr) {
        auto inside = [&](const void* p) {
            const auto* b = static_cast<const uint8_t*>(p);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
            if (lo != nullptr) {
                EXPECT_TRUE(b >= lo && b < hi);
            }
        };
        const hidl_vec<uint8_t>* v = nullptr;
        ASSERT_EQ(readValue(out, &v), OK);
        EXPECT_EQ(*v, top);
        inside(v);
        inside(v->data());
        size_t handle, child;
        const void* rec = nullptr;
        const void* data = nullptr;
        ASSERT_EQ(out.readBuffer(sizeof(Record), &handle, &rec), OK);
        const auto* r = static_cast<const Record*>(rec);
        ASSERT_EQ(out.readNullableEmbeddedBuffer(r->inner.size(), &child, handle,
                                                 offsetof(Record, inner), &data),
                  OK);
        EXPECT_EQ(r->tag, record.tag);
        EXPECT_EQ(r->inner, record.inner);
        inside(r);
        inside(data);
        const native_handle_t* got = nullptr;
        ASSERT_EQ(out.readNativeHandleNoDup(&got), OK);
        ASSERT_NE(got, nullptr);
        ASSERT_EQ(got->numFds, 1);
        EXPECT_EQ(got->data[1], 41);
        EXPECT_EQ(got->data[2], 42);
        EXPECT_NE(got->data[0], pipeFds[0]);  // the received copy, not the sender's
    }
};

// The image a receiver sees: bytes with every slice put in at its place.
std::vector<uint8_t> joined(const WireImage& image) {
    std::vector<uint8_t> all;
    size_t from = 0;
    for (const WireImage::Slice& s : image.slices) {
        all.insert(all.end(), image.bytes.begin() + from, image.bytes.begin() + s.at);
        all.insert(all.end(), s.data, s.data + s.length);
        from = s.at;
    }
    all.insert(all.end(), image.bytes.begin() + from, image.bytes.end());
    EXPECT_EQ(all.size(), image.size());
    return all;
}

TEST(WireImage, SlicedLargeBuffersGiveTheSameImageAndRebuildInPlace) {
    using android::hardware::host::ImageBlock;
    LargeParcel large;
    WireImage whole;
    ASSERT_EQ(WireImageCodec::flatten(large.parcel, nullptr, &whole), OK);
    EXPECT_TRUE(whole.slices.empty());
    // Everything that may be a slice, then only the large buffers.
    for (size_t gatherFrom : {size_t{1}, size_t{64 * 1024}}) {
        SCOPED_TRACE(gatherFrom);
        WireImage sliced;
        ASSERT_EQ(WireImageCodec::flatten(large.parcel, nullptr, &sliced, gatherFrom), OK);
        // Every buffer but the handle an fd array points into, or the two large ones.
        EXPECT_EQ(sliced.slices.size(), gatherFrom == 1 ? 4u : 2u);
        for (const WireImage::Slice& s : sliced.slices) {
            EXPECT_NE(s.data, reinterpret_cast<const uint8_t*>(large.nh));
        }
        EXPECT_EQ(joined(sliced), whole.bytes);
        EXPECT_EQ(sliced.fds, whole.fds);
    }

    const size_t before = openFdCount();
    {
        // In a block, the buffers stay where they lie.
        ImageBlock block = ImageBlock::allocate(whole.bytes.size());
        ASSERT_TRUE(block);
        memcpy(block.data(), whole.bytes.data(), whole.bytes.size());
        const uint8_t* base = block.data();
        Parcel out;
        ASSERT_EQ(WireImageCodec::rebuild(std::move(block), base, whole.bytes.size(),
                                          dupFds(whole.fds), nullptr, &out),
                  OK);
        large.expectSame(out, base, base + whole.bytes.size());

        // An image not 8-aligned in its block is copied out, as is one
        // outside the block given.
        ImageBlock odd = ImageBlock::allocate(whole.bytes.size() + 4);
        memcpy(odd.data() + 4, whole.bytes.data(), whole.bytes.size());
        const uint8_t* oddImage = odd.data() + 4;
        Parcel copied;
        ASSERT_EQ(WireImageCodec::rebuild(std::move(odd), oddImage, whole.bytes.size(),
                                          dupFds(whole.fds), nullptr, &copied),
                  OK);
        large.expectSame(copied);
        Parcel outside;
        ASSERT_EQ(WireImageCodec::rebuild(ImageBlock::allocate(64), whole.bytes.data(),
                                          whole.bytes.size(), dupFds(whole.fds), nullptr, &outside),
                  OK);
        large.expectSame(outside);
    }
    EXPECT_EQ(openFdCount(), before);
}

}  // namespace
