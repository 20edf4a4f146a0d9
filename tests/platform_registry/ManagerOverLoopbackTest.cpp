// The service manager's proxy and stub, joined through the loopback
// transport: every request and reply crosses the wire image, and services
// and listeners travel as binders, as they do between processes.
#include <android/hidl/base/1.0/BnHwBase.h>
#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/BnHwServiceManager.h>
#include <android/hidl/manager/1.0/BpHwServiceManager.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <gtest/gtest.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/Static.h>
#include <hidl/Status.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/ServiceRegistry.h>
#include <hwbinder/Parcel.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "TestInterfaces.h"

using ::android::BAD_TYPE;
using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::UNKNOWN_TRANSACTION;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::BnHwBase;
using ::android::hidl::base::V1_0::BpHwBase;
using ::android::hidl::base::V1_0::IBase;
using ::android::hidl::manager::V1_0::BnHwServiceManager;
using ::android::hidl::manager::V1_0::BpHwServiceManager;
using ::android::hidl::manager::V1_0::IServiceManager;
using ::android::hidl::manager::V1_0::IServiceNotification;
using ::vendor::zuv::test::V1_0::ITest;
using ::vendor::zuv::test::V1_0::TestService;
namespace host = ::android::hardware::host;

namespace {

using Event = std::tuple<std::string, std::string, bool>;

class Listener : public IServiceNotification {
  public:
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name,
                                bool preexisting) override {
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.emplace_back(fqName, name, preexisting);
        return Void();
    }
    std::vector<Event> events() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }

  private:
    std::mutex mMutex;
    std::vector<Event> mEvents;
};

std::vector<std::string> names(const hidl_vec<hidl_string>& v) {
    std::vector<std::string> out;
    for (size_t i = 0; i < v.size(); ++i) out.emplace_back(v[i]);
    std::sort(out.begin(), out.end());
    return out;
}

class ManagerOverLoopback : public ::testing::Test {
  protected:
    void SetUp() override {
        // Test services travel as plain base-interface stubs.
        ::android::hardware::details::getBnConstructorMap().set(
                ITest::kDescriptor, [](void* iface) -> sp<IBinder> {
                    return new BnHwBase(static_cast<IBase*>(iface));
                });
        registry = host::makeInProcessServiceManager();
        stub = new BnHwServiceManager(registry);
        proxy = new BpHwServiceManager(host::loopbackProxyFor(stub));
    }

    bool add(const std::string& name, const sp<IBase>& service) {
        Return<bool> ret = proxy->add(name, service);
        return ret.isOk() && static_cast<bool>(ret);
    }
    std::vector<std::string> list() {
        std::vector<std::string> out;
        auto r = proxy->list([&](const auto& v) { out = names(v); });
        EXPECT_TRUE(r.isOk()) << r.description();
        return out;
    }

    sp<IServiceManager> registry;
    sp<BnHwServiceManager> stub;
    sp<IServiceManager> proxy;
};

TEST_F(ManagerOverLoopback, RegistersFindsAndListsAcrossTheWire) {
    sp<TestService> service = new TestService("a");
    ASSERT_TRUE(add("a", service));

    // The registry holds a proxy; handed back to the service's own side it
    // is the object itself again.
    Return<sp<IBase>> inRegistry = registry->get(ITest::kDescriptor, "a");
    ASSERT_TRUE(inRegistry.isOk());
    EXPECT_TRUE(static_cast<sp<IBase>>(inRegistry)->isRemote());
    Return<sp<IBase>> found = proxy->get(ITest::kDescriptor, "a");
    ASSERT_TRUE(found.isOk());
    EXPECT_EQ(static_cast<sp<IBase>>(found), service);
    Return<sp<IBase>> missing = proxy->get(ITest::kDescriptor, "b");
    ASSERT_TRUE(missing.isOk());
    EXPECT_EQ(static_cast<sp<IBase>>(missing), nullptr);

    ASSERT_TRUE(add("b", new TestService("b")));
    EXPECT_EQ(list(), (std::vector<std::string>{
                              "android.hidl.base@1.0::IBase/a", "android.hidl.base@1.0::IBase/b",
                              "vendor.zuv.test@1.0::ITest/a", "vendor.zuv.test@1.0::ITest/b"}));
    std::vector<std::string> instances;
    ASSERT_TRUE(proxy->listByInterface(ITest::kDescriptor, [&](const auto& v) {
                         instances = names(v);
                     }).isOk());
    EXPECT_EQ(instances, (std::vector<std::string>{"a", "b"}));
    ASSERT_TRUE(proxy->listByInterface("vendor.zuv.test@1.0::INone", [&](const auto& v) {
                         instances = names(v);
                     }).isOk());
    EXPECT_TRUE(instances.empty());

    Return<IServiceManager::Transport> transport = proxy->getTransport(ITest::kDescriptor, "a");
    ASSERT_TRUE(transport.isOk());
    EXPECT_EQ(static_cast<IServiceManager::Transport>(transport),
              IServiceManager::Transport::HWBINDER);

    // Refusals arrive as false, not as failures.
    Return<bool> refused = proxy->add("", new TestService(""));
    ASSERT_TRUE(refused.isOk());
    EXPECT_FALSE(static_cast<bool>(refused));
    Return<bool> nullService = proxy->add("c", nullptr);
    ASSERT_TRUE(nullService.isOk());
    EXPECT_FALSE(static_cast<bool>(nullService));
}

