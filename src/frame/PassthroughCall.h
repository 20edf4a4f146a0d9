// The in-process side of every operation: the wrapper calls the
// implementation directly, with the same trace section and instrumentation
// events a binder call would have. Oneway operations run later on the
// wrapper's queue; local interface arguments are wrapped in turn. A wrapper's
// operation for M is just passthrough<M>(this, ...).
//
// Also the bodies of the base operations every wrapper shares; a wrapper's
// source instantiates them with `template class PassthroughFrame<I>;`.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/Status.h>
#include <hidl_host/frame/Instrumentation.h>
#include <hidl_host/frame/Method.h>
#include <hidl_host/frame/Trace.h>
#include <vendor/zuv/hardware/fingerprint/1.0/details/PassthroughFrame.h>

#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "frame/Interfaces.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace frame {

using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::IBase;

// The base operations a wrapper forwards, declared like the package's own so
// that the same call template serves them. linkToDeath and unlinkToDeath
// never travel and have no code.
namespace base_methods {
#define ZUV_INTERFACE ::android::hidl::base::V1_0::IBase
ZUV_METHOD(0x0f43484e, interfaceChain, ("descriptors"))
ZUV_METHOD(0x0f444247, debug, ("fd", "options"))
ZUV_METHOD(0x0f445343, interfaceDescriptor, ("descriptor"))
ZUV_METHOD(0x0f485348, getHashChain, ("hashchain"))
ZUV_METHOD(0, linkToDeath, ("recipient", "cookie"))
ZUV_METHOD(0x0f504e47, ping, ())
ZUV_METHOD(0x0f524546, getDebugInfo, ("info"))
ZUV_ONEWAY_METHOD(0x0f535953, notifySyspropsChanged, ())
ZUV_METHOD(0, unlinkToDeath, ("recipient"))
#undef ZUV_INTERFACE
}  // namespace base_methods

// Whose names the events of an operation carry: the package's for its own
// operations, the base interface's for the inherited ones.
template <typename IType>
struct EventSource {
    static constexpr const char* kPackage = kPackageName;
    static constexpr const char* kVersion = kPackageVersion;
    static constexpr const char* kInterface = InterfaceInfo<IType>::kShortName;
};
template <>
struct EventSource<IBase> {
    static constexpr const char* kPackage = "android.hidl.base";
    static constexpr const char* kVersion = "1.0";
    static constexpr const char* kInterface = "IBase";
};

// How an argument reaches the implementation: as it is, or, for a local
// interface object, inside its own wrapper so that calls back into it are
// framed too. A proxy already is a binder call and stays as it is.
template <typename T, typename = void>
struct PassedArg {
    using type = const T&;
    static const T& pass(const T& value, bool* /*failed*/) { return value; }
};
template <typename I>
struct PassedArg<sp<I>, std::enable_if_t<std::is_base_of<IBase, I>::value>> {
    using type = sp<I>;
    static sp<I> pass(const sp<I>& value, bool* failed) {
        if (value == nullptr || value->isRemote()) return value;
        sp<I> wrapped = ::android::hardware::details::wrapPassthrough(value);
        if (wrapped == nullptr) *failed = true;
        return wrapped;
    }
};

// Op is the operation, Wrapped the interface of the wrapper it runs in (the
// same but for base operations); the trace name is always the wrapper's.
template <typename Op, typename Wrapped = typename Op::Interface>
class Passthrough {
    using Source = EventSource<typename Op::Interface>;
    using Frame = V1_0::details::PassthroughFrame<Wrapped>;
    using Result = typename Op::Traits::DirectResult;

  public:
    // Arguments as the operation declares them; for the callback shape the
    // caller's _hidl_cb comes last.
    template <typename... Args>
    static auto call(Frame* self, const Args&... args) {
        if constexpr (Op::kShape == Shape::kOneway) {
            return queue(self, args...);
        } else if constexpr (Op::kShape == Shape::kCallback) {
            auto all = std::forward_as_tuple(args...);
            return callWithCallback(self, std::get<sizeof...(Args) - 1>(all), all,
                                    std::make_index_sequence<sizeof...(Args) - 1>{});
        } else {
            return callDirectly(self, args...);
        }
    }

  private:
    template <typename... Values>
    static void report(const CallInstrumentation& instrumentation, InstrumentationEvent event,
                       const Values&... values) {
        instrumentation.reportAs(event, Source::kPackage, Source::kVersion, Source::kInterface,
                                 Op::kName, values...);
    }

