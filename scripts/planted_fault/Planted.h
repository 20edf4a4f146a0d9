// An implementation with a fault only one typed two-call sequence reaches:
// setConfigValue("match.threshold", "7"), then processRequest with a vector
// of 3 bytes reads past its copy.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

#include <string>
#include <vector>

using namespace vendor::zuv::hardware::fingerprint::V1_0;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

struct Planted : IZuvExtendedFingerprintDefault {
    bool armed = false;
    Return<void> setConfigValue(const hidl_string& key, const hidl_string& value) override {
        armed = std::string(key) == "match.threshold" && std::string(value) == "7";
        return Void();
    }
    Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb cb) override {
        std::vector<uint8_t> copy(data.begin(), data.end());
        uint8_t sum = 0;
        if (armed && copy.size() == 3)
            for (size_t i = 0; i <= 8; ++i) sum += copy.data()[i];  // the fault
        cb(hidl_vec<uint8_t>{sum});
        return Void();
    }
};
