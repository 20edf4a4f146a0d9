// An instrumentation recorder that notes the thread of each event.
#pragma once

#include <hidl_host/Instrumentation.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zuv_test {

namespace host = ::android::hardware::host;

struct RecordedEvent {
    int event;
    std::string where;  // package@version::interface::method
    size_t argCount;
    std::thread::id thread;
    std::vector<std::string> values;  // the arguments as `describe` put them
};

// Records every event while alive. Wrappers read the process settings when
// they are made, so make the recorder first.
class EventRecorder {
  public:
    // `describe` turns an argument of `method` into text while it still exists.
    explicit EventRecorder(
            std::function<std::string(const std::string& method, void* arg)> describe = nullptr) {
        host::setInstrumentationEnabled(true);
        mId = host::addInstrumentationCallback(
                [this, describe](auto event, const char* package, const char* version,
                                 const char* iface, const char* method, std::vector<void*>* args) {
                    std::vector<std::string> values;
                    for (void* arg : *args) {
                        if (describe) values.push_back(describe(method, arg));
                    }
                    std::lock_guard<std::mutex> lock(mMutex);
                    mEvents.push_back(
                            {static_cast<int>(event),
                             std::string(package) + "@" + version + "::" + iface + "::" + method,
                             args->size(), std::this_thread::get_id(), std::move(values)});
                    mChanged.notify_all();
                });
    }
    ~EventRecorder() {
        host::removeInstrumentationCallback(mId);
        host::setInstrumentationEnabled(false);
    }

    std::vector<RecordedEvent> events() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }
    std::vector<int> numbers() const {
        std::vector<int> out;
        for (const auto& e : events()) out.push_back(e.event);
        return out;
    }
    // Waits until `count` events have been recorded.
    bool waitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, std::chrono::seconds(10),
                                 [&] { return mEvents.size() >= count; });
    }

  private:
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<RecordedEvent> mEvents;
    host::InstrumentationCallbackId mId = 0;
};

}  // namespace zuv_test
