// The binder object interface: something a transaction can be sent to, either
// a local object (BHwBinder) or a stand-in for an object in another process
// (BpHwBinder).
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <functional>

// The platform's four-character transaction codes.
#ifndef B_PACK_CHARS
#define B_PACK_CHARS(c1, c2, c3, c4) \
    ((((c1) << 24)) | (((c2) << 16)) | (((c3) << 8)) | (c4))
#endif

namespace android {
namespace hardware {

class BHwBinder;
class BpHwBinder;
class Parcel;

class IBinder : public virtual RefBase {
public:
    using TransactCallback = std::function<void(Parcel& reply)>;

    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x0effffff,

        PING_TRANSACTION = B_PACK_CHARS('_', 'P', 'N', 'G'),
        DUMP_TRANSACTION = B_PACK_CHARS('_', 'D', 'M', 'P'),
        INTERFACE_TRANSACTION = B_PACK_CHARS('_', 'N', 'T', 'F'),
        SYSPROPS_TRANSACTION = B_PACK_CHARS('_', 'S', 'P', 'R'),

        // The transaction does not wait for a reply.
        FLAG_ONEWAY = 0x00000001,
    };

    IBinder();

    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags = 0, TransactCallback callback = nullptr) = 0;

    // Told when the process hosting a remote binder goes away.
    class DeathRecipient : public virtual RefBase {
    public:
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) = 0;

    virtual bool checkSubclass(const void* subclassID) const;

    using object_cleanup_func = void (*)(const void* id, void* obj, void* cleanupCookie);

    // Per-binder attached objects; the cleanup runs when the binder dies.
    virtual void attachObject(const void* objectID, void* object, void* cleanupCookie,
                              object_cleanup_func func) = 0;
    virtual void* findObject(const void* objectID) const = 0;
    virtual void detachObject(const void* objectID) = 0;

    // Exactly one of these answers non-null.
    virtual BHwBinder* localBinder();
    virtual BpHwBinder* remoteBinder();

protected:
    ~IBinder() override;
};

}  // namespace hardware
}  // namespace android
