// Writing the transport's messages: the header of a parcel's message, its
// parts in one send, and the scratch images calls are built in.
#pragma once

#include <hidl_host/WireImage.h>
#include <hwbinder/Parcel.h>

#include <memory>
#include <vector>

#include "socket/Connection.h"
#include "socket/Deadline.h"
#include "socket/Wire.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

// No deadline for a zero timeout.
Deadline deadlineAfter(std::chrono::milliseconds timeout);

MessageHeader makeHeader(uint16_t kind, uint64_t seq, const std::vector<BinderRef>& table,
                         const WireImage* image);

// Large buffers stay in the parcel's memory and are sent from there.
status_t flattenForSend(const Parcel& parcel, BinderTranslator* translator, WireImage* out);

status_t writeMessage(Connection* conn, const MessageHeader& header,
                      const std::vector<BinderRef>& table, const WireImage* image,
                      Deadline deadline, bool mayQueue);

// What follows a message's header: a parcel flattened into image, with its
// binder table, or a parcel that holds only data (plain), which is written
// straight into the fast path's slot when it fits there and flattened
// only otherwise.
struct Body {
    const std::vector<BinderRef>* table = nullptr;  // none when null
    const WireImage* image = nullptr;
    const Parcel* plain = nullptr;
};

// Whether parcel may go as a plain body: only data, and little enough that
// flattening it cannot fail.
bool goesPlain(const Parcel& parcel);

// Writes header (its sizes filled in for a plain body) and body.
status_t writeMessage(Connection* conn, const MessageHeader& header, const Body& body,
                      Deadline deadline, bool mayQueue);

// A message this process serves is answered without waiting for the peer to
// read: what it does not take is kept, and a peer that lets too much pile
// up loses the connection.
status_t writeAnswer(Connection* conn, const MessageHeader& header, const Body& body);

// Each call builds an image and sends it at once. A thread keeps the last
// few for the next calls (a stack, as calls nest), so that a small call's
// image costs no allocation.
class ScratchImage {
  public:
    ScratchImage();
    ~ScratchImage();
    ScratchImage(const ScratchImage&) = delete;
    ScratchImage& operator=(const ScratchImage&) = delete;
    WireImage* get() const { return mImage.get(); }

  private:
    std::unique_ptr<WireImage> mImage;
};

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
