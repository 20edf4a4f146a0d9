#include <fcntl.h>
#include <hidl_host/CallingIdentity.h>
#include <hidl_host/Loopback.h>
#include <hidl_host/Transport.h>
#include <hidl_host/UniqueFd.h>
#include <hidl_host/WireImage.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <unistd.h>

#include <iterator>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace android {
namespace hardware {
namespace host {

namespace {

// The road to one target. The proxy owns it; it owns the target until the
// target is killed.
class LoopbackLink : public Transport {
  public:
    explicit LoopbackLink(const sp<BHwBinder>& target) : mTarget(target) {}

    status_t transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                      uint32_t flags) override;

    sp<BHwBinder> target() {
        std::lock_guard<std::mutex> lock(mLock);
        return mTarget;
    }

    void kill() {
        sp<BHwBinder> released;
        std::lock_guard<std::mutex> lock(mLock);
        // Released after the lock: the target's destructor may run.
        released = std::move(mTarget);
        mTarget.clear();
    }

  private:
    std::mutex mLock;
    sp<BHwBinder> mTarget;
};

LoopbackLink* linkOf(IBinder* binder) {
    BpHwBinder* remote = binder != nullptr ? binder->remoteBinder() : nullptr;
    return remote != nullptr ? dynamic_cast<LoopbackLink*>(remote->transport().get()) : nullptr;
}

// Translates the binders of one parcel on its way across: each is replaced
// by what the receiving side sees, decided when flattening. References are
// indexes into this one transaction's table, so nothing else can be named.
class CallTranslator : public BinderTranslator {
  public:
    status_t flattenBinder(const sp<IBinder>& binder, uint32_t* type, uint64_t* ref) override {
        sp<IBinder> delivered;
        if (BHwBinder* local = binder->localBinder(); local != nullptr) {
            *type = BINDER_TYPE_BINDER;
            delivered = loopbackProxyFor(sp<BHwBinder>(local));
        } else {
            *type = BINDER_TYPE_HANDLE;
            LoopbackLink* link = linkOf(binder.get());
            sp<BHwBinder> target = link != nullptr ? link->target() : nullptr;
            // A dead loopback proxy, or a proxy of another transport, stands
            // for the same object on both sides of a loopback.
            delivered = target != nullptr ? sp<IBinder>(target) : binder;
        }
        if (delivered == nullptr) return BAD_VALUE;
        mObjects.push_back({*type, std::move(delivered)});
        *ref = mObjects.size();
        return OK;
    }

    status_t unflattenBinder(uint32_t type, uint64_t ref, sp<IBinder>* out) override {
        if (ref == 0 || ref > mObjects.size()) return BAD_VALUE;
        const Object& object = mObjects[ref - 1];
        if (object.type != type) return BAD_TYPE;
        *out = object.delivered;
        return OK;
    }

