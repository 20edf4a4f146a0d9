// The server side of every operation: read the arguments, call the
// implementation, write the status and the results, framed by a trace
// section and instrumentation events. A stub's static handler for operation
// M is just serve<M>(...).
#pragma once

#include <android/hidl/base/1.0/BnHwBase.h>
#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>
#include <hidl_host/Fatal.h>
#include <hidl_host/frame/CallInstrumentation.h>
#include <hidl_host/frame/CallObserver.h>
#include <hidl_host/frame/Codec.h>
#include <hidl_host/frame/Method.h>
#include <hidl_host/frame/Trace.h>
#include <hwbinder/Parcel.h>
#include <log/log.h>

#include <tuple>
#include <utility>

namespace android {
namespace hardware {
namespace frame {

using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hidl::base::V1_0::BnHwBase;
using TransactCallback = IBinder::TransactCallback;

template <typename Tuple, typename Indices>
struct TuplePrefix;
template <typename Tuple, size_t... I>
struct TuplePrefix<Tuple, std::index_sequence<I...>> {
    using type = std::tuple<std::tuple_element_t<I, Tuple>...>;
};

// Arguments as read from the request, held in the form each codec reads.
template <typename Tuple>
struct HeldArgs;
template <typename... Values>
struct HeldArgs<std::tuple<Values...>> {
    using type = std::tuple<typename Codec<Values>::Held...>;
};

// What an interface that answers failures sends instead of its results.
inline status_t replyFailure(const Status& status, Parcel* reply) {
    return ::android::hardware::writeToParcel(status, reply);
}

template <typename Op>
class Server {
    using IType = typename Op::Interface;
    using Info = InterfaceInfo<IType>;
    using Traits = typename Op::Traits;
    // The callback shape's last parameter is the result callback, not an
    // argument read from the request.
    static constexpr size_t kArgCount =
            Op::kShape == Shape::kCallback ? Traits::kParamCount - 1 : Traits::kParamCount;
    using ArgValues = typename TuplePrefix<typename Traits::ParamTuple,
                                           std::make_index_sequence<kArgCount>>::type;

  public:
    static status_t serve(BnHwBase* stub, const Parcel& data, Parcel* reply,
                          TransactCallback callback) {
        const auto impl = static_cast<typename Info::Stub*>(stub)->getImplAs();
        return serveOn(impl.get(), stub, data, reply, std::move(callback));
    }

    // The same with another object answering in place of the stub's.
    static status_t serveOn(IType* target, BnHwBase* stub, const Parcel& data, Parcel* reply,
                            TransactCallback callback) {
        const CallInstrumentation instrumentation(stub);
        if (!data.enforceInterface(IType::descriptor)) return ::android::BAD_TYPE;

        typename HeldArgs<ArgValues>::type held;
        status_t err = readArgs(data, held, std::make_index_sequence<kArgCount>{});
        if (err != OK) return err;

        traceBegin(Info::kShortName, Op::kName, "server");
        return invoke(target, held, reply, std::move(callback), instrumentation,
                      std::make_index_sequence<kArgCount>{});
    }

  private:
    template <typename Held, size_t... I>
    static status_t readArgs(const Parcel& data, Held& held, std::index_sequence<I...>) {
        status_t err = OK;
        ((err == OK ? (err = Codec<std::tuple_element_t<I, ArgValues>>::read(data,
                                                                             &std::get<I>(held)))
                    : err),
         ...);
        return err;
    }

    template <size_t I, typename Held>
    static const auto& arg(const Held& held) {
        return Codec<std::tuple_element_t<I, ArgValues>>::get(std::get<I>(held));
    }

    template <typename Held, size_t... I>
    static status_t invoke(IType* target, const Held& held, Parcel* reply,
                           TransactCallback callback, const CallInstrumentation& instrumentation,
                           std::index_sequence<I...>) {
        instrumentation.report<Info>(InstrumentationEvent::SERVER_API_ENTRY, Op::kName,
                                     arg<I>(held)...);
        ObservedCall observed;
        observed.beginServer<Op>(target, arg<I>(held)...);
        if constexpr (Op::kShape == Shape::kDirect) {
            using T = typename Traits::DirectResult;
            Return<T> ret = (target->*Op::kMember)(arg<I>(held)...);
            if (Info::kRepliesFailures && !ret.isOk()) {
                observed.end(ret);
                traceEnd();
                recordServedOutcome(ret.getStatus());
                return replyFailure(ret.getStatus(), reply);
            }
            const T value = ret;  // a failed Return is fatal here
            observed.result(value);
            observed.end(ret);
            ::android::hardware::writeToParcel(Status::ok(), reply);
            const status_t err = Codec<T>::write(reply, value);
            traceEnd();
            instrumentation.report<Info>(InstrumentationEvent::SERVER_API_EXIT, Op::kName, value);
            recordServedOutcome(err == OK ? Status::ok() : Status::fromStatusT(err));
            if (err != OK) return err;
            if (callback) callback(*reply);
            return OK;
        } else if constexpr (Op::kShape == Shape::kCallback) {
            using ResultCallback = std::tuple_element_t<kArgCount, typename Traits::ParamTuple>;
            using Result = typename CallbackTraits<ResultCallback>::Result;
            bool called = false;
            status_t err = OK;
            Return<void> ret = (target->*Op::kMember)(
                    arg<I>(held)..., ResultCallback([&](const Result& result) {
                        if (called) {
                            ::android::hardware::host::fatal(
                                    Info::kLogTag,
                                    "%s: _hidl_cb called a second time, but must be called once.",
                                    Op::kName);
                        }
                        called = true;
                        observed.result(result);
                        ::android::hardware::writeToParcel(Status::ok(), reply);
                        err = Codec<Result>::write(reply, result);
                        traceEnd();
                        instrumentation.report<Info>(InstrumentationEvent::SERVER_API_EXIT,
                                                     Op::kName, result);
                        recordServedOutcome(err == OK ? Status::ok() : Status::fromStatusT(err));
                        if (err == OK && callback) callback(*reply);
                    }));
            observed.end(ret);
            if (Info::kRepliesFailures && !called && !ret.isOk()) {
                traceEnd();
                recordServedOutcome(ret.getStatus());
                return replyFailure(ret.getStatus(), reply);
            }
            ret.assertOk();
            if (!called) {
                ::android::hardware::host::fatal(
                        Info::kLogTag, "%s: _hidl_cb not called, but must be called once.",
                        Op::kName);
            }
            return err;
        } else {
            // No result: the transport sends the reply once the handler is
            // done, even for a oneway transaction that nobody will read.
            Return<void> ret = (target->*Op::kMember)(arg<I>(held)...);
            observed.end(ret);
            traceEnd();
            instrumentation.report<Info>(InstrumentationEvent::SERVER_API_EXIT, Op::kName);
            recordServedOutcome(ret.getStatus());
            if (Info::kRepliesFailures && !ret.isOk()) return replyFailure(ret.getStatus(), reply);
            ret.assertOk();
            ::android::hardware::writeToParcel(Status::ok(), reply);
            return OK;
        }
    }
};

template <typename Op>
status_t serve(BnHwBase* stub, const Parcel& data, Parcel* reply, TransactCallback callback) {
    return Server<Op>::serve(stub, data, reply, std::move(callback));
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
