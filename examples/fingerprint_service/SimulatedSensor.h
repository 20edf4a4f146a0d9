// A fingerprint service without hardware: configuration values, a few
// enrolled fingers, and a matcher that reports through the client's callback
// object from a worker thread, as a real sensor reports after the finger
// has been read. Each callback object has its own bounded report queue
// (hidl_host/CallQueue.h): a client that does not take its reports delays
// only itself, and once its queue is full the operation that would add a
// report answers kReportQueueFull.
#pragma once

#include <hidl_host/CallQueue.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zuv_demo {

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

// Results reported through onMatch's first argument.
constexpr int32_t kMatched = 0;
constexpr int32_t kNoMatch = 1;
// What match, startCapture and retrieveDebugData answer when the callback's
// report queue is full.
constexpr int32_t kReportQueueFull = -ENOBUFS;

class SimulatedSensor : public fp::IZuvExtendedFingerprintDefault {
  public:
    SimulatedSensor();
    ~SimulatedSensor() override;

    // Operations with behaviour.
    Return<void> setConfigValue(const hidl_string& key, const hidl_string& value) override;
    Return<void> getConfigValue(const hidl_string& key, getConfigValue_cb _hidl_cb) override;
    Return<void> enumEnrollments(enumEnrollments_cb _hidl_cb) override;
    Return<void> getEnrollRecord(const hidl_string& key, getEnrollRecord_cb _hidl_cb) override;
    Return<int32_t> match(const sp<fp::IZuvExtendedFingerprintCallback>& callback, int32_t userId,
                          const hidl_string& finger, const hidl_vec<uint8_t>& image,
                          const hidl_string& strArg2, int32_t intArg2) override;
    Return<int32_t> cancel() override;
    Return<int32_t> startCapture(const sp<fp::IZuvExtendedFingerprintCallback>& callback,
                                 int32_t value) override;
    Return<int32_t> retrieveDebugData(
            const sp<fp::IZuvExtendedFingerprintCallback>& callback) override;
    Return<int32_t> registerAndroidServices(const sp<fp::IDaxAndroidServices>& services) override;
    Return<int32_t> notifyAlarm() override;
    Return<void> getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) override;
    Return<int32_t> isFingerprintEnabled() override;
    Return<int32_t> setLivenessEnabled(const hidl_vec<uint8_t>& data, uint8_t enabled) override;
    Return<uint8_t> getLivenessEnabled(const hidl_vec<uint8_t>& data) override;
    Return<int8_t> isIvvEnabled() override;
    Return<int32_t> enableIvv() override;
    Return<int32_t> disableIvv() override;
    Return<void> processRequest(const hidl_vec<uint8_t>& data, processRequest_cb _hidl_cb) override;
    Return<int32_t> notifyPowerState(int32_t value) override;

    // Factory tests with state or records to show; every other operation is
    // the default's zero or empty answer.
    Return<int32_t> testDeinit() override;
    Return<void> readInfo(readInfo_cb _hidl_cb) override;
    Return<void> calibrationGet(const hidl_string& key, calibrationGet_cb _hidl_cb) override;
    Return<void> calibrationSet(const hidl_string& key, const hidl_string& value) override;

  private:
    // Queues a report to callback, run after the call that asked for it has
    // returned; 0, or kReportQueueFull (said on stdout) when refused.
    int32_t post(const sp<fp::IZuvExtendedFingerprintCallback>& callback, const char* operation,
                 size_t bytes, std::function<void()> report);

    std::mutex mLock;
    std::map<std::string, std::string> mConfig;
    std::map<std::string, std::string> mCalibration;
    std::vector<std::string> mEnrollments;
    sp<fp::IDaxAndroidServices> mFramework;
    bool mLiveness = false;
    bool mIvv = false;
    bool mCancelled = false;
    std::string mLastMatch;
    std::chrono::steady_clock::time_point mLastRefusalSaid{};
    size_t mRefusalsUnsaid = 0;

    // Last member: destroyed first, while the reports may still use the rest.
    ::android::hardware::host::CallQueueSet mReports;
};

}  // namespace zuv_demo
