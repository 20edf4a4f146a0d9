#include <hidl_host/FuzzService.h>
#include "Planted.h"
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return android::hardware::host::fuzzService(new Planted, data, size);
}
