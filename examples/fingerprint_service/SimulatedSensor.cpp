#include "SimulatedSensor.h"

#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>
#include <hidl_host/SocketTransport.h>
#include <hwbinder/IPCThreadState.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace zuv_demo {

using ::android::hardware::Void;

namespace {

void say(const char* format, ...) __attribute__((format(printf, 1, 2)));
void say(const char* format, ...) {
    std::printf("service: ");
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::printf("\n");
    std::fflush(stdout);
}

// A callback whose client has gone away must not take the service down.
void check(const Return<void>& ret, const char* what) {
    if (!ret.isOk()) say("%s not delivered: %s", what, ret.description().c_str());
}

}  // namespace

SimulatedSensor::SimulatedSensor()
    : mConfig{{"sensor.model", "zuv-sim-1"}, {"match.threshold", "42"}, {"led.color", "green"}},
      mEnrollments{"finger-1", "finger-2"} {}

SimulatedSensor::~SimulatedSensor() = default;

int32_t SimulatedSensor::post(const sp<fp::IZuvExtendedFingerprintCallback>& callback,
                              const char* operation, size_t bytes, std::function<void()> report) {
    const ::android::status_t err = mReports.post(callback, std::move(report), bytes);
    if (err == ::android::OK) return 0;
    // At most a line a second: a client asking on regardless must not fill
    // the log.
    const auto now = std::chrono::steady_clock::now();
    size_t unsaid = 0;
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (now - mLastRefusalSaid < std::chrono::seconds(1)) {
            ++mRefusalsUnsaid;
            return kReportQueueFull;
        }
        mLastRefusalSaid = now;
        unsaid = mRefusalsUnsaid;
        mRefusalsUnsaid = 0;
    }
    const auto& limits = mReports.limits();
    say("%s from pid %d refused (%d): its callback's report queue is full (%zu reports, %zu "
        "KiB); the client must return from its callbacks before it asks for more (%zu "
        "refusals not shown)",
        operation, ::android::hardware::IPCThreadState::self()->getCallingPid(), kReportQueueFull,
        limits.maxCalls, limits.maxBytes / 1024, unsaid);
    return kReportQueueFull;
}

Return<void> SimulatedSensor::setConfigValue(const hidl_string& key, const hidl_string& value) {
    std::lock_guard<std::mutex> lock(mLock);
    mConfig[key] = value;
    say("config %s = %s", key.c_str(), value.c_str());
    return Void();
}

Return<void> SimulatedSensor::getConfigValue(const hidl_string& key, getConfigValue_cb _hidl_cb) {
    std::string value;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mConfig.find(key);
        if (it != mConfig.end()) value = it->second;
    }
    _hidl_cb(value);
    return Void();
}

Return<void> SimulatedSensor::enumEnrollments(enumEnrollments_cb _hidl_cb) {
    std::vector<hidl_string> names;
    {
        std::lock_guard<std::mutex> lock(mLock);
        for (const auto& name : mEnrollments) names.emplace_back(name);
    }
    _hidl_cb(hidl_vec<hidl_string>(names));
    return Void();
}

Return<void> SimulatedSensor::getEnrollRecord(const hidl_string& key, getEnrollRecord_cb _hidl_cb) {
    fp::EnrollRecord record;
    bool known = false;
    {
        std::lock_guard<std::mutex> lock(mLock);
        for (const auto& name : mEnrollments) known = known || name == key.c_str();
    }
    record.head[0] = known ? 1 : 0;
    record.text = known ? key : hidl_string("");
    if (known) record.texts = std::vector<hidl_string>{"template-a", "template-b"};
    _hidl_cb(record);
    return Void();
}

Return<int32_t> SimulatedSensor::match(const sp<fp::IZuvExtendedFingerprintCallback>& callback,
                                       int32_t userId, const hidl_string& finger,
                                       const hidl_vec<uint8_t>& image,
                                       const hidl_string& /*strArg2*/, int32_t /*intArg2*/) {
    if (callback == nullptr) return -1;
    bool known = false;
    sp<fp::IDaxAndroidServices> framework;
    {
        std::lock_guard<std::mutex> lock(mLock);
        for (const auto& name : mEnrollments) known = known || name == finger.c_str();
        mCancelled = false;
        framework = mFramework;
    }
    say("match %s for user %d (%zu image bytes) -> %s", finger.c_str(), userId, image.size(),
        known ? "matched" : "no match");
    std::string name = finger;
    std::vector<uint8_t> data(image.begin(), image.end());
    const size_t bytes = data.size() + name.size();
    return post(callback, "match", bytes, [this, callback, framework, known, name, data] {
        // Holding a wake lock while reading the finger, as a device would.
        if (framework != nullptr) check(framework->setWakelock(1, 0), "setWakelock");
        {
            std::lock_guard<std::mutex> lock(mLock);
            if (mCancelled) {
                check(callback->onError(5 /* cancelled */), "onError");
                return;
            }
            if (known) mLastMatch = name;
        }
        check(callback->onStatus(1 /* finger down */, {}), "onStatus");
        const uint64_t score = known ? 97 : 12;
        check(callback->onMatch(known ? kMatched : kNoMatch, name, score, data, {}), "onMatch");
        if (framework != nullptr) check(framework->setWakelock(0, 0), "setWakelock");
    });
}

Return<int32_t> SimulatedSensor::cancel() {
    std::lock_guard<std::mutex> lock(mLock);
    mCancelled = true;
    return 0;
}

