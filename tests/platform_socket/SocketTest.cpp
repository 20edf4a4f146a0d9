// Calls between real processes: two-way and oneway, descriptors, ordering,
// concurrency, callbacks, objects handed to a third process, reference counts across
// processes and the death of peers.
#include <cutils/native_handle.h>
#include <hidl_host/CallDeadline.h>
#include <hidl_host/Loopback.h>

#include <atomic>
#include <future>

#include "SocketFixture.h"

namespace socket_test {
namespace {

using android::hardware::host::socketTransportStats;

// Calls code with data and reads the peer's answer: a status, then an echo
// (whose status it becomes).
Echo relayed(const sp<IBinder>& target, uint32_t code, const Parcel& data) {
    Parcel reply;
    int32_t err = -1;
    if (target->transact(code, data, &reply) == OK) reply.readInt32(&err);
    return readEcho(reply, err);
}

sp<IBinder> newObjectOf(const sp<IBinder>& owner) {
    Parcel data, reply;
    if (owner->transact(peer::kNewObject, data, &reply) != OK) return nullptr;
    return reply.readStrongBinder();
}

void hold(const sp<IBinder>& holder, const sp<IBinder>& object) {
    Parcel data, reply;
    data.writeStrongBinder(object);
    ASSERT_EQ(holder->transact(peer::kHold, data, &reply), OK);
}

sp<IBinder> returned(const sp<IBinder>& target, const sp<IBinder>& object, status_t* err) {
    Parcel data, reply;
    data.writeStrongBinder(object);
    *err = target->transact(peer::kReturn, data, &reply);
    return reply.readStrongBinder();
}

TEST_F(SocketTest, TwoWayCallsCarryIdentityDescriptorsCallbacksAndObjects) {
    Process* process = nullptr;
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

    // A local object and the peer's own object both come back as themselves.
    status_t err;
    sp<IBinder> local = new peer::TestObject();
    EXPECT_EQ(returned(object, local, &err), local);
    EXPECT_EQ(err, OK);
    EXPECT_EQ(returned(object, object, &err), object);
    EXPECT_EQ(err, OK);
    // A loopback proxy cannot cross; the peer carries on.
    returned(object, android::hardware::host::loopbackProxyFor(new peer::TestObject()), &err);
    EXPECT_EQ(err, android::INVALID_OPERATION);

    // A descriptor reaches the peer readable; the peer carries on.
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    const int32_t written = 0x5a5a;
    ASSERT_EQ(write(pipeFds[1], &written, sizeof(written)), static_cast<ssize_t>(sizeof(written)));
    close(pipeFds[1]);
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = pipeFds[0];
    Parcel data, reply;
    data.writeNativeHandleNoDup(handle);
    ASSERT_EQ(object->transact(peer::kReadFd, data, &reply), OK);
    EXPECT_EQ(readEcho(reply).value, written);
    native_handle_close(handle);
    native_handle_delete(handle);

    // The peer calls an object of this process back from another of its
    // threads while the call waits (on the caller's own connection: in
    // LargeCallsAndReplies...).
    Parcel callBack;
    callBack.writeStrongBinder(new peer::TestObject());
    callBack.writeInt32(99);
    Echo back = relayed(object, peer::kCallBack, callBack);
    EXPECT_EQ(back.status, OK);
    EXPECT_EQ(back.value, 99);
}

TEST_F(SocketTest, OnewayCallsRunInTheOrderSentAlongsideConcurrentTwoWayCalls) {
    sp<IBinder> object = startPeer(3);
    ASSERT_NE(object, nullptr);
    constexpr int32_t kCount = 1000;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int32_t i = 0; i < 200; ++i) {
                const int32_t value = t * 1000 + i;
                Echo e = echo(object, value);
                if (e.status != OK || e.value != value) ++failures;
            }
        });
    }
    for (int32_t i = 0; i < kCount; ++i) {
        Parcel data;
        data.writeInt32(i);
        ASSERT_EQ(object->transact(peer::kRecord, data, nullptr, IBinder::FLAG_ONEWAY), OK);
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    // A two-way call may overtake queued oneway calls; wait for all of them.
    int32_t recorded = -1, inOrder = -1;
    EXPECT_TRUE(eventually([&] {
        Parcel reply;
        object->transact(peer::kRecorded, Parcel(), &reply);
        return reply.readInt32(&recorded) == OK && reply.readInt32(&inOrder) == OK &&
               recorded >= kCount;
    }));
    EXPECT_EQ(recorded, kCount);
    EXPECT_EQ(inOrder, 1);
}

