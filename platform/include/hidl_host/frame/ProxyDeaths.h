// The death-recipient bookkeeping every proxy keeps: the wrapper stays in the
// list even when the remote link fails; unlinking removes the most recent
// registration of the recipient; the last strong reference drops them all.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hwbinder/IBinder.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <mutex>
#include <vector>

namespace android {
namespace hardware {
namespace frame {

using DeathRecipients = std::vector<sp<hidl_binder_death_recipient>>;

bool linkProxyToDeath(::android::hidl::base::V1_0::IBase* proxy, IBinder* remote,
                      const sp<hidl_death_recipient>& recipient, uint64_t cookie, std::mutex* lock,
                      DeathRecipients* recipients);
bool unlinkProxyFromDeath(IBinder* remote, const sp<hidl_death_recipient>& recipient,
                          std::mutex* lock, DeathRecipients* recipients);
void dropDeathRecipients(std::mutex* lock, DeathRecipients* recipients);

}  // namespace frame
}  // namespace hardware
}  // namespace android
