// The package's implementation library as the passthrough loader finds it:
// one entry point, for IDaxAndroidServices.
#include <cstring>

#include "FakeDaxAndroidServices.h"

namespace {

// Marks the answers as coming from this library.
struct FetchedServices : zuv_test::FakeDaxAndroidServices {
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
