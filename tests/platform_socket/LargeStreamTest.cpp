// Large messages on a connection pair: sent as many parts, received into a
// block of their own, whatever pieces the bytes come in, with descriptors
// landing on their own message and a peer's announced size paid only as far as
// the budget allows.
#include <hidl_host/WireImage.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include "SocketFixture.h"
#include "socket/Connection.h"

namespace {

namespace sock = android::hardware::host::socket;
using android::OK;
using android::hardware::host::kMaxTransactionSize;
using android::hardware::host::UniqueFd;
using namespace std::chrono_literals;

uint8_t patternAt(size_t i, uint32_t seed) {
    return static_cast<uint8_t>(i * 13 + seed);
}

sock::MessageHeader headerFor(size_t payload, uint32_t seed, uint16_t fds) {
    sock::MessageHeader h{};
    h.magic = sock::kMessageMagic;
    h.kind = sock::kTransact;
    h.seq = seed;
    h.code = seed;
    h.fdCount = fds;
    h.payloadSize = static_cast<uint32_t>(payload);
    return h;
}

ino_t inodeOf(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 ? st.st_ino : 0;
}

class LargeMessage : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, mFds), 0);
        ASSERT_EQ(pipe(mPipe), 0);
        mSender = std::make_unique<sock::Connection>(UniqueFd(mFds[0]), getpid(), getuid());
    }
    void TearDown() override {
        close(mPipe[0]);
        close(mPipe[1]);
    }

    // Sends a message whose payload is cut into `parts` pieces, carrying
    // the pipe's read end when withFd.
    void sendMessage(size_t payload, uint32_t seed, bool withFd, size_t parts) {
        std::vector<uint8_t> bytes(payload);
        for (size_t i = 0; i < payload; ++i) bytes[i] = patternAt(i, seed);
        std::vector<iovec> iov;
        const size_t piece = (payload + parts - 1) / parts;
        for (size_t at = 0; at < payload; at += piece) {
            iov.push_back({bytes.data() + at, std::min(piece, payload - at)});
        }
        std::vector<int> fds;
        if (withFd) fds.push_back(mPipe[0]);
        EXPECT_EQ(mSender->send(headerFor(payload, seed, withFd ? 1 : 0), iov.data(), iov.size(),
                                fds, std::nullopt, false),
                  OK);
    }

    static void expectMessage(sock::Connection* conn, size_t payload, uint32_t seed, int fd) {
        sock::Message message;
        ASSERT_EQ(conn->waitMessage(&message, sock::Clock::now() + 10s), OK);
        EXPECT_EQ(message.header.code, seed);
        ASSERT_EQ(message.header.payloadSize, payload);
        size_t wrong = 0;
        for (size_t i = 0; i < payload; ++i) wrong += message.payload[i] != patternAt(i, seed);
        EXPECT_EQ(wrong, 0u) << "bytes of message " << seed;
        ASSERT_EQ(message.fds.size(), fd >= 0 ? 1u : 0u) << "message " << seed;
        if (fd >= 0) {
            EXPECT_EQ(inodeOf(message.fds[0].get()), inodeOf(fd));
        }
        // A large message came in a block of its own, which the taker keeps.
        EXPECT_EQ(static_cast<bool>(message.block),
                  sizeof(sock::MessageHeader) + payload >= sock::kLargeMessageBytes);
    }

    int mFds[2] = {-1, -1};
    int mPipe[2] = {-1, -1};
    std::unique_ptr<sock::Connection> mSender;
};

