#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>
#include <hidl_host/ServiceRegistry.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "TestInterfaces.h"

using ::android::sp;
using ::android::wp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hardware::details::getRawServiceInternal;
using ::android::hardware::details::registerAsServiceInternal;
using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::IServiceManager;
using ::android::hidl::manager::V1_0::IServiceNotification;
using ::vendor::zuv::test::V1_0::ITest;
using ::vendor::zuv::test::V1_0::TestService;
namespace host = ::android::hardware::host;
using namespace std::chrono_literals;

namespace {

using Event = std::tuple<std::string, std::string, bool>;  // fqName, name, preexisting

class Listener : public IServiceNotification {
  public:
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name,
                                bool preexisting) override {
        if (onEvent) onEvent();
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.emplace_back(fqName, name, preexisting);
        return Void();
    }
    std::vector<Event> events() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }
    std::function<void()> onEvent;

  private:
    std::mutex mMutex;
    std::vector<Event> mEvents;
};

sp<IBase> get(const sp<IServiceManager>& sm, const std::string& fqName, const std::string& name) {
    Return<sp<IBase>> ret = sm->get(fqName, name);
    EXPECT_TRUE(ret.isOk());
    return ret;
}

bool add(const sp<IServiceManager>& sm, const std::string& name, const sp<IBase>& service) {
    Return<bool> ret = sm->add(name, service);
    return ret.isOk() && static_cast<bool>(ret);
}

bool listen(const sp<IServiceManager>& sm, const std::string& fqName, const std::string& name,
            const sp<IServiceNotification>& listener) {
    Return<bool> ret = sm->registerForNotifications(fqName, name, listener);
    return ret.isOk() && static_cast<bool>(ret);
}

TEST(InProcessRegistry, AddPublishesUnderEveryParentReplacesAndRefusesBadInput) {
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
    EXPECT_FALSE(add(sm, "a", nullptr));
    EXPECT_FALSE(add(sm, "", new TestService("")));
    EXPECT_FALSE(listen(sm, ITest::kDescriptor, "a", nullptr));
    EXPECT_FALSE(listen(sm, "", "a", new Listener()));

    sp<IBase> first = new TestService("a");
    ASSERT_TRUE(add(sm, "a", first));
    EXPECT_EQ(get(sm, ITest::kDescriptor, "a"), first);
    EXPECT_EQ(get(sm, IBase::descriptor, "a"), first);
    EXPECT_EQ(get(sm, ITest::kDescriptor, "b"), nullptr);
    EXPECT_EQ(get(sm, "vendor.zuv.test@1.0::IOther", "a"), nullptr);

    // Replacing releases the registry's hold on the earlier object.
    wp<IBase> weakFirst = first;
    first.clear();
    sp<IBase> second = new TestService("a2");
    ASSERT_TRUE(add(sm, "a", second));
    EXPECT_EQ(get(sm, IBase::descriptor, "a"), second);
    EXPECT_EQ(weakFirst.promote(), nullptr);
}

TEST(InProcessRegistry, NotificationsForPresentAndLaterRegistrations) {
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
    ASSERT_TRUE(add(sm, "early", new TestService("early")));

    sp<Listener> one = new Listener();
    sp<Listener> every = new Listener();
    sp<Listener> other = new Listener();
    sp<Listener> base = new Listener();
    // Present services are told before registerForNotifications returns.
    ASSERT_TRUE(listen(sm, ITest::kDescriptor, "early", one));
    EXPECT_EQ(one->events(), (std::vector<Event>{{ITest::kDescriptor, "early", true}}));
    ASSERT_TRUE(listen(sm, ITest::kDescriptor, "", every));
    ASSERT_TRUE(listen(sm, ITest::kDescriptor, "x", other));
    // A listener for a parent interface hears about registrations of children.
    ASSERT_TRUE(listen(sm, IBase::descriptor, "late", base));

    ASSERT_TRUE(add(sm, "late", new TestService("late")));
    ASSERT_TRUE(add(sm, "early", new TestService("early2")));
    EXPECT_EQ(one->events(), (std::vector<Event>{{ITest::kDescriptor, "early", true},
                                                 {ITest::kDescriptor, "early", false}}));
    EXPECT_EQ(every->events(), (std::vector<Event>{{ITest::kDescriptor, "early", true},
                                                   {ITest::kDescriptor, "late", false},
                                                   {ITest::kDescriptor, "early", false}}));
    EXPECT_TRUE(other->events().empty());
    EXPECT_EQ(base->events(), (std::vector<Event>{{IBase::descriptor, "late", false}}));
}