    template <typename... Args>
    static void enter(const CallInstrumentation& instrumentation, const Args&... args) {
        traceBegin(InterfaceInfo<Wrapped>::kShortName, Op::kName, "passthrough");
        report(instrumentation, InstrumentationEvent::PASSTHROUGH_ENTRY, args...);
    }

    // Direct result or none. A failed wrapping leaves the trace section open
    // and reports no exit, as a call that never got through.
    template <typename... Args>
    static Return<Result> callDirectly(Frame* self, const Args&... args) {
        const CallInstrumentation instrumentation(self);
        enter(instrumentation, args...);
        bool wrapFailed = false;
        std::tuple<typename PassedArg<Args>::type...> passed{
                PassedArg<Args>::pass(args, &wrapFailed)...};
        if (wrapFailed) {
            return Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED,
                                             "Cannot wrap passthrough interface.");
        }
        Wrapped* target = self->getImpl().get();
        Return<Result> ret = std::apply(
                [target](const auto&... values) { return (target->*Op::kMember)(values...); },
                passed);
        if constexpr (std::is_void<Result>::value) {
            traceEnd();
            report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT);
        } else {
            const Result value = ret;  // a failed Return is fatal here
            traceEnd();
            report(instrumentation, InstrumentationEvent::PASSTHROUGH_EXIT, value);
        }
        return ret;
    }

    // The exit is reported each time the implementation delivers, just
    // before the caller's _hidl_cb sees the results.
    template <typename Callback, typename All, size_t... I>
    static Return<void> callWithCallback(Frame* self, const Callback& resultCallback,
                                         const All& all, std::index_sequence<I...>) {
        using Delivered = typename CallbackTraits<Callback>::Result;
        const CallInstrumentation instrumentation(self);
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
    template <typename... Args>
    static Return<void> queue(Frame* self, const Args&... args) {
        const CallInstrumentation instrumentation(self);
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
auto passthrough(V1_0::details::PassthroughFrame<Wrapped>* self, const Args&... args) {
    return Passthrough<Op, Wrapped>::call(self, args...);
}

}  // namespace frame

namespace V1_0 {
namespace details {

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::addOnewayTask(
        std::function<void()> task) {
    if (!onewayQueue.push(task)) {
        return ::android::hardware::Status::fromExceptionCode(
                ::android::hardware::Status::EX_TRANSACTION_FAILED,
                "Passthrough oneway function queue exceeds maximum size.");
    }
    return ::android::hardware::Void();
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::interfaceChain(
        typename IBase::interfaceChain_cb _hidl_cb) {
    return frame::passthrough<frame::base_methods::interfaceChain, IType>(this, _hidl_cb);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::debug(
        const ::android::hardware::hidl_handle& fd,
        const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) {
    return frame::passthrough<frame::base_methods::debug, IType>(this, fd, options);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::interfaceDescriptor(
        typename IBase::interfaceDescriptor_cb _hidl_cb) {
    return frame::passthrough<frame::base_methods::interfaceDescriptor, IType>(this, _hidl_cb);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::getHashChain(
        typename IBase::getHashChain_cb _hidl_cb) {
    return frame::passthrough<frame::base_methods::getHashChain, IType>(this, _hidl_cb);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::setHALInstrumentation() {
    configureInstrumentation(true);
    return ::android::hardware::Void();
}

template <typename IType>
::android::hardware::Return<bool> PassthroughFrame<IType>::linkToDeath(
        const ::android::sp<DeathRecipient>& recipient, uint64_t cookie) {
    return frame::passthrough<frame::base_methods::linkToDeath, IType>(this, recipient, cookie);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::ping() {
    return frame::passthrough<frame::base_methods::ping, IType>(this);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::getDebugInfo(
        typename IBase::getDebugInfo_cb _hidl_cb) {
    return frame::passthrough<frame::base_methods::getDebugInfo, IType>(this, _hidl_cb);
}

template <typename IType>
::android::hardware::Return<void> PassthroughFrame<IType>::notifySyspropsChanged() {
    return frame::passthrough<frame::base_methods::notifySyspropsChanged, IType>(this);
}

template <typename IType>
::android::hardware::Return<bool> PassthroughFrame<IType>::unlinkToDeath(
        const ::android::sp<DeathRecipient>& recipient) {
    return frame::passthrough<frame::base_methods::unlinkToDeath, IType>(this, recipient);
}

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
