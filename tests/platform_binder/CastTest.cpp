// Casting a dead remote object, turning binders back into interfaces, and the
// one binder that stands for a local object.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>

#include "FakeExtendedFingerprint.h"

namespace {

using ::android::wp;
using ::android::hardware::fromBinder;
using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::IBinder;
using ::android::hardware::details::canCastInterface;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
using namespace zuv_test;  // NOLINT(google-build-using-namespace)
using IFoo = fp::IZuvExtendedFingerprint;
namespace host = ::android::hardware::host;

sp<IFoo> toFoo(const sp<IBinder>& binder) {
    return fromBinder<IFoo, fp::BpHwZuvExtendedFingerprint, fp::BnHwZuvExtendedFingerprint>(binder);
}

struct Answering42 : FakeExtendedFingerprint {
    Return<int32_t> testInit() override { return 42; }
};

// An interface no stub constructor was registered for.
struct Unregistered : IBase {
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({"zuv.test@1.0::IUnregistered", IBase::descriptor});
        return Void();
    }
};

TEST(Cast, ADeadRemoteObjectFailsOnlyWhenAskedTo) {
    sp<IBase> remote = new BpHwBase(host::toLoopback(
            new fp::BnHwZuvExtendedFingerprint(sp<IFoo>(new FakeExtendedFingerprint()))));
    host::killLoopbackTarget(static_cast<BpHwBase*>(remote.get())->remoteStrong());
    auto quiet = IFoo::castFrom(remote, false);
    ASSERT_TRUE(quiet.isOk());
    EXPECT_EQ(static_cast<sp<IFoo>>(quiet), nullptr);
    EXPECT_TRUE(IFoo::castFrom(remote, true).isDeadObject());
    // Every object is an IBase, dead or alive.
    EXPECT_TRUE(canCastInterface(remote.get(), IBase::descriptor, true));
    EXPECT_FALSE(canCastInterface(nullptr, IBase::descriptor));
}

TEST(FromBinder, StubsGiveTheirImplementationAndOthersAProxy) {
    EXPECT_EQ(toFoo(nullptr), nullptr);
    sp<IFoo> foo = new Answering42();
    sp<IBinder> stub = new fp::BnHwZuvExtendedFingerprint(foo);
    EXPECT_EQ(toFoo(stub), foo);

    sp<IFoo> viaLoopback = toFoo(host::toLoopback(stub));
    ASSERT_NE(viaLoopback, nullptr);
    EXPECT_TRUE(viaLoopback->isRemote());
    EXPECT_EQ(static_cast<int32_t>(viaLoopback->testInit()), 42);

    // A stub of another interface is refused.
    EXPECT_EQ(toFoo(new BnHwBase(new IBase())), nullptr);

    // A local binder that is not a base-interface stub is still wrapped.
    struct Plain : ::android::hardware::BHwBinder {};
    sp<IFoo> wrapped = toFoo(new Plain());
    ASSERT_NE(wrapped, nullptr);
    EXPECT_TRUE(wrapped->isRemote());
}

TEST(CachedBinder, OneObjectHasOneBinderWhileItIsHeld) {
    EXPECT_EQ(getOrCreateCachedBinder(nullptr), nullptr);
    sp<IFoo> foo = new FakeExtendedFingerprint();
    sp<IBinder> binder = getOrCreateCachedBinder(foo.get());
    ASSERT_NE(binder, nullptr);
    EXPECT_EQ(getOrCreateCachedBinder(foo.get()), binder);
    EXPECT_EQ(static_cast<BnHwBase*>(binder->localBinder())->getImpl(), foo);
    sp<IFoo> other = new FakeExtendedFingerprint();
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
    sp<IBase> unregistered = new Unregistered();
    EXPECT_EQ(getOrCreateCachedBinder(unregistered.get()), nullptr);
}

}  // namespace
