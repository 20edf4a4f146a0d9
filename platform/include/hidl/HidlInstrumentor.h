// Instrumentation of hardware-interface calls: every proxy, stub and
// passthrough wrapper holds an enable flag and an ordered list of callbacks
// that it calls at the entry and exit of each operation.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace android {
namespace hardware {
namespace details {

enum InstrumentationEvent {
    SERVER_API_ENTRY = 0,
    SERVER_API_EXIT = 1,
    CLIENT_API_ENTRY = 2,
    CLIENT_API_EXIT = 3,
    SYNC_CALLBACK_ENTRY = 4,
    SYNC_CALLBACK_EXIT = 5,
    ASYNC_CALLBACK_ENTRY = 6,
    ASYNC_CALLBACK_EXIT = 7,
    PASSTHROUGH_ENTRY = 8,
    PASSTHROUGH_EXIT = 9,
};

// args holds the addresses of the operation's arguments (entry events) or
// results (exit events), valid only during the call.
using InstrumentationCallback = std::function<void(
        const InstrumentationEvent event, const char* package, const char* version,
        const char* interface, const char* method, std::vector<void*>* args)>;

class HidlInstrumentor {
  public:
    // package is "<name>@<version>"; insterface the interface's short name.
    // Configures itself once from the process-wide settings (see
    // hidl_host/Instrumentation.h).
    HidlInstrumentor(const std::string& package, const std::string& insterface);
    virtual ~HidlInstrumentor();

    // Re-reads the process-wide settings: when instrumentation is enabled,
    // the flag is set and the list becomes a copy of the registered callbacks
    // in registration order; otherwise the flag is cleared and the list
    // emptied. log reports the outcome on stderr.
    void configureInstrumentation(bool log = true);

    // What proxies, stubs and wrappers read at each call. Not synchronised
    // with configureInstrumentation, as on the platform: configure before
    // the object is shared between threads.
    bool isInstrumentationEnabled() const { return mEnableInstrumentation; }
    const std::vector<InstrumentationCallback>& getInstrumentationCallbacks() const {
        return mInstrumentationCallbacks;
    }

    const std::string& getInstrumentationPackage() const { return mInstrumentationPackage; }
    const std::string& getInstrumentationInterface() const { return mInstrumentationInterface; }

  protected:
    bool mEnableInstrumentation;
    std::vector<InstrumentationCallback> mInstrumentationCallbacks;

  private:
    const std::string mInstrumentationPackage;
    const std::string mInstrumentationInterface;
};

}  // namespace details
}  // namespace hardware
}  // namespace android
