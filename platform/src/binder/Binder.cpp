#include <hidl_host/Fatal.h>
#include <hwbinder/Binder.h>
#include <hwbinder/Parcel.h>
#include <log/log.h>
#include <sched.h>

#include <utility>

namespace android {
namespace hardware {

namespace details {

BinderObjectTable::~BinderObjectTable() {
    // No lock: nobody else can reach a table whose owner is being destroyed.
    for (auto& [id, entry] : mEntries) {
        if (entry.func != nullptr) {
            entry.func(id, entry.object, entry.cleanupCookie);
        }
    }
}

void BinderObjectTable::attach(const void* objectID, void* object, void* cleanupCookie,
                               IBinder::object_cleanup_func func) {
    std::lock_guard<std::mutex> lock(mLock);
    mEntries[objectID] = Entry{object, cleanupCookie, func};
}

void* BinderObjectTable::find(const void* objectID) const {
    std::lock_guard<std::mutex> lock(mLock);
    auto it = mEntries.find(objectID);
    return it == mEntries.end() ? nullptr : it->second.object;
}

void BinderObjectTable::detach(const void* objectID) {
    std::lock_guard<std::mutex> lock(mLock);
    mEntries.erase(objectID);
}

}  // namespace details

BHwBinder::BHwBinder() : mSchedPolicy(SCHED_OTHER), mSchedPriority(0), mRequestingSid(false) {}

BHwBinder::~BHwBinder() = default;

status_t BHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                             TransactCallback callback) {
    data.setDataPosition(0);
    status_t err = onTransact(code, data, reply, flags, [&](Parcel& replyParcel) {
        replyParcel.setDataPosition(0);
        if (callback != nullptr) {
            callback(replyParcel);
        }
    });
    if (reply != nullptr) {
        reply->setDataPosition(0);
    }
    return err;
}

status_t BHwBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t BHwBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                  uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
}

void BHwBinder::attachObject(const void* objectID, void* object, void* cleanupCookie,
                             object_cleanup_func func) {
    mObjects.attach(objectID, object, cleanupCookie, func);
}

void* BHwBinder::findObject(const void* objectID) const {
    return mObjects.find(objectID);
}

void BHwBinder::detachObject(const void* objectID) {
    mObjects.detach(objectID);
}

BHwBinder* BHwBinder::localBinder() {
    return this;
}

int BHwBinder::getMinSchedulingPolicy() {
    return mSchedPolicy;
}

int BHwBinder::getMinSchedulingPriority() {
    return mSchedPriority;
}

void BHwBinder::setMinSchedulingPolicy(int policy, int priority) {
    // host::fatal rather than LOG_ALWAYS_FATAL, which prints its message twice on a host.
    switch (policy) {
        case SCHED_OTHER:
            if (priority < -20 || priority > 19)
                host::fatal("HwBinder", "Invalid priority for SCHED_OTHER: %d", priority);
            break;
        case SCHED_RR:
        case SCHED_FIFO:
            if (priority < 1 || priority > 99)
                host::fatal("HwBinder", "Invalid priority for sched %d: %d", policy, priority);
            break;
        default:
            host::fatal("HwBinder", "Unrecognized scheduling policy: %d", policy);
    }
    mSchedPolicy = policy;
    mSchedPriority = priority;
}

bool BHwBinder::isRequestingSid() {
    return mRequestingSid;
}

void BHwBinder::setRequestingSid(bool requestingSid) {
    mRequestingSid = requestingSid;
}

status_t BHwBinder::onTransact(uint32_t /*code*/, const Parcel& /*data*/, Parcel* /*reply*/,
                               uint32_t /*flags*/, TransactCallback /*callback*/) {
    return UNKNOWN_TRANSACTION;
}

BpHwRefBase::BpHwRefBase(const sp<IBinder>& o) : mRemote(o) {}

BpHwRefBase::~BpHwRefBase() = default;

void BpHwRefBase::onLastStrongRef(const void* /*id*/) {}

}  // namespace hardware
}  // namespace android
