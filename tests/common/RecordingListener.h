// A registration listener that records what it is told, for the registry
// tests in one process.
#pragma once

#include <android/hidl/manager/1.0/IServiceNotification.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "TestNames.h"

namespace zuv_test {

using Registration = std::tuple<std::string, std::string, bool>;  // fqName, name, preexisting

class RecordingListener : public ::android::hidl::manager::V1_0::IServiceNotification {
  public:
    Return<void> onRegistration(const hidl_string& fqName, const hidl_string& name,
                                bool preexisting) override {
        if (onEvent) onEvent();
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.emplace_back(fqName, name, preexisting);
        mChanged.notify_all();
        return Void();
    }
    // Notifications run on the registry's own threads: waits up to two
    // seconds for count of them, then answers all so far.
    std::vector<Registration> events(size_t count = 0) {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait_for(lock, 2s, [&] { return mEvents.size() >= count; });
        return mEvents;
    }
    std::function<void()> onEvent;  // called before the event is recorded

  private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<Registration> mEvents;
};

}  // namespace zuv_test
