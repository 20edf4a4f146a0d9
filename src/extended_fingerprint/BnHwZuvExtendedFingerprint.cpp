// Server stub of IZuvExtendedFingerprint: every handler is the frame's server call for its
// operation, dispatched by code.
#include <hidl_host/frame/ServerCall.h>
#include <vendor/zuv/hardware/fingerprint/1.0/BnHwZuvExtendedFingerprint.h>

#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "frame/PackageIdentity.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

namespace {

#define ZUV_HANDLER_ENTRY(kind, code, name, names) &BnHwZuvExtendedFingerprint::_hidl_##name,
constexpr details::StubHandler kHandlers[] = {ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_HANDLER_ENTRY)};
#undef ZUV_HANDLER_ENTRY
static_assert(sizeof(kHandlers) / sizeof(kHandlers[0]) ==
                      frame::InterfaceInfo<IZuvExtendedFingerprint>::kMethodCount,
              "one handler per operation");

}  // namespace

BnHwZuvExtendedFingerprint::BnHwZuvExtendedFingerprint(
        const ::android::sp<IZuvExtendedFingerprint>& _hidl_impl)
    : details::StubFrame<IZuvExtendedFingerprint>(
              _hidl_impl, frame::kPackageFqName,
              frame::InterfaceInfo<IZuvExtendedFingerprint>::kShortName, kHandlers,
              frame::InterfaceInfo<IZuvExtendedFingerprint>::kMethodCount) {}

BnHwZuvExtendedFingerprint::~BnHwZuvExtendedFingerprint() = default;

#define ZUV_DEFINE_HANDLER(kind, code, name, names)                                                \
    ::android::status_t BnHwZuvExtendedFingerprint::_hidl_##name(                                  \
            BnHwBase* _hidl_this, const Parcel& _hidl_data, Parcel* _hidl_reply,                   \
            TransactCallback _hidl_cb) {                                                           \
        return frame::serve<extended_fingerprint_methods::name>(_hidl_this, _hidl_data,            \
                                                                _hidl_reply, std::move(_hidl_cb)); \
    }
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_DEFINE_HANDLER)
#undef ZUV_DEFINE_HANDLER

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
