// fingerprint_client: finds the fingerprint service through the service
// manager and exercises it the way the framework side would: configuration,
// enrollments, the framework-services object, matching and capture with a
// callback object. Exits 0 when every step gave the expected answer.
//
//   fingerprint_client [--instance NAME] [--runtime-dir DIR]
#include <hidl/HidlTransportSupport.h>
#include <hidl/Status.h>
#include <hidl_host/ServiceRegistry.h>
#include <hidl_host/SocketTransport.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace fp = ::vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using namespace std::chrono_literals;

namespace {

int gFailures = 0;

void expect(bool ok, const std::string& what, const std::string& why = "") {
    std::printf("client: %-58s %s%s\n", what.c_str(), ok ? "ok" : "FAILED",
                why.empty() ? "" : (" (" + why + ")").c_str());
    std::fflush(stdout);
    if (!ok) ++gFailures;
}

// A step that is a call: it passes when the call went through and `right`
// holds; a failed call says how it failed.
template <typename T>
void expectCall(const Return<T>& ret, bool right, const std::string& what) {
    const bool ok = ret.isOk();
    expect(ok && right, what, ok ? "" : ret.description());
}

// What the service reports later, on its own thread, waited for with a
// deadline instead of a sleep.
class Mailbox {
  public:
    void put(const std::string& event) {
        std::lock_guard<std::mutex> lock(mLock);
        mEvents.push_back(event);
        mChanged.notify_all();
    }
    // Nothing more will come: waits end at once.
    void serviceDied() {
        std::lock_guard<std::mutex> lock(mLock);
        mDied = true;
        mChanged.notify_all();
    }
    // The first event starting with prefix, or "" after the deadline or once
    // the service has died.
    std::string take(const std::string& prefix, std::chrono::milliseconds timeout = 10s) {
        std::unique_lock<std::mutex> lock(mLock);
        std::string found;
        mChanged.wait_for(lock, timeout, [&] {
            if (mDied) return true;
            for (auto it = mEvents.begin(); it != mEvents.end(); ++it) {
                if (it->compare(0, prefix.size(), prefix) == 0) {
                    found = *it;
                    mEvents.erase(it);
                    return true;
                }
            }
            return false;
        });
        return found;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    std::vector<std::string> mEvents;
    bool mDied = false;
};

class ServiceDeath : public ::android::hardware::hidl_death_recipient {
  public:
    explicit ServiceDeath(Mailbox* box) : mBox(box) {}
    void serviceDied(uint64_t, const ::android::wp<::android::hidl::base::V1_0::IBase>&) override {
        std::printf("client: the service died\n");
        std::fflush(stdout);
        mBox->serviceDied();
    }

  private:
    Mailbox* mBox;
};

class MatchCallback : public fp::IZuvExtendedFingerprintCallback {
  public:
    explicit MatchCallback(Mailbox* box) : mBox(box) {}
    Return<void> onMatch(int32_t result, const hidl_string& finger, uint64_t score,
                         const hidl_vec<uint8_t>& data, const hidl_vec<uint8_t>&) override {
        mBox->put("match " + std::string(finger) + " result=" + std::to_string(result) +
                  " score=" + std::to_string(score) + " bytes=" + std::to_string(data.size()));
        return Void();
    }
    Return<void> onError(int32_t value) override {
        mBox->put("error " + std::to_string(value));
        return Void();
    }
    Return<void> onStatus(int32_t value, const hidl_vec<uint8_t>&) override {
        mBox->put("status " + std::to_string(value));
        return Void();
    }
    Return<void> onEnroll(const hidl_string&, int32_t, int32_t) override { return Void(); }
    Return<void> onRemove(const hidl_string&, int32_t) override { return Void(); }
    Return<void> onEnumerate(const hidl_string&, int32_t, int32_t) override { return Void(); }
    Return<void> onRemoveUser(const hidl_string&) override { return Void(); }
    Return<void> onCaptureDebugData(const hidl_vec<fp::CaptureDebugData>& entries) override {
        mBox->put("debug " + (entries.size() > 0 ? std::string(entries[0].text) : ""));
        return Void();
    }
    Return<void> onCapture(uint32_t width, uint32_t height,
                           const hidl_vec<uint8_t>& frame) override {
        mBox->put("capture " + std::to_string(width) + "x" + std::to_string(height) + " " +
                  std::to_string(frame.size()) + " bytes");
        return Void();
    }

  private:
    Mailbox* mBox;
};

// The framework side's services, as the system server would offer them.
class FrameworkServices : public fp::IDaxAndroidServices {
  public:
    explicit FrameworkServices(Mailbox* box) : mBox(box) {}
    Return<void> setTimer(uint32_t ms) override {
        mBox->put("timer " + std::to_string(ms));
        return Void();
    }
    Return<void> setWakelock(int8_t acquire, int8_t) override {
        mBox->put(std::string("wakelock ") + (acquire ? "acquired" : "released"));
        return Void();
    }
    Return<int32_t> checkRequestingAppType() override { return kAppType; }
    Return<void> showLivenessAlert() override {
        mBox->put("liveness alert");
        return Void();
    }
    Return<void> resetLivenessAlert() override { return Void(); }

    static constexpr int32_t kAppType = 3;

