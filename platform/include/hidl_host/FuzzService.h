// Host-only: fuzzing a service implementation through its real stub. Link
// ZuvFingerprint::fuzz (pkg-config: zuv-fuzz) into a libFuzzer target:
//
//   #include <hidl_host/FuzzService.h>
//   #include "MySensor.h"
//   extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
//       return android::hardware::host::fuzzService(new MySensor, data, size);
//   }
//
// Each input becomes at most 16 calls, to any operation of the package's
// interfaces the object implements, with typed arguments, made through a
// proxy and the object's stub over the loopback transport. Callback and
// framework-services objects are the fuzzer's own; they answer, answer late,
// fail or die as the input says.
//
// A crash, a sanitizer report, a result callback called other than once, a
// reply that does not decode, a call that does not return within
// ZUV_FUZZ_CALL_TIMEOUT_MS (default 1000) and a oneway call served out of
// order end the process with a report on stderr naming every call made, as
// `zuv_hidl call` lines, and a recording `zuv_hidl replay` and `mock` take:
// in ZUV_FUZZ_RECORDING, else beside libFuzzer's crash file as
// <artifact_prefix>crash-<sha1>.jsonl.
//
// A fresh object per input keeps a crash reproducible from its input alone;
// one kept across inputs carries state the report cannot name.
#pragma once

#include <android/hidl/base/1.0/IBase.h>

#include <cstddef>
#include <cstdint>

namespace android {
namespace hardware {
namespace host {

// Always 0, as libFuzzer expects; a fault ends the process.
int fuzzService(const ::android::sp<::android::hidl::base::V1_0::IBase>& service,
                const uint8_t* data, size_t size);

}  // namespace host
}  // namespace hardware
}  // namespace android
