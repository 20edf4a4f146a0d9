// A byte stream from a peer on the socket transport: messages are parsed off a
// socket pair the way a serving thread reads them, and each message's binder
// table and image are taken apart the way the receive path does, with the
// table's references resolved against a few local objects.
#include <sys/socket.h>

#include "FuzzSupport.h"
#include "socket/Connection.h"

using namespace zuv_fuzz;
using namespace ::android::hardware::host::socket;
using ::android::hardware::host::UniqueFd;

namespace {

// Resolves a message's binder table: sender and third-party nodes become one of
// a few local binders, anything else stays unresolved and is refused.
class MessageTranslator : public BinderTranslator {
  public:
    MessageTranslator(const uint8_t* table, size_t count) {
        static const sp<IBinder> kLocal[] = {new BHwBinder, new BHwBinder};
        for (size_t i = 0; i < count; ++i) {
            BinderRef ref;
            memcpy(&ref, table + i * sizeof(ref), sizeof(ref));
            const bool known = ref.kind == kSenderNode || ref.kind == kReceiverNode ||
                               (ref.kind == kThirdNode && ref.pid > 0);
            mResolved.push_back(known ? kLocal[ref.node % 2] : nullptr);
        }
    }
    status_t flattenBinder(const sp<IBinder>&, uint32_t*, uint64_t*) override {
        return ::android::BAD_VALUE;
    }
    status_t unflattenBinder(uint32_t, uint64_t ref, sp<IBinder>* out) override {
        if (ref == 0 || ref > mResolved.size()) return ::android::BAD_VALUE;
        if (mResolved[ref - 1] == nullptr) return ::android::PERMISSION_DENIED;
        *out = mResolved[ref - 1];
        return OK;
    }

  private:
    std::vector<sp<IBinder>> mResolved;
};

// Sends the stream with `fdCount` descriptors attached to its first byte.
bool sendStream(int fd, const uint8_t* data, size_t size, size_t fdCount) {
    const std::vector<UniqueFd> owned = freshFds(fdCount);
    std::vector<int> fds;
    for (const UniqueFd& f : owned) fds.push_back(f.get());
    iovec iov{const_cast<uint8_t*>(data), size};
    msghdr msg{};
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int) * 4)];
    if (!fds.empty()) {
        msg.msg_control = control;
        msg.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
        cmsghdr* c = CMSG_FIRSTHDR(&msg);
        c->cmsg_level = SOL_SOCKET;
        c->cmsg_type = SCM_RIGHTS;
        c->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        memcpy(CMSG_DATA(c), fds.data(), sizeof(int) * fds.size());
    }
    const ssize_t n = ::sendmsg(fd, &msg, MSG_NOSIGNAL);
    return n == static_cast<ssize_t>(size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The whole stream is written before it is read, so it must fit the
    // socket's buffer.
    if (size < 1 || size > 64 * 1024) return 0;
    const size_t fdCount = data[0] % 5;
    ++data;
    --size;
    if (size == 0) return 0;

    int sv[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sv) != 0) return 0;
    const int sndbuf = 256 * 1024;
    ::setsockopt(sv[1], SOL_SOCKET, SO_SNDBUF, &sndbuf, sizeof(sndbuf));
    const bool sent = sendStream(sv[1], data, size, fdCount);
    ::close(sv[1]);
    if (!sent) {
        ::close(sv[0]);
        return 0;
    }

    Connection conn(UniqueFd(sv[0]), 1, 0);
    for (;;) {
        MessageHeader header;
        const uint8_t* payload = nullptr;
        std::vector<UniqueFd> fds;
        const status_t err = conn.read(&header, &payload, &fds);
        if (err != OK) {
            ZUV_FUZZ_CHECK(fds.empty());
            break;
        }
        ZUV_FUZZ_CHECK(headerIsSane(header));
        ZUV_FUZZ_CHECK(fds.size() == header.fdCount);
        touch(payload, header.payloadSize);
        if (header.kind != kTransact && header.kind != kReply) continue;
        const size_t tableSize = header.tableCount * sizeof(BinderRef);
        MessageTranslator translator(payload, header.tableCount);
        Parcel parcel;
        if (WireImageCodec::rebuild(payload + tableSize, header.payloadSize - tableSize,
                                    std::move(fds), &translator, &parcel) == OK) {
            touch(parcel.data(), parcel.dataSize());
        }
    }
    return 0;
}