TEST_F(ManagerOverLoopback, DebugDumpCarriesNamesAndClientPids) {
    ASSERT_TRUE(add("a", new TestService("a")));
    ASSERT_TRUE(proxy->registerPassthroughClient("vendor.zuv.test@1.0::IPass", "p").isOk());
    std::vector<std::tuple<std::string, std::string, size_t>> seen;
    ASSERT_TRUE(proxy->debugDump([&](const hidl_vec<IServiceManager::InstanceDebugInfo>& infos) {
                         for (size_t i = 0; i < infos.size(); ++i) {
                             seen.emplace_back(infos[i].interfaceName, infos[i].instanceName,
                                               infos[i].clientPids.size());
                         }
                     }).isOk());
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::tuple<std::string, std::string, size_t>>{
                            {"android.hidl.base@1.0::IBase", "a", 0},
                            {"vendor.zuv.test@1.0::IPass", "p", 1},
                            {"vendor.zuv.test@1.0::ITest", "a", 0}}));
}

TEST_F(ManagerOverLoopback, ListenersAreToldOfPresentAndLaterRegistrations) {
    ASSERT_TRUE(add("early", new TestService("early")));
    sp<Listener> one = new Listener();
    sp<Listener> every = new Listener();
    Return<bool> r1 = proxy->registerForNotifications(ITest::kDescriptor, "early", one);
    Return<bool> r2 = proxy->registerForNotifications(ITest::kDescriptor, "", every);
    ASSERT_TRUE(r1.isOk() && static_cast<bool>(r1));
    ASSERT_TRUE(r2.isOk() && static_cast<bool>(r2));
    ASSERT_TRUE(add("late", new TestService("late")));

    // Loopback delivers oneway calls before returning, so no waiting here.
    EXPECT_EQ(one->events(), (std::vector<Event>{{ITest::kDescriptor, "early", true}}));
    EXPECT_EQ(every->events(), (std::vector<Event>{{ITest::kDescriptor, "early", true},
                                                   {ITest::kDescriptor, "late", false}}));

    Return<bool> noListener = proxy->registerForNotifications(ITest::kDescriptor, "x", nullptr);
    ASSERT_TRUE(noListener.isOk());
    EXPECT_FALSE(static_cast<bool>(noListener));
}

