// The binder half of HidlBinderSupport.h and the object settings of
// HidlTransportSupport.h.
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/Static.h>
#include <hwbinder/Binder.h>
#include <hwbinder/IPCThreadState.h>
#include <hwbinder/ProcessState.h>
#include <sched.h>

#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace android {
namespace hardware {

using ::android::hidl::base::V1_0::IBase;

namespace {

// Per-object state kept beside objects that have no room for it. Entries
// are keyed by address and hold the object weakly, so an entry left behind
// by a destroyed object is recognised (the weak reference's identity
// differs) and dropped.
template <typename Value>
class WeakKeyedTable {
  public:
    // The value stored for object, or null.
    Value* find(IBase* object) {
        auto it = mEntries.find(object);
        if (it == mEntries.end()) return nullptr;
        if (!(it->second.owner == wp<IBase>(object))) {
            mEntries.erase(it);
            return nullptr;
        }
        return &it->second.value;
    }

    Value& insert(IBase* object) {
        sweepIfLarge();
        Entry& entry = mEntries[object];
        entry.owner = object;
        entry.value = Value{};
        return entry.value;
    }

  private:
    struct Entry {
        wp<IBase> owner;
        Value value;
    };

    // Forgets entries of destroyed objects: at every insert while the table
    // is small (so a process that makes objects and lets them go frees as
    // much as it allocates each time, as a fuzzer's leak check expects),
    // then once it has doubled. The probes' strong references are released
    // after the scan, outside any iteration.
    void sweepIfLarge() {
        if (mEntries.size() >= kSmall && mEntries.size() < mSweepAt) return;
        std::vector<sp<IBase>> probes;
        for (auto it = mEntries.begin(); it != mEntries.end();) {
            sp<IBase> alive = it->second.owner.promote();
            if (alive == nullptr) {
                it = mEntries.erase(it);
            } else {
                probes.push_back(std::move(alive));
                ++it;
            }
        }
        mSweepAt = 2 * mEntries.size() + kSmall;
    }

    static constexpr size_t kSmall = 64;
    std::unordered_map<const IBase*, Entry> mEntries;
    size_t mSweepAt = kSmall;
};

struct ObjectSettings {
    SchedPrio prio{SCHED_OTHER, 0};
    bool requestingSid = false;
};

std::mutex gSettingsLock;
WeakKeyedTable<ObjectSettings>& settingsTable() {
    static auto* table = new WeakKeyedTable<ObjectSettings>();
    return *table;
}

std::mutex gBinderCacheLock;
WeakKeyedTable<wp<IBinder>>& binderCache() {
    static auto* table = new WeakKeyedTable<wp<IBinder>>();
    return *table;
}

ObjectSettings& settingsFor(IBase* object) {
    ObjectSettings* settings = settingsTable().find(object);
    return settings != nullptr ? *settings : settingsTable().insert(object);
}

bool validPolicy(int policy, int priority) {
    switch (policy) {
        case SCHED_OTHER:
            return priority >= -20 && priority <= 19;
        case SCHED_RR:
        case SCHED_FIFO:
            return priority >= 1 && priority <= 99;
        default:
            return false;
    }
}

}  // namespace

hidl_binder_death_recipient::hidl_binder_death_recipient(const sp<hidl_death_recipient>& recipient,
                                                         uint64_t cookie, const sp<IBase>& base)
    : mRecipient(recipient), mCookie(cookie), mBase(base) {}

void hidl_binder_death_recipient::binderDied(const wp<IBinder>& /*who*/) {
    if (mTold.exchange(true)) return;
    sp<hidl_death_recipient> recipient = mRecipient.promote();
    if (recipient != nullptr && mBase != nullptr) {
        recipient->serviceDied(mCookie, mBase);
    }
}

wp<hidl_death_recipient> hidl_binder_death_recipient::getRecipient() {
    return mRecipient;
}

sp<IBinder> getOrCreateCachedBinder(IBase* ifacePtr) {
    if (ifacePtr == nullptr) {
        return nullptr;
    }
    if (ifacePtr->isRemote()) {
        auto* proxy = dynamic_cast<BpHwRefBase*>(ifacePtr);
        return proxy != nullptr ? proxy->remoteStrong() : nullptr;
    }

    std::string descriptor;
    Return<void> ret =
            ifacePtr->interfaceDescriptor([&](const hidl_string& name) { descriptor = name; });
    if (!ret.isOk()) {
        return nullptr;
    }

    std::lock_guard<std::mutex> lock(gBinderCacheLock);
    if (wp<IBinder>* cached = binderCache().find(ifacePtr); cached != nullptr) {
        if (sp<IBinder> binder = cached->promote(); binder != nullptr) {
            return binder;
        }
    }
    auto makeStub = details::getBnConstructorMap().get(descriptor, nullptr);
    if (!makeStub) {
        return nullptr;
    }
    sp<IBinder> binder = makeStub(static_cast<void*>(ifacePtr));
    if (binder != nullptr) {
        binderCache().insert(ifacePtr) = binder;
    }
    return binder;
}

namespace details {

Return<bool> canCastInterface(IBase* interface, const char* castTo, bool emitError) {
    if (interface == nullptr || castTo == nullptr) {
        return false;
    }
    // Every interface is an IBase.
    if (std::strcmp(castTo, IBase::descriptor) == 0) {
        return true;
    }
    bool canCast = false;
    Return<void> ret = interface->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        for (size_t i = 0; i < chain.size(); ++i) {
            if (std::strcmp(chain[i].c_str(), castTo) == 0) {
                canCast = true;
                break;
            }
        }
    });
    if (!ret.isOk()) {
        if (emitError) {
            return ret.getStatus();
        }
        return false;
    }
    return canCast;
}

}  // namespace details

void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    ProcessState::self()->setThreadPoolConfiguration(maxThreads, callerWillJoin);
}

void joinRpcThreadpool() {
    IPCThreadState::self()->joinThreadPool();
}

bool setMinSchedulerPolicy(const sp<IBase>& service, int policy, int priority) {
    if (service == nullptr || !validPolicy(policy, priority)) {
        return false;
    }
    std::lock_guard<std::mutex> lock(gSettingsLock);
    settingsFor(service.get()).prio = SchedPrio{policy, priority};
    return true;
}

SchedPrio getMinSchedulerPolicy(const sp<IBase>& service) {
    std::lock_guard<std::mutex> lock(gSettingsLock);
    const ObjectSettings* settings =
            service != nullptr ? settingsTable().find(service.get()) : nullptr;
    return settings != nullptr ? settings->prio : ObjectSettings{}.prio;
}

bool setRequestingSid(const sp<IBase>& service, bool requesting) {
    if (service == nullptr) {
        return false;
    }
    std::lock_guard<std::mutex> lock(gSettingsLock);
    settingsFor(service.get()).requestingSid = requesting;
    return true;
}

bool getRequestingSid(const sp<IBase>& service) {
    std::lock_guard<std::mutex> lock(gSettingsLock);
    const ObjectSettings* settings =
            service != nullptr ? settingsTable().find(service.get()) : nullptr;
    return settings != nullptr && settings->requestingSid;
}

}  // namespace hardware
}  // namespace android
