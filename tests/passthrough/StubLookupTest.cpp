// A lookup for the in-process implementation: the loader finds the package's
// implementation library, and the object it yields is wrapped like any other
// local object.
#include <gtest/gtest.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl_host/ServiceRegistry.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>

namespace zuv_test {
namespace {

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;
namespace host = ::android::hardware::host;
using ::android::sp;

TEST(StubLookupTest, GetStubLoadsTheImplementationAndItWrapsAsAnyLocalObject) {
    host::setPassthroughSearchPath(ZUV_TEST_PASSTHROUGH_DIR);
    sp<fp::IDaxAndroidServices> services = fp::IDaxAndroidServices::getService("seven", true);
    host::resetPassthroughSearchPath();
    ASSERT_NE(nullptr, services);
    EXPECT_FALSE(services->isRemote());
    EXPECT_EQ(5, static_cast<int32_t>(services->checkRequestingAppType()));

    sp<fp::IDaxAndroidServices> wrapped = ::android::hardware::details::wrapPassthrough(services);
    auto* wrapper = dynamic_cast<fp::BsDaxAndroidServices*>(wrapped.get());
    ASSERT_NE(nullptr, wrapper);
    EXPECT_EQ(services.get(), wrapper->getImpl().get());
    EXPECT_EQ(5, static_cast<int32_t>(wrapped->checkRequestingAppType()));
}

}  // namespace
}  // namespace zuv_test
