#include <hidl_host/Transport.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>

#include <utility>

namespace android {
namespace hardware {

BpHwBinder::BpHwBinder(const sp<host::Transport>& transport, uint64_t handle)
    : mTransport(transport), mHandle(handle) {}

BpHwBinder::~BpHwBinder() {
    if (mTransport != nullptr) {
        mTransport->onProxyDestroyed(mHandle);
    }
}

status_t BpHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                              TransactCallback callback) {
    if (!isBinderAlive() || mTransport == nullptr) {
        return DEAD_OBJECT;
    }
    const bool oneway = (flags & FLAG_ONEWAY) != 0;
    if (!oneway && reply == nullptr && callback != nullptr) {
        // A reply callback needs a reply even when the caller passed none.
        // Built only here: most callers pass one, and a parcel is not free.
        Parcel localReply;
        return transact(code, data, &localReply, flags, std::move(callback));
    }
    Parcel* target = reply;
    status_t status = mTransport->transact(mHandle, code, data, oneway ? nullptr : target, flags);
    if (status == DEAD_OBJECT) {
        mAlive.store(false, std::memory_order_release);
        return status;
    }
    if (status == OK && !oneway && target != nullptr) {
        target->setDataPosition(0);
        if (callback != nullptr) {
            callback(*target);
        }
    }
    return status;
}

status_t BpHwBinder::linkToDeath(const sp<DeathRecipient>& recipient, void* cookie,
                                 uint32_t flags) {
    if (recipient == nullptr) {
        return BAD_VALUE;
    }
    {
        std::lock_guard<std::mutex> lock(mObitsLock);
        if (mObitsSent) {
            return DEAD_OBJECT;
        }
        mObituaries.push_back(Obituary{recipient, cookie, flags});
    }
    mTransport->onDeathWatched(mHandle);
    return OK;
}

status_t BpHwBinder::unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie,
                                   uint32_t flags, wp<DeathRecipient>* outRecipient) {
    std::lock_guard<std::mutex> lock(mObitsLock);
    if (mObitsSent) {
        return DEAD_OBJECT;
    }
    for (auto it = mObituaries.rbegin(); it != mObituaries.rend(); ++it) {
        const bool sameRecipient =
                it->recipient == recipient || (recipient == nullptr && it->cookie == cookie);
        if (sameRecipient && it->flags == flags) {
            if (outRecipient != nullptr) {
                *outRecipient = it->recipient;
            }
            mObituaries.erase(std::next(it).base());
            return OK;
        }
    }
    return NAME_NOT_FOUND;
}

void BpHwBinder::sendObituary() {
    mAlive.store(false, std::memory_order_release);
    std::vector<Obituary> obits;
    {
        std::lock_guard<std::mutex> lock(mObitsLock);
        if (mObitsSent) {
            return;
        }
        mObitsSent = true;
        obits.swap(mObituaries);
    }
    // Told without the lock held: recipients may call back into this proxy.
    const wp<IBinder> who(this);
    for (const Obituary& obit : obits) {
        sp<DeathRecipient> recipient = obit.recipient.promote();
        if (recipient != nullptr) {
            recipient->binderDied(who);
        }
    }
}

void BpHwBinder::attachObject(const void* objectID, void* object, void* cleanupCookie,
                              object_cleanup_func func) {
    mObjects.attach(objectID, object, cleanupCookie, func);
}

void* BpHwBinder::findObject(const void* objectID) const {
    return mObjects.find(objectID);
}

void BpHwBinder::detachObject(const void* objectID) {
    mObjects.detach(objectID);
}

BpHwBinder* BpHwBinder::remoteBinder() {
    return this;
}

}  // namespace hardware
}  // namespace android
