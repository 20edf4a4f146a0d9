// What a peer writes is untrusted: raw messages against a live peer. The
// runtime directory's permissions are checked by HidlToolTest.
#include <hidl_host/WireImage.h>

#include <random>

#include "SocketFixture.h"
#include "socket/Connection.h"
#include "socket/RuntimeDir.h"

namespace socket_test {
namespace {

using android::hardware::host::UniqueFd;
using android::hardware::host::WireImage;
using android::hardware::host::WireImageCodec;
namespace sock = android::hardware::host::socket;

std::string privateDir() {
    static int next = 0;
    const char* base = getenv(android::hardware::host::kRuntimeDirEnvVar);
    return std::string(base) + "/ctx" + std::to_string(next++);
}

// A peer serving a TestObject as context object in its own directory, and
// raw connections to it.
class RawMessageTest : public SocketTest {
  protected:
    void SetUp() override {
        SocketTest::SetUp();
        mDir = privateDir();
        mPeers.push_back(startPeerProgram({"context"},
                                          {{android::hardware::host::kRuntimeDirEnvVar, mDir}}));
        ASSERT_TRUE(mPeers.back() && mPeers.back()->line("ready"));
    }

    std::unique_ptr<sock::Connection> connect() {
        pid_t pid;
        uid_t uid;
        UniqueFd fd = sock::connectTo(sock::contextSocketPath(mDir), &pid, &uid, std::nullopt);
        if (!fd.valid()) return nullptr;
        return std::make_unique<sock::Connection>(std::move(fd), pid, uid);
    }

    static sock::MessageHeader header(uint64_t node, uint32_t code, const WireImage& image) {
        sock::MessageHeader h{};
        h.magic = sock::kMessageMagic;
        h.kind = sock::kTransact;
        h.seq = 1;
        h.node = node;
        h.code = code;
        h.payloadSize = static_cast<uint32_t>(image.bytes.size());
        return h;
    }

    static WireImage echoImage(int32_t value) {
        Parcel data;
        data.writeInt32(value);
        WireImage image;
        EXPECT_EQ(WireImageCodec::flatten(data, nullptr, &image), OK);
        return image;
    }

    // Sends a message and answers the reply's status (and the echoed value).
    static status_t call(sock::Connection* conn, const sock::MessageHeader& h,
                         const std::vector<sock::BinderRef>& table, const WireImage& image,
                         int32_t* echoed = nullptr) {
        status_t err = conn->write(h, table.data(), table.size() * sizeof(sock::BinderRef),
                                   image.bytes.data(), image.bytes.size(), {});
        if (err != OK) return err;
        sock::Message r;
        err = conn->waitMessage(&r, sock::Clock::now() + kTimeout);
        if (err != OK) return err;
        EXPECT_EQ(r.header.kind, sock::kReply);
        EXPECT_EQ(r.header.seq, h.seq);
        if (r.header.status != OK || echoed == nullptr) return r.header.status;
        Parcel reply;
        err = WireImageCodec::rebuild(r.payload, r.header.payloadSize, {}, nullptr, &reply);
        if (err == OK) reply.readInt32(echoed);
        return err;
    }

    std::string mDir;
};

TEST_F(RawMessageTest, BadPayloadsFailTheirTransactionOnly) {
    auto conn = connect();
    ASSERT_NE(conn, nullptr);
    int32_t echoed = 0;
    WireImage good = echoImage(42);
    ASSERT_EQ(call(conn.get(), header(0, peer::kEcho, good), {}, good, &echoed), OK);
    EXPECT_EQ(echoed, 42);

    // A corrupted image (each kind of damage is in ImageCorruptionTest), a
    // node nobody was given, and a binder reference to an object the caller
    // never received.
    WireImage corrupt = good;
    corrupt.bytes[0] ^= 0xff;
    EXPECT_EQ(call(conn.get(), header(0, peer::kEcho, corrupt), {}, corrupt), android::BAD_VALUE);
    std::mt19937_64 random(std::random_device{}());
    EXPECT_EQ(call(conn.get(), header(random() | 1, peer::kEcho, good), {}, good),
              android::PERMISSION_DENIED);

    struct Forger : android::hardware::host::BinderTranslator {
        status_t flattenBinder(const sp<IBinder>&, uint32_t* type, uint64_t* ref) override {
            *type = BINDER_TYPE_HANDLE;
            *ref = 1;
            return OK;
        }
        status_t unflattenBinder(uint32_t, uint64_t, sp<IBinder>*) override { return OK; }
    } forger;
    Parcel withBinder;
    withBinder.writeStrongBinder(new peer::TestObject());
    WireImage forged;
    ASSERT_EQ(WireImageCodec::flatten(withBinder, &forger, &forged), OK);
    std::vector<sock::BinderRef> table = {{sock::kReceiverNode, 0, random() | 1}};
    sock::MessageHeader h = header(0, peer::kReturn, forged);
    h.tableCount = 1;
    h.payloadSize += sizeof(sock::BinderRef);
    EXPECT_EQ(call(conn.get(), h, table, forged), android::PERMISSION_DENIED);

    // The connection and the peer carry on.
    ASSERT_EQ(call(conn.get(), header(0, peer::kEcho, good), {}, good, &echoed), OK);
    EXPECT_EQ(echoed, 42);
}

TEST_F(RawMessageTest, UnparsableMessagesCloseTheConnectionAndThePeerSurvives) {
    WireImage good = echoImage(7);
    std::vector<std::function<void(sock::MessageHeader*)>> breakers = {
            [](sock::MessageHeader* h) { h->magic = 0xdeadbeef; },
            [](sock::MessageHeader* h) { h->kind = 77; },
            [](sock::MessageHeader* h) { h->payloadSize = 4u << 20; },
            [](sock::MessageHeader* h) { h->fdCount = 2; },  // announced, never sent
            [](sock::MessageHeader* h) { h->tableCount = 1; },
    };
    for (size_t i = 0; i < breakers.size(); ++i) {
        auto conn = connect();
        ASSERT_NE(conn, nullptr);
        sock::MessageHeader h = header(0, peer::kEcho, good);
        breakers[i](&h);
        ASSERT_EQ(conn->write(h, nullptr, 0, good.bytes.data(), good.bytes.size(), {}), OK);
        sock::Message r;
        status_t err = conn->waitMessage(&r, sock::Clock::now() + kTimeout);
        // Either refused with a status or hung up on; never a crash.
        EXPECT_TRUE(err == android::DEAD_OBJECT || (err == OK && r.header.status != OK)) << i;
    }
    auto conn = connect();
    ASSERT_NE(conn, nullptr);
    int32_t echoed = 0;
    EXPECT_EQ(call(conn.get(), header(0, peer::kEcho, good), {}, good, &echoed), OK);
    EXPECT_EQ(echoed, 7);
}

// A process that only calls runs no thread of its own (every thread costs
// each of its calls) until it waits for a death, which it is then told of.
TEST_F(RawMessageTest, CallingProcessRunsAThreadOnlyToWatchForDeaths) {
    auto client =
            startPeerProgram({"client"}, {{android::hardware::host::kRuntimeDirEnvVar, mDir}});
    ASSERT_TRUE(client);
    EXPECT_EQ(client->line("calling threads"), "calling threads 1");
    auto watching = client->line("watching threads");
    ASSERT_TRUE(watching);
    EXPECT_NE(*watching, "watching threads 1");
    killAndReap(mPeers.front().get());
    EXPECT_TRUE(client->line("dead"));
}

}  // namespace
}  // namespace socket_test
