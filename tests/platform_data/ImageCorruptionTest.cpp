// Corrupted wire images: each kind of damage is refused with a status and
// leaves the target parcel empty; random damage never crashes the rebuild or
// the reads that follow, and never leaks an fd.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <random>

#include "ParcelTestUtil.h"

namespace {

using android::OK;
using android::hardware::host::kMaxTransactionSize;
using namespace zuv_test;

// Field positions inside a binder_buffer_object.
constexpr size_t kType = 0;
constexpr size_t kFlags = 4;
constexpr size_t kPointer = 8;
constexpr size_t kLength = 16;
constexpr size_t kParent = 24;
constexpr size_t kParentOffset = 32;

// Objects of the sample: 0 null binder, 1 vector header, 2 element array,
// 3 and 4 the two strings' characters, 5 a flat 8-byte record.
std::vector<uint8_t> sampleImage() {
    static const hidl_vec<hidl_string> names{"one", "two"};
    static const uint64_t record = 0x1122334455667788ULL;
    Parcel p;
    p.writeInt32(7);
    p.writeStrongBinder(nullptr);
    writeValue(&p, names);
    size_t h;
    p.writeBuffer(&record, sizeof(record), &h);
    WireImage image;
    EXPECT_EQ(WireImageCodec::flatten(p, nullptr, &image), OK);
    return image.bytes;
}

struct Corruption {
    const char* name;
    std::function<void(ImageView&)> apply;
};

void setObjectField32(ImageView& v, size_t object, size_t field, uint32_t value) {
    v.set<uint32_t>(v.object(object) + field, value);
}
void setObjectField64(ImageView& v, size_t object, size_t field, uint64_t value) {
    v.set<uint64_t>(v.object(object) + field, value);
}

TEST(ImageCorruption, EveryKindOfDamageIsRefused) {
    std::vector<uint8_t> intact = sampleImage();
    Parcel rebuilt;
    ASSERT_EQ(WireImageCodec::rebuild(intact.data(), intact.size(), {}, nullptr, &rebuilt), OK);

    const std::vector<Corruption> cases = {
            {"bad magic", [](ImageView& v) { v.set<uint32_t>(ImageView::kMagic, 0x12345678); }},
            {"truncated", [](ImageView& v) { v.bytes.resize(v.bytes.size() - 8); }},
            {"trailing bytes", [](ImageView& v) { v.bytes.resize(v.bytes.size() + 8); }},
            {"shorter than a header", [](ImageView& v) { v.bytes.resize(20); }},
            {"data size too large",
             [](ImageView& v) { v.set<uint64_t>(ImageView::kDataSize, v.dataSize() + 8); }},
            {"data size huge",
             [](ImageView& v) { v.set<uint64_t>(ImageView::kDataSize, uint64_t(1) << 63); }},
            {"offsets size not a multiple of 8",
             [](ImageView& v) {
                 v.set<uint64_t>(ImageView::kOffsetsSize, v.objectCount() * 8 - 4);
             }},
            {"buffers size wraps",
             [](ImageView& v) {
                 v.set<uint64_t>(ImageView::kBuffersSize, std::numeric_limits<uint64_t>::max() - 7);
             }},
            {"buffer area too small for its buffers",
             [](ImageView& v) {
                 v.set<uint64_t>(ImageView::kBuffersSize,
                                 v.get<uint64_t>(ImageView::kBuffersSize) - 8);
                 v.bytes.resize(v.bytes.size() - 8);
             }},
            {"fd count without fds", [](ImageView& v) { v.set<uint32_t>(ImageView::kFdCount, 1); }},
            {"offsets unsorted",
             [](ImageView& v) {
                 const uint64_t a = v.get<uint64_t>(v.offsetEntry(3));
                 v.set<uint64_t>(v.offsetEntry(3), v.get<uint64_t>(v.offsetEntry(4)));
                 v.set<uint64_t>(v.offsetEntry(4), a);
             }},
            {"offset misaligned",
             [](ImageView& v) {
                 v.set<uint64_t>(v.offsetEntry(5), v.get<uint64_t>(v.offsetEntry(5)) + 2);
             }},
            {"offset past the data",
             [](ImageView& v) { v.set<uint64_t>(v.offsetEntry(5), v.dataSize()); }},
            {"object sticks out of the data",
             [](ImageView& v) {
                 const uint64_t at = v.dataSize() - 20;
                 v.set<uint64_t>(v.offsetEntry(5), at);
                 v.set<uint32_t>(v.dataStart() + at, BINDER_TYPE_PTR);
             }},
            {"objects overlap",
             [](ImageView& v) {
                 const uint64_t at = v.get<uint64_t>(v.offsetEntry(3)) + 8;
                 v.set<uint64_t>(v.offsetEntry(4), at);
                 v.set<uint32_t>(v.dataStart() + at, BINDER_TYPE_PTR);
             }},
            {"unknown object type",
             [](ImageView& v) { setObjectField32(v, 5, kType, 0x7a7a7a7a); }},
            {"weak binder",
             [](ImageView& v) { setObjectField32(v, 0, kType, BINDER_TYPE_WEAK_BINDER); }},
            {"weak handle",
             [](ImageView& v) { setObjectField32(v, 0, kType, BINDER_TYPE_WEAK_HANDLE); }},
            {"single fd object",
             [](ImageView& v) { setObjectField32(v, 0, kType, BINDER_TYPE_FD); }},
            {"parent is itself", [](ImageView& v) { setObjectField64(v, 3, kParent, 3); }},
            {"parent is later", [](ImageView& v) { setObjectField64(v, 3, kParent, 4); }},
            {"parent is not a buffer", [](ImageView& v) { setObjectField64(v, 2, kParent, 0); }},
            {"parent slot outside the parent",
             [](ImageView& v) { setObjectField64(v, 4, kParentOffset, 32 - 4); }},
            {"parent offset huge",
             [](ImageView& v) { setObjectField64(v, 4, kParentOffset, ~uint64_t(0) - 3); }},
            {"parent shorter than a pointer",
             [](ImageView& v) { setObjectField64(v, 4, kParent, 3); }},
            {"fix-up behind an earlier fix-up",
             [](ImageView& v) { setObjectField64(v, 4, kParentOffset, 0); }},
            {"fix-up into an ancestor behind the slot already fixed there",
             [](ImageView& v) {
                 // The element array took slot 0 of the header; the second
                 // string may not go back to it.
                 setObjectField64(v, 4, kParent, 1);
                 setObjectField64(v, 4, kParentOffset, 0);
             }},
            {"pointer field neither null nor present",
             [](ImageView& v) { setObjectField64(v, 5, kPointer, 0x7fff0000); }},
            {"null buffer with a length",
             [](ImageView& v) { setObjectField64(v, 5, kPointer, 0); }},
            {"buffer longer than the area",
             [](ImageView& v) { setObjectField64(v, 5, kLength, 1024); }},
            {"buffer length wraps",
             [](ImageView& v) { setObjectField64(v, 5, kLength, ~uint64_t(0) - 2); }},
            {"unknown buffer flags", [](ImageView& v) { setObjectField32(v, 5, kFlags, 2); }},
            {"larger than a transaction",
             [](ImageView& v) {
                 const size_t extra = kMaxTransactionSize - v.bytes.size() + 8;
                 v.set<uint64_t>(ImageView::kBuffersSize,
                                 v.get<uint64_t>(ImageView::kBuffersSize) + extra);
                 v.bytes.resize(v.bytes.size() + extra);
             }},
    };

    for (const Corruption& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<uint8_t> bytes = sampleImage();
        ImageView view{bytes};
        c.apply(view);
        Parcel out;
        out.writeInt32(1);  // stale content must be gone either way
        EXPECT_NE(WireImageCodec::rebuild(bytes.data(), bytes.size(), {}, nullptr, &out), OK);
        EXPECT_EQ(out.dataSize(), 0u);
        EXPECT_EQ(out.objectsCount(), 0u);
    }
}

TEST(ImageCorruption, OutOfOrderChildrenWrittenLocallyAreRefusedOnArrival) {
    // Writers can produce what the driver would refuse; the rebuild catches it.
    uint64_t first[2] = {};
    uint64_t second[2] = {};
    uint8_t child[8] = {};
    first[0] = reinterpret_cast<uint64_t>(child);
    Parcel p;
    size_t a, b, c;
    ASSERT_EQ(p.writeBuffer(first, sizeof(first), &a), OK);
    ASSERT_EQ(p.writeBuffer(second, sizeof(second), &b), OK);
    ASSERT_EQ(p.writeEmbeddedBuffer(child, sizeof(child), &c, a, 0), OK);
    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(p, nullptr, &image), OK);
    Parcel out;
    EXPECT_NE(WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), {}, nullptr, &out),
              OK);
    EXPECT_NE(WireImageCodec::rebuild(nullptr, 0, {}, nullptr, &out), OK);
}