TEST_F(ManagerOverLoopback, ADeadServiceLeavesAndADeadListenerIsDropped) {
    sp<TestService> doomed = new TestService("doomed");
    ASSERT_TRUE(add("doomed", doomed));
    ASSERT_TRUE(add("kept", new TestService("kept")));
    sp<Listener> listener = new Listener();
    ASSERT_TRUE(
            static_cast<bool>(proxy->registerForNotifications(ITest::kDescriptor, "", listener)));

    // The stubs the registry's proxies lead to stand for the two processes.
    sp<IBinder> serviceStub = ::android::hardware::getOrCreateCachedBinder(doomed.get());
    sp<IBinder> listenerStub = ::android::hardware::getOrCreateCachedBinder(listener.get());
    ASSERT_TRUE(host::killLoopbackTarget(serviceStub));
    EXPECT_EQ(list(), (std::vector<std::string>{"android.hidl.base@1.0::IBase/kept",
                                                "vendor.zuv.test@1.0::ITest/kept"}));
    Return<sp<IBase>> gone = proxy->get(ITest::kDescriptor, "doomed");
    ASSERT_TRUE(gone.isOk());
    EXPECT_EQ(static_cast<sp<IBase>>(gone), nullptr);

    // Re-registering the name afterwards works, and a dead listener does not
    // get in the way of registrations.
    ASSERT_TRUE(host::killLoopbackTarget(listenerStub));
    size_t toldBefore = listener->events().size();
    ASSERT_TRUE(add("doomed", new TestService("again")));
    EXPECT_EQ(listener->events().size(), toldBefore);
    EXPECT_EQ(list().size(), 4u);

    // A service already dead when it is added is refused.
    sp<TestService> dead = new TestService("dead");
    sp<IServiceManager> direct = registry;
    sp<IBase> deadProxy = new BpHwBase(host::loopbackProxyFor(new BnHwBase(dead)));
    ASSERT_TRUE(host::killLoopbackTarget(
            ::android::hardware::getOrCreateCachedBinder(deadProxy.get())));
    Return<bool> refused = direct->add("dead", deadProxy);
    ASSERT_TRUE(refused.isOk());
    EXPECT_FALSE(static_cast<bool>(refused));
}

// A manager whose operations all fail: the failure must come back as the
// caller's status, with the exception message.
struct FailingManager : IServiceManager {
    static Status failure() {
        return Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "registry closed");
    }
    Return<sp<IBase>> get(const hidl_string&, const hidl_string&) override { return failure(); }
    Return<bool> add(const hidl_string&, const sp<IBase>&) override { return failure(); }
    Return<Transport> getTransport(const hidl_string&, const hidl_string&) override {
        return failure();
    }
    Return<void> list(list_cb) override { return failure(); }
    Return<void> listByInterface(const hidl_string&, listByInterface_cb) override {
        return failure();
    }
    Return<bool> registerForNotifications(const hidl_string&, const hidl_string&,
                                          const sp<IServiceNotification>&) override {
        return failure();
    }
    Return<void> debugDump(debugDump_cb) override { return failure(); }
    Return<void> registerPassthroughClient(const hidl_string&, const hidl_string&) override {
        return failure();
    }
};

TEST(ManagerWire, ImplementationFailuresAndBadRequestsComeBackAsStatuses) {
    sp<BnHwServiceManager> stub = new BnHwServiceManager(new FailingManager());
    sp<IServiceManager> proxy = new BpHwServiceManager(host::loopbackProxyFor(stub));

    Return<sp<IBase>> got = proxy->get(ITest::kDescriptor, "a");
    ASSERT_FALSE(got.isOk());
    EXPECT_EQ(got.getStatus().exceptionCode(), Status::EX_ILLEGAL_STATE);
    EXPECT_NE(got.description().find("registry closed"), std::string::npos);
    bool called = false;
    Return<void> listed = proxy->list([&](const auto&) { called = true; });
    EXPECT_FALSE(listed.isOk());
    EXPECT_FALSE(called);

    // Straight at the stub: wrong token, truncated arguments, unknown code.
    Parcel wrongToken;
    wrongToken.writeInterfaceToken(IBase::descriptor);
    Parcel reply;
    EXPECT_EQ(stub->transact(1, wrongToken, &reply), BAD_TYPE);
    Parcel truncated;
    truncated.writeInterfaceToken(IServiceManager::descriptor);
    EXPECT_NE(stub->transact(1, truncated, &reply), OK);
    EXPECT_EQ(stub->transact(0x0e000000, truncated, &reply), UNKNOWN_TRANSACTION);

    // The base operations still answer for the manager's identity.
    std::string descriptor;
    ASSERT_TRUE(proxy->interfaceDescriptor([&](const hidl_string& d) { descriptor = d; }).isOk());
    EXPECT_EQ(descriptor, IServiceManager::descriptor);
}

}  // namespace
