#include <android/hidl/manager/1.0/IServiceManager.h>
#include <gtest/gtest.h>
#include <hidl/HidlInstrumentor.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl_host/ServiceRegistry.h>

#include <cstdlib>

#include "ChainedService.h"
#include "TestNames.h"

using ::android::hardware::details::getBsConstructorMap;
using ::android::hardware::details::getRawServiceInternal;
using ::android::hardware::details::HidlInstrumentor;
using ::android::hardware::details::wrapPassthrough;
using ::android::hardware::details::wrapPassthroughInternal;
using ::android::hidl::manager::V1_0::IServiceManager;
using zuv_test::ChainedService;
using zuv_test::kTestDescriptor;

namespace {

constexpr const char* kProbe = "vendor.zuv.test@1.0::IProbe";
constexpr const char* kDerivedProbe = "vendor.zuv.test@1.1::IProbe";

struct IProbe : public IBase {
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({kProbe, IBase::descriptor});
        return Void();
    }
};

struct DerivedProbe : public IProbe {
    Return<void> interfaceChain(interfaceChain_cb cb) override {
        cb({kDerivedProbe, kProbe, IBase::descriptor});
        return Void();
    }
};

// Stands in for a package's Bs<Name>: an IProbe that carries an instrumentor.
struct ProbeWrapper : public IProbe, public HidlInstrumentor {
    explicit ProbeWrapper(sp<IProbe> i)
        : HidlInstrumentor("vendor.zuv.test@1.0", "IProbe"), impl(i) {}
    sp<IProbe> impl;
};

struct RemoteProbe : public IProbe {
    bool isRemote() const override { return true; }
};

TEST(WrapPassthrough, LocalObjectsGetTheRegisteredWrapperOnce) {
    getBsConstructorMap().set(std::string(kProbe), [](void* object) -> sp<IBase> {
        return new ProbeWrapper(static_cast<IProbe*>(object));
    });
    EXPECT_EQ(wrapPassthroughInternal(nullptr), nullptr);
    sp<IProbe> remote = new RemoteProbe();
    EXPECT_EQ(wrapPassthrough(remote), remote);

    sp<IProbe> impl = new IProbe();
    sp<IProbe> wrapped = wrapPassthrough(impl);
    auto* wrapper = dynamic_cast<ProbeWrapper*>(wrapped.get());
    ASSERT_NE(wrapper, nullptr);
    EXPECT_EQ(wrapper->impl, impl);
    EXPECT_EQ(wrapPassthrough(wrapped), wrapped) << "a wrapper must not be wrapped again";

    // An extension falls back to its parent's wrapper.
    sp<IProbe> derived = new DerivedProbe();
    sp<IProbe> derivedWrapped = wrapPassthrough(derived);
    wrapper = dynamic_cast<ProbeWrapper*>(derivedWrapped.get());
    ASSERT_NE(wrapper, nullptr);
    EXPECT_EQ(wrapper->impl, derived);

    getBsConstructorMap().erase(kProbe);
    EXPECT_EQ(wrapPassthrough(sp<IProbe>(new IProbe())), nullptr);
    EXPECT_EQ(wrapPassthroughInternal(new IBase()), nullptr);
}

class PassthroughLoader : public ::testing::Test {
  protected:
    void SetUp() override {
        ::android::hardware::host::setPassthroughSearchPath(std::string("/nonexistent/zuv:") +
                                                            ZUV_TEST_PASSTHROUGH_DIR);
    }
    void TearDown() override {
        ::android::hardware::host::resetPassthroughSearchPath();
        unsetenv(::android::hardware::host::kPassthroughPathEnvVar);
    }

    static sp<ChainedService> load(const std::string& descriptor, const std::string& instance) {
        sp<IBase> base = getRawServiceInternal(descriptor, instance, false, true);
        return static_cast<ChainedService*>(base.get());
    }
};

TEST_F(PassthroughLoader, LoadsTheImplementationForTheInstance) {
    sp<ChainedService> a = load(kTestDescriptor, "default");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->mInstance, "default");
    EXPECT_FALSE(a->isRemote());
    ASSERT_NE(load(kTestDescriptor, "second"), nullptr);

    // Loads are recorded with the default registry for debugDump.
    bool recorded = false;
    ASSERT_TRUE(::android::hardware::defaultServiceManager()
                        ->debugDump([&](const auto& infos) {
                            for (const auto& info : infos) {
                                recorded |= info.interfaceName == kTestDescriptor &&
                                            info.instanceName == "second" &&
                                            info.clientPids.size() == 1;
                            }
                        })
                        .isOk());
    EXPECT_TRUE(recorded);

    // The passthrough registry view answers the same.
    Return<sp<IBase>> viaManager =
            ::android::hardware::getPassthroughServiceManager()->get(kTestDescriptor, "third");
    ASSERT_TRUE(viaManager.isOk());
    sp<IBase> third = viaManager;
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(static_cast<ChainedService*>(third.get())->mInstance, "third");

    // An unregistered service with a library is reported as passthrough.
    sp<IServiceManager> sm = ::android::hardware::host::makeInProcessServiceManager();
    Return<IServiceManager::Transport> t = sm->getTransport(kTestDescriptor, "default");
    EXPECT_EQ(static_cast<IServiceManager::Transport>(t), IServiceManager::Transport::PASSTHROUGH);
    Return<IServiceManager::Transport> none =
            sm->getTransport("vendor.zuv.absent@1.0::ITest", "default");
    EXPECT_EQ(static_cast<IServiceManager::Transport>(none), IServiceManager::Transport::EMPTY);
}

TEST_F(PassthroughLoader, NothingFoundGivesNull) {
    EXPECT_EQ(load(kTestDescriptor, "none"), nullptr) << "entry point declined";
    EXPECT_EQ(load("vendor.zuv.nosym@1.0::ITest", "default"), nullptr) << "no entry point";
    EXPECT_EQ(load("vendor.zuv.absent@1.0::ITest", "default"), nullptr) << "no library";
    EXPECT_EQ(load("vendor.zuv.test@1.0::IOther", "default"), nullptr) << "other interface";
    for (const char* bad : {"vendor.zuv.test@1.0", "vendor.zuv.test::ITest", "::ITest",
                            "vendor.zuv.test@1.0::", "../hw/vendor.zuv.test@1.0::ITest"}) {
        EXPECT_EQ(load(bad, "default"), nullptr) << bad;
    }
}

TEST_F(PassthroughLoader, SearchPathComesFromTheEnvironmentUnlessSet) {
    ::android::hardware::host::resetPassthroughSearchPath();
    setenv(::android::hardware::host::kPassthroughPathEnvVar, "/nonexistent/zuv", 1);
    EXPECT_EQ(load(kTestDescriptor, "default"), nullptr);
    setenv(::android::hardware::host::kPassthroughPathEnvVar, ZUV_TEST_PASSTHROUGH_DIR, 1);
    EXPECT_NE(load(kTestDescriptor, "default"), nullptr);
    ::android::hardware::host::setPassthroughSearchPath("/nonexistent/zuv");
    EXPECT_EQ(load(kTestDescriptor, "default"), nullptr) << "the setter wins";
}

}  // namespace
