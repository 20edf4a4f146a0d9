// Conversions from the base interface and from binders, the one binder that
// stands for a local object, and the registry statics, for local objects and
// for objects behind a proxy (the loopback transport gives a local stub a
// remote stand-in).
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/MockZuvExtendedFingerprintCallback.h>

#include "RecordingListener.h"

namespace {

using ::android::hardware::fromBinder;
using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::details::canCastInterface;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::testing::NiceMock;
using IFoo = fp::IZuvExtendedFingerprint;
using Fingerprint = NiceMock<fp::MockZuvExtendedFingerprint>;
using Callback = NiceMock<fp::MockZuvExtendedFingerprintCallback>;

template <typename I>
sp<I> valueOf(const Return<sp<I>>& ret) {
    EXPECT_TRUE(ret.isOk());
    return ret.isOk() ? static_cast<sp<I>>(ret) : nullptr;
}

sp<IFoo> answering42() {
    sp<Fingerprint> impl = new Fingerprint;
    ON_CALL(*impl, testInit).WillByDefault([] { return Return<int32_t>(42); });
    return impl;
}

sp<IFoo> toFoo(const sp<IBinder>& binder) {
    return fromBinder<IFoo, fp::BpHwZuvExtendedFingerprint, fp::BnHwZuvExtendedFingerprint>(binder);
}

TEST(CastTest, LocalObjectsCastOnlyToTheirOwnInterface) {
    sp<fp::IZuvExtendedFingerprint> fingerprint = new Fingerprint;
    sp<fp::IDaxAndroidServices> services = new NiceMock<fp::MockDaxAndroidServices>;
    sp<fp::IZuvExtendedFingerprintCallback> callback = new Callback;

    EXPECT_EQ(fingerprint, valueOf(fp::IZuvExtendedFingerprint::castFrom(sp<IBase>(fingerprint))));
    EXPECT_EQ(services, valueOf(fp::IDaxAndroidServices::castFrom(sp<IBase>(services))));
    EXPECT_EQ(callback,
              valueOf(fp::IZuvExtendedFingerprintCallback::castFrom(sp<IBase>(callback))));

    EXPECT_EQ(nullptr, valueOf(fp::IZuvExtendedFingerprint::castFrom(sp<IBase>(services))));
    EXPECT_EQ(nullptr, valueOf(fp::IDaxAndroidServices::castFrom(sp<IBase>(callback), true)));
    EXPECT_EQ(nullptr,
              valueOf(fp::IZuvExtendedFingerprintCallback::castFrom(sp<IBase>(fingerprint))));

    EXPECT_EQ(nullptr, valueOf(fp::IZuvExtendedFingerprint::castFrom(sp<IBase>(), true)));
}

TEST(CastTest, RemoteObjectsBecomeProxiesAndADeadOneFailsOnlyWhenAskedTo) {
    sp<fp::BnHwZuvExtendedFingerprint> stub = new fp::BnHwZuvExtendedFingerprint(answering42());
    sp<IBase> remote = new BpHwBase(host::loopbackProxyFor(stub));
    ASSERT_TRUE(remote->isRemote());

    sp<IFoo> proxy = valueOf(IFoo::castFrom(remote));
    ASSERT_NE(nullptr, dynamic_cast<fp::BpHwZuvExtendedFingerprint*>(proxy.get()));
    EXPECT_EQ(42, proxy->testInit());
    // The remote object names its interfaces; the callback is not one of them.
    EXPECT_EQ(nullptr, valueOf(fp::IZuvExtendedFingerprintCallback::castFrom(remote)));

    host::killLoopbackTarget(stub);
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
    sp<IFoo> foo = answering42();
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

// An interface no stub constructor was registered for.
struct Unregistered : IBase {
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({"zuv.test@1.0::IUnregistered", IBase::descriptor});
        return Void();
    }
};

TEST(CachedBinder, OneObjectHasOneBinderWhileItIsHeld) {
    EXPECT_EQ(getOrCreateCachedBinder(nullptr), nullptr);
    sp<IFoo> foo = new Fingerprint;
    sp<IBinder> binder = getOrCreateCachedBinder(foo.get());
    ASSERT_NE(binder, nullptr);
    EXPECT_EQ(getOrCreateCachedBinder(foo.get()), binder);
    EXPECT_EQ(static_cast<BnHwBase*>(binder->localBinder())->getImpl(), foo);
    sp<IFoo> other = new Fingerprint;
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

// Each test gets an empty in-process registry of its own.
class LookupTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ::android::hardware::host::setDefaultServiceManager(
                ::android::hardware::host::makeInProcessServiceManager());
    }
    void TearDown() override { ::android::hardware::host::setDefaultServiceManager(nullptr); }
};

TEST_F(LookupTest, RegisteredLocalObjectIsFoundItself) {
    sp<fp::IZuvExtendedFingerprint> service = new Fingerprint;
    ASSERT_EQ(OK, service->registerAsService("sensor0"));

    EXPECT_EQ(service, fp::IZuvExtendedFingerprint::getService("sensor0"));
    EXPECT_EQ(nullptr, fp::IZuvExtendedFingerprint::tryGetService("sensor1"));
    // Registration is keyed by descriptor: another interface's lookup misses.
    EXPECT_EQ(nullptr, fp::IDaxAndroidServices::tryGetService("sensor0"));
}

TEST_F(LookupTest, NotificationsNameTheRegisteredInterface) {
    sp<zuv_test::RecordingListener> notification = new zuv_test::RecordingListener();
    ASSERT_TRUE(
            fp::IZuvExtendedFingerprintCallback::registerForNotifications("late", notification));
    sp<fp::IZuvExtendedFingerprintCallback> late = new Callback;
    ASSERT_EQ(OK, late->registerAsService("late"));
    EXPECT_EQ((std::vector<zuv_test::Registration>{
                      {fp::IZuvExtendedFingerprintCallback::descriptor, "late", false}}),
              notification->events(1));
}

}  // namespace
