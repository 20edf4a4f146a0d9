// Server stub of IDaxAndroidServices: every handler is the frame's server call for its
// operation, dispatched by code.
#include <hidl_host/frame/ServerCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwDaxAndroidServices.h>

#include "android_services/AndroidServicesMethods.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace {

#define ZUV_HANDLER_ENTRY(kind, code, name, names) &BnHwDaxAndroidServices::_hidl_##name,
constexpr details::StubHandler kHandlers[] = {ZUV_ANDROID_SERVICES_METHODS(ZUV_HANDLER_ENTRY)};
#undef ZUV_HANDLER_ENTRY
static_assert(sizeof(kHandlers) / sizeof(kHandlers[0]) ==
                      frame::InterfaceInfo<IDaxAndroidServices>::kMethodCount,
              "one handler per operation");

}  // namespace

BnHwDaxAndroidServices::BnHwDaxAndroidServices(const ::android::sp<IDaxAndroidServices>& _hidl_impl)
    : details::StubFrame<IDaxAndroidServices>(
              _hidl_impl, frame::kPackageFqName,
              frame::InterfaceInfo<IDaxAndroidServices>::kShortName, kHandlers,
              frame::InterfaceInfo<IDaxAndroidServices>::kMethodCount) {}

BnHwDaxAndroidServices::~BnHwDaxAndroidServices() = default;

#define ZUV_DEFINE_HANDLER(kind, code, name, names)                                              \
    ::android::status_t BnHwDaxAndroidServices::_hidl_##name(                                    \
            BnHwBase* _hidl_this, const Parcel& _hidl_data, Parcel* _hidl_reply,                 \
            TransactCallback _hidl_cb) {                                                         \
        return frame::serve<android_services_methods::name>(_hidl_this, _hidl_data, _hidl_reply, \
                                                            std::move(_hidl_cb));                \
    }
ZUV_ANDROID_SERVICES_METHODS(ZUV_DEFINE_HANDLER)
#undef ZUV_DEFINE_HANDLER

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
