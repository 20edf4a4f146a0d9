// Transport-level helpers used by every interface: the thread pool, the
// per-object binder settings, casting between interfaces and service lookup.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Status.h>
#include <hidl_host/frame/CallObserver.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstddef>
#include <string>

namespace android {
namespace hardware {

// Sizes the pool of threads that serve incoming calls; callerWillJoin means
// the calling thread will join it (joinRpcThreadpool) and counts as one.
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);
// Gives the calling thread to the pool. Does not return while the process
// serves.
void joinRpcThreadpool();

// Minimum scheduling policy of the threads serving an object, applied by
// the object's stub when it is created. Defaults: SCHED_NORMAL, priority 0.
struct SchedPrio {
    int sched_policy;
    int sched_priority;
};
// False (nothing stored) for a null object or a policy/priority pair the
// platform would refuse.
bool setMinSchedulerPolicy(const sp<::android::hidl::base::V1_0::IBase>& service, int policy,
                           int priority);
SchedPrio getMinSchedulerPolicy(const sp<::android::hidl::base::V1_0::IBase>& service);

// Whether callers' security ids are requested for an object's calls; applied
// by its stub when it is created. Default false.
bool setRequestingSid(const sp<::android::hidl::base::V1_0::IBase>& service, bool requesting);
bool getRequestingSid(const sp<::android::hidl::base::V1_0::IBase>& service);

namespace details {

// canCastInterface(interface, castTo, emitError) is declared in
// hidl/HidlBinderSupport.h: whether the object's interfaceChain names castTo
// (asked over the binder for a proxy); always true for IBase::descriptor,
// false for null. A failed interfaceChain answers false, or its status when
// emitError is set.

// Converts parent to IChild: null stays null (OK); an object that does not
// implement IChild gives null (OK), as does a failed check unless emitError
// asks for its status; a remote object gets a new BpChild over its binder; a
// local one is returned itself.
template <typename IChild, typename IParent, typename BpChild>
Return<sp<IChild>> castInterface(sp<IParent> parent, const char* childIndicator, bool emitError) {
    if (parent.get() == nullptr) {
        return sp<IChild>(nullptr);
    }
    Return<bool> canCastRet = details::canCastInterface(parent.get(), childIndicator, emitError);
    if (!canCastRet.isOk()) {
        if (emitError) {
            return canCastRet.getStatus();
        }
        return sp<IChild>(nullptr);
    }
    if (!static_cast<bool>(canCastRet)) {
        return sp<IChild>(nullptr);
    }
    if (parent->isRemote()) {
        return sp<IChild>(new BpChild(getOrCreateCachedBinder(parent.get())));
    }
    return sp<IChild>(static_cast<IChild*>(parent.get()));
}

// Finds the service IType/instance: null when there is none; a new BpType
// over the binder of a remote service; a local object cast to IType (null
// when it is of another interface).
template <typename BpType, typename IType>
sp<IType> getServiceInternal(const std::string& instance, bool retry, bool getStub) {
    using ::android::hidl::base::V1_0::IBase;

    sp<IBase> base = getRawServiceInternal(IType::descriptor, instance, retry, getStub);
    if (base == nullptr) {
        return nullptr;
    }
    if (frame::CallObserver* observer = frame::callObserver()) {
        observer->serviceFound(instance, base.get());
    }
    if (base->isRemote()) {
        return sp<IType>(new BpType(getOrCreateCachedBinder(base.get())));
    }
    return IType::castFrom(base);
}

}  // namespace details
}  // namespace hardware
}  // namespace android
