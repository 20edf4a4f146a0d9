// The library's entries in the platform's constructor maps: present once it
// is loaded, gone after its unload function, and each one making the right
// class around the object it is given.
#include <gtest/gtest.h>
#include <hidl/Static.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BsZuvExtendedFingerprintCallback.h>

#include "FakeDaxAndroidServices.h"
#include "FakeExtendedFingerprint.h"
#include "FakeExtendedFingerprintCallback.h"
#include "FrameTestSupport.h"
#include "frame/Registration.h"

namespace zuv_test {
namespace {

using ::android::hardware::details::getBnConstructorMap;
using ::android::hardware::details::getBsConstructorMap;
namespace frame = ::vendor::zuv::hardware::fingerprint::frame;

const char* const kDescriptors[] = {fp::IDaxAndroidServices::descriptor,
                                    fp::IZuvExtendedFingerprint::descriptor,
                                    fp::IZuvExtendedFingerprintCallback::descriptor};

// Makes a stub and a wrapper for impl through the maps and checks their
// classes and what they hold.
template <typename Stub, typename Wrapper, typename IType>
void expectConstructorsFor(const sp<IType>& impl) {
    SCOPED_TRACE(IType::descriptor);
    auto makeStub = getBnConstructorMap().get(IType::descriptor, nullptr);
    auto makeWrapper = getBsConstructorMap().get(IType::descriptor, nullptr);
    ASSERT_TRUE(makeStub);
    ASSERT_TRUE(makeWrapper);
    // The platform hands over the object as its base interface.
    void* object = static_cast<::android::hidl::base::V1_0::IBase*>(impl.get());

    sp<IBinder> binder = makeStub(object);
    auto* stub = dynamic_cast<Stub*>(binder.get());
    ASSERT_NE(nullptr, stub);
    EXPECT_EQ(impl.get(), stub->getImplAs().get());

    sp<::android::hidl::base::V1_0::IBase> base = makeWrapper(object);
    auto* wrapper = dynamic_cast<Wrapper*>(base.get());
    ASSERT_NE(nullptr, wrapper);
    EXPECT_EQ(impl.get(), wrapper->getImpl().get());
}

void expectAllConstructors() {
    expectConstructorsFor<fp::BnHwDaxAndroidServices, fp::BsDaxAndroidServices>(
            sp<fp::IDaxAndroidServices>(new FakeDaxAndroidServices));
    expectConstructorsFor<fp::BnHwZuvExtendedFingerprint, fp::BsZuvExtendedFingerprint>(
            sp<fp::IZuvExtendedFingerprint>(new FakeExtendedFingerprint));
    expectConstructorsFor<fp::BnHwZuvExtendedFingerprintCallback,
                          fp::BsZuvExtendedFingerprintCallback>(
            sp<fp::IZuvExtendedFingerprintCallback>(new FakeExtendedFingerprintCallback));
}

TEST(StaticRegistrationTest, LoadingEntersAStubAndAWrapperForEveryInterface) {
    expectAllConstructors();
}

TEST(StaticRegistrationTest, UnloadRemovesEveryEntryAndLoadingAgainRestoresThem) {
    frame::unregisterPackage();
    for (const char* descriptor : kDescriptors) {
        EXPECT_FALSE(getBnConstructorMap().contains(descriptor)) << descriptor;
        EXPECT_FALSE(getBsConstructorMap().contains(descriptor)) << descriptor;
    }
    frame::registerPackage();
    expectAllConstructors();
}

}  // namespace
}  // namespace zuv_test