TEST_F(LargeMessage, ArriveIntactInAnyPiecesWithDescriptorsOnTheirOwnMessage) {
    sock::Connection receiver(UniqueFd(mFds[1]), getpid(), getuid());
    // Sizes around the large-message threshold and up to the largest; a
    // descriptor on the message before, on the large message itself, and after.
    const size_t edge = sock::kLargeMessageBytes - sizeof(sock::MessageHeader);
    struct Sent {
        size_t size;
        bool fd;
        size_t parts;
    };
    const std::vector<Sent> messages = {{16, true, 1},
                                        {edge - 1, false, 3},
                                        {edge, false, 150},
                                        {100 * 1024, true, 7},
                                        {kMaxTransactionSize, false, 150},
                                        {8, true, 1},
                                        {300 * 1024, false, 2}};
    std::thread sender([&] {
        for (size_t i = 0; i < messages.size(); ++i) {
            sendMessage(messages[i].size, static_cast<uint32_t>(i), messages[i].fd,
                        messages[i].parts);
        }
    });
    for (size_t i = 0; i < messages.size(); ++i) {
        expectMessage(&receiver, messages[i].size, static_cast<uint32_t>(i),
                      messages[i].fd ? mPipe[0] : -1);
    }
    sender.join();

    // The same stream dribbled: a few bytes at a time, the header split, a
    // descriptor on the first byte of the large message and of the one after.
    std::vector<uint8_t> stream;
    auto append = [&](size_t payload, uint32_t seed, bool fd) {
        sock::MessageHeader h = headerFor(payload, seed, fd ? 1 : 0);
        const auto* hb = reinterpret_cast<const uint8_t*>(&h);
        stream.insert(stream.end(), hb, hb + sizeof(h));
        for (size_t i = 0; i < payload; ++i) stream.push_back(patternAt(i, seed));
    };
    append(40 * 1024, 20, true);
    const size_t second = stream.size();
    append(8, 21, true);
    std::thread dribbler([&] {
        alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(int))];
        for (size_t at = 0; at < stream.size();) {
            const size_t n = at < 64 ? 5 : std::min<size_t>(1000, stream.size() - at);
            iovec iov{stream.data() + at, std::min(n, (at < second ? second : stream.size()) - at)};
            msghdr msg{};
            msg.msg_iov = &iov;
            msg.msg_iovlen = 1;
            if (at == 0 || at == second) {
                msg.msg_control = control;
                msg.msg_controllen = sizeof(control);
                cmsghdr* c = CMSG_FIRSTHDR(&msg);
                c->cmsg_level = SOL_SOCKET;
                c->cmsg_type = SCM_RIGHTS;
                c->cmsg_len = CMSG_LEN(sizeof(int));
                memcpy(CMSG_DATA(c), &mPipe[0], sizeof(int));
            }
            const ssize_t sent = sendmsg(mFds[0], &msg, MSG_NOSIGNAL);
            ASSERT_GT(sent, 0);
            at += static_cast<size_t>(sent);
            if (at % 8000 < 1000) std::this_thread::sleep_for(1ms);
        }
    });
    expectMessage(&receiver, 40 * 1024, 20, mPipe[0]);
    expectMessage(&receiver, 8, 21, mPipe[0]);
    dribbler.join();
}

