// An IDaxAndroidServices that accepts every request and reports app type 0,
// for the fuzzers. Tests use the package's mocks and default implementations.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>

namespace zuv_test {

using ::android::hardware::Return;
using ::android::hardware::Void;

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

struct FakeDaxAndroidServices : fp::IDaxAndroidServices {
    Return<void> setTimer(uint32_t) override { return Void(); }
    Return<void> setWakelock(int8_t, int8_t) override { return Void(); }
    Return<int32_t> checkRequestingAppType() override { return 0; }
    Return<void> showLivenessAlert() override { return Void(); }
    Return<void> resetLivenessAlert() override { return Void(); }
};

}  // namespace zuv_test
