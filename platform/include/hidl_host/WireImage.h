// Host-only: the wire image of a parcel. A transport flattens a parcel into
// one self-contained byte image (data, object offsets, buffers) and rebuilds a
// fresh parcel from such an image on the other side, with buffer pointers
// fixed up to the new memory and binder objects translated by the transport:
// the work the kernel driver does on a device. Rebuilding trusts nothing in
// the image.
#pragma once

#include <hidl_host/ImageBlock.h>
#include <hidl_host/UniqueFd.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android {
namespace hardware {

class IBinder;

namespace host {

// Largest transaction the host transports carry: the platform's buffer size.
constexpr size_t kMaxTransactionSize = 1024 * 1024;

// How binder objects cross a transport. flatten turns a binder held by the
// parcel into the reference the peer will see (a type and a 64-bit value);
// unflatten turns a received reference back into a binder, refusing anything
// the peer was not given.
class BinderTranslator {
  public:
    virtual ~BinderTranslator() = default;
    // binder is never null; *type must be BINDER_TYPE_BINDER or
    // BINDER_TYPE_HANDLE.
    virtual status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) = 0;
    virtual status_t unflattenBinder(uint32_t type, uint64_t ref, sp<IBinder>* out) = 0;
};

// A flattened transaction. fds are the file descriptors of native handles,
// in object order; they are borrowed from the source parcel.
//
// A transport that can send from several places at once (a socket's
// scatter-gather send, a copy into shared memory) asks flatten to leave large
// buffers where they are: each is then a slice whose bytes belong at offset
// `at` of bytes, ahead of what bytes holds there. Slices are borrowed from
// the parcel's writer, like the fds.
struct WireImage {
    struct Slice {
        size_t at;
        const uint8_t* data;
        size_t length;
    };
    std::vector<uint8_t> bytes;
    std::vector<int> fds;
    std::vector<Slice> slices;  // ascending by at

    // The whole image's size, slices included.
    size_t size() const {
        size_t total = bytes.size();
        for (const Slice& s : slices) total += s.length;
        return total;
    }
};

class WireImageCodec {
  public:
    // Flattens parcel; fails when it exceeds kMaxTransactionSize or holds a
    // binder the translator refuses. translator may be null when the parcel
    // holds no binders. Buffers of gatherFrom bytes or more become slices
    // (see WireImage) unless the image must differ from them; by default
    // everything is copied into bytes.
    static constexpr size_t kNoSlices = SIZE_MAX;
    static status_t flatten(const Parcel& parcel, BinderTranslator* translator, WireImage* out,
                            size_t gatherFrom = kNoSlices);

    // The image of a parcel that holds only data, written to out, which a
    // transport may have in place (as a message's body): its size, or 0 when
    // the parcel holds objects or the image would pass room bytes.
    static size_t flattenPlain(const Parcel& parcel, uint8_t* out, size_t room);

    // Rebuilds a parcel from image bytes, validating everything first. out is
    // cleared and then owns its data, buffers, binders and the given fds
    // (closed with the parcel, or at once on failure).
    static status_t rebuild(const uint8_t* bytes, size_t size, std::vector<UniqueFd> fds,
                            BinderTranslator* translator, Parcel* out);
    // The same for an image that lies in block, which the parcel takes over:
    // its buffers stay where they are instead of being copied out.
    static status_t rebuild(ImageBlock block, const uint8_t* bytes, size_t size,
                            std::vector<UniqueFd> fds, BinderTranslator* translator, Parcel* out);

  private:
    // Header, data and padding of a parcel without objects, at out.
    static void writePlain(const Parcel& parcel, uint8_t* out);
};

}  // namespace host
}  // namespace hardware
}  // namespace android
