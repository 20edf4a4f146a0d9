#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <unistd.h>

#include <algorithm>

#include "ChainedService.h"
#include "RecordingListener.h"

using ::android::hardware::getOrCreateCachedBinder;
using ::android::hardware::details::getRawServiceInternal;
using ::android::hardware::details::registerAsServiceInternal;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::manager::V1_0::BnHwServiceManager;
using ::android::hidl::manager::V1_0::BpHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
using ::android::hidl::manager::V1_0::IServiceNotification;
using zuv_test::ChainedService;
using zuv_test::kTestDescriptor;

namespace {

using Event = zuv_test::Registration;
using Listener = zuv_test::RecordingListener;

std::vector<std::string> names(const hidl_vec<hidl_string>& v) {
    std::vector<std::string> out(v.begin(), v.end());
    std::sort(out.begin(), out.end());
    return out;
}

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

// Bad input is refused in ManagerOverLoopback.EveryOperationCrossesTheWire.
TEST(InProcessRegistry, AddPublishesUnderEveryParentAndReplaces) {
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
    EXPECT_FALSE(listen(sm, "", "a", new Listener()));
    sp<IBase> first = new ChainedService(kTestDescriptor, "a");
    ASSERT_TRUE(add(sm, "a", first));
    EXPECT_EQ(get(sm, kTestDescriptor, "a"), first);
    EXPECT_EQ(get(sm, IBase::descriptor, "a"), first);
    EXPECT_EQ(get(sm, kTestDescriptor, "b"), nullptr);
    EXPECT_EQ(get(sm, "vendor.zuv.test@1.0::IOther", "a"), nullptr);

    // Replacing releases the registry's hold on the earlier object.
    wp<IBase> weakFirst = first;
    first.clear();
    sp<IBase> second = new ChainedService(kTestDescriptor, "a2");
    ASSERT_TRUE(add(sm, "a", second));
    EXPECT_EQ(get(sm, IBase::descriptor, "a"), second);
    EXPECT_EQ(weakFirst.promote(), nullptr);
}

TEST(InProcessRegistry, NotificationsForPresentAndLaterRegistrationsOutsideTheLock) {
    sp<IServiceManager> sm = host::makeInProcessServiceManager();
    ASSERT_TRUE(add(sm, "early", new ChainedService(kTestDescriptor, "early")));

    sp<Listener> one = new Listener(), every = new Listener(), other = new Listener(),
                 base = new Listener();
    // Present services are told; the same registration again is nothing new.
    ASSERT_TRUE(listen(sm, kTestDescriptor, "early", one));
    ASSERT_TRUE(listen(sm, kTestDescriptor, "early", one));
    EXPECT_EQ(one->events(1), (std::vector<Event>{{kTestDescriptor, "early", true}}));
    ASSERT_TRUE(listen(sm, kTestDescriptor, "", every));
    ASSERT_TRUE(listen(sm, kTestDescriptor, "x", other));
    // A listener for a parent interface hears about registrations of children.
    ASSERT_TRUE(listen(sm, IBase::descriptor, "late", base));

    // Listeners may use the registry: they are not called under its lock.
    sp<IBase> late = new ChainedService(kTestDescriptor, "late");
    sp<IBase> seen;
    base->onEvent = [&] { seen = get(sm, kTestDescriptor, "late"); };
    ASSERT_TRUE(add(sm, "late", late));
    const std::vector<Event> baseEvents{{IBase::descriptor, "late", false}};
    EXPECT_EQ(base->events(baseEvents.size()), baseEvents);
    EXPECT_EQ(seen, late);
    ASSERT_TRUE(add(sm, "early", new ChainedService(kTestDescriptor, "early2")));
    const std::vector<Event> oneEvents{{kTestDescriptor, "early", true},
                                       {kTestDescriptor, "early", false}};
    EXPECT_EQ(one->events(oneEvents.size()), oneEvents);
    const std::vector<Event> everyEvents{{kTestDescriptor, "early", true},
                                         {kTestDescriptor, "late", false},
                                         {kTestDescriptor, "early", false}};
    EXPECT_EQ(every->events(everyEvents.size()), everyEvents);
    EXPECT_TRUE(other->events().empty());
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
    EXPECT_EQ(registerAsServiceInternal(new ChainedService(kTestDescriptor, ""), ""),
              ::android::UNKNOWN_ERROR);

    sp<IBase> service = new ChainedService(kTestDescriptor, "x");
    ASSERT_EQ(registerAsServiceInternal(service, "x"), ::android::OK);
    EXPECT_EQ(getRawServiceInternal(kTestDescriptor, "x", false, false), service);

    host::setDefaultServiceManager(nullptr);
    EXPECT_NE(::android::hardware::defaultServiceManager(), sm) << "null restores the built-in";
    EXPECT_NE(::android::hardware::defaultServiceManager(), nullptr);
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

// The service manager's proxy and stub, joined through the loopback
// transport: every request and reply crosses the wire image, and services
// and listeners travel as binders, as they do between processes.
class ManagerOverLoopback : public ::testing::Test {
  protected:
    void SetUp() override { zuv_test::publishable(kTestDescriptor); }

    sp<IServiceManager> registry = host::makeInProcessServiceManager();
    sp<BnHwServiceManager> stub = new BnHwServiceManager(registry);
    sp<IServiceManager> proxy = new BpHwServiceManager(host::loopbackProxyFor(stub));
};

TEST_F(ManagerOverLoopback, EveryOperationCrossesTheWire) {
    sp<ChainedService> service = new ChainedService(kTestDescriptor, "a");
    ASSERT_TRUE(add(proxy, "a", service));
    // Refusals arrive as false, not as failures.
    EXPECT_FALSE(proxy->add("", new ChainedService(kTestDescriptor, "")).withDefault(true));
    EXPECT_FALSE(proxy->add("c", nullptr).withDefault(true));
    EXPECT_FALSE(proxy->registerForNotifications(kTestDescriptor, "x", nullptr).withDefault(true));
    // A service already dead when it is added is refused.
    sp<IBase> deadProxy = new BpHwBase(
            host::loopbackProxyFor(new BnHwBase(new ChainedService(kTestDescriptor, "x"))));
    ASSERT_TRUE(host::killLoopbackTarget(getOrCreateCachedBinder(deadProxy.get())));
    EXPECT_FALSE(registry->add("dead", deadProxy).withDefault(true));

    // The registry holds a proxy; handed back to the service's own side it
    // is the object itself again.
    EXPECT_TRUE(static_cast<sp<IBase>>(registry->get(kTestDescriptor, "a"))->isRemote());
    EXPECT_EQ(get(proxy, kTestDescriptor, "a"), service);
    EXPECT_EQ(get(proxy, kTestDescriptor, "b"), nullptr);

    // Lists cross as a process sees them (RegistryAcrossProcesses); their
    // encoding and debugDump's are recorded in WireBytesTest.
    EXPECT_EQ(proxy->getTransport(kTestDescriptor, "a").withDefault({}),
              IServiceManager::Transport::HWBINDER);
}

// The registry's estimate of a reply against the transport's real limit:
// every answer either crosses the wire or is refused with a status saying so,
// and debugDump always answers, ending with a note when it left entries out.
TEST_F(ManagerOverLoopback, RepliesFitATransactionOrSaySo) {
    size_t lastListed = 0;
    bool refusedOnce = false, truncatedOnce = false;
    for (int i = 0; i < 180; ++i) {
        // Lengths around 4000 bytes, so the padding of each string varies.
        const std::string name = std::to_string(i) + std::string(3990 - i % 9, 'n');
        ASSERT_TRUE(add(proxy, name, new ChainedService(kTestDescriptor, "big")));
        std::vector<std::string> listed;
        Return<void> l = proxy->list([&](const auto& v) { listed = names(v); });
        if (l.isOk()) {
            lastListed = listed.size();
        } else {
            EXPECT_NE(l.description().find("one reply may carry"), std::string::npos)
                    << l.description();
            refusedOnce = true;
        }
        Return<void> byInterface = proxy->listByInterface(kTestDescriptor, [](const auto&) {});
        EXPECT_TRUE(byInterface.isOk() ||
                    byInterface.description().find("one reply may carry") != std::string::npos)
                << byInterface.description();
        size_t dumped = 0;
        std::string last;
        Return<void> d = proxy->debugDump([&](const auto& infos) {
            dumped = infos.size();
            if (dumped > 0) last = infos[dumped - 1].interfaceName;
        });
        ASSERT_TRUE(d.isOk()) << d.description();
        if (last == host::kDebugDumpTruncated) truncatedOnce = true;
        EXPECT_TRUE(l.isOk() || last == host::kDebugDumpTruncated) << "at " << i;
    }
    EXPECT_TRUE(refusedOnce && truncatedOnce);
    // Not refused long before the limit: about 4 KiB an entry.
    EXPECT_GT(lastListed * 4100, 1000u * 1024);
}

}  // namespace