TEST(InProcessRegistry, ListenersMayUseTheRegistry) {
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
    sp<Listener> reentrant = new Listener();
    sp<IBase> seen;
    reentrant->onEvent = [&] { seen = get(sm, ITest::kDescriptor, "a"); };
    ASSERT_TRUE(listen(sm, ITest::kDescriptor, "a", reentrant));
    sp<IBase> service = new TestService("a");
    ASSERT_TRUE(add(sm, "a", service));  // would deadlock if called under the lock
    EXPECT_EQ(seen, service);
}

// Lookups and registrations through defaultServiceManager(), pointed at a
// private registry so tests don't see each other's services.
class ServiceLookup : public ::testing::Test {
  protected:
    void SetUp() override { host::setDefaultServiceManager(sm); }
    void TearDown() override {
        host::setDefaultServiceManager(nullptr);
        host::resetGetServiceTimeout();
        unsetenv(host::kGetServiceTimeoutEnvVar);
        unsetenv(host::kDebuggableEnvVar);
    }
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
};

TEST_F(ServiceLookup, RegisterAndGetGoThroughTheDefaultManager) {
    EXPECT_EQ(::android::hardware::defaultServiceManager(), sm);
    EXPECT_EQ(registerAsServiceInternal(nullptr, "x"), ::android::UNEXPECTED_NULL);
    EXPECT_EQ(registerAsServiceInternal(new TestService(""), ""), ::android::UNKNOWN_ERROR);

    sp<IBase> service = new TestService("x");
    ASSERT_EQ(registerAsServiceInternal(service, "x"), ::android::OK);
    EXPECT_EQ(getRawServiceInternal(ITest::kDescriptor, "x", false, false), service);

    host::setDefaultServiceManager(nullptr);
    EXPECT_NE(::android::hardware::defaultServiceManager(), sm) << "null restores the built-in";
    EXPECT_NE(::android::hardware::defaultServiceManager(), nullptr);
}

TEST_F(ServiceLookup, RetryWaitsBoundedlyOnlyWhenAskedAndSeesLateRegistrations) {
    host::setGetServiceTimeout(200ms);
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(getRawServiceInternal(ITest::kDescriptor, "missing", false, false), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - t0, 150ms) << "tryGetService must not wait";
    t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(getRawServiceInternal(ITest::kDescriptor, "missing", true, false), nullptr);
    auto waited = std::chrono::steady_clock::now() - t0;
    EXPECT_GE(waited, 200ms);
    EXPECT_LT(waited, 2s);

    host::setGetServiceTimeout(10s);
    sp<IBase> service = new TestService("later");
    std::thread registrar([&] {
        std::this_thread::sleep_for(100ms);
        // Another interface's registration under the same name must not end the wait.
        EXPECT_EQ(registerAsServiceInternal(new IBase(), "later"), ::android::OK);
        std::this_thread::sleep_for(50ms);
        EXPECT_EQ(registerAsServiceInternal(service, "later"), ::android::OK);
    });
    t0 = std::chrono::steady_clock::now();
    sp<IBase> found = getRawServiceInternal(ITest::kDescriptor, "later", true, false);
    waited = std::chrono::steady_clock::now() - t0;
    registrar.join();
    EXPECT_EQ(found, service);
    EXPECT_GE(waited, 140ms);
    EXPECT_LT(waited, 5s);
}

TEST_F(ServiceLookup, TimeoutAndDebuggableComeFromTheEnvironment) {
    EXPECT_EQ(host::getGetServiceTimeout(), host::kDefaultGetServiceTimeout);
    setenv(host::kGetServiceTimeoutEnvVar, "150", 1);
    EXPECT_EQ(host::getGetServiceTimeout(), 150ms);
    for (const char* bad : {"abc", "-5", "12ms", ""}) {
        setenv(host::kGetServiceTimeoutEnvVar, bad, 1);
        EXPECT_EQ(host::getGetServiceTimeout(), host::kDefaultGetServiceTimeout) << bad;
    }
    host::setGetServiceTimeout(30ms);
    EXPECT_EQ(host::getGetServiceTimeout(), 30ms);

    using ::android::hardware::details::getPidIfSharable;
    EXPECT_EQ(getPidIfSharable(), getpid());
    setenv(host::kDebuggableEnvVar, "0", 1);
    EXPECT_FALSE(::android::hardware::details::debuggable());
    EXPECT_EQ(getPidIfSharable(), -1);
}

}  // namespace