  private:
    Mailbox* mBox;
};

}  // namespace

int main(int argc, char** argv) {
    std::string instance = "default";
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--instance" && i + 1 < argc) {
            instance = argv[++i];
        } else if (arg == "--runtime-dir" && i + 1 < argc) {
            setenv(::android::hardware::host::kRuntimeDirEnvVar, argv[++i], 1);
        } else {
            std::fprintf(stderr, "usage: %s [--instance NAME] [--runtime-dir DIR]\n", argv[0]);
            return 2;
        }
    }
    setenv(::android::hardware::host::kServiceManagerEnvVar, "daemon", 0);
    // The service calls back into this process: the callback and the
    // framework-services object are served by these threads.
    ::android::hardware::configureRpcThreadpool(2, false);

    sp<fp::IZuvExtendedFingerprint> service = fp::IZuvExtendedFingerprint::getService(instance);
    if (service == nullptr) {
        std::fprintf(stderr, "client: no %s/%s\n", fp::IZuvExtendedFingerprint::descriptor,
                     instance.c_str());
        return 1;
    }
    expect(service->isRemote(), "found the service in another process");
    // Reports from a dead service will not come: the steps waiting for them
    // fail at once instead of at their deadline.
    Mailbox box;
    sp<ServiceDeath> death = new ServiceDeath(&box);
    (void)service->linkToDeath(death, 0).isOk();

    Return<int32_t> enabled = service->isFingerprintEnabled();
    expectCall(enabled, enabled.isOk() && static_cast<int32_t>(enabled) == 1,
               "isFingerprintEnabled() = 1");

    std::string text;
    std::vector<int32_t> words;
    Return<void> ret = service->getFrameworkInfo([&](const fp::FrameworkInfo& info) {
        text = info.text;
        words.assign(info.words.begin(), info.words.end());
    });
    expectCall(ret, words.size() == 3, "getFrameworkInfo() = \"" + text + "\"");

    std::string model;
    ret = service->getConfigValue("sensor.model", [&](const hidl_string& v) { model = v; });
    expectCall(ret, model == "zuv-sim-1", "getConfigValue(sensor.model) = " + model);
    expectCall(service->setConfigValue("match.threshold", "50"), true,
               "setConfigValue(match.threshold, 50)");
    std::string threshold;
    ret = service->getConfigValue("match.threshold", [&](const hidl_string& v) { threshold = v; });
    expectCall(ret, threshold == "50", "getConfigValue(match.threshold) = " + threshold);

    std::vector<std::string> fingers;
    ret = service->enumEnrollments([&](const hidl_vec<hidl_string>& names) {
        for (size_t i = 0; i < names.size(); ++i) fingers.emplace_back(names[i]);
    });
    expectCall(ret, fingers.size() == 2,
               "enumEnrollments() = " + std::to_string(fingers.size()) + " fingers");
    size_t templates = 0;
    ret = service->getEnrollRecord(
            "finger-1", [&](const fp::EnrollRecord& record) { templates = record.texts.size(); });
    expectCall(ret, templates == 2, "getEnrollRecord(finger-1): 2 templates");

    std::vector<uint8_t> echoed;
    ret = service->processRequest(std::vector<uint8_t>{1, 2, 3}, [&](const hidl_vec<uint8_t>& r) {
        echoed.assign(r.begin(), r.end());
    });
    expectCall(ret, echoed == std::vector<uint8_t>{3, 2, 1}, "processRequest(1 2 3) = 3 2 1");

    sp<FrameworkServices> framework = new FrameworkServices(&box);
    Return<int32_t> appType = service->registerAndroidServices(framework);
    expectCall(appType,
               appType.isOk() && static_cast<int32_t>(appType) == FrameworkServices::kAppType,
               "registerAndroidServices(): service asked our app type");
    expect(!box.take("timer").empty(), "service set a timer through the framework object");

    sp<MatchCallback> callback = new MatchCallback(&box);
    std::vector<uint8_t> image(256, 0x5a);
    Return<int32_t> started = service->match(callback, 0, "finger-1", image, "", 0);
    expectCall(started, started.isOk() && static_cast<int32_t>(started) == 0,
               "match(finger-1) accepted");
    expect(!box.take("wakelock acquired").empty(), "service took a wake lock");
    std::string matched = box.take("match finger-1");
    expect(matched.find("result=0") != std::string::npos, "onMatch: " + matched);

    started = service->match(callback, 0, "finger-9", image, "", 0);
    std::string rejected = box.take("match finger-9");
    expectCall(started, rejected.find("result=1") != std::string::npos, "onMatch: " + rejected);

    started = service->startCapture(callback, 1);
    std::string captured = box.take("capture");
    expectCall(started, captured == "capture 8x8 64 bytes", "onCapture: " + captured);

    started = service->retrieveDebugData(callback);
    std::string debug = box.take("debug");
    expectCall(started, debug == "debug last match: finger-1", "onCaptureDebugData: " + debug);

    // Every report the service still owes us has arrived once this returns.
    Return<int32_t> ended = service->testDeinit();
    expectCall(ended, ended.isOk() && static_cast<int32_t>(ended) == 0,
               "testDeinit(): reports drained");

    if (gFailures != 0) {
        std::printf("client: %d step(s) failed\n", gFailures);
        return 1;
    }
    std::printf("client: all steps passed\n");
    return 0;
}
