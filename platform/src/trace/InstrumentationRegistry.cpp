#include <hidl/HidlInstrumentor.h>
#include <hidl_host/Instrumentation.h>
#include <hidl_host/Log.h>
#include <hidl_host/Settings.h>
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include "trace/TraceRecorder.h"

namespace android {
namespace hardware {

namespace {

bool envSaysEnabled() {
    return host::settingFlag(host::kInstrumentationEnvVar, false);
}

struct Registry {
    // A trace asked for by the environment must be in place before the
    // first object copies the callbacks.
    Registry() {
        if (tracing::claimInstallFromEnvironment()) {
            enabled = true;
            callbacks.emplace_back(nextId++, tracing::recorderCallback());
        }
    }

    std::mutex lock;
    bool enabled = envSaysEnabled();
    host::InstrumentationCallbackId nextId = 1;
    std::vector<std::pair<host::InstrumentationCallbackId, details::InstrumentationCallback>>
            callbacks;
};

Registry& registry() {
    // Never destroyed: instrumentors in static objects may outlive main.
    static Registry* const instance = new Registry();
    return *instance;
}

}  // namespace

namespace host {

InstrumentationCallbackId addInstrumentationCallback(details::InstrumentationCallback callback) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.lock);
    const InstrumentationCallbackId id = r.nextId++;
    r.callbacks.emplace_back(id, std::move(callback));
    return id;
}

bool removeInstrumentationCallback(InstrumentationCallbackId id) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.lock);
    for (auto it = r.callbacks.begin(); it != r.callbacks.end(); ++it) {
        if (it->first == id) {
            r.callbacks.erase(it);
            return true;
        }
    }
    return false;
}

void clearInstrumentationCallbacks() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.lock);
    r.callbacks.clear();
}

void setInstrumentationEnabled(bool enabled) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.lock);
    r.enabled = enabled;
}

bool isInstrumentationEnabled() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.lock);
    return r.enabled;
}

}  // namespace host

namespace details {

HidlInstrumentor::HidlInstrumentor(const std::string& package, const std::string& insterface)
    : mEnableInstrumentation(false),
      mInstrumentationPackage(package),
      mInstrumentationInterface(insterface) {
    configureInstrumentation(false);
}

HidlInstrumentor::~HidlInstrumentor() = default;

void HidlInstrumentor::configureInstrumentation(bool log) {
    Registry& r = registry();
    bool enabled;
    std::vector<InstrumentationCallback> callbacks;
    {
        std::lock_guard<std::mutex> lock(r.lock);
        enabled = r.enabled;
        if (enabled) {
            callbacks.reserve(r.callbacks.size());
            for (const auto& entry : r.callbacks) {
                callbacks.push_back(entry.second);
            }
        }
    }
    mEnableInstrumentation = enabled;
    mInstrumentationCallbacks = std::move(callbacks);
    if (log) {
        host::logf(host::LogLevel::Info, "instrumentation of %s::%s %s (%zu callbacks)\n",
                   mInstrumentationPackage.c_str(), mInstrumentationInterface.c_str(),
                   enabled ? "enabled" : "disabled", mInstrumentationCallbacks.size());
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