TEST_F(SocketTest, DeadlinesOfThreadAndProxyEndOnlyTheirOwnCalls) {
    using android::TIMED_OUT;
    using android::hardware::host::ScopedCallTimeout;
    using android::hardware::host::setCallTimeout;
    sp<IBinder> object = startPeer(2);
    ASSERT_NE(object, nullptr);
    int32_t got = -1;
    auto sleepy = [&](int32_t ms) {
        Parcel data, reply;
        data.writeInt32(ms);
        got = -1;
        status_t err = object->transact(peer::kSleep, data, &reply);
        if (err == OK) reply.readInt32(&got);
        return err;
    };
    {
        ScopedCallTimeout bound(100ms);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(sleepy(400), TIMED_OUT);
        // Right after, a call as short fails at once; one without a deadline
        // is made, and takes its own reply, not the late one.
        EXPECT_EQ(sleepy(0), TIMED_OUT);
        {
            ScopedCallTimeout unbounded(0ms);
            EXPECT_EQ(sleepy(5), OK);
            EXPECT_EQ(got, 5);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, 300ms);
    }
    // The proxy's own deadline holds on any thread; a thread's outranks it.
    ASSERT_EQ(setCallTimeout(object, 100ms), OK);
    EXPECT_EQ(std::async(std::launch::async, [&] { return sleepy(400); }).get(), TIMED_OUT);
    {
        ScopedCallTimeout longer(2000ms);
        EXPECT_EQ(sleepy(300), OK);
        EXPECT_EQ(got, 300);
    }
    EXPECT_EQ(setCallTimeout(sp<IBinder>(new peer::TestObject()), 100ms),
              android::INVALID_OPERATION);
}

TEST_F(SocketTest, ForwardedNodeIsCalledDirectlyAndLivesWhileAnyProcessHoldsIt) {
    Process* ownerProcess = nullptr;
    sp<IBinder> owner = startPeer(4, &ownerProcess);
    Process* holderProcess = nullptr;
    sp<IBinder> holder = startPeer(4, &holderProcess);
    sp<IBinder> second = startPeer();
    ASSERT_TRUE(owner != nullptr && holder != nullptr && second != nullptr);
    const int32_t baseline = peerNodes(owner);
    const size_t ownBaseline = socketTransportStats().exportedNodes;

    // Dropped by the only holder: released.
    sp<IBinder> object = newObjectOf(owner);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(peerNodes(owner), baseline + 1);
    object.clear();
    EXPECT_TRUE(eventually([&] { return peerNodes(owner) == baseline; }));

    // Forwarded twice, then dropped here: the holders keep it until the
    // last of them lets go.
    object = newObjectOf(owner);
    hold(holder, object);
    hold(second, object);
    object.clear();
    EXPECT_EQ(peerNodes(owner), baseline + 1);
    Parcel none, ignored;
    ASSERT_EQ(second->transact(peer::kDropHeld, none, &ignored), OK);
    Parcel call;
    call.writeInt32(5);
    Echo e = relayed(holder, peer::kCallHeld, call);
    EXPECT_EQ(e.status, OK);
    EXPECT_EQ(e.value, 5);
    EXPECT_EQ(e.serverPid, ownerProcess->pid());
    // The owner saw the holder itself calling, not this process relaying.
    EXPECT_EQ(e.callingPid, holderProcess->pid());
    EXPECT_EQ(peerNodes(owner), baseline + 1);

    // The last holder dies, holding an object of this process too: both go.
    hold(holder, new peer::TestObject());
    EXPECT_EQ(socketTransportStats().exportedNodes, ownBaseline + 1);
    killAndReap(holderProcess);
    EXPECT_TRUE(eventually([&] { return peerNodes(owner) == baseline; }));
    EXPECT_TRUE(eventually([&] { return socketTransportStats().exportedNodes == ownBaseline; }));
}

class CountingRecipient : public IBinder::DeathRecipient {
  public:
    void binderDied(const android::wp<IBinder>&) override {
        std::lock_guard<std::mutex> lock(mLock);
        ++mCount;
        mTold.notify_all();
    }
    // The count once told (0 when never told in time).
    int waitTold() {
        std::unique_lock<std::mutex> lock(mLock);
        mTold.wait_for(lock, kTimeout, [&] { return mCount > 0; });
        return mCount;
    }

  private:
    std::mutex mLock;
    std::condition_variable mTold;
    int mCount = 0;
};

TEST_F(SocketTest, DeadPeerFailsCallsAndTellsRecipientsOnce) {
    Process* process = nullptr;
    sp<IBinder> object = startPeer(4, &process);
    ASSERT_NE(object, nullptr);
    sp<CountingRecipient> recipient = new CountingRecipient();
    ASSERT_EQ(object->linkToDeath(recipient), OK);
    const auto before = socketTransportStats();

    // A call blocked inside the peer when it dies comes back, dead.
    auto blocked = std::async(std::launch::async, [&] {
        Parcel data, reply;
        return object->transact(peer::kBlock, data, &reply);
    });
    ASSERT_TRUE(hub()->waitForNote(process->pid(), kTimeout));
    killAndReap(process);
    ASSERT_EQ(blocked.wait_for(kTimeout), std::future_status::ready);
    EXPECT_EQ(blocked.get(), android::DEAD_OBJECT);

    ASSERT_EQ(recipient->waitTold(), 1);
    EXPECT_EQ(echo(object, 1).status, android::DEAD_OBJECT);
    EXPECT_EQ(object->linkToDeath(new CountingRecipient()), android::DEAD_OBJECT);
    EXPECT_EQ(recipient->waitTold(), 1);

    // Nothing of the dead peer is kept once its proxy goes.
    object.clear();
    EXPECT_TRUE(eventually([&] {
        auto now = socketTransportStats();
        return now.proxies < before.proxies && now.peers < before.peers;
    }));
}

}  // namespace
}  // namespace socket_test
