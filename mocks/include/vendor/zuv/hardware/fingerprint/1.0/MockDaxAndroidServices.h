// A GoogleMock implementation of IDaxAndroidServices for unit tests.
#pragma once

#include <gmock/gmock.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
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
class MockDaxAndroidServices : public IDaxAndroidServices {
  public:
    MockDaxAndroidServices() { details::useZeroForUnsetResults(); }

    MOCK_METHOD(::android::hardware::Return<void>, setTimer, (uint32_t), (override));
    MOCK_METHOD(::android::hardware::Return<void>, setWakelock, (int8_t, int8_t), (override));
    MOCK_METHOD(::android::hardware::Return<int32_t>, checkRequestingAppType, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, showLivenessAlert, (), (override));
    MOCK_METHOD(::android::hardware::Return<void>, resetLivenessAlert, (), (override));
};

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
