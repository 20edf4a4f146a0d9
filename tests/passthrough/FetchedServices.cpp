// The package's implementation library as the passthrough loader finds it:
// one entry point, for IDaxAndroidServices.
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

#include <cstring>

namespace {

using ::android::hardware::Return;
using ::android::hardware::Void;

// Its app type, the length of the instance name, marks the answers as coming
// from this library.
struct FetchedServices : ::vendor::zuv::hardware::fingerprint::V1_0::IDaxAndroidServices {
    explicit FetchedServices(int32_t appType) : mAppType(appType) {}
    Return<void> setTimer(uint32_t) override { return Void(); }
    Return<void> setWakelock(int8_t, int8_t) override { return Void(); }
    Return<int32_t> checkRequestingAppType() override { return mAppType; }
    Return<void> showLivenessAlert() override { return Void(); }
    Return<void> resetLivenessAlert() override { return Void(); }

  private:
    int32_t mAppType;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ::android::hidl::base::V1_0::IBase*
HIDL_FETCH_IDaxAndroidServices(const char* instance) {
    return new FetchedServices(static_cast<int32_t>(std::strlen(instance)));
}
