// Host-only: the loopback transport. It gives a local binder object a remote
// stand-in (a BpHwBinder) whose transactions travel through the full wire
// image: the request is flattened, rebuilt in fresh memory and handed to the
// target's transact(); the reply comes back the same way. Binder objects are
// translated in both directions: a local binder becomes a loopback proxy on
// the other side, and a loopback proxy becomes its target again. A proxy and
// a stub in one process thus exchange parcels that share no memory.
//
// Calls run on the calling thread. A oneway call returns once the target has
// handled it; its result is not reported, as on the platform.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/IBinder.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {
namespace host {

// The loopback proxy of target: the same proxy while it lives. It keeps the
// target alive. Null for null. A target already killed gets a dead proxy.
sp<IBinder> loopbackProxyFor(const sp<BHwBinder>& target);

// Convenience: the loopback proxy of a local binder; a loopback proxy is
// returned as it is; null for anything else.
sp<IBinder> toLoopback(const sp<IBinder>& binder);

// Whether binder is a loopback proxy, and the target it stands for (null for
// anything else, and for a proxy whose target was killed).
bool isLoopbackProxy(const sp<IBinder>& binder);
sp<BHwBinder> loopbackTargetOf(const sp<IBinder>& binder);

// Simulates the death of the process serving target (given as the local
// object or as one of its loopback proxies): its proxies release it and fail
// every later call with DEAD_OBJECT, and their death recipients are told
// once. Killing twice does nothing more. False when binder is neither.
bool killLoopbackTarget(const sp<IBinder>& binder);

}  // namespace host
}  // namespace hardware
}  // namespace android
