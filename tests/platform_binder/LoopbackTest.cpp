// The loopback transport: binder objects translated both ways, reply
// hand-over as the platform does it, and the caller's identity.
#include <gtest/gtest.h>
#include <hidl_host/CallingIdentity.h>
#include <hidl_host/Loopback.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include "TestNames.h"

namespace {

using ::android::BAD_VALUE;
using ::android::hardware::IPCThreadState;

enum Code : uint32_t {
    kEcho = 1,            // replies with the binder it received, through the callback
    kFillOnly = 2,        // fills the reply without handing it over
    kFailAfterReply = 3,  // hands the reply over, then fails
    kFail = 4,            // fails without a reply
    kWhoCalls = 6,        // replies the calling pid and uid
};

struct Server : BHwBinder {
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback cb) override {
        ++calls;
        switch (code) {
            case kEcho: {
                status_t err = data.readNullableStrongBinder(&received);
                if (err != OK) return err;
                reply->writeStrongBinder(received);
                if (cb) cb(*reply);
                return OK;
            }
            case kFillOnly:
                reply->writeInt32(11);
                return OK;
            case kFailAfterReply:
                reply->writeInt32(12);
                if (cb) cb(*reply);
                return BAD_VALUE;
            case kFail:
                reply->writeInt32(13);
                return BAD_VALUE;
            case kWhoCalls:
                reply->writeInt32(IPCThreadState::self()->getCallingPid());
                reply->writeInt32(static_cast<int32_t>(IPCThreadState::self()->getCallingUid()));
                return OK;
            default:
                (void)flags;
                return ::android::UNKNOWN_TRANSACTION;
        }
    }
    sp<IBinder> received;
    int calls = 0;
};

class Loopback : public ::testing::Test {
  protected:
    sp<Server> server = new Server();
    sp<IBinder> proxy = host::toLoopback(server);
};

TEST_F(Loopback, BindersAreTranslatedInBothDirections) {
    // One proxy per target, which knows its target.
    EXPECT_EQ(host::toLoopback(server), proxy);
    EXPECT_EQ(host::toLoopback(proxy), proxy);
    EXPECT_EQ(host::loopbackTargetOf(proxy), server);
    EXPECT_EQ(proxy->localBinder(), nullptr);
    EXPECT_EQ(host::toLoopback(nullptr), nullptr);
    EXPECT_FALSE(host::killLoopbackTarget(nullptr));

    // Sends binder to the server; answers what its echo brings back.
    auto echoed = [&](const sp<IBinder>& binder) {
        Parcel data, reply;
        data.writeStrongBinder(binder);
        sp<IBinder> back;
        EXPECT_EQ(proxy->transact(kEcho, data, &reply), OK);
        EXPECT_EQ(reply.readNullableStrongBinder(&back), OK);
        return back;
    };
    // A local object sent across arrives as a loopback proxy of it, and comes
    // back as the object itself.
    sp<Server> local = new Server();
    EXPECT_EQ(echoed(local), sp<IBinder>(local));
    ASSERT_NE(server->received, nullptr);
    EXPECT_TRUE(host::isLoopbackProxy(server->received));
    EXPECT_EQ(host::loopbackTargetOf(server->received), local);
    // The target's own proxy sent to it arrives as the target itself.
    EXPECT_EQ(echoed(proxy), proxy);
    EXPECT_EQ(server->received, sp<IBinder>(server));
    // Null stays null.
    EXPECT_EQ(echoed(nullptr), nullptr);
    EXPECT_EQ(server->received, nullptr);
}

TEST_F(Loopback, RepliesTravelAsThePlatformSendsThem) {
    Parcel data, reply;
    int32_t seen = 0;
    auto readFirst = [&](Parcel& r) { r.readInt32(&seen); };

    // Filled but not handed over: the transport sends what was written.
    ASSERT_EQ(proxy->transact(kFillOnly, data, &reply, 0, readFirst), OK);
    EXPECT_EQ(seen, 11);

    // Handed over, then failed: the caller got its reply.
    ASSERT_EQ(proxy->transact(kFailAfterReply, data, &reply, 0, readFirst), OK);
    EXPECT_EQ(seen, 12);

    // Failed without a reply: the caller gets the failure, no callback.
    seen = 0;
    EXPECT_EQ(proxy->transact(kFail, data, &reply, 0, readFirst), BAD_VALUE);
    EXPECT_EQ(seen, 0);

    // Oneway: delivered, nothing comes back, failures stay on the server.
    const int before = server->calls;
    Parcel untouched;
    EXPECT_EQ(proxy->transact(kFail, data, &untouched, IBinder::FLAG_ONEWAY, readFirst), OK);
    EXPECT_EQ(server->calls, before + 1);
    EXPECT_EQ(untouched.dataSize(), 0u);
    EXPECT_EQ(seen, 0);
}

TEST(CallingIdentity, AnswersTheCallerInsideATransactionAndThisProcessOutside) {
    IPCThreadState* ipc = IPCThreadState::self();
    EXPECT_EQ(ipc->getCallingUid(), getuid());
    {
        host::ScopedCallingIdentity outer(1234, 99);
        {
            host::ScopedCallingIdentity inner(42, 7);
            EXPECT_EQ(ipc->getCallingUid(), 7u);
        }
        EXPECT_EQ(ipc->getCallingUid(), 99u);

        // A loopback call runs with the identity of this process as caller.
        sp<IBinder> proxy = host::toLoopback(new Server());
        Parcel data, reply;
        ASSERT_EQ(proxy->transact(kWhoCalls, data, &reply), OK);
        int32_t pid = 0;
        reply.readInt32(&pid);
        EXPECT_EQ(pid, getpid());
        EXPECT_EQ(ipc->getCallingPid(), 1234);
    }
    EXPECT_EQ(ipc->getCallingPid(), getpid());
}

}  // namespace
