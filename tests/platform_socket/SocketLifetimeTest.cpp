// Reference counts across processes and the death of peers.
#include <atomic>
#include <future>

#include "SocketFixture.h"

namespace socket_test {
namespace {

class CountingRecipient : public IBinder::DeathRecipient {
  public:
    void binderDied(const android::wp<IBinder>&) override {
        std::lock_guard<std::mutex> lock(mLock);
        ++mCount;
        mTold.notify_all();
    }
    bool waitTold() {
        std::unique_lock<std::mutex> lock(mLock);
        return mTold.wait_for(lock, kTimeout, [&] { return mCount > 0; });
    }
    int count() {
        std::lock_guard<std::mutex> lock(mLock);
        return mCount;
    }

  private:
    std::mutex mLock;
    std::condition_variable mTold;
    int mCount = 0;
};

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

TEST_F(SocketTest, NodeLivesWhileAnyProcessHoldsItAndGoesWithTheLast) {
    sp<IBinder> owner = startPeer();
    PeerProcess* holderProcess = nullptr;
    sp<IBinder> holder = startPeer(4, &holderProcess);
    sp<IBinder> second = startPeer();
    ASSERT_NE(owner, nullptr);
    ASSERT_NE(holder, nullptr);
    ASSERT_NE(second, nullptr);
    const int32_t baseline = peerStats(owner).nodes;

    // Dropped by the only holder: released.
    sp<IBinder> object = newObjectOf(owner);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(peerStats(owner).nodes, baseline + 1);
    object.clear();
    EXPECT_TRUE(eventually([&] { return peerStats(owner).nodes == baseline; }));

    // Forwarded twice, then dropped here: the holders keep it until the
    // last of them lets go.
    object = newObjectOf(owner);
    hold(holder, object);
    hold(second, object);
    object.clear();
    EXPECT_EQ(peerStats(owner).nodes, baseline + 1);
    Parcel none, ignored;
    ASSERT_EQ(second->transact(peer::kDropHeld, none, &ignored), OK);
    Parcel call, result;
    call.writeInt32(3);
    ASSERT_EQ(holder->transact(peer::kCallHeld, call, &result), OK);
    int32_t err = -1;
    result.readInt32(&err);
    EXPECT_EQ(err, OK);
    EXPECT_EQ(peerStats(owner).nodes, baseline + 1);

    // The last holder dies.
    holderProcess->kill();
    EXPECT_TRUE(eventually([&] { return peerStats(owner).nodes == baseline; }));
}

TEST_F(SocketTest, DeadPeerFailsCallsAndTellsRecipientsOnce) {
    PeerProcess* process = nullptr;
    sp<IBinder> object = startPeer(4, &process);
    ASSERT_NE(object, nullptr);
    sp<CountingRecipient> recipient = new CountingRecipient();
    ASSERT_EQ(object->linkToDeath(recipient), OK);
    const auto before = android::hardware::host::socketTransportStats();

    // A call blocked inside the peer when it dies comes back, dead.
    auto blocked = std::async(std::launch::async, [&] {
        Parcel data, reply;
        return object->transact(peer::kBlock, data, &reply);
    });
    ASSERT_TRUE(hub()->waitForNote(process->pid(), kTimeout));
    process->kill();
    ASSERT_EQ(blocked.wait_for(kTimeout), std::future_status::ready);
    EXPECT_EQ(blocked.get(), android::DEAD_OBJECT);

    ASSERT_TRUE(recipient->waitTold());
    EXPECT_EQ(echo(object, 1).status, android::DEAD_OBJECT);
    EXPECT_EQ(object->linkToDeath(new CountingRecipient()), android::DEAD_OBJECT);
    EXPECT_EQ(recipient->count(), 1);

    // Nothing of the dead peer is kept once its proxy goes.
    object.clear();
    EXPECT_TRUE(eventually([&] {
        auto now = android::hardware::host::socketTransportStats();
        return now.proxies < before.proxies && now.peers < before.peers;
    }));
}

TEST_F(SocketTest, PeerExitingMidCallFailsThatCall) {
    sp<CountingRecipient> recipient = new CountingRecipient();
    sp<IBinder> object = startPeer();
    ASSERT_NE(object, nullptr);
    ASSERT_EQ(object->linkToDeath(recipient), OK);
    Parcel data, reply;
    EXPECT_EQ(object->transact(peer::kExit, data, &reply), android::DEAD_OBJECT);
    EXPECT_TRUE(recipient->waitTold());
}

TEST_F(SocketTest, ObjectsHeldByADeadPeerAreReleased) {
    sp<IBinder> holder = startPeer();
    ASSERT_NE(holder, nullptr);
    const auto before = android::hardware::host::socketTransportStats();
    {
        sp<IBinder> local = new peer::TestObject();
        hold(holder, local);
    }
    EXPECT_EQ(android::hardware::host::socketTransportStats().exportedNodes,
              before.exportedNodes + 1);
    mPeers.back()->kill();
    EXPECT_TRUE(eventually([&] {
        return android::hardware::host::socketTransportStats().exportedNodes ==
               before.exportedNodes;
    }));
}

}  // namespace
}  // namespace socket_test