Return<int32_t> SimulatedSensor::startCapture(
        const sp<fp::IZuvExtendedFingerprintCallback>& callback, int32_t value) {
    if (callback == nullptr) return -1;
    say("capture requested (mode %d)", value);
    constexpr uint32_t kWidth = 8, kHeight = 8;
    return post(callback, "startCapture", kWidth * kHeight, [callback] {
        std::vector<uint8_t> frame(kWidth * kHeight);
        for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(i * 3);
        check(callback->onCapture(kWidth, kHeight, frame), "onCapture");
    });
}

Return<int32_t> SimulatedSensor::retrieveDebugData(
        const sp<fp::IZuvExtendedFingerprintCallback>& callback) {
    if (callback == nullptr) return -1;
    std::string last;
    {
        std::lock_guard<std::mutex> lock(mLock);
        last = mLastMatch;
    }
    return post(callback, "retrieveDebugData", last.size(), [callback, last] {
        fp::CaptureDebugData entry;
        entry.text = "last match: " + (last.empty() ? std::string("none") : last);
        entry.bytes = std::vector<uint8_t>{0xde, 0xbf};
        check(callback->onCaptureDebugData(std::vector<fp::CaptureDebugData>{entry}),
              "onCaptureDebugData");
    });
}

Return<int32_t> SimulatedSensor::registerAndroidServices(
        const sp<fp::IDaxAndroidServices>& services) {
    if (services == nullptr) return -1;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mFramework = services;
    }
    // Asked while the framework waits in this call: its process serves us
    // meanwhile.
    Return<int32_t> appType = services->checkRequestingAppType();
    if (!appType.isOk()) {
        say("framework services unreachable: %s", appType.description().c_str());
        return -1;
    }
    const int32_t type = appType;
    Return<void> timer = services->setTimer(500);
    check(timer, "setTimer");
    say("framework services registered; requesting app type %d; timer set to 500 ms", type);
    return type;
}

Return<int32_t> SimulatedSensor::notifyAlarm() {
    sp<fp::IDaxAndroidServices> framework;
    {
        std::lock_guard<std::mutex> lock(mLock);
        framework = mFramework;
    }
    if (framework == nullptr) return -1;
    check(framework->showLivenessAlert(), "showLivenessAlert");
    return 0;
}

Return<void> SimulatedSensor::getFrameworkInfo(getFrameworkInfo_cb _hidl_cb) {
    fp::FrameworkInfo info;
    info.head[0] = 1;
    info.words = std::vector<int32_t>{1, 0, 3};
    info.text = "zuv simulated sensor 1.0.3";
    _hidl_cb(info);
    return Void();
}

Return<int32_t> SimulatedSensor::isFingerprintEnabled() {
    return 1;
}

Return<int32_t> SimulatedSensor::setLivenessEnabled(const hidl_vec<uint8_t>& /*data*/,
                                                    uint8_t enabled) {
    std::lock_guard<std::mutex> lock(mLock);
    mLiveness = enabled != 0;
    return 0;
}

Return<uint8_t> SimulatedSensor::getLivenessEnabled(const hidl_vec<uint8_t>& /*data*/) {
    std::lock_guard<std::mutex> lock(mLock);
    return mLiveness ? 1 : 0;
}

Return<int8_t> SimulatedSensor::isIvvEnabled() {
    std::lock_guard<std::mutex> lock(mLock);
    return mIvv ? 1 : 0;
}

Return<int32_t> SimulatedSensor::enableIvv() {
    std::lock_guard<std::mutex> lock(mLock);
    mIvv = true;
    return 0;
}

Return<int32_t> SimulatedSensor::disableIvv() {
    std::lock_guard<std::mutex> lock(mLock);
    mIvv = false;
    return 0;
}

Return<void> SimulatedSensor::processRequest(const hidl_vec<uint8_t>& data,
                                             processRequest_cb _hidl_cb) {
    // An echo with the bytes reversed: enough to see the payload travel.
    std::vector<uint8_t> response(data.begin(), data.end());
    std::reverse(response.begin(), response.end());
    _hidl_cb(response);
    return Void();
}

Return<int32_t> SimulatedSensor::notifyPowerState(int32_t value) {
    say("power state %d", value);
    return 0;
}

// Ends a test session: returns once every pending report to the caller's
// callbacks has reached it (or failed), so a client may exit right after
// without cutting one off. Other clients' reports are not waited for.
Return<int32_t> SimulatedSensor::testDeinit() {
    pid_t caller = ::android::hardware::IPCThreadState::self()->getCallingPid();
    if (caller == getpid()) caller = 0;  // its objects are local, pid 0 below
    mReports.waitIdle([caller](const ::android::hardware::host::CallQueueSet::Object& object) {
        return ::android::hardware::host::socketBinderPid(
                       ::android::hardware::getOrCreateCachedBinder(object.get())) == caller;
    });
    return 0;
}
Return<void> SimulatedSensor::readInfo(readInfo_cb _hidl_cb) {
    fp::ReadInfoResult info;
    info.bytes1 = std::vector<uint8_t>{1, 2, 3};
    info.bytes2 = std::vector<uint8_t>{4};
    info.bytes3 = std::vector<uint8_t>{5, 6};
    _hidl_cb(info);
    return Void();
}
Return<void> SimulatedSensor::calibrationGet(const hidl_string& key, calibrationGet_cb _hidl_cb) {
    std::string value;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mCalibration.find(key);
        if (it != mCalibration.end()) value = it->second;
    }
    _hidl_cb(value);
    return Void();
}
Return<void> SimulatedSensor::calibrationSet(const hidl_string& key, const hidl_string& value) {
    std::lock_guard<std::mutex> lock(mLock);
    mCalibration[key] = value;
    return Void();
}

}  // namespace zuv_demo
