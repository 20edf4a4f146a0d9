// IInterface joins an interface class with its binder; BpInterface<I> is the
// base of every proxy class: the interface I plus the remote binder.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {

class IInterface : public virtual RefBase {
  public:
    IInterface();

    // The binder standing for iface: a proxy's remote binder, or for a local
    // interface object (an IBase) its cached stub. Null for null.
    static sp<IBinder> asBinder(const IInterface* iface);
    static sp<IBinder> asBinder(const sp<IInterface>& iface);

  protected:
    ~IInterface() override;
    // The binder this object already has (a proxy's remote); null when it
    // has none of its own, in which case asBinder asks for a cached stub.
    virtual IBinder* onAsBinder();
};

template <typename INTERFACE>
class BpInterface : public INTERFACE, public IInterface, public BpHwRefBase {
  public:
    explicit BpInterface(const sp<IBinder>& remote) : BpHwRefBase(remote) {}

  protected:
    IBinder* onAsBinder() override { return remote(); }
};

}  // namespace hardware
}  // namespace android