TEST_F(LargeMessage, AnnouncedSizeCostsAtMostItsMessageAndBadSizesAreRefused) {
    sock::ByteBudget peer(kMaxTransactionSize);
    auto header = headerFor(512 * 1024, 1, 0);
    ASSERT_EQ(send(mFds[0], &header, sizeof(header), MSG_NOSIGNAL),
              static_cast<ssize_t>(sizeof(header)));
    {
        // A header and nothing more: the message waits, holding at most itself.
        sock::Connection receiver(UniqueFd(mFds[1]), getpid(), getuid(), &peer);
        sock::Message message;
        for (int i = 0; i < 4; ++i) receiver.receive();
        EXPECT_EQ(receiver.next(&message), android::WOULD_BLOCK);
        EXPECT_TRUE(receiver.messageUnderWay());
        EXPECT_FALSE(receiver.broken());
        EXPECT_LE(peer.used.load(), sizeof(header) + 512 * 1024 + 4096);
    }
    EXPECT_EQ(peer.used.load(), 0u);  // given back with the connection

    // More than the budget allows breaks the connection; so does a size over
    // the largest transaction, before anything is bought for it.
    for (uint32_t payload : {uint32_t{900 * 1024}, uint32_t{kMaxTransactionSize + 1}}) {
        SCOPED_TRACE(payload);
        int pair[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
        sock::ByteBudget small(512 * 1024);
        sock::Connection receiver(UniqueFd(pair[1]), getpid(), getuid(), &small);
        header = headerFor(payload, 2, 0);
        ASSERT_EQ(send(pair[0], &header, sizeof(header), MSG_NOSIGNAL),
                  static_cast<ssize_t>(sizeof(header)));
        std::vector<uint8_t> rest(64 * 1024);
        (void)send(pair[0], rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        sock::Message message;
        EXPECT_NE(receiver.waitMessage(&message, sock::Clock::now() + 2s), OK);
        EXPECT_TRUE(receiver.broken());
        EXPECT_LE(small.used.load(), 64u * 1024 + 4096);
        close(pair[0]);
    }
}

}  // namespace

namespace socket_test {
namespace {

std::vector<uint8_t> patterned(size_t size, uint32_t seed) {
    std::vector<uint8_t> v(size);
    for (size_t i = 0; i < size; ++i) v[i] = patternAt(i, seed);
    return v;
}

// Whether buffer is `sent` with every byte plus `plus`.
::testing::AssertionResult mirrored(const void* buffer, const std::vector<uint8_t>& sent,
                                    int plus) {
    const auto* got = static_cast<const uint8_t*>(buffer);
    for (size_t i = 0; i < sent.size(); ++i) {
        if (got[i] != static_cast<uint8_t>(sent[i] + plus)) {
            return ::testing::AssertionFailure() << "byte " << i << " of " << sent.size();
        }
    }
    return ::testing::AssertionSuccess();
}

// Over the socket, and with ZUV_HIDL_FAST_PATH=1 (the FastPath. run) through
// the mailbox and the bulk regions both sides offer as messages grow and shrink.
TEST_F(SocketTest, LargeCallsAndRepliesOfEverySizeRoundTripInARow) {
    sp<IBinder> object = startPeer();
    ASSERT_NE(object, nullptr);
    const size_t sizes[] = {16 * 1024,
                            256 * 1024,
                            kMaxTransactionSize - 4096,
                            16 * 1024,
                            kMaxTransactionSize - 4096,
                            256 * 1024,
                            100};
    uint32_t seed = 0;
    for (int round = 0; round < 2; ++round) {
        for (size_t size : sizes) {
            SCOPED_TRACE(size);
            const std::vector<uint8_t> sent = patterned(size, ++seed);
            Parcel data, reply;
            size_t handle;
            data.writeInt32(static_cast<int32_t>(size));
            data.writeBuffer(sent.data(), size, &handle);
            ASSERT_EQ(object->transact(peer::kMirror, data, &reply), OK);
            const void* got = nullptr;
            ASSERT_EQ(reply.readBuffer(size, &handle, &got), OK);
            EXPECT_TRUE(mirrored(got, sent, 1));

            // Nested: the peer calls this process back with it while the
            // call waits, and answers what came back.
            Parcel nested, nestedReply;
            nested.writeStrongBinder(hub());
            nested.writeInt32(static_cast<int32_t>(size));
            nested.writeBuffer(sent.data(), size, &handle);
            ASSERT_EQ(object->transact(peer::kMirrorBack, nested, &nestedReply), OK);
            int32_t status = -1;
            nestedReply.readInt32(&status);
            ASSERT_EQ(status, OK);
            ASSERT_EQ(nestedReply.readBuffer(size, &handle, &got), OK);
            EXPECT_TRUE(mirrored(got, sent, 1));
        }
    }
    // A call over the transaction limit fails and leaves the connection usable.
    const std::vector<uint8_t> tooLarge(size_t{2} << 20);
    Parcel data, reply;
    size_t handle;
    data.writeInt32(static_cast<int32_t>(tooLarge.size()));
    data.writeBuffer(tooLarge.data(), tooLarge.size(), &handle);
    EXPECT_EQ(object->transact(peer::kMirror, data, &reply), android::FAILED_TRANSACTION);
    EXPECT_EQ(echo(object, 5).value, 5);
}

}  // namespace
}  // namespace socket_test
