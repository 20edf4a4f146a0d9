// Instrumentation events of calls: every registered callback, in
// registration order, gets the event, the interface's package names, the method and
// the addresses of the arguments or results.
#pragma once

#include <hidl/HidlInstrumentor.h>

#include <vector>

namespace android {
namespace hardware {
namespace frame {

using ::android::hardware::details::HidlInstrumentor;
using ::android::hardware::details::InstrumentationCallback;
using ::android::hardware::details::InstrumentationEvent;
using InstrumentationCallbacks = std::vector<InstrumentationCallback>;

// What a call reports to: taken once at the start of the call, so the flag
// governs both events of that call. The callback list is copied only when
// instrumentation is on, so a concurrent reconfiguration cannot pull it away
// mid-call and the common path costs nothing.
class CallInstrumentation {
  public:
    explicit CallInstrumentation(const HidlInstrumentor* instrumentor)
        : mEnabled(instrumentor->isInstrumentationEnabled()) {
        if (mEnabled) mCallbacks = instrumentor->getInstrumentationCallbacks();
    }

    CallInstrumentation(bool enabled, InstrumentationCallbacks callbacks)
        : mEnabled(enabled), mCallbacks(std::move(callbacks)) {}

    bool enabled() const { return mEnabled; }
    const InstrumentationCallbacks& callbacks() const { return mCallbacks; }

    // Reports event with the addresses of values, in order, under the names
    // of the interface Info describes.
    template <typename Info, typename... Values>
    void report(InstrumentationEvent event, const char* method, const Values&... values) const {
        reportAs(event, Info::kPackage, Info::kVersion, Info::kShortName, method, values...);
    }

    // The same under another package's names: a wrapper reports the base
    // operations it forwards as the base interface's.
    template <typename... Values>
    void reportAs(InstrumentationEvent event, const char* package, const char* version,
                  const char* interfaceName, const char* method, const Values&... values) const {
        if (!mEnabled) return;
        std::vector<void*> args{const_cast<void*>(static_cast<const void*>(&values))...};
        for (const auto& callback : mCallbacks) {
            if (callback) callback(event, package, version, interfaceName, method, &args);
        }
    }

  private:
    bool mEnabled;
    InstrumentationCallbacks mCallbacks;
};

}  // namespace frame
}  // namespace hardware
}  // namespace android
