// The example service's implementation, fuzzed as its author would: typed
// calls through its stub, a fresh object per input.
#include <hidl_host/FuzzService.h>

#include "SimulatedSensor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return android::hardware::host::fuzzService(new zuv_demo::SimulatedSensor, data, size);
}
