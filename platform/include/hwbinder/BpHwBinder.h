// The stand-in for an object in another process (or, on the host, behind
// any transport): transactions go to the transport, death recipients wait
// for the transport to report the object's death.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

namespace android {
namespace hardware {

namespace host {
class Transport;
}  // namespace host

class BpHwBinder : public IBinder {
  public:
    // Host: the object called handle on transport. The proxy keeps the
    // transport alive and tells it when the proxy goes away.
    BpHwBinder(const sp<host::Transport>& transport, uint64_t handle);

    uint64_t handle() const { return mHandle; }
    const sp<host::Transport>& transport() const { return mTransport; }

    // Fails with DEAD_OBJECT once the object is known dead. On success the
    // reply reads from its start and callback (if any) has seen it.
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) final;

    // A recipient is kept weakly and told at most once. DEAD_OBJECT when the
    // object has already died.
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    // Removes the most recent registration matching recipient (or, for a
    // null recipient, cookie) and flags; NAME_NOT_FOUND when none does.
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;

    void attachObject(const void* objectID, void* object, void* cleanupCookie,
                      object_cleanup_func func) override;
    void* findObject(const void* objectID) const override;
    void detachObject(const void* objectID) override;

    BpHwBinder* remoteBinder() override;

    bool isBinderAlive() const { return mAlive.load(std::memory_order_acquire); }

    // Called by the transport when the object has died: from then on every
    // transaction fails with DEAD_OBJECT, and each registered recipient is
    // told once. Later calls do nothing.
    void sendObituary();

  protected:
    ~BpHwBinder() override;

  private:
    BpHwBinder(const BpHwBinder&) = delete;
    BpHwBinder& operator=(const BpHwBinder&) = delete;

    struct Obituary {
        wp<DeathRecipient> recipient;
        void* cookie;
        uint32_t flags;
    };

    const sp<host::Transport> mTransport;
    const uint64_t mHandle;
    std::atomic<bool> mAlive{true};

    std::mutex mObitsLock;
    std::vector<Obituary> mObituaries;
    bool mObitsSent = false;

    details::BinderObjectTable mObjects;
};

}  // namespace hardware
}  // namespace android
