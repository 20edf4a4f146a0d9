// Helpers shared by the parcel and wire-image tests: the package's argument
// encodings, a round trip through the wire image, and access to the image's
// header fields for corrupting them.
#pragma once

#include <dirent.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/WireImage.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "TestNames.h"

namespace zuv_test {

using android::hardware::host::BinderTranslator;
using android::hardware::host::WireImage;
using android::hardware::host::WireImageCodec;

// The writers below leave the parcel pointing into their argument, as every
// parcel write of a buffer does: the argument must outlive the parcel's use.
// Temporaries (including ones converted from literals) are refused.
status_t writeString(Parcel* p, hidl_string&& s) = delete;
status_t writeBytes(Parcel* p, hidl_vec<uint8_t>&& v) = delete;
status_t writeStrings(Parcel* p, hidl_vec<hidl_string>&& v) = delete;

inline status_t writeString(Parcel* p, const hidl_string& s) {
    size_t handle;
    status_t err = p->writeBuffer(&s, sizeof(s), &handle);
    if (err != android::OK) return err;
    return android::hardware::writeEmbeddedToParcel(s, p, handle, 0);
}

inline status_t readString(const Parcel& p, const hidl_string** out) {
    size_t handle;
    const void* ptr;
    status_t err = p.readBuffer(sizeof(hidl_string), &handle, &ptr);
    if (err != android::OK) return err;
    *out = static_cast<const hidl_string*>(ptr);
    return android::hardware::readEmbeddedFromParcel(**out, p, handle, 0);
}

inline status_t writeBytes(Parcel* p, const hidl_vec<uint8_t>& v) {
    size_t handle, child;
    status_t err = p->writeBuffer(&v, sizeof(v), &handle);
    if (err != android::OK) return err;
    return p->writeEmbeddedBuffer(v.data(), v.size(), &child, handle, 0);
}

inline status_t readBytes(const Parcel& p, const hidl_vec<uint8_t>** out) {
    size_t handle, child;
    const void* ptr;
    const void* data;
    status_t err = p.readBuffer(sizeof(hidl_vec<uint8_t>), &handle, &ptr);
    if (err != android::OK) return err;
    *out = static_cast<const hidl_vec<uint8_t>*>(ptr);
    return p.readNullableEmbeddedBuffer((*out)->size(), &child, handle, 0, &data);
}

inline status_t writeStrings(Parcel* p, const hidl_vec<hidl_string>& v) {
    size_t handle, child;
    status_t err = p->writeBuffer(&v, sizeof(v), &handle);
    if (err == android::OK) {
        err = p->writeEmbeddedBuffer(v.data(), v.size() * sizeof(hidl_string), &child, handle, 0);
    }
    for (size_t i = 0; err == android::OK && i < v.size(); ++i) {
        err = android::hardware::writeEmbeddedToParcel(v[i], p, child, i * sizeof(hidl_string));
    }
    return err;
}

inline status_t readStrings(const Parcel& p, const hidl_vec<hidl_string>** out) {
    size_t handle, child;
    const void* ptr;
    const void* data;
    status_t err = p.readBuffer(sizeof(hidl_vec<hidl_string>), &handle, &ptr);
    if (err != android::OK) return err;
    *out = static_cast<const hidl_vec<hidl_string>*>(ptr);
    err = p.readNullableEmbeddedBuffer((*out)->size() * sizeof(hidl_string), &child, handle, 0,
                                       &data);
    for (size_t i = 0; err == android::OK && i < (*out)->size(); ++i) {
        err = android::hardware::readEmbeddedFromParcel((**out)[i], p, child,
                                                        i * sizeof(hidl_string));
    }
    return err;
}

// The fds a transport would pass along: duplicates the receiver owns.
inline std::vector<int> dupFds(const std::vector<int>& fds) {
    std::vector<int> out;
    for (int fd : fds) out.push_back(::dup(fd));
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
