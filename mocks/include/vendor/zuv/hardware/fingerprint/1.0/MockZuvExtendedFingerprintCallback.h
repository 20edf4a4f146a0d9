// A GoogleMock implementation of IZuvExtendedFingerprintCallback for unit tests.
#pragma once

#include <gmock/gmock.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/MockDefaults.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

// Every operation is mocked; the base operations keep the interface's own
// answers, so the mock registers as a service and crosses proxies and stubs
// like any implementation. A new operation on the interface that is not
// added here leaves the mock abstract, and it no longer compiles.
class MockZuvExtendedFingerprintCallback : public IZuvExtendedFingerprintCallback {
  public:
    MockZuvExtendedFingerprintCallback() { details::useZeroForUnsetResults(); }

    MOCK_METHOD(::android::hardware::Return<void>, onMatch,
                (int32_t, const ::android::hardware::hidl_string&, uint64_t,
                 const ::android::hardware::hidl_vec<uint8_t>&,
                 const ::android::hardware::hidl_vec<uint8_t>&),
                (override));
    MOCK_METHOD(::android::hardware::Return<void>, onError, (int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onStatus,
                (int32_t, const ::android::hardware::hidl_vec<uint8_t>&), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onEnroll,
                (const ::android::hardware::hidl_string&, int32_t, int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onRemove,
                (const ::android::hardware::hidl_string&, int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onEnumerate,
                (const ::android::hardware::hidl_string&, int32_t, int32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onRemoveUser,
                (const ::android::hardware::hidl_string&), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onCaptureDebugData,
                (const ::android::hardware::hidl_vec<CaptureDebugData>&), (override));
    MOCK_METHOD(::android::hardware::Return<void>, onCapture,
                (uint32_t, uint32_t, const ::android::hardware::hidl_vec<uint8_t>&), (override));
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
