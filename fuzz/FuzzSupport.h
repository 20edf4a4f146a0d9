// What the fuzzers share: a translator that names a fixed set of local
// binders, a builder that turns fuzz bytes into a parcel of typed items, and
// the trip through the wire image that a transport would make.
#pragma once

#include <cutils/native_handle.h>
#include <fcntl.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <unistd.h>
#include <utils/String16.h>

#include <cstdlib>
#include <deque>
#include <vector>

#include "FuzzInput.h"

namespace zuv_fuzz {

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::hardware::BHwBinder;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::host::BinderTranslator;
using ::android::hardware::host::UniqueFd;
using ::android::hardware::host::WireImage;
using ::android::hardware::host::WireImageCodec;

// A violated invariant: abort so the fuzzer keeps the input.
#define ZUV_FUZZ_CHECK(cond)                                                             \
    do {                                                                                 \
        if (!(cond)) {                                                                   \
            fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #cond); \
            abort();                                                                     \
        }                                                                                \
    } while (0)

// References are 1-based indices into a table of binders; local binders are
// BINDER, everything else HANDLE. Unknown references are refused.
class TableTranslator : public BinderTranslator {
  public:
    explicit TableTranslator(std::vector<sp<IBinder>> known) : mKnown(std::move(known)) {}

    status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) override {
        size_t i = 0;
        while (i < mKnown.size() && mKnown[i] != binder) ++i;
        if (i == mKnown.size()) mKnown.push_back(binder);
        *type = binder->localBinder() != nullptr ? BINDER_TYPE_BINDER : BINDER_TYPE_HANDLE;
        *ref = i + 1;
        return OK;
    }

    status_t unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) override {
        if (ref == 0 || ref > mKnown.size()) return ::android::BAD_VALUE;
        *out = mKnown[ref - 1];
        return OK;
    }

    const std::vector<sp<IBinder>>& known() const { return mKnown; }

  private:
    std::vector<sp<IBinder>> mKnown;
};

// Descriptors the rebuilt parcel will own; each is a fresh /dev/null.
inline std::vector<UniqueFd> freshFds(size_t count) {
    std::vector<UniqueFd> fds;
    for (size_t i = 0; i < count; ++i) fds.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    return fds;
}

// Carries parcel through its wire image into out, as a transport does.
inline status_t throughWire(const Parcel& parcel, BinderTranslator* translator, Parcel* out) {
    WireImage image;
    status_t err = WireImageCodec::flatten(parcel, translator, &image);
    if (err != OK) return err;
    return WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(),
                                   freshFds(image.fds.size()), translator, out);
}

// Reads every byte of a buffer a read handed out, so a pointer outside the
// parcel's memory shows up under the address sanitizer.
inline uint8_t touch(const void* p, size_t n) {
    uint8_t sum = 0;
    for (size_t i = 0; i < n; ++i) sum ^= static_cast<const uint8_t*>(p)[i];
    return sum;
}

// Items written by ParcelBuilder, one opcode byte each.
enum Item : uint8_t {
    kInt32,
    kInt64,
    kInt8,
    kBool,
    kRaw,
    kString,        // hidl_string: header buffer and embedded characters
    kByteVec,       // hidl_vec<uint8_t>: header buffer and embedded data
    kBuffer,        // a top-level buffer of arbitrary bytes
    kEmbedded,      // a child of an earlier buffer, at any offset
    kBinder,        // null or one of the translator's binders
    kNativeHandle,  // top level or embedded, with fds and ints
    kString16,
    kCString,
    kItemCount
};

// Turns fuzz bytes into parcel items. Keeps alive everything the parcel
// points to until it is flattened.
class ParcelBuilder {
  public:
    explicit ParcelBuilder(std::vector<sp<IBinder>> binders) : mBinders(std::move(binders)) {}
    ~ParcelBuilder() {
        for (native_handle_t* h : mHandles) {
            native_handle_close(h);
            native_handle_delete(h);
        }
    }
    ParcelBuilder(const ParcelBuilder&) = delete;
    ParcelBuilder& operator=(const ParcelBuilder&) = delete;

    void build(ByteReader& in, Parcel* p, size_t maxItems = 24) {
        for (size_t n = 0; n < maxItems && !in.empty(); ++n) item(in, p);
    }

