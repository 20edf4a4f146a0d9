// Conversions from the base interface and the registry statics, for local
// objects and for objects behind a proxy (the loopback transport gives a
// local stub a remote stand-in).
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <gtest/gtest.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BpHwZuvExtendedFingerprint.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprint.h"
#include "FakeExtendedFingerprintCallback.h"

namespace zuv_test {
namespace {

using ::android::OK;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::IServiceNotification;

template <typename I>
sp<I> valueOf(const Return<sp<I>>& ret) {
    EXPECT_TRUE(ret.isOk());
    return ret.isOk() ? static_cast<sp<I>>(ret) : nullptr;
}

struct Answering42 : FakeExtendedFingerprint {
    Return<int32_t> testInit() override { return 42; }
};

TEST(CastTest, LocalObjectsCastOnlyToTheirOwnInterface) {
    sp<fp::IZuvExtendedFingerprint> fingerprint = new FakeExtendedFingerprint();
    sp<fp::IDaxAndroidServices> services = new FakeDaxAndroidServices();
    sp<fp::IZuvExtendedFingerprintCallback> callback = new FakeExtendedFingerprintCallback();

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

TEST(CastTest, RemoteObjectsBecomeProxies) {
    sp<Answering42> impl = new Answering42();
    sp<fp::BnHwZuvExtendedFingerprint> stub = new fp::BnHwZuvExtendedFingerprint(impl);
    sp<IBase> remote = new BpHwBase(::android::hardware::host::loopbackProxyFor(stub));
    ASSERT_TRUE(remote->isRemote());

    sp<fp::IZuvExtendedFingerprint> proxy = valueOf(fp::IZuvExtendedFingerprint::castFrom(remote));
    ASSERT_NE(nullptr, dynamic_cast<fp::BpHwZuvExtendedFingerprint*>(proxy.get()));
    EXPECT_EQ(42, proxy->testInit());

    // The remote object names its interfaces; the callback is not one of them.
    EXPECT_EQ(nullptr, valueOf(fp::IZuvExtendedFingerprintCallback::castFrom(remote)));
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
    sp<fp::IZuvExtendedFingerprint> service = new FakeExtendedFingerprint();
    ASSERT_EQ(OK, service->registerAsService("sensor0"));

    EXPECT_EQ(service, fp::IZuvExtendedFingerprint::getService("sensor0"));
    EXPECT_EQ(nullptr, fp::IZuvExtendedFingerprint::tryGetService("sensor1"));
    // Registration is keyed by descriptor: another interface's lookup misses.
    EXPECT_EQ(nullptr, fp::IDaxAndroidServices::tryGetService("sensor0"));
}

struct RecordingNotification : IServiceNotification {
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name,
                                bool preexisting) override {
        std::lock_guard<std::mutex> lock(mutex);
        seen.push_back(std::string(fqName) + "/" + std::string(name) +
                       (preexisting ? " (preexisting)" : ""));
        changed.notify_all();
        return Void();
    }
    bool waitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(5),
                                [&] { return seen.size() >= count; });
    }
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::string> seen;
};

TEST_F(LookupTest, NotificationsNameTheRegisteredInterface) {
    sp<RecordingNotification> notification = new RecordingNotification();
    ASSERT_TRUE(
            fp::IZuvExtendedFingerprintCallback::registerForNotifications("late", notification));
    sp<fp::IZuvExtendedFingerprintCallback> late = new FakeExtendedFingerprintCallback();
    ASSERT_EQ(OK, late->registerAsService("late"));
    ASSERT_TRUE(notification->waitFor(1));
    std::lock_guard<std::mutex> lock(notification->mutex);
    EXPECT_EQ(std::vector<std::string>{"vendor.zuv.hardware.fingerprint@1.0::"
                                       "IZuvExtendedFingerprintCallback/late"},
              notification->seen);
}

}  // namespace
}  // namespace zuv_test
