// Host-only: what carries a BpHwBinder's transactions to its object. The
// loopback transport and the socket transport implement it.
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <cstdint>

namespace android {
namespace hardware {

class Parcel;

namespace host {

class Transport : public virtual RefBase {
  public:
    // Delivers one transaction to the object named handle. For a two-way
    // call the reply is filled and positioned at its start; reply may be
    // null when the caller wants none. A oneway call (IBinder::FLAG_ONEWAY)
    // leaves reply untouched. DEAD_OBJECT means the object is gone for good.
    virtual status_t transact(uint64_t handle, uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags) = 0;

    // The last proxy for handle is going away: the transport may drop what
    // it holds for it. Called once per proxy, from its destructor.
    virtual void onProxyDestroyed(uint64_t handle) { (void)handle; }

    // A death recipient now waits on the proxy for handle: the transport
    // must notice the object's death from now on, even in a process that
    // serves nothing.
    virtual void onDeathWatched(uint64_t handle) { (void)handle; }

  protected:
    ~Transport() override = default;
};

}  // namespace host
}  // namespace hardware
}  // namespace android
