// The passthrough implementation library the loader tests open.
#include <cstring>

#include "ChainedService.h"

// "none" lets a test see an entry point that declines the instance.
extern "C" __attribute__((visibility("default"))) ::android::hidl::base::V1_0::IBase*
HIDL_FETCH_ITest(const char* instance) {
    if (std::strcmp(instance, "none") == 0) return nullptr;
    return new zuv_test::ChainedService(zuv_test::kTestDescriptor, instance);
}
