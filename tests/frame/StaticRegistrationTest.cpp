// The library's entries in the platform's constructor maps: gone after its
// unload function, back after loading again. That the entries make the right
// classes is shown wherever an interface argument is wrapped or served.
#include <gtest/gtest.h>
#include <hidl/Static.h>

#include "FrameTestSupport.h"
#include "frame/Registration.h"

namespace zuv_test {
namespace {

using ::android::hardware::details::getBnConstructorMap;
using ::android::hardware::details::getBsConstructorMap;
namespace frame = ::vendor::zuv::hardware::fingerprint::frame;

void expectEntries(bool present) {
    for (const char* descriptor :
         {fp::IDaxAndroidServices::descriptor, fp::IZuvExtendedFingerprint::descriptor,
          fp::IZuvExtendedFingerprintCallback::descriptor}) {
        EXPECT_EQ(present, getBnConstructorMap().contains(descriptor)) << descriptor;
        EXPECT_EQ(present, getBsConstructorMap().contains(descriptor)) << descriptor;
    }
}

TEST(StaticRegistrationTest, UnloadRemovesEveryEntryAndLoadingAgainRestoresThem) {
    expectEntries(true);
    frame::unregisterPackage();
    expectEntries(false);
    frame::registerPackage();
    expectEntries(true);
}

}  // namespace
}  // namespace zuv_test
