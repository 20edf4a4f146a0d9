// Death of a remote object: recipients registered through the proxy, removed,
// and told once when the loopback target is killed.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hidl_host/Loopback.h>
#include <hwbinder/BpHwBinder.h>

#include <vector>

namespace {

using ::android::DEAD_OBJECT;
using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_death_recipient;
using ::android::hardware::IBinder;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
namespace host = ::android::hardware::host;

struct Bare : IBase {};

struct Recorder : hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>& who) override {
        cookies.push_back(cookie);
        whos.push_back(who.promote());
    }
    std::vector<uint64_t> cookies;
    std::vector<sp<IBase>> whos;
};

class Death : public ::testing::Test {
  protected:
    void SetUp() override {
        stub = new BnHwBase(new Bare());
        proxy = new BpHwBase(host::toLoopback(stub));
    }
    sp<BnHwBase> stub;
    sp<BpHwBase> proxy;
};

TEST_F(Death, RecipientsAreToldOnceWithTheirCookieUnlessUnlinked) {
    sp<Recorder> first = new Recorder();
    sp<Recorder> second = new Recorder();
    sp<Recorder> removed = new Recorder();
    EXPECT_TRUE(proxy->linkToDeath(first, 7));
    EXPECT_TRUE(proxy->linkToDeath(first, 6));
    EXPECT_TRUE(proxy->linkToDeath(second, 8));
    EXPECT_TRUE(proxy->linkToDeath(removed, 3));
    // Unlinking removes only the most recent registration of a recipient.
    EXPECT_TRUE(proxy->unlinkToDeath(removed));
    EXPECT_FALSE(proxy->unlinkToDeath(removed));
    EXPECT_TRUE(proxy->unlinkToDeath(first));
    EXPECT_FALSE(proxy->unlinkToDeath(nullptr));
    EXPECT_TRUE(proxy->ping().isOk());

    EXPECT_TRUE(host::killLoopbackTarget(stub));
    EXPECT_TRUE(host::killLoopbackTarget(stub));  // a second death tells nobody again
    EXPECT_EQ(first->cookies, std::vector<uint64_t>{7});
    EXPECT_EQ(second->cookies, std::vector<uint64_t>{8});
    EXPECT_TRUE(removed->cookies.empty());
    ASSERT_EQ(first->whos.size(), 1u);
    EXPECT_EQ(first->whos[0].get(), static_cast<IBase*>(proxy.get()));

    EXPECT_TRUE(proxy->ping().isDeadObject());
    EXPECT_FALSE(proxy->linkToDeath(first, 9));
    EXPECT_EQ(first->cookies.size(), 1u);
}

TEST_F(Death, KillingReleasesTheTargetAndDroppedRecipientsAreNotTold) {
    wp<BnHwBase> weakStub = stub;
    sp<IBinder> binder = proxy->remoteStrong();
    sp<Recorder> recipient = new Recorder();
    EXPECT_TRUE(proxy->linkToDeath(recipient, 5));
    EXPECT_TRUE(proxy->linkToDeath(new Recorder(), 1));  // dropped by its owner
    proxy.clear();                                       // drops its wrappers; the binder lives on
    stub.clear();
    ASSERT_NE(weakStub.promote(), nullptr);  // the proxy holds its target

    EXPECT_TRUE(host::killLoopbackTarget(binder));
    EXPECT_TRUE(recipient->cookies.empty());
    EXPECT_EQ(weakStub.promote(), nullptr);
    EXPECT_EQ(host::loopbackTargetOf(binder), nullptr);
    EXPECT_FALSE(binder->remoteBinder()->isBinderAlive());

    // The same target asked for again after its death stays dead.
    sp<BnHwBase> other = new BnHwBase(new Bare());
    host::killLoopbackTarget(other);
    sp<IBinder> again = host::loopbackProxyFor(other);
    EXPECT_EQ(again->transact(1, ::android::hardware::Parcel(), nullptr), DEAD_OBJECT);
}

}  // namespace