  private:
    struct Object {
        uint32_t type;
        sp<IBinder> delivered;
    };
    std::vector<Object> mObjects;
};

// Copies a parcel through the wire image into fresh memory.
status_t carry(const Parcel& from, Parcel* to) {
    CallTranslator translator;
    WireImage image;
    status_t err = WireImageCodec::flatten(from, &translator, &image);
    if (err != OK) return err;
    // The image borrows the sender's descriptors; the receiver gets its own.
    std::vector<UniqueFd> fds;
    fds.reserve(image.fds.size());
    for (int fd : image.fds) {
        UniqueFd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
        if (!copy) return -errno;
        fds.push_back(std::move(copy));
    }
    return WireImageCodec::rebuild(image.bytes.data(), image.bytes.size(), std::move(fds),
                                   &translator, to);
}

status_t LoopbackLink::transact(uint64_t /*handle*/, uint32_t code, const Parcel& data,
                                Parcel* reply, uint32_t flags) {
    sp<BHwBinder> target = this->target();
    if (target == nullptr) return DEAD_OBJECT;

    Parcel request;
    status_t err = carry(data, &request);
    if (err != OK) return err;

    const bool oneway = (flags & IBinder::FLAG_ONEWAY) != 0;
    Parcel discarded;
    Parcel* out = reply != nullptr ? reply : &discarded;
    Parcel served;
    bool replied = false;
    status_t replyErr = OK;
    {
        ScopedCallingIdentity caller(getpid(), getuid());
        err = target->transact(code, request, &served, flags, [&](Parcel& given) {
            // The reply a stub hands over is the one sent; it must be copied
            // now, while the values it points at still exist.
            if (oneway || replied) return;
            replied = true;
            replyErr = carry(given, out);
        });
    }
    if (oneway) return OK;
    if (replied) return replyErr;
    if (err != OK) return err;
    // The stub filled the reply without handing it over: send what it wrote.
    return carry(served, out);
}

struct Entry {
    wp<BHwBinder> target;
    wp<BpHwBinder> proxy;
    bool killed = false;
};

std::mutex gLock;
std::map<const BHwBinder*, Entry>& entries() {
    static auto* table = new std::map<const BHwBinder*, Entry>();
    return *table;
}

// The entry for target (which the caller holds), dropping one left behind by
// an earlier object at the same address.
Entry* findEntry(const sp<BHwBinder>& target) {
    auto& table = entries();
    auto it = table.find(target.get());
    if (it == table.end()) return nullptr;
    if (!(it->second.target == wp<BHwBinder>(target))) {
        table.erase(it);
        return nullptr;
    }
    return &it->second;
}

// Drops entries whose proxy and target are both gone. Probe references are
// released by the caller after the lock is dropped. A small table is swept at
// every new proxy, so a process that makes a proxy per object and lets it go
// (a fuzzer, one per input) frees as much as it allocates each time; a large
// one once it has doubled.
void sweep(std::vector<sp<RefBase>>* probes) {
    constexpr size_t kSmall = 64;
    static size_t sweepAt = kSmall;
    auto& table = entries();
    if (table.size() >= kSmall && table.size() < sweepAt) return;
    for (auto it = table.begin(); it != table.end();) {
        sp<BpHwBinder> proxy = it->second.proxy.promote();
        sp<BHwBinder> target = it->second.target.promote();
        const bool keep = proxy != nullptr || (it->second.killed && target != nullptr);
        if (proxy != nullptr) probes->push_back(proxy.get());
        if (target != nullptr) probes->push_back(target.get());
        it = keep ? std::next(it) : table.erase(it);
    }
    sweepAt = 2 * table.size() + kSmall;
}

}  // namespace

sp<IBinder> loopbackProxyFor(const sp<BHwBinder>& target) {
    if (target == nullptr) return nullptr;
    std::vector<sp<RefBase>> probes;
    std::lock_guard<std::mutex> lock(gLock);
    bool killed = false;
    if (Entry* entry = findEntry(target); entry != nullptr) {
        if (sp<BpHwBinder> proxy = entry->proxy.promote(); proxy != nullptr) {
            return proxy;
        }
        killed = entry->killed;
    }
    sweep(&probes);
    sp<LoopbackLink> link = new LoopbackLink(killed ? nullptr : target);
    sp<BpHwBinder> proxy = new BpHwBinder(link, 0);
    if (killed) proxy->sendObituary();
    entries()[target.get()] = Entry{target, proxy, killed};
    return proxy;
}

sp<IBinder> toLoopback(const sp<IBinder>& binder) {
    if (binder == nullptr) return nullptr;
    if (BHwBinder* local = binder->localBinder(); local != nullptr) {
        return loopbackProxyFor(sp<BHwBinder>(local));
    }
    return linkOf(binder.get()) != nullptr ? binder : nullptr;
}

bool isLoopbackProxy(const sp<IBinder>& binder) {
    return linkOf(binder.get()) != nullptr;
}

sp<BHwBinder> loopbackTargetOf(const sp<IBinder>& binder) {
    LoopbackLink* link = linkOf(binder.get());
    return link != nullptr ? link->target() : nullptr;
}

bool killLoopbackTarget(const sp<IBinder>& binder) {
    if (binder == nullptr) return false;
    sp<BHwBinder> target;
    if (BHwBinder* local = binder->localBinder(); local != nullptr) {
        target = local;
    } else if (LoopbackLink* link = linkOf(binder.get()); link != nullptr) {
        target = link->target();
        if (target == nullptr) return true;  // already dead
    } else {
        return false;
    }

    sp<BpHwBinder> proxy;
    {
        std::lock_guard<std::mutex> lock(gLock);
        Entry* entry = findEntry(target);
        if (entry == nullptr) {
            entry = &(entries()[target.get()] = Entry{target, nullptr, false});
        }
        entry->killed = true;
        proxy = entry->proxy.promote();
    }
    if (proxy != nullptr) {
        static_cast<LoopbackLink*>(proxy->transport().get())->kill();
        proxy->sendObituary();
    }
    return true;
}

}  // namespace host
}  // namespace hardware
}  // namespace android
