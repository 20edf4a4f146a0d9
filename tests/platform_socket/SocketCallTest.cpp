// Calls between real processes: two-way and oneway, ordering, concurrency,
// callbacks, and objects handed to a third process.
#include <hidl_host/Loopback.h>

#include <atomic>

#include "SocketFixture.h"

namespace socket_test {
namespace {

TEST_F(SocketTest, TwoWayCallReachesThePeerWithTheCallersIdentity) {
    PeerProcess* process = nullptr;
    sp<IBinder> object = startPeer(4, &process);
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(android::hardware::host::isSocketBinder(object));
    EXPECT_EQ(android::hardware::host::socketBinderPid(object), process->pid());

    Echo e = echo(object, 42);
    ASSERT_EQ(e.status, OK);
    EXPECT_EQ(e.value, 42);
    EXPECT_EQ(e.serverPid, process->pid());
    EXPECT_EQ(e.callingPid, getpid());
    EXPECT_EQ(e.callingUid, static_cast<int32_t>(getuid()));

    // The peer called the hub to register: it saw the peer as its caller.
    Parcel data, reply;
    data.writeStrongBinder(hub());
    data.writeInt32(7);
    ASSERT_EQ(object->transact(peer::kCallBack, data, &reply), OK);
    int32_t err = -1, got = -1;
    reply.readInt32(&err);
    reply.readInt32(&got);
    EXPECT_EQ(err, OK);
    EXPECT_EQ(got, 7);
}

TEST_F(SocketTest, OnewayCallsRunInTheOrderSent) {
    sp<IBinder> object = startPeer();
    ASSERT_NE(object, nullptr);
    constexpr int32_t kCount = 1000;
    for (int32_t i = 0; i < kCount; ++i) {
        Parcel data;
        data.writeInt32(i);
        ASSERT_EQ(object->transact(peer::kRecord, data, nullptr, IBinder::FLAG_ONEWAY), OK);
    }
    int32_t count = 0, inOrder = 0;
    // A two-way call may overtake queued oneway calls; wait for all of them.
    EXPECT_TRUE(eventually([&] {
        Parcel data, reply;
        if (object->transact(peer::kRecorded, data, &reply) != OK) return false;
        reply.readInt32(&count);
        reply.readInt32(&inOrder);
        return count >= kCount;
    }));
    EXPECT_EQ(count, kCount);
    EXPECT_EQ(inOrder, 1);
}

TEST_F(SocketTest, ManyThreadsCallOnePeerAtOnce) {
    sp<IBinder> object = startPeer(3);
    ASSERT_NE(object, nullptr);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int32_t i = 0; i < 200; ++i) {
                const int32_t value = t * 1000 + i;
                Echo e = echo(object, value);
                if (e.status != OK || e.value != value) ++failures;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
}

TEST_F(SocketTest, CallbackIsServedWhileTheCallerWaits) {
    sp<IBinder> object = startPeer(1);
    ASSERT_NE(object, nullptr);
    sp<IBinder> callback = new peer::TestObject();
    // On the serving thread (the call comes back down the caller's own
    // connection) and from another thread of the peer (this process's pool).
    for (uint32_t code : {peer::kCallBack, peer::kCallBackThread}) {
        Parcel data, reply;
        data.writeStrongBinder(callback);
        data.writeInt32(99);
        ASSERT_EQ(object->transact(code, data, &reply), OK) << code;
        int32_t err = -1, got = -1;
        reply.readInt32(&err);
        reply.readInt32(&got);
        EXPECT_EQ(err, OK) << code;
        EXPECT_EQ(got, 99) << code;
    }
}

TEST_F(SocketTest, ObjectsComeHomeAsThemselvesAndLoopbackProxiesDoNotCross) {
    sp<IBinder> object = startPeer();
    ASSERT_NE(object, nullptr);
    sp<IBinder> local = new peer::TestObject();
    Parcel data, reply;
    data.writeStrongBinder(local);
    ASSERT_EQ(object->transact(peer::kReturn, data, &reply), OK);
    EXPECT_EQ(reply.readStrongBinder(), local);

    // The peer's own object sent back to it is its local object again:
    // returning it gives this process the same proxy.
    Parcel data2, reply2;
    data2.writeStrongBinder(object);
    ASSERT_EQ(object->transact(peer::kReturn, data2, &reply2), OK);
    EXPECT_EQ(reply2.readStrongBinder(), object);

    Parcel data3, reply3;
    data3.writeStrongBinder(android::hardware::host::loopbackProxyFor(new peer::TestObject()));
    EXPECT_EQ(object->transact(peer::kReturn, data3, &reply3), android::INVALID_OPERATION);
    EXPECT_EQ(echo(object, 1).status, OK);
}

TEST_F(SocketTest, ObjectForwardedToAThirdProcessIsCalledDirectly) {
    PeerProcess* ownerProcess = nullptr;
    PeerProcess* holderProcess = nullptr;
    sp<IBinder> owner = startPeer(4, &ownerProcess);
    sp<IBinder> holder = startPeer(4, &holderProcess);
    ASSERT_NE(owner, nullptr);
    ASSERT_NE(holder, nullptr);

    Parcel data, reply;
    ASSERT_EQ(owner->transact(peer::kNewObject, data, &reply), OK);
    sp<IBinder> object = reply.readStrongBinder();
    ASSERT_NE(object, nullptr);

    Parcel hold, ignored;
    hold.writeStrongBinder(object);
    ASSERT_EQ(holder->transact(peer::kHold, hold, &ignored), OK);

    Parcel call, result;
    call.writeInt32(5);
    ASSERT_EQ(holder->transact(peer::kCallHeld, call, &result), OK);
    int32_t err = -1;
    Echo e;
    result.readInt32(&err);
    result.readInt32(&e.value);
    result.readInt32(&e.serverPid);
    result.readInt32(&e.callingPid);
    EXPECT_EQ(err, OK);
    EXPECT_EQ(e.value, 5);
    EXPECT_EQ(e.serverPid, ownerProcess->pid());
    // The owner saw the holder itself calling, not this process relaying.
    EXPECT_EQ(e.callingPid, holderProcess->pid());
}

}  // namespace
}  // namespace socket_test
