#include "socket/Wire.h"

#include <hidl_host/WireImage.h>

#include "socket/Limits.h"

namespace android {
namespace hardware {
namespace host {
namespace socket {

bool headerIsSane(const MessageHeader& h) {
    if (h.magic != kMessageMagic || h.reserved != 0) return false;
    if (h.kind < kTransact || h.kind > kBulkOffer) return false;
    if (h.kind == kShmOffer || h.kind == kBulkOffer) {
        return h.payloadSize == 0 && h.fdCount == 1 && h.tableCount == 0;
    }
    const Limits& l = limits();
    if (h.fdCount > l.maxMessageFds || h.tableCount > l.maxMessageRefs) return false;
    const size_t table = static_cast<size_t>(h.tableCount) * sizeof(BinderRef);
    if (h.payloadSize < table || h.payloadSize - table > kMaxTransactionSize) return false;
    if (h.kind != kTransact && h.kind != kReply && h.payloadSize != 0) return false;
    if (h.kind != kTransact && h.kind != kReply && h.fdCount != 0) return false;
    return true;
}

}  // namespace socket
}  // namespace host
}  // namespace hardware
}  // namespace android
