// The package's implementation library as the passthrough loader finds it:
// one entry point, for IDaxAndroidServices.
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServicesDefault.h>

#include <cstring>

namespace {

// Marks the answers as coming from this library.
struct FetchedServices : ::vendor::zuv::hardware::fingerprint::V1_0::IDaxAndroidServicesDefault {
    explicit FetchedServices(int32_t appType) : mAppType(appType) {}
    ::android::hardware::Return<int32_t> checkRequestingAppType() override { return mAppType; }

  private:
    int32_t mAppType;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ::android::hidl::base::V1_0::IBase*
HIDL_FETCH_IDaxAndroidServices(const char* instance) {
    return new FetchedServices(static_cast<int32_t>(std::strlen(instance)));
}
