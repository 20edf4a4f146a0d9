// The in-process side of every operation: the wrapper calls the
// implementation directly, with the same trace section and instrumentation
// events a binder call would have. Oneway operations run later on the
// wrapper's queue; local interface arguments are wrapped in turn. A wrapper's
// operation for M is just passthrough<M>(this, ...); the names it traces and
// reports under are the interfaces' InterfaceInfo.
//
// Also the bodies of the base operations every wrapper shares; a package
// instantiates them with `template class PassthroughBase<I>;` where its
// interfaces' InterfaceInfo is seen.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/Status.h>
#include <hidl_host/frame/BaseMethods.h>
#include <hidl_host/frame/CallInstrumentation.h>
#include <hidl_host/frame/Method.h>
#include <hidl_host/frame/PassthroughBase.h>
#include <hidl_host/frame/Trace.h>

#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace android {
namespace hardware {
namespace frame {

// linkToDeath and unlinkToDeath never travel and have no code, but a wrapper
// forwards them like the other base operations.
namespace passthrough_methods {
#define ZUV_INTERFACE ::android::hidl::base::V1_0::IBase
ZUV_METHOD(0, linkToDeath, ("recipient", "cookie"))
ZUV_METHOD(0, unlinkToDeath, ("recipient"))
#undef ZUV_INTERFACE
}  // namespace passthrough_methods

// How an argument reaches the implementation: as it is, or, for a local
// interface object, inside its own wrapper so that calls back into it are
// framed too. A proxy already is a binder call and stays as it is.
template <typename T, typename = void>
struct PassedArg {
    static constexpr bool kWraps = false;
};
template <typename I>
struct PassedArg<sp<I>,
                 std::enable_if_t<std::is_base_of<::android::hidl::base::V1_0::IBase, I>::value>> {
    static constexpr bool kWraps = true;
    static sp<I> pass(const sp<I>& value, bool* failed) {
        if (value == nullptr || value->isRemote()) return value;
        sp<I> wrapped = details::wrapPassthrough(value);
        if (wrapped == nullptr) *failed = true;
        return wrapped;
    }
};
template <typename T>
decltype(auto) passArg(const T& value, bool* failed) {
    if constexpr (PassedArg<T>::kWraps) {
        return PassedArg<T>::pass(value, failed);
    } else {
        return (value);
    }
}

// Stands in for CallInstrumentation in a call begun with instrumentation
// off, the common case: nothing is taken, copied or reported.
struct NoInstrumentation {
    template <typename Info, typename... Values>
    void report(InstrumentationEvent /*event*/, const char* /*method*/,
                const Values&... /*values*/) const {}
};

// Op is the operation, Wrapped the interface of the wrapper it runs in (the
// same but for base operations). Events carry the names of the operation's
// interface, the trace section always the wrapper's.
template <typename Op, typename Wrapped = typename Op::Interface>
class Passthrough {
    using Source = InterfaceInfo<typename Op::Interface>;
    using Frame = PassthroughBase<Wrapped>;
    using Result = typename Op::Traits::DirectResult;

  public:
    // Arguments as the operation declares them; for the callback shape the
    // caller's _hidl_cb comes last.
    template <typename... Args>
    static auto call(Frame* self, const Args&... args) {
        if (!self->isInstrumentationEnabled()) return callAs(self, NoInstrumentation{}, args...);
        return callAs(self, CallInstrumentation(self), args...);
    }

  private:
    template <typename Reporter, typename... Args>
    static auto callAs(Frame* self, const Reporter& instrumentation, const Args&... args) {
        if constexpr (Op::kShape == Shape::kOneway) {
            return queue(self, instrumentation, args...);
        } else if constexpr (Op::kShape == Shape::kCallback) {
            auto all = std::forward_as_tuple(args...);
            return callWithCallback(self, instrumentation, std::get<sizeof...(Args) - 1>(all), all,
                                    std::make_index_sequence<sizeof...(Args) - 1>{});
        } else {
            return callDirectly(self, instrumentation, args...);
        }
    }

    template <typename Reporter, typename... Values>
    static void report(const Reporter& instrumentation, InstrumentationEvent event,
                       const Values&... values) {
        instrumentation.template report<Source>(event, Op::kName, values...);
    }

    template <typename Reporter, typename... Args>
    static void enter(const Reporter& instrumentation, const Args&... args) {
        traceBegin(InterfaceInfo<Wrapped>::kShortName, Op::kName, "passthrough");
        report(instrumentation, InstrumentationEvent::PASSTHROUGH_ENTRY, args...);
    }

    // Direct result or none. A failed wrapping leaves the trace section open
    // and reports no exit, as a call that never got through.
    template <typename Reporter, typename... Args>
    static Return<Result> callDirectly(Frame* self, const Reporter& instrumentation,
                                       const Args&... args) {
        enter(instrumentation, args...);
        if constexpr ((PassedArg<Args>::kWraps || ...)) {
            bool wrapFailed = false;
            std::tuple<decltype(passArg(args, &wrapFailed))...> passed{
                    passArg(args, &wrapFailed)...};
            if (wrapFailed) {
                return Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED,
                                                 "Cannot wrap passthrough interface.");
            }
            return std::apply(
                    [self, &instrumentation](const auto&... values) {
                        return invoke(self, instrumentation, values...);
                    },
                    passed);
        } else {
            return invoke(self, instrumentation, args...);
        }
    }

