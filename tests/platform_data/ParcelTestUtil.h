// Helpers shared by the parcel and wire-image tests: the package's argument
// encodings, a round trip through the wire image, and access to the image's
// header fields for corrupting them.
#pragma once

#include <dirent.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/WireImage.h>
#include <hidl_host/frame/Codec.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "TestNames.h"

namespace zuv_test {

using android::hardware::host::BinderTranslator;
using android::hardware::host::WireImage;
using android::hardware::host::WireImageCodec;

// The package's encodings, as its proxies and stubs write and read them. A
// write leaves the parcel pointing into its argument, as every parcel write
// of a buffer does: the argument must outlive the parcel's use, and
// temporaries (including ones converted from literals) are refused. A read
// gives the value where it lies in the parcel.
template <typename T>
status_t writeValue(Parcel* p, const T& value) {
    return ::android::hardware::frame::Codec<T>::write(p, value);
}
template <typename T>
status_t writeValue(Parcel* p, const T&& value) = delete;
template <typename T>
status_t readValue(const Parcel& p, const T** out) {
    return ::android::hardware::frame::Codec<T>::read(p, out);
}

// The fds a transport would pass along: duplicates the receiver owns.
inline std::vector<::android::hardware::host::UniqueFd> dupFds(const std::vector<int>& fds) {
    std::vector<::android::hardware::host::UniqueFd> out;
    for (int fd : fds) out.emplace_back(::dup(fd));
    return out;
}

inline size_t openFdCount() {
    size_t n = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (readdir(dir) != nullptr) ++n;
    closedir(dir);
    return n;
}

inline status_t roundTrip(const Parcel& in, Parcel* out, BinderTranslator* translator = nullptr) {
    WireImage image;
    status_t err = WireImageCodec::flatten(in, translator, &image);
    if (err != android::OK) return err;
    return WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), dupFds(image.fds),
                                   translator, out);
}

// The image header: magic, fd count, then data, offsets and buffers sizes.
struct ImageView {
    std::vector<uint8_t>& bytes;

    template <typename T>
    T get(size_t at) const {
        T v;
        memcpy(&v, bytes.data() + at, sizeof(v));
        return v;
    }
    template <typename T>
    void set(size_t at, T v) {
        memcpy(bytes.data() + at, &v, sizeof(v));
    }

    static constexpr size_t kMagic = 0;
    static constexpr size_t kFdCount = 4;
    static constexpr size_t kDataSize = 8;
    static constexpr size_t kOffsetsSize = 16;
    static constexpr size_t kBuffersSize = 24;
    static constexpr size_t kHeaderSize = 32;

    size_t dataSize() const { return get<uint64_t>(kDataSize); }
    size_t dataStart() const { return kHeaderSize; }
    size_t offsetsStart() const { return kHeaderSize + ((dataSize() + 7) & ~size_t(7)); }
    size_t objectCount() const { return get<uint64_t>(kOffsetsSize) / 8; }
    size_t buffersStart() const { return offsetsStart() + get<uint64_t>(kOffsetsSize); }
    // Image position of the offset entry of object i, and of the object.
    size_t offsetEntry(size_t i) const { return offsetsStart() + i * 8; }
    size_t object(size_t i) const { return dataStart() + get<uint64_t>(offsetEntry(i)); }
};

}  // namespace zuv_test