TEST(ImageCorruption, RandomDamageNeverCrashesOrLeaks) {
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    native_handle_t* nh = native_handle_create(2, 1);
    nh->data[0] = pipeFds[0];
    nh->data[1] = pipeFds[1];
    nh->data[2] = 3;
    const hidl_vec<hidl_string> names{"first", "", "third string"};
    const hidl_vec<uint8_t> bytes{9, 8, 7, 6, 5};

    Parcel in;
    in.writeInterfaceToken("fuzz@1.0::IFuzz");
    writeValue(&in, names);
    in.writeNativeHandleNoDup(nh);
    writeValue(&in, bytes);
    WireImage image;
    ASSERT_EQ(WireImageCodec::flatten(in, nullptr, &image), OK);

    // Reads that trust whatever the rebuild accepted; the memory must be there.
    auto readAll = [&](const Parcel& p) {
        const hidl_vec<hidl_string>* gotNames = nullptr;
        const native_handle_t* h = nullptr;
        const hidl_vec<uint8_t>* gotBytes = nullptr;
        if (!p.enforceInterface("fuzz@1.0::IFuzz") || readValue(p, &gotNames) != OK ||
            p.readNullableNativeHandleNoDup(&h) != OK || readValue(p, &gotBytes) != OK) {
            return;
        }
        volatile size_t sum = 0;
        for (const hidl_string& s : *gotNames) {
            for (size_t i = 0; i <= s.size(); ++i) sum = sum + static_cast<uint8_t>(s.c_str()[i]);
        }
        for (uint8_t b : *gotBytes) sum = sum + b;
    };

    const size_t fdsBefore = openFdCount();
    std::mt19937_64 rng(20240611);
    size_t accepted = 0;
    constexpr int kRounds = 4000;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<uint8_t> damaged = image.bytes;
        if (rng() % 2 == 0) {  // flip a few bytes
            for (int k = 0, n = 1 + rng() % 4; k < n; ++k) {
                damaged[rng() % damaged.size()] ^= static_cast<uint8_t>(1 + rng() % 255);
            }
        } else {  // plant an interesting value at an 8-byte boundary
            static const uint64_t kValues[] = {0, 1, 7, 8, 16, 0xffffffff, ~uint64_t(0) - 7};
            const size_t at = (rng() % (damaged.size() / 8)) * 8;
            const uint64_t value = kValues[rng() % (sizeof(kValues) / sizeof(kValues[0]))];
            memcpy(damaged.data() + at, &value, sizeof(value));
        }
        Parcel out;
        if (WireImageCodec::rebuild(damaged.data(), damaged.size(), dupFds(image.fds), nullptr,
                                    &out) == OK) {
            ++accepted;
            readAll(out);
        } else {
            EXPECT_EQ(out.dataSize(), 0u);
        }
    }
    EXPECT_EQ(openFdCount(), fdsBefore);
    // Damage to plain data or padding is harmless, so some images still pass.
    EXPECT_GT(accepted, 0u);
    EXPECT_LT(accepted, static_cast<size_t>(kRounds));

    native_handle_delete(nh);
    close(pipeFds[0]);
    close(pipeFds[1]);
}

}  // namespace
