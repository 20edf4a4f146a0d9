// Flattening a parcel into a wire image and rebuilding a parcel from one.
//
// Image layout (native byte order, every part 8-aligned within the image):
//   header   magic, fd count, data size, offsets size, buffers size
//   data     the parcel data, padded to 8
//   offsets  one 64-bit data offset per object, in data order
//   buffers  each non-null buffer's bytes, padded to 8, in object order
//
// Inside the image a buffer object's pointer field is 0 for a null buffer and
// 1 for a present one (its place follows from the order); a null buffer with
// length 0 stays null after the rebuild, so empty vectors keep null data. A
// binder object carries the translator's type and reference, with BINDER/0
// meaning a null binder. An fd array carries, in place of each fd, its index
// into the image's out-of-band fd list.
#include <hidl_host/WireImage.h>
#include <hwbinder/IBinder.h>
#include <unistd.h>

#include <cstring>
#include <limits>

namespace android {
namespace hardware {
namespace host {

namespace {

constexpr uint32_t kImageMagic = 0x31495748;  // "HWI1"

struct ImageHeader {
    uint32_t magic;
    uint32_t fdCount;
    uint64_t dataSize;
    uint64_t offsetsSize;
    uint64_t buffersSize;
};
static_assert(sizeof(ImageHeader) == 32, "image header is 32 bytes");

constexpr uint64_t kPresentBuffer = 1;
constexpr size_t kNone = std::numeric_limits<size_t>::max();

constexpr size_t align8(size_t n) {
    return (n + 7) & ~static_cast<size_t>(7);
}

size_t objectSizeForType(uint32_t type) {
    switch (type) {
        case BINDER_TYPE_PTR:
            return sizeof(binder_buffer_object);
        case BINDER_TYPE_FDA:
            return sizeof(binder_fd_array_object);
        case BINDER_TYPE_BINDER:
        case BINDER_TYPE_HANDLE:
            return sizeof(flat_binder_object);
        default:
            return 0;
    }
}

// What the rebuild remembers of each object while walking the table.
struct ObjectInfo {
    uint32_t type;
    bool hasParent;
    uint8_t* buffer;  // new address of a buffer
    uint64_t length;
    uint64_t parent;
    uint64_t parentOffset;
};

// Scratch space reused across calls on a thread, so neither direction
// allocates per object.
std::vector<ObjectInfo>& scratchInfo(size_t count) {
    thread_local std::vector<ObjectInfo> info;
    info.resize(count);
    return info;
}

// Which buffers become slices, by object index.
std::vector<uint8_t>& scratchSliced(size_t count) {
    thread_local std::vector<uint8_t> sliced;
    sliced.assign(count, 0);
    return sliced;
}

std::vector<size_t>& scratchPositions(size_t count) {
    thread_local std::vector<size_t> positions;
    positions.assign(count, kNone);
    return positions;
}

// Address handed out for present buffers of length 0 when there is no buffer
// area at all; nothing is ever read through it.
uint64_t gEmptyBuffer;

void appendZeros(std::vector<uint8_t>* bytes, size_t count) {
    static const uint8_t kZeros[8] = {};
    bytes->insert(bytes->end(), kZeros, kZeros + count);
}

}  // namespace

void WireImageCodec::writePlain(const Parcel& parcel, uint8_t* out) {
    const size_t dataSize = parcel.mData.size();
    const ImageHeader header{kImageMagic, 0, dataSize, 0, 0};
    memcpy(out, &header, sizeof(header));
    if (dataSize != 0) memcpy(out + sizeof(header), parcel.mData.data(), dataSize);
    memset(out + sizeof(header) + dataSize, 0, align8(dataSize) - dataSize);
}

size_t WireImageCodec::flattenPlain(const Parcel& parcel, uint8_t* out, size_t room) {
    const size_t size = sizeof(ImageHeader) + align8(parcel.mData.size());
    if (!parcel.mObjects.empty() || room < sizeof(ImageHeader) ||
        parcel.mData.size() > room - sizeof(ImageHeader) || size > room) {
        return 0;
    }
    writePlain(parcel, out);
    return size;
}

status_t WireImageCodec::flatten(const Parcel& parcel, BinderTranslator* translator, WireImage* out,
                                 size_t gatherFrom) {
    out->fds.clear();
    out->slices.clear();
    const size_t dataSize = parcel.mData.size();
    const size_t count = parcel.mObjects.size();
    if (count == 0 && dataSize <= kMaxTransactionSize - sizeof(ImageHeader)) {
        // Plain data, as most calls are: header and bytes, nothing to walk.
        // Every byte is written, so a reused image is only resized.
        out->bytes.resize(sizeof(ImageHeader) + align8(dataSize));
        writePlain(parcel, out->bytes.data());
        return OK;
    }
    out->bytes.clear();

    if (dataSize > kMaxTransactionSize || count > kMaxTransactionSize / sizeof(uint64_t)) {
        return FAILED_TRANSACTION;
    }

    // Size everything first so the image is allocated once. A buffer an fd
    // array points into is rewritten in the image, so it is never a slice.
    std::vector<uint8_t>& sliced = scratchSliced(count);
    size_t buffersSize = 0;
    size_t slicedSize = 0;
    for (size_t i = 0; i < count; ++i) {
        binder_buffer_object obj;
        if (!parcel.bufferAt(i, &obj)) {
            binder_fd_array_object fda;
            if (parcel.mObjects[i] + sizeof(fda) <= dataSize) {
                memcpy(&fda, parcel.mData.data() + parcel.mObjects[i], sizeof(fda));
                if (fda.hdr.type == BINDER_TYPE_FDA && fda.parent < i) sliced[fda.parent] = 0;
            }
            continue;
        }
        if (obj.buffer == 0) continue;
        if (obj.length > kMaxTransactionSize) return FAILED_TRANSACTION;
        buffersSize += align8(obj.length);
        if (buffersSize > kMaxTransactionSize) return FAILED_TRANSACTION;
        sliced[i] = obj.length >= gatherFrom ? 1 : 0;
    }
    for (size_t i = 0; i < count; ++i) {
        binder_buffer_object obj;
        if (sliced[i] != 0 && parcel.bufferAt(i, &obj)) slicedSize += obj.length;
    }
    const size_t dataPadded = align8(dataSize);
    const size_t total = sizeof(ImageHeader) + dataPadded + count * sizeof(uint64_t) + buffersSize;
    if (total > kMaxTransactionSize) return FAILED_TRANSACTION;

    std::vector<uint8_t>& bytes = out->bytes;
    bytes.reserve(total - slicedSize);
    bytes.resize(sizeof(ImageHeader));
    bytes.insert(bytes.end(), parcel.mData.begin(), parcel.mData.end());
    appendZeros(&bytes, dataPadded - dataSize);
    const auto* offsets = reinterpret_cast<const uint8_t*>(parcel.mObjects.data());
    bytes.insert(bytes.end(), offsets, offsets + count * sizeof(uint64_t));

    std::vector<size_t>& positions = scratchPositions(count);
    auto fail = [out](status_t err) {
        out->bytes.clear();
        out->fds.clear();
        out->slices.clear();
        return err;
    };

    for (size_t i = 0; i < count; ++i) {
        const size_t off = parcel.mObjects[i];
        uint8_t* image = bytes.data() + sizeof(ImageHeader) + off;
        uint32_t type;
        memcpy(&type, image, sizeof(type));
        switch (type) {
            case BINDER_TYPE_PTR: {
                binder_buffer_object obj;
                memcpy(&obj, image, sizeof(obj));
                if (obj.buffer != 0) {
                    const auto* src = reinterpret_cast<const uint8_t*>(obj.buffer);
                    if (sliced[i] != 0) {
                        out->slices.push_back({bytes.size(), src, obj.length});
                    } else {
                        positions[i] = bytes.size();
                        bytes.insert(bytes.end(), src, src + obj.length);
                    }
                    appendZeros(&bytes, align8(obj.length) - obj.length);
                    obj.buffer = kPresentBuffer;
                } else if (obj.length != 0) {
                    return fail(BAD_VALUE);
                }
                memcpy(image, &obj, sizeof(obj));
                break;
            }
            case BINDER_TYPE_FDA: {
                binder_fd_array_object fda;
                memcpy(&fda, image, sizeof(fda));
                binder_buffer_object parent;
                if (fda.parent >= i || !parcel.bufferAt(fda.parent, &parent) ||
                    positions[fda.parent] == kNone || fda.parent_offset > parent.length ||
                    fda.num_fds > (parent.length - fda.parent_offset) / sizeof(int32_t)) {
                    return fail(BAD_VALUE);
                }
                // Swap the fds in the copied parent for their out-of-band index.
                uint8_t* slots = bytes.data() + positions[fda.parent] + fda.parent_offset;
                for (size_t k = 0; k < fda.num_fds; ++k) {
                    int32_t fd;
                    memcpy(&fd, slots + k * sizeof(fd), sizeof(fd));
                    const auto index = static_cast<int32_t>(out->fds.size());
                    out->fds.push_back(fd);
                    memcpy(slots + k * sizeof(index), &index, sizeof(index));
                }
                break;
            }
            case BINDER_TYPE_BINDER:
            case BINDER_TYPE_HANDLE: {
                flat_binder_object obj;
                memcpy(&obj, image, sizeof(obj));
                uint32_t wireType = BINDER_TYPE_BINDER;
                uint64_t ref = 0;
                if (obj.binder != 0) {
                    if (obj.binder > parcel.mBinders.size()) return fail(BAD_VALUE);
                    if (translator == nullptr) return fail(INVALID_OPERATION);
                    status_t err = translator->flattenBinder(parcel.mBinders[obj.binder - 1],
                                                             &wireType, &ref);
                    if (err != OK) return fail(err);
                    if ((wireType != BINDER_TYPE_BINDER && wireType != BINDER_TYPE_HANDLE) ||
                        (wireType == BINDER_TYPE_BINDER && ref == 0)) {
                        return fail(BAD_VALUE);
                    }
                }
                obj.hdr.type = wireType;
                obj.flags = 0;
                obj.binder = ref;
                obj.cookie = 0;
                memcpy(image, &obj, sizeof(obj));
                break;
            }
            default:
                return fail(BAD_TYPE);
        }
    }

    ImageHeader header{};
    header.magic = kImageMagic;
    header.fdCount = static_cast<uint32_t>(out->fds.size());
    header.dataSize = dataSize;
    header.offsetsSize = count * sizeof(uint64_t);
    header.buffersSize = buffersSize;
    memcpy(bytes.data(), &header, sizeof(header));
    return OK;
}

status_t WireImageCodec::rebuild(const uint8_t* bytes, size_t size, std::vector<UniqueFd> fds,
                                 BinderTranslator* translator, Parcel* out) {
    return rebuild(ImageBlock(), bytes, size, std::move(fds), translator, out);
}

status_t WireImageCodec::rebuild(ImageBlock block, const uint8_t* bytes, size_t size,
                                 std::vector<UniqueFd> fds, BinderTranslator* translator,
                                 Parcel* out) {
    out->freeData();
    auto fail = [out](status_t err) {
        out->freeData();
        return err;
    };

    if (bytes == nullptr || size < sizeof(ImageHeader) || size > kMaxTransactionSize) {
        return fail(BAD_VALUE);
    }
    ImageHeader header;
    memcpy(&header, bytes, sizeof(header));
    // Each part is bounded by the image size first, so the sum cannot wrap.
    if (header.magic != kImageMagic || header.dataSize > size || header.offsetsSize > size ||
        header.buffersSize > size || header.offsetsSize % 8 != 0 || header.buffersSize % 8 != 0 ||
        header.fdCount != fds.size()) {
        return fail(BAD_VALUE);
    }
    const size_t dataSize = header.dataSize;
    const size_t dataPadded = align8(dataSize);
    const size_t buffersSize = header.buffersSize;
    const size_t count = header.offsetsSize / sizeof(uint64_t);
    if (sizeof(ImageHeader) + dataPadded + header.offsetsSize + buffersSize != size) {
        return fail(BAD_VALUE);
    }

    const uint8_t* imageData = bytes + sizeof(ImageHeader);
    const uint8_t* imageOffsets = imageData + dataPadded;
    const uint8_t* imageBuffers = imageOffsets + header.offsetsSize;

    out->mData.assign(imageData, imageData + dataSize);
    if (count == 0) {
        // Plain data: with no objects there can be no buffers or fds.
        if (buffersSize != 0 || !fds.empty()) return fail(BAD_VALUE);
        return OK;
    }
    out->mObjects.resize(count);
    if (count != 0) memcpy(out->mObjects.data(), imageOffsets, count * sizeof(uint64_t));
    uint8_t* area = nullptr;
    const bool inBlock = block && bytes >= block.data() &&
                         static_cast<size_t>(bytes - block.data()) <= block.size() &&
                         size <= block.size() - static_cast<size_t>(bytes - block.data()) &&
                         reinterpret_cast<uintptr_t>(imageBuffers) % alignof(uint64_t) == 0;
    if (buffersSize != 0 && inBlock) {
        // The image is ours alone: its buffers become the parcel's as they lie.
        area = block.data() + (imageBuffers - block.data());
        out->mOwnedBuffers = std::move(block);
    } else if (buffersSize != 0) {
        out->mOwnedBuffers = ImageBlock::allocate(buffersSize);
        if (!out->mOwnedBuffers) return fail(NO_MEMORY);
        area = out->mOwnedBuffers.data();
        memcpy(area, imageBuffers, buffersSize);
    }

    std::vector<ObjectInfo>& info = scratchInfo(count);
    size_t cursor = 0;         // next free byte of the buffer area
    size_t previousEnd = 0;    // objects may not overlap
    size_t lastFixed = kNone;  // most recently placed buffer
    uint64_t lastMinOffset = 0;
    size_t nextFd = 0;
    uint8_t* data = out->mData.data();

    // The driver's rule: a fix-up goes into the most recently placed buffer or
    // one of its ancestors, never behind an earlier fix-up in the same buffer.
    auto fixupAllowed = [&](uint64_t parent, uint64_t offset) {
        if (lastFixed == kNone) return false;
        size_t current = lastFixed;
        uint64_t minOffset = lastMinOffset;
        while (current != parent) {
            if (!info[current].hasParent) return false;
            minOffset = info[current].parentOffset + sizeof(uint64_t);
            current = info[current].parent;
        }
        return offset >= minOffset;
    };

    for (size_t i = 0; i < count; ++i) {
        const uint64_t off = out->mObjects[i];
        if (off % 4 != 0 || off < previousEnd || off > dataSize ||
            dataSize - off < sizeof(uint32_t)) {
            return fail(BAD_VALUE);
        }
        uint8_t* object = data + off;
        uint32_t type;
        memcpy(&type, object, sizeof(type));
        const size_t objectSize = objectSizeForType(type);
        if (objectSize == 0) return fail(BAD_TYPE);
        if (dataSize - off < objectSize) return fail(BAD_VALUE);
        previousEnd = off + objectSize;
        ObjectInfo& self = info[i];
        self = ObjectInfo{type, false, nullptr, 0, 0, 0};

        switch (type) {
            case BINDER_TYPE_PTR: {
                binder_buffer_object obj;
                memcpy(&obj, object, sizeof(obj));
                if ((obj.flags & ~static_cast<uint32_t>(BINDER_BUFFER_FLAG_HAS_PARENT)) != 0) {
                    return fail(BAD_VALUE);
                }
                if (obj.buffer == 0) {
                    if (obj.length != 0) return fail(BAD_VALUE);
                } else if (obj.buffer == kPresentBuffer) {
                    // buffersSize - cursor is a multiple of 8, so the padded
                    // length fits whenever the length does.
                    if (obj.length > buffersSize - cursor) return fail(BAD_VALUE);
                    self.buffer = area != nullptr ? area + cursor
                                                  : reinterpret_cast<uint8_t*>(&gEmptyBuffer);
                    cursor += align8(obj.length);
                } else {
                    return fail(BAD_VALUE);
                }
                self.length = obj.length;
                if ((obj.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
                    if (obj.parent >= i || info[obj.parent].type != BINDER_TYPE_PTR) {
                        return fail(BAD_VALUE);
                    }
                    const ObjectInfo& parent = info[obj.parent];
                    if (parent.length < sizeof(uint64_t) ||
                        obj.parent_offset > parent.length - sizeof(uint64_t) ||
                        !fixupAllowed(obj.parent, obj.parent_offset)) {
                        return fail(BAD_VALUE);
                    }
                    const auto address = reinterpret_cast<uint64_t>(self.buffer);
                    memcpy(parent.buffer + obj.parent_offset, &address, sizeof(address));
                    self.hasParent = true;
                    self.parent = obj.parent;
                    self.parentOffset = obj.parent_offset;
                }
                lastFixed = i;
                lastMinOffset = 0;
                obj.buffer = reinterpret_cast<binder_uintptr_t>(self.buffer);
                memcpy(object, &obj, sizeof(obj));
                break;
            }
            case BINDER_TYPE_FDA: {
                binder_fd_array_object fda;
                memcpy(&fda, object, sizeof(fda));
                if (fda.parent >= i || info[fda.parent].type != BINDER_TYPE_PTR) {
                    return fail(BAD_VALUE);
                }
                const ObjectInfo& parent = info[fda.parent];
                if (fda.parent_offset % sizeof(int32_t) != 0 || fda.parent_offset > parent.length ||
                    fda.num_fds > (parent.length - fda.parent_offset) / sizeof(int32_t) ||
                    !fixupAllowed(fda.parent, fda.parent_offset)) {
                    return fail(BAD_VALUE);
                }
                // Each slot must name the next fd of the out-of-band list.
                uint8_t* slots = parent.buffer + fda.parent_offset;
                for (size_t k = 0; k < fda.num_fds; ++k) {
                    int32_t index;
                    memcpy(&index, slots + k * sizeof(index), sizeof(index));
                    if (nextFd >= fds.size() || index != static_cast<int32_t>(nextFd)) {
                        return fail(BAD_VALUE);
                    }
                    const int32_t fd = fds[nextFd++].get();
                    memcpy(slots + k * sizeof(fd), &fd, sizeof(fd));
                }
                lastMinOffset = fda.parent_offset + fda.num_fds * sizeof(int32_t);
                break;
            }
            default:
                // Binder objects are resolved once the whole image is known good.
                break;
        }
    }
    if (cursor != buffersSize || nextFd != fds.size()) return fail(BAD_VALUE);

    for (size_t i = 0; i < count; ++i) {
        if (info[i].type != BINDER_TYPE_BINDER && info[i].type != BINDER_TYPE_HANDLE) continue;
        uint8_t* object = data + out->mObjects[i];
        flat_binder_object obj;
        memcpy(&obj, object, sizeof(obj));
        if (obj.hdr.type == BINDER_TYPE_BINDER && obj.binder == 0) {
            obj.cookie = 0;
        } else {
            if (translator == nullptr) return fail(BAD_VALUE);
            sp<IBinder> binder;
            status_t err = translator->unflattenBinder(obj.hdr.type, obj.binder, &binder);
            if (err != OK) return fail(err);
            if (binder == nullptr) return fail(BAD_VALUE);
            out->mBinders.push_back(binder);
            obj.hdr.type =
                    binder->localBinder() != nullptr ? BINDER_TYPE_BINDER : BINDER_TYPE_HANDLE;
            obj.binder = out->mBinders.size();
            obj.cookie = 0;
        }
        memcpy(object, &obj, sizeof(obj));
    }

    out->mObjectsEnd = previousEnd;
    out->mOwnedFds = std::move(fds);
    out->mDataPos = 0;
    out->mNextObjectHint = 0;
    return OK;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
