// The client side of every operation: one transaction on the remote binder
// per call, framed by a trace section and instrumentation events. A proxy's
// static procedure for operation M is just Client<M>::call(...).
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/Status.h>
#include <hidl_host/frame/CallInstrumentation.h>
#include <hidl_host/frame/CallObserver.h>
#include <hidl_host/frame/Codec.h>
#include <hidl_host/frame/Method.h>
#include <hidl_host/frame/Trace.h>
#include <hwbinder/IInterface.h>
#include <hwbinder/Parcel.h>
#include <hwbinder/ProcessState.h>

#include <tuple>
#include <utility>

namespace android {
namespace hardware {
namespace frame {

using ::android::hardware::IInterface;
using ::android::hardware::Return;
using ::android::hardware::Status;

template <typename Op>
class Client {
    using IType = typename Op::Interface;
    using Info = InterfaceInfo<IType>;
    using TransactCallback = IBinder::TransactCallback;

  public:
    // Arguments as the operation declares them; for the callback shape the
    // caller's _hidl_cb comes last.
    template <typename... Args>
    static auto call(IInterface* self, HidlInstrumentor* instrumentor, const Args&... args) {
        if constexpr (Op::kShape == Shape::kCallback) {
            auto all = std::forward_as_tuple(args...);
            return callWithCallback(self, instrumentor, std::get<sizeof...(Args) - 1>(all), all,
                                    std::make_index_sequence<sizeof...(Args) - 1>{});
        } else if constexpr (Op::kShape == Shape::kDirect) {
            return callDirect(self, instrumentor, args...);
        } else {
            return callNoResult(self, instrumentor, args...);
        }
    }

  private:
    // Token, arguments, then the transaction itself. A process that hands
    // out an object must be able to serve calls on it, hence the thread pool.
    template <typename... Args>
    static status_t send(IInterface* self, Parcel& request, Parcel* reply,
                         TransactCallback replyCallback, const Args&... args) {
        status_t err = request.writeInterfaceToken(IType::descriptor);
        if (err != OK) return err;
        err = writeItems(&request, args...);
        if (err != OK) return err;
        if constexpr ((IsInterface<Args>::value || ...)) {
            ::android::hardware::ProcessState::self()->startThreadPool();
        }
        sp<IBinder> binder = IInterface::asBinder(self);
        if (binder == nullptr) return ::android::DEAD_OBJECT;
        return binder->transact(Op::kCode, request, reply, Op::kFlags, std::move(replyCallback));
    }

    template <typename... Args>
    static Return<typename Op::Traits::DirectResult> callDirect(IInterface* self,
                                                                HidlInstrumentor* instrumentor,
                                                                const Args&... args) {
        using T = typename Op::Traits::DirectResult;
        const CallInstrumentation instrumentation(instrumentor);
        ObservedCall observed;
        observed.beginClient<Op>(self, args...);
        traceBegin(Info::kShortName, Op::kName, "client");
        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_ENTRY, Op::kName, args...);
        Status status;
        T value{};
        {
            Parcel request;
            Parcel reply;
            status_t err = send(self, request, &reply, nullptr, args...);
            if (err == OK) err = ::android::hardware::readFromParcel(&status, reply);
            if (err == OK && !status.isOk()) {
                observed.end(status);
                traceEndAfter(reply, request, status);
                return named<T>(status);
            }
            if (err == OK) err = Codec<T>::read(reply, &value);
            if (err != OK) {
                status.setFromStatusT(err);
                observed.end(status);
                traceEndAfter(reply, request, status);
                return named<T>(status);
            }
        }
        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_EXIT, Op::kName, value);
        observed.result(value);
        observed.end(status);
        traceEnd(status);
        return value;
    }

    // Two-way without a result reads the status; oneway reads nothing.
    template <typename... Args>
    static Return<void> callNoResult(IInterface* self, HidlInstrumentor* instrumentor,
                                     const Args&... args) {
        const CallInstrumentation instrumentation(instrumentor);
        ObservedCall observed;
        observed.beginClient<Op>(self, args...);
        traceBegin(Info::kShortName, Op::kName, "client");
        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_ENTRY, Op::kName, args...);
        Status status;
        {
            Parcel request;
            Parcel reply;
            status_t err = send(self, request, &reply, nullptr, args...);
            if (err == OK && Op::kShape != Shape::kOneway) {
                err = ::android::hardware::readFromParcel(&status, reply);
                if (err == OK && !status.isOk()) {
                    observed.end(status);
                    traceEndAfter(reply, request, status);
                    return named<void>(status);
                }
            }
            if (err != OK) {
                status.setFromStatusT(err);
                observed.end(status);
                traceEndAfter(reply, request, status);
                return named<void>(status);
            }
        }
        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_EXIT, Op::kName);
        observed.end(status);
        traceEnd(status);
        return Status::ok();
    }

    // The results are read inside the transport's reply callback and handed
    // to _hidl_cb while they still point into the reply. An error met there
    // while the status was OK is deliberately not reported: the call then
    // returns OK without calling _hidl_cb.
    template <typename Callback, typename All, size_t... I>
    static Return<void> callWithCallback(IInterface* self, HidlInstrumentor* instrumentor,
                                         const Callback& resultCallback, const All& all,
                                         std::index_sequence<I...>) {
        using Result = typename CallbackTraits<Callback>::Result;
        const CallInstrumentation instrumentation(instrumentor);
        ObservedCall observed;
        observed.beginClient<Op>(self, std::get<I>(all)...);
        traceBegin(Info::kShortName, Op::kName, "client");
        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_ENTRY, Op::kName,
                                     std::get<I>(all)...);
        Status status;
        status_t pendingError = OK;
        {
            Parcel request;
            Parcel reply;
            status_t err = send(
                    self, request, &reply,
                    [&](Parcel& replyParcel) {
                        status_t readErr =
                                ::android::hardware::readFromParcel(&status, replyParcel);
                        if (readErr != OK) {
                            pendingError = readErr;
                            return;
                        }
                        if (!status.isOk()) return;
                        typename Codec<Result>::Held held{};
                        readErr = Codec<Result>::read(replyParcel, &held);
                        if (readErr != OK) {
                            pendingError = readErr;
                            return;
                        }
                        const Result& result = Codec<Result>::get(held);
                        observed.result(result);
                        resultCallback(result);
                        instrumentation.report<Info>(InstrumentationEvent::CLIENT_API_EXIT,
                                                     Op::kName, result);
                    },
                    std::get<I>(all)...);
            if (err != OK) {
                status.setFromStatusT(err);
                observed.end(status);
                traceEndAfter(reply, request, status);
                return named<void>(status);
            }
        }
        (void)pendingError;
        observed.end(status);
        traceEnd(status);
        return named<void>(status);
    }

    // Every way out destroys the parcels before the trace section ends.
    static void traceEndAfter(Parcel& reply, Parcel& request, const Status& outcome) {
        reply.freeData();
        request.freeData();
        traceEnd(outcome);
    }

    // A failure names this operation if it ends the process unchecked.
    template <typename T>
    static Return<T> named(const Status& status) {
        Return<T> ret(status);
        ret.setOrigin(Info::kShortName, Op::kName);
        return ret;
    }
};

}  // namespace frame
}  // namespace hardware
}  // namespace android
