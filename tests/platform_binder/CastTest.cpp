// Casting between interfaces, turning binders back into interfaces, and the
// one binder that stands for a local object.
#include <gtest/gtest.h>
#include <hidl/Static.h>
#include <hidl_host/Loopback.h>

#include "TestFoo.h"

namespace {

using namespace zuvtest;  // NOLINT(google-build-using-namespace)
using ::android::wp;
using ::android::hardware::fromBinder;
using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::details::canCastInterface;
using ::android::hardware::details::getBnConstructorMap;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
namespace host = ::android::hardware::host;

// Registers the test interface's stub constructor for one test.
class WithStubConstructor : public ::testing::Test {
  protected:
    void SetUp() override {
        getBnConstructorMap().set(std::string(ITestFoo::descriptor), [](void* object) {
            return sp<IBinder>(new BnTestFoo(static_cast<ITestFoo*>(object)));
        });
    }
    void TearDown() override { getBnConstructorMap().erase(ITestFoo::descriptor); }
};

using Cast = WithStubConstructor;

TEST_F(Cast, RemoteObjectsAskOverTheirBinder) {
    sp<ITestFoo> foo = new TestFoo();
    sp<IBase> remoteFoo = new BpHwBase(host::toLoopback(new BnTestFoo(foo)));
    sp<ITestFoo> cast = ITestFoo::castFrom(remoteFoo);
    ASSERT_NE(cast, nullptr);
    EXPECT_TRUE(cast->isRemote());
    EXPECT_EQ(static_cast<int32_t>(cast->twice(21)), 42);

    sp<IBase> remoteBare = new BpHwBase(host::toLoopback(new BnHwBase(new BareBase())));
    auto notFoo = ITestFoo::castFrom(remoteBare);
    ASSERT_TRUE(notFoo.isOk());
    EXPECT_EQ(static_cast<sp<ITestFoo>>(notFoo), nullptr);

    // A dead object: the failure is kept only when asked for.
    host::killLoopbackTarget(static_cast<BpHwBase*>(remoteFoo.get())->remoteStrong());
    auto quiet = ITestFoo::castFrom(remoteFoo, false);
    ASSERT_TRUE(quiet.isOk());
    EXPECT_EQ(static_cast<sp<ITestFoo>>(quiet), nullptr);
    auto loud = ITestFoo::castFrom(remoteFoo, true);
    EXPECT_TRUE(loud.isDeadObject());
    // Every object is an IBase, dead or alive.
    EXPECT_TRUE(canCastInterface(remoteFoo.get(), IBase::descriptor, true));
    EXPECT_FALSE(canCastInterface(nullptr, IBase::descriptor));
}

using FromBinder = WithStubConstructor;

TEST_F(FromBinder, StubsGiveTheirImplementationAndOthersAProxy) {
    EXPECT_EQ((fromBinder<ITestFoo, BpTestFoo, BnTestFoo>(nullptr)), nullptr);

    sp<ITestFoo> foo = new TestFoo();
    sp<IBinder> stub = new BnTestFoo(foo);
    EXPECT_EQ((fromBinder<ITestFoo, BpTestFoo, BnTestFoo>(stub)), foo);

    sp<ITestFoo> viaLoopback = fromBinder<ITestFoo, BpTestFoo, BnTestFoo>(host::toLoopback(stub));
    ASSERT_NE(viaLoopback, nullptr);
    EXPECT_TRUE(viaLoopback->isRemote());
    EXPECT_EQ(static_cast<int32_t>(viaLoopback->twice(4)), 8);

    // A stub of another interface is refused.
    EXPECT_EQ((fromBinder<ITestFoo, BpTestFoo, BnTestFoo>(new BnHwBase(new BareBase()))), nullptr);

    // A local binder that is not a base-interface stub is still wrapped.
    struct Plain : ::android::hardware::BHwBinder {};
    sp<ITestFoo> wrapped = fromBinder<ITestFoo, BpTestFoo, BnTestFoo>(new Plain());
    ASSERT_NE(wrapped, nullptr);
    EXPECT_TRUE(wrapped->isRemote());
}

using CachedBinder = WithStubConstructor;

TEST_F(CachedBinder, OneObjectHasOneBinderWhileItIsHeld) {
    EXPECT_EQ(getOrCreateCachedBinder(nullptr), nullptr);

    sp<ITestFoo> foo = new TestFoo();
    sp<IBinder> binder = getOrCreateCachedBinder(foo.get());
    ASSERT_NE(binder, nullptr);
    EXPECT_EQ(getOrCreateCachedBinder(foo.get()), binder);
    EXPECT_EQ(static_cast<BnHwBase*>(binder->localBinder())->getImpl(), foo);

    sp<ITestFoo> other = new TestFoo();
    EXPECT_NE(getOrCreateCachedBinder(other.get()), binder);

    // The cache holds the binder weakly: once released, a new one is made.
    wp<IBinder> weak = binder;
    binder.clear();
    EXPECT_EQ(weak.promote(), nullptr);
    sp<IBinder> fresh = getOrCreateCachedBinder(foo.get());
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(static_cast<BnHwBase*>(fresh->localBinder())->getImpl(), foo);

    // A proxy's binder is its remote; an interface nobody registered has none.
    sp<IBase> proxy = new BpHwBase(fresh);
    EXPECT_EQ(getOrCreateCachedBinder(proxy.get()), fresh);
    getBnConstructorMap().erase(ITestFoo::descriptor);
    EXPECT_EQ(getOrCreateCachedBinder(other.get()), nullptr);
}

}  // namespace
