// The callback object `watch` hands to the service: each call it receives
// becomes one JSON line on stdout, its arguments keyed by parameter name, and
// the main thread is told how many came.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <mutex>

namespace zuv_hidl {

namespace V1_0 = ::vendor::zuv::hardware::fingerprint::V1_0;
using namespace V1_0::describe;  // NOLINT(google-build-using-namespace)
using ::android::hardware::Return;

class Watcher : public V1_0::IZuvExtendedFingerprintCallback {
  public:
    using Clock = std::chrono::steady_clock;
    explicit Watcher(Clock::time_point start) : mStart(start) {}

    // True once `count` calls arrived, false when `until` passed first or
    // `stop` became true.
    bool waitFor(size_t count, Clock::time_point until, const volatile sig_atomic_t* stop) {
        std::unique_lock<std::mutex> lock(mLock);
        while (mCalls < count && !*stop && !mServiceDied) {
            if (mArrived.wait_until(
                        lock, std::min(until, Clock::now() + std::chrono::milliseconds(100))) ==
                        std::cv_status::timeout &&
                Clock::now() >= until)
                break;
        }
        return mCalls >= count;
    }

    // No more calls will come: the waiting ends now.
    void serviceDied() {
        std::lock_guard<std::mutex> lock(mLock);
        mServiceDied = true;
        mArrived.notify_all();
    }
    bool hasServiceDied() {
        std::lock_guard<std::mutex> lock(mLock);
        return mServiceDied;
    }

    Return<void> onMatch(int32_t intArg1, const hidl_string& strArg1, uint64_t value,
                         const hidl_vec<uint8_t>& data, const hidl_vec<uint8_t>& data2) override {
        return emit("onMatch", intArg1, strArg1, value, data, data2);
    }
    Return<void> onError(int32_t value) override { return emit("onError", value); }
    Return<void> onStatus(int32_t value, const hidl_vec<uint8_t>& data) override {
        return emit("onStatus", value, data);
    }
    Return<void> onEnroll(const hidl_string& strArg1, int32_t intArg1, int32_t intArg2) override {
        return emit("onEnroll", strArg1, intArg1, intArg2);
    }
    Return<void> onRemove(const hidl_string& strArg1, int32_t intArg1) override {
        return emit("onRemove", strArg1, intArg1);
    }
    Return<void> onEnumerate(const hidl_string& strArg1, int32_t intArg1,
                             int32_t intArg2) override {
        return emit("onEnumerate", strArg1, intArg1, intArg2);
    }
    Return<void> onRemoveUser(const hidl_string& strArg1) override {
        return emit("onRemoveUser", strArg1);
    }
    Return<void> onCaptureDebugData(const hidl_vec<V1_0::CaptureDebugData>& debugData) override {
        return emit("onCaptureDebugData", debugData);
    }
    Return<void> onCapture(uint32_t uintArg1, uint32_t uintArg2,
                           const hidl_vec<uint8_t>& data) override {
        return emit("onCapture", uintArg1, uintArg2, data);
    }

  private:
    template <typename... Args>
    ::android::hardware::Return<void> emit(const char* call, const Args&... args) {
        static const InterfaceOps& kOps =
                *findInterface(V1_0::IZuvExtendedFingerprintCallback::descriptor);
        const void* const values[] = {&args...};
        const json named = kOps.find(call)->argsToJson(
                values, [](IBase*, const std::string&) { return json(nullptr); });
        json line = {{"call", call},
                     {"args", named},
                     {"t_us",
                      std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - mStart)
                              .count()}};
        std::lock_guard<std::mutex> lock(mLock);
        std::printf("%s\n", line.dump().c_str());
        std::fflush(stdout);
        ++mCalls;
        mArrived.notify_all();
        return ::android::hardware::Void();
    }

    const Clock::time_point mStart;
    std::mutex mLock;
    std::condition_variable mArrived;
    size_t mCalls = 0;
    bool mServiceDied = false;
};

}  // namespace zuv_hidl
