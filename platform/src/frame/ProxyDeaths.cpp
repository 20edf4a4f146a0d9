#include <hidl_host/frame/ProxyDeaths.h>
#include <hwbinder/ProcessState.h>

#include <iterator>

namespace android {
namespace hardware {
namespace frame {

bool linkProxyToDeath(::android::hidl::base::V1_0::IBase* proxy, IBinder* remote,
                      const sp<hidl_death_recipient>& recipient, uint64_t cookie, std::mutex* lock,
                      DeathRecipients* recipients) {
    // Death notices arrive on the pool's threads.
    ProcessState::self()->startThreadPool();
    sp<hidl_binder_death_recipient> wrapper =
            new hidl_binder_death_recipient(recipient, cookie, proxy);
    std::lock_guard<std::mutex> guard(*lock);
    recipients->push_back(wrapper);
    return remote->linkToDeath(wrapper, nullptr, 0) == OK;
}

bool unlinkProxyFromDeath(IBinder* remote, const sp<hidl_death_recipient>& recipient,
                          std::mutex* lock, DeathRecipients* recipients) {
    std::lock_guard<std::mutex> guard(*lock);
    for (auto it = recipients->rbegin(); it != recipients->rend(); ++it) {
        if ((*it)->getRecipient() == recipient) {
            status_t status = remote->unlinkToDeath(*it, nullptr, 0, nullptr);
            recipients->erase(std::next(it).base());
            return status == OK;
        }
    }
    return false;
}

void dropDeathRecipients(std::mutex* lock, DeathRecipients* recipients) {
    DeathRecipients dropped;  // released outside the lock
    std::lock_guard<std::mutex> guard(*lock);
    dropped.swap(*recipients);
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
