// The interface form of setCallTimeout: glue over the binder form, which the
// socket transport implements.
#include <hidl/HidlBinderSupport.h>
#include <hidl_host/CallDeadline.h>

namespace android {
namespace hardware {
namespace host {

status_t setCallTimeout(const sp<::android::hidl::base::V1_0::IBase>& proxy,
                        std::chrono::milliseconds timeout) {
    if (proxy == nullptr) return BAD_VALUE;
    return setCallTimeout(getOrCreateCachedBinder(proxy.get()), timeout);
}

}  // namespace host
}  // namespace hardware
}  // namespace android
