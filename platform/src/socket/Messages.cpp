#include "socket/Messages.h"

#include <unistd.h>

#include <array>
#include <cstring>

#include "socket/SharedRegion.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

namespace {

constexpr size_t kSpareImages = 4;
constexpr size_t kSpareImageBytes = 64 * 1024;
thread_local std::array<std::unique_ptr<WireImage>, kSpareImages> tSpareImages;
thread_local size_t tSpareImageCount = 0;

// Few enough slices that a message's parts always fit one send.
constexpr size_t kSliceFrom = 16 * 1024;
static_assert(2 * (kMaxTransactionSize / kSliceFrom) + 2 <= kMaxMessageParts,
              "a message's slices fit in one send");

}  // namespace

ScratchImage::ScratchImage() {
    if (tSpareImageCount > 0) {
        mImage = std::move(tSpareImages[--tSpareImageCount]);
    } else {
        mImage = std::make_unique<WireImage>();
    }
}

ScratchImage::~ScratchImage() {
    if (tSpareImageCount < kSpareImages && mImage->bytes.capacity() <= kSpareImageBytes) {
        // The descriptors belong to the parcel the image was made of.
        mImage->fds.clear();
        tSpareImages[tSpareImageCount++] = std::move(mImage);
    }
}

Deadline deadlineAfter(std::chrono::milliseconds timeout) {
    if (timeout.count() == 0) return std::nullopt;
    return Clock::now() + timeout;
}

MessageHeader makeHeader(uint16_t kind, uint64_t seq, const std::vector<BinderRef>& table,
                         const WireImage* image) {
    MessageHeader header{};
    header.magic = kMessageMagic;
    header.kind = kind;
    header.seq = seq;
    header.tableCount = static_cast<uint32_t>(table.size());
    const size_t imageSize = image != nullptr ? image->size() : 0;
    header.payloadSize = static_cast<uint32_t>(table.size() * sizeof(BinderRef) + imageSize);
    header.fdCount = static_cast<uint16_t>(image != nullptr ? image->fds.size() : 0);
    return header;
}

status_t flattenForSend(const Parcel& parcel, BinderTranslator* translator, WireImage* out) {
    return WireImageCodec::flatten(parcel, translator, out, kSliceFrom);
}

status_t writeMessage(Connection* conn, const MessageHeader& header,
                      const std::vector<BinderRef>& table, const WireImage* image,
                      Deadline deadline, bool mayQueue) {
    static const std::vector<int> kNoFds;
    iovec parts[kMaxMessageParts];
    size_t count = 0;
    parts[count++] = {const_cast<BinderRef*>(table.data()), table.size() * sizeof(BinderRef)};
    if (image != nullptr) {
        // The image's bytes with its slices in their places.
        size_t at = 0;
        for (const WireImage::Slice& slice : image->slices) {
            parts[count++] = {const_cast<uint8_t*>(image->bytes.data()) + at, slice.at - at};
            parts[count++] = {const_cast<uint8_t*>(slice.data), slice.length};
            at = slice.at;
        }
        parts[count++] = {const_cast<uint8_t*>(image->bytes.data()) + at, image->bytes.size() - at};
    }
    return conn->send(header, parts, count, image != nullptr ? image->fds : kNoFds, deadline,
                      mayQueue);
}

bool goesPlain(const Parcel& parcel) {
    return parcel.objectsCount() == 0 && parcel.dataSize() <= kSlotBytes;
}

status_t writeMessage(Connection* conn, const MessageHeader& header, const Body& body,
                      Deadline deadline, bool mayQueue) {
    static const std::vector<BinderRef> kNoRefs;
    if (body.plain == nullptr) {
        return writeMessage(conn, header, body.table != nullptr ? *body.table : kNoRefs, body.image,
                            deadline, mayQueue);
    }
    size_t room = 0;
    uint8_t* slot = conn->inlineRoom(&room);
    if (slot != nullptr) {
        const size_t size = WireImageCodec::flattenPlain(*body.plain, slot + sizeof(header),
                                                         room - sizeof(header));
        if (size != 0) {
            MessageHeader out = header;
            out.payloadSize = static_cast<uint32_t>(size);
            memcpy(slot, &out, sizeof(out));
            return conn->sendInline(sizeof(out) + size, deadline, mayQueue);
        }
    }
    ScratchImage scratch;
    WireImage& image = *scratch.get();
    status_t err = flattenForSend(*body.plain, nullptr, &image);
    if (err != OK) return err;
    MessageHeader out = header;
    out.payloadSize = static_cast<uint32_t>(image.size());
    return writeMessage(conn, out, kNoRefs, &image, deadline, mayQueue);
}

status_t writeAnswer(Connection* conn, const MessageHeader& header, const Body& body) {
    status_t err = writeMessage(conn, header, body, std::nullopt, true);
    if (err != OK) conn->markBroken();
    return err;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
