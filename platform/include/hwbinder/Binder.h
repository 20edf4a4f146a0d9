// Local binder objects (BHwBinder) and the holder of a remote binder that
// every proxy class builds on (BpHwRefBase).
#pragma once

#include <hwbinder/IBinder.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <map>
#include <mutex>

namespace android {
namespace hardware {

class Parcel;

namespace details {

// The objects attached to one binder; their cleanups run when it goes away.
class BinderObjectTable {
  public:
    BinderObjectTable() = default;
    ~BinderObjectTable();
    BinderObjectTable(const BinderObjectTable&) = delete;
    BinderObjectTable& operator=(const BinderObjectTable&) = delete;

    void attach(const void* objectID, void* object, void* cleanupCookie,
                IBinder::object_cleanup_func func);
    void* find(const void* objectID) const;
    void detach(const void* objectID);

  private:
    struct Entry {
        void* object;
        void* cleanupCookie;
        IBinder::object_cleanup_func func;
    };
    mutable std::mutex mLock;
    std::map<const void*, Entry> mEntries;
};

}  // namespace details

// An object living in this process. transact() hands the transaction straight
// to onTransact(); afterwards the reply reads from its start, and a reply
// callback sees the reply positioned at its start.
class BHwBinder : public IBinder {
  public:
    BHwBinder();

    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                      TransactCallback callback = nullptr) final;

    // A local object never dies separately from its process: both answer
    // INVALID_OPERATION, as on the platform.
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) override;

    void attachObject(const void* objectID, void* object, void* cleanupCookie,
                      object_cleanup_func func) override;
    void* findObject(const void* objectID) const override;
    void detachObject(const void* objectID) override;

    BHwBinder* localBinder() override;

    // Minimum scheduling policy and priority for the threads that serve this
    // object. Only SCHED_NORMAL (priority -20..19), SCHED_FIFO and SCHED_RR
    // (priority 1..99) are accepted; anything else is refused with a fatal
    // message, as the platform does.
    int getMinSchedulingPolicy();
    int getMinSchedulingPriority();
    void setMinSchedulingPolicy(int policy, int priority);

    // Whether callers' security ids are requested for this object's calls.
    bool isRequestingSid();
    void setRequestingSid(bool requestingSid);

  protected:
    ~BHwBinder() override;

    // Handles one transaction. The default answers UNKNOWN_TRANSACTION.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0, TransactCallback callback = nullptr);

    int mSchedPolicy;
    int mSchedPriority;

  private:
    BHwBinder(const BHwBinder&) = delete;
    BHwBinder& operator=(const BHwBinder&) = delete;

    bool mRequestingSid;
    details::BinderObjectTable mObjects;
};

// Holds the remote binder of a proxy. The reference is an ordinary strong
// pointer, released when the proxy is destroyed; onLastStrongRef is the hook
// proxies chain to when their last strong reference goes and does nothing
// beyond the base class.
class BpHwRefBase : public virtual RefBase {
  protected:
    explicit BpHwRefBase(const sp<IBinder>& o);
    ~BpHwRefBase() override;
    void onLastStrongRef(const void* id) override;

  public:
    IBinder* remote() const { return mRemote.get(); }
    sp<IBinder> remoteStrong() const { return mRemote; }

  private:
    BpHwRefBase(const BpHwRefBase& o) = delete;
    BpHwRefBase& operator=(const BpHwRefBase& o) = delete;

    const sp<IBinder> mRemote;
};

}  // namespace hardware
}  // namespace android
