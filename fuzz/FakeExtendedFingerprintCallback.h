// An IZuvExtendedFingerprintCallback that accepts every report and does
// nothing, for the fuzzers. Tests use the package's mocks and default
// implementations.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

namespace zuv_test {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;

struct FakeExtendedFingerprintCallback : fp::IZuvExtendedFingerprintCallback {
    Return<void> onMatch(int32_t, const hidl_string&, uint64_t, const hidl_vec<uint8_t>&,
                         const hidl_vec<uint8_t>&) override {
        return Void();
    }
    Return<void> onError(int32_t) override { return Void(); }
    Return<void> onStatus(int32_t, const hidl_vec<uint8_t>&) override { return Void(); }
    Return<void> onEnroll(const hidl_string&, int32_t, int32_t) override { return Void(); }
    Return<void> onRemove(const hidl_string&, int32_t) override { return Void(); }
    Return<void> onEnumerate(const hidl_string&, int32_t, int32_t) override { return Void(); }
    Return<void> onRemoveUser(const hidl_string&) override { return Void(); }
    Return<void> onCaptureDebugData(const hidl_vec<fp::CaptureDebugData>&) override {
        return Void();
    }
    Return<void> onCapture(uint32_t, uint32_t, const hidl_vec<uint8_t>&) override { return Void(); }
};

}  // namespace zuv_test