    // Returns the implementation's Return itself, never a copy.
    template <typename Reporter, typename... Values>
    static Return<Result> invoke(Frame* self, const Reporter& instrumentation,
                                 const Values&... values) {
        Return<Result> ret = (self->getImpl().get()->*Op::kMember)(values...);
        if constexpr (std::is_void<Result>::value) {
            traceEnd();
            report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT);
        } else if constexpr (std::is_same<Reporter, NoInstrumentation>::value) {
            if (!ret.isOkUnchecked()) (void)static_cast<Result>(ret);  // fatal, as below
            traceEnd();
        } else {
            const Result value = ret;  // a failed Return is fatal here
            traceEnd();
            report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT, value);
        }
        return ret;
    }

    // The exit is reported each time the implementation delivers, just
    // before the caller's _hidl_cb sees the results.
    template <typename Reporter, typename Callback, typename All, size_t... I>
    static Return<void> callWithCallback(Frame* self, const Reporter& instrumentation,
                                         const Callback& resultCallback, const All& all,
                                         std::index_sequence<I...>) {
        using Delivered = typename CallbackTraits<Callback>::Result;
        enter(instrumentation, std::get<I>(all)...);
        return (self->getImpl().get()->*Op::kMember)(
                std::get<I>(all)..., Callback([&](const Delivered& result) {
                    traceEnd();
                    report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT, result);
                    resultCallback(result);
                }));
    }

    // The task owns all it needs: the caller's arguments are gone by the
    // time it runs, and instrumentation changed after queuing must not
    // affect it. The section begun here ends on the queue's thread.
    template <typename Reporter, typename... Args>
    static Return<void> queue(Frame* self, const Reporter& instrumentation, const Args&... args) {
        enter(instrumentation, args...);
        return self->addOnewayTask([impl = self->getImpl(), instrumentation,
                                    values = std::make_tuple(args...)] {
            // Nobody waits for the result; an unchecked failure is the
            // platform's to report.
            std::apply([&impl](const auto&... v) { (void)(impl.get()->*Op::kMember)(v...); },
                       values);
            traceEnd();
            report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT);
        });
    }
};

template <typename Op, typename Wrapped = typename Op::Interface, typename... Args>
auto passthrough(PassthroughBase<Wrapped>* self, const Args&... args) {
    return Passthrough<Op, Wrapped>::call(self, args...);
}

template <typename IType>
Return<void> PassthroughBase<IType>::addOnewayTask(std::function<void()> task) {
    if (!onewayQueue.push(task)) {
        return Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED,
                                         "Passthrough oneway function queue exceeds maximum size.");
    }
    return Void();
}

namespace base_ops = ::android::hidl::base::V1_0::base_methods;

template <typename IType>
Return<void> PassthroughBase<IType>::interfaceChain(typename IBase::interfaceChain_cb _hidl_cb) {
    return passthrough<base_ops::interfaceChain, IType>(this, _hidl_cb);
}

template <typename IType>
Return<void> PassthroughBase<IType>::debug(const hidl_handle& fd,
                                           const hidl_vec<hidl_string>& options) {
    return passthrough<base_ops::debug, IType>(this, fd, options);
}

template <typename IType>
Return<void> PassthroughBase<IType>::interfaceDescriptor(
        typename IBase::interfaceDescriptor_cb _hidl_cb) {
    return passthrough<base_ops::interfaceDescriptor, IType>(this, _hidl_cb);
}

template <typename IType>
Return<void> PassthroughBase<IType>::getHashChain(typename IBase::getHashChain_cb _hidl_cb) {
    return passthrough<base_ops::getHashChain, IType>(this, _hidl_cb);
}

template <typename IType>
Return<void> PassthroughBase<IType>::setHALInstrumentation() {
    configureInstrumentation(true);
    return Void();
}

template <typename IType>
Return<bool> PassthroughBase<IType>::linkToDeath(const sp<DeathRecipient>& recipient,
                                                 uint64_t cookie) {
    return passthrough<passthrough_methods::linkToDeath, IType>(this, recipient, cookie);
}

template <typename IType>
Return<void> PassthroughBase<IType>::ping() {
    return passthrough<base_ops::ping, IType>(this);
}

template <typename IType>
Return<void> PassthroughBase<IType>::getDebugInfo(typename IBase::getDebugInfo_cb _hidl_cb) {
    return passthrough<base_ops::getDebugInfo, IType>(this, _hidl_cb);
}

template <typename IType>
Return<void> PassthroughBase<IType>::notifySyspropsChanged() {
    return passthrough<base_ops::notifySyspropsChanged, IType>(this);
}

template <typename IType>
Return<bool> PassthroughBase<IType>::unlinkToDeath(const sp<DeathRecipient>& recipient) {
    return passthrough<passthrough_methods::unlinkToDeath, IType>(this, recipient);
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