  private:
    const uint8_t* keep(std::vector<uint8_t> bytes) {
        mStorage.push_back(std::move(bytes));
        return mStorage.back().empty() ? nullptr : mStorage.back().data();
    }

    // A 16-byte string or vector header: pointer, size, owns flag, padding.
    const uint8_t* header(const void* ptr, uint32_t size) {
        std::vector<uint8_t> h(16, 0);
        const auto address = reinterpret_cast<uint64_t>(ptr);
        memcpy(h.data(), &address, 8);
        memcpy(h.data() + 8, &size, 4);
        return keep(std::move(h));
    }

    void addBuffer(size_t handle) { mBuffers.push_back(handle); }

    void item(ByteReader& in, Parcel* p) {
        size_t handle = 0;
        const uint8_t op = in.u8() % kItemCount;
        switch (op) {
            case kInt32:
                p->writeInt32(static_cast<int32_t>(in.u32()));
                break;
            case kInt64:
                p->writeUint64(in.u64());
                break;
            case kInt8:
                p->writeInt8(static_cast<int8_t>(in.u8()));
                break;
            case kBool:
                p->writeBool(in.u8() & 1);
                break;
            case kRaw: {
                const auto bytes = in.bytes(64);
                p->write(bytes.data(), bytes.size());
                break;
            }
            case kString:
            case kByteVec: {
                const bool isString = op == kString;
                const uint8_t mode = in.u8();
                std::vector<uint8_t> chars = in.bytes(256);
                auto size = static_cast<uint32_t>(chars.size());
                if ((mode & 1) != 0) size = in.u32();  // a header that lies
                if (isString && (mode & 2) == 0) chars.push_back(0);
                const uint8_t* data = keep(std::move(chars));
                const size_t length = mStorage.back().size();
                if (p->writeBuffer(header(data, size), 16, &handle) != OK) break;
                addBuffer(handle);
                size_t child;
                if (p->writeEmbeddedBuffer(data, length, &child, handle, 0) == OK) addBuffer(child);
                break;
            }
            case kBuffer: {
                const uint8_t* data = keep(in.bytes(128));
                if (p->writeBuffer(data, mStorage.back().size(), &handle) == OK) addBuffer(handle);
                break;
            }
            case kEmbedded: {
                const size_t parent =
                        mBuffers.empty() ? in.u8() : mBuffers[in.u8() % mBuffers.size()];
                const size_t offset = in.u8();
                const uint8_t* data = keep(in.bytes(64));
                if (p->writeEmbeddedBuffer(data, mStorage.back().size(), &handle, parent, offset) ==
                    OK) {
                    addBuffer(handle);
                }
                break;
            }
            case kBinder: {
                const size_t which = in.u8() % (mBinders.size() + 1);
                p->writeStrongBinder(which == 0 ? nullptr : mBinders[which - 1]);
                break;
            }
            case kNativeHandle: {
                const uint8_t shape = in.u8();
                const int numFds = shape % 3;
                const int numInts = (shape >> 2) % 4;
                native_handle_t* h = native_handle_create(numFds, numInts);
                if (h == nullptr) break;
                mHandles.push_back(h);
                for (int i = 0; i < numFds; ++i)
                    h->data[i] = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
                for (int i = 0; i < numInts; ++i) h->data[numFds + i] = static_cast<int>(in.u32());
                if ((shape & 0x80) != 0 && !mBuffers.empty()) {
                    p->writeEmbeddedNativeHandle(h, mBuffers[in.u8() % mBuffers.size()], in.u8());
                } else {
                    p->writeNativeHandleNoDup((shape & 0x40) != 0 ? nullptr : h);
                }
                break;
            }
            case kString16: {
                const auto bytes = in.bytes(64);
                std::vector<char16_t> chars(bytes.size() / 2);
                if (!chars.empty()) memcpy(chars.data(), bytes.data(), chars.size() * 2);
                p->writeString16(chars.data(), chars.size());
                break;
            }
            case kCString: {
                auto bytes = in.bytes(64);
                bytes.push_back(0);
                p->writeCString(reinterpret_cast<const char*>(bytes.data()));
                break;
            }
        }
    }

  private:
    std::vector<sp<IBinder>> mBinders;
    std::deque<std::vector<uint8_t>> mStorage;
    std::vector<size_t> mBuffers;
    std::vector<native_handle_t*> mHandles;
};

}  // namespace zuv_fuzz
