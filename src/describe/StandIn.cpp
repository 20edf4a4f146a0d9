// Stand-in objects. Each interface gets one class whose overrides are
// generated from the interface's operation list (the types read off its
// members), and one stub that serves the operations by code with the frame's
// codecs: the frame's own server calls abort on a failed answer, and a
// stand-in must be able to answer failures.
#include <hidl/HidlBinderSupport.h>
#include <hidl/ServiceManagement.h>
#include <hidl/Static.h>
#include <hidl_host/Log.h>
#include <hidl_host/frame/CallObserver.h>
#include <hidl_host/frame/Codec.h>
#include <vendor/zuv/hardware/fingerprint/1.0/StandIn.h>

#include <cstdio>
#include <mutex>
#include <tuple>
#include <utility>

#include "StatusNames.h"
#include "android_services/AndroidServicesMethods.h"
#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {

namespace {

using ::android::status_t;
using ::android::hardware::Parcel;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::frame::Codec;
using ::android::hardware::frame::InterfaceInfo;
using ::android::hardware::frame::Shape;
using TransactCallback = ::android::hardware::IBinder::TransactCallback;

using status_names::kExceptions;
using status_names::kTransportStatuses;
using status_names::Named;

Status failureStatus(const StandInAnswer& answer) {
    for (const Named& n : kExceptions)
        if (answer.failure == n.name)
            return Status::fromExceptionCode(n.code, answer.message.c_str());
    for (const Named& n : kTransportStatuses)
        if (answer.failure == n.name) return Status::fromStatusT(n.code);
    return Status::fromStatusT(::android::UNKNOWN_ERROR);
}

void describeStatus(const Status& status, CallOutcome* out) {
    if (status.exceptionCode() == Status::EX_TRANSACTION_FAILED) {
        out->status = status_names::transportStatusName(status.transactionError());
    } else {
        out->status = status_names::exceptionName(status.exceptionCode());
        out->message = status.exceptionMessage();
    }
}

template <typename T>
struct IsObject : std::false_type {};
template <typename I>
struct IsObject<sp<I>> : std::true_type {
    using Interface = I;
};

// The operation's result type: void for none.
template <typename M, bool = M::kShape == Shape::kCallback, bool = M::kShape == Shape::kDirect>
struct ResultType {
    using type = void;
};
template <typename M, bool kDirect>
struct ResultType<M, true, kDirect> {
    using type = typename ::android::hardware::frame::CallbackTraits<
            typename M::Traits::LastParam>::Result;
};
template <typename M>
struct ResultType<M, false, true> {
    using type = typename M::Traits::DirectResult;
};

// The parameters a caller passes: all but a result callback.
template <typename M>
constexpr size_t kArgCount =
        M::kShape == Shape::kCallback ? M::Traits::kParamCount - 1 : M::Traits::kParamCount;
template <typename M, size_t I>
using ArgType = std::tuple_element_t<I, typename M::Traits::ParamTuple>;

// The core every generated class derives from: the handler, and the turning
// of typed values into a call and of an answer into a typed result.
template <typename IType>
class StandInCore : public IType {
  public:
    StandInCore(const InterfaceOps* iface, StandInHandler handler)
        : mInterface(iface), mHandler(std::move(handler)) {}

    template <typename M, typename... Values>
    StandInAnswer ask(const Values&... values) const {
        StandInCall call;
        call.interface = mInterface;
        call.operation = &mInterface->operations.at(M::kCode - 1);
        [[maybe_unused]] size_t i = 0;
        (
                [&] {
                    const char* name = M::kParamNames[i++];
                    if constexpr (IsObject<Values>::value) {
                        call.args[name] = nullptr;
                        call.objects[name] = values;
                    } else {
                        call.args[name] = JsonCodec<Values>::to(values);
                    }
                }(),
                ...);
        return mHandler(call);
    }

    // A result the handler gave that does not fit is the handler's fault:
    // the caller sees BAD_VALUE and the cause goes to stderr.
    template <typename R>
    bool resultFrom(const StandInAnswer& answer, R* out) const {
        *out = R{};
        if (answer.result.is_null()) return true;
        try {
            JsonCodec<R>::from(answer.result, out, "result");
            return true;
        } catch (const ArgumentError& e) {
            ::android::hardware::host::logf(::android::hardware::host::LogLevel::Warning,
                                            "stand-in %s: %s\n", mInterface->name.c_str(),
                                            e.what());
            return false;
        }
    }

    // A call from this process.
    template <typename M, typename... P>
    auto local(const P&... p) {
        using R = typename M::Traits::DirectResult;
        if constexpr (M::kShape == Shape::kCallback) {
            return localWithCallback<M>(std::make_index_sequence<sizeof...(P) - 1>(),
                                        std::tie(p...));
        } else if constexpr (std::is_void<R>::value) {
            const StandInAnswer answer = askLocal<M>(p...);
            if (!answer.failure.empty() && M::kShape != Shape::kOneway)
                return Return<void>(failureStatus(answer));
            return Return<void>();
        } else {
            const StandInAnswer answer = askLocal<M>(p...);
            if (!answer.failure.empty()) return Return<R>(failureStatus(answer));
            R r;
            if (!resultFrom(answer, &r))
                return Return<R>(Status::fromStatusT(::android::BAD_VALUE));
            return Return<R>(r);
        }
    }

  private:
    // In this process the answer is given when the handler returns.
    template <typename M, typename... Values>
    StandInAnswer askLocal(const Values&... values) const {
        StandInAnswer answer = ask<M>(values...);
        if (answer.afterReply) answer.afterReply();
        return answer;
    }

    template <typename M, size_t... I, typename Tuple>
    Return<void> localWithCallback(std::index_sequence<I...>, const Tuple& all) {
        const StandInAnswer answer = askLocal<M>(std::get<I>(all)...);
        if (!answer.failure.empty()) return Return<void>(failureStatus(answer));
        typename ResultType<M>::type r;
        if (!resultFrom(answer, &r)) return Return<void>(Status::fromStatusT(::android::BAD_VALUE));
        std::get<sizeof...(I)>(all)(r);
        return Return<void>();
    }

    const InterfaceOps* mInterface;
    StandInHandler mHandler;
};

// Serving a call from another process: read the arguments as the frame's
// server does, ask the handler, write its answer or its failure.
template <typename M, size_t... I>
status_t serveWith(StandInCore<typename M::Interface>* core, const Parcel& data, Parcel* reply,
                   const TransactCallback& callback, std::index_sequence<I...>) {
    std::tuple<typename Codec<ArgType<M, I>>::Held...> held;
    status_t err = ::android::OK;
    ((err == ::android::OK ? (err = Codec<ArgType<M, I>>::read(data, &std::get<I>(held))) : err),
     ...);
    if (err != ::android::OK) return err;
    // Shown to the process's call observer (the recorder) as any served call.
    ::android::hardware::frame::ObservedCall observed;
    observed.beginServer<M>(core, Codec<ArgType<M, I>>::get(std::get<I>(held))...);
    const StandInAnswer answer =
            core->template ask<M>(Codec<ArgType<M, I>>::get(std::get<I>(held))...);
    const auto after = [&answer] {
        if (answer.afterReply) answer.afterReply();
    };
    if (M::kShape == Shape::kOneway) {
        observed.end(Status::ok());
        after();
        return ::android::OK;
    }
    if (!answer.failure.empty()) {
        observed.end(failureStatus(answer));
        err = ::android::hardware::writeToParcel(failureStatus(answer), reply);
        if (err == ::android::OK && callback) callback(*reply);
        after();
        return err;
    }
    using R = typename ResultType<M>::type;
    // The reply points into the result (strings, vectors): it must live
    // until the reply is sent.
    std::conditional_t<std::is_void<R>::value, int, R> r{};
    if constexpr (!std::is_void<R>::value) {
        if (!core->resultFrom(answer, &r)) {
            observed.end(Status::fromStatusT(::android::BAD_VALUE));
            return ::android::BAD_VALUE;
        }
        observed.result(r);
        ::android::hardware::writeToParcel(Status::ok(), reply);
        err = Codec<R>::write(reply, r);
        if (err != ::android::OK) return err;
    } else {
        ::android::hardware::writeToParcel(Status::ok(), reply);
    }
    observed.end(Status::ok());
    // Sent now rather than when the handler's thread unwinds, so the caller
    // has its answer before anything the handler's process does next.
    if (callback) callback(*reply);
    after();
    return ::android::OK;
}

using ServeFn = status_t (*)(IBase* impl, const Parcel& data, Parcel* reply,
                             const TransactCallback& callback);

template <typename M>
status_t serveOne(IBase* impl, const Parcel& data, Parcel* reply,
                  const TransactCallback& callback) {
    using IType = typename M::Interface;
    if (!data.enforceInterface(IType::descriptor)) return ::android::BAD_TYPE;
    auto* core = static_cast<StandInCore<IType>*>(static_cast<IType*>(impl));
    return serveWith<M>(core, data, reply, callback, std::make_index_sequence<kArgCount<M>>());
}

// Calling an operation with arguments keyed by name.
template <typename M, size_t... I>
CallOutcome invokeWithArgs(const sp<IBase>& service, const json& args,
                           const std::map<std::string, sp<IBase>>& objects,
                           std::index_sequence<I...>) {
    using IType = typename M::Interface;
    std::tuple<ArgType<M, I>...> values;
    (
            [&] {
                using P = ArgType<M, I>;
                const std::string name = M::kParamNames[I];
                if constexpr (IsObject<P>::value) {
                    auto it = objects.find(name);
                    if (it != objects.end() && it->second != nullptr) {
                        Return<P> cast = IsObject<P>::Interface::castFrom(it->second);
                        if (cast.isOk()) std::get<I>(values) = cast;
                    }
                } else {
                    if (!args.contains(name)) throw ArgumentError("args." + name + ": missing");
                    JsonCodec<P>::from(args.at(name), &std::get<I>(values), "args." + name);
                }
            }(),
            ...);
    (void)args;
    (void)objects;
    CallOutcome out;
    if (service == nullptr) return out;
    auto* object = static_cast<IType*>(service.get());
    using R = typename ResultType<M>::type;
    if constexpr (M::kShape == Shape::kCallback) {
        Return<void> ret = (object->*M::kMember)(
                std::get<I>(values)..., [&](const R& r) { out.result = JsonCodec<R>::to(r); });
        if (!ret.isOk()) describeStatus(ret.getStatus(), &out);
    } else if constexpr (M::kShape == Shape::kDirect) {
        Return<R> ret = (object->*M::kMember)(std::get<I>(values)...);
        if (ret.isOk()) {
            out.result = JsonCodec<R>::to(static_cast<R>(ret));
        } else {
            describeStatus(ret.getStatus(), &out);
        }
    } else {
        Return<void> ret = (object->*M::kMember)(std::get<I>(values)...);
        if (!ret.isOk()) describeStatus(ret.getStatus(), &out);
    }
    if (out.status != "OK") out.result = nullptr;
    return out;
}

template <typename M>
CallOutcome invokeOne(const sp<IBase>& service, const json& args,
                      const std::map<std::string, sp<IBase>>& objects) {
    return invokeWithArgs<M>(service, args, objects, std::make_index_sequence<kArgCount<M>>());
}

template <typename M, size_t... I>
json checkArgsWith(const json& args, std::index_sequence<I...>) {
    if (!args.is_object()) describe::mismatch("args", "an object keyed by parameter name", args);
    json canonical = json::object();
    (
            [&] {
                using P = ArgType<M, I>;
                const std::string name = M::kParamNames[I];
                const std::string where = "args." + name;
                if (!args.contains(name)) throw ArgumentError(where + ": missing");
                const json& v = args.at(name);
                if constexpr (IsObject<P>::value) {
                    if (!v.is_null() &&
                        !(v.is_object() && v.contains("object") && v["object"].is_string()))
                        describe::mismatch(where, "null or {\"object\": \"<reference>\"}", v);
                    canonical[name] = v;
                } else {
                    P value;
                    JsonCodec<P>::from(v, &value, where);
                    canonical[name] = JsonCodec<P>::to(value);
                }
            }(),
            ...);
    for (auto it = args.begin(); it != args.end(); ++it) {
        bool known = false;
        for (size_t i = 0; i < kArgCount<M>; ++i) known = known || it.key() == M::kParamNames[i];
        if (!known)
            throw ArgumentError("args." + it.key() + ": " + M::kName + " has no such parameter");
    }
    return canonical;
}

template <typename M>
json checkArgsOf(const json& args) {
    return checkArgsWith<M>(args, std::make_index_sequence<kArgCount<M>>());
}

template <typename M>
json checkResultOf(const json& value, const std::string& where) {
    using R = typename ResultType<M>::type;
    if constexpr (std::is_void<R>::value) {
        throw ArgumentError(where + ": " + M::kName + " has no result");
    } else {
        R r;
        JsonCodec<R>::from(value, &r, where);
        return JsonCodec<R>::to(r);
    }
}

struct OpFns {
    ServeFn serve;
    CallOutcome (*invoke)(const sp<IBase>&, const json&, const std::map<std::string, sp<IBase>>&);
    json (*checkArgs)(const json&);
    json (*checkResult)(const json&, const std::string&);
};

// The stub of a stand-in: the interface's own stub for the base operations,
// the stand-in's serving for the interface's.
template <typename IType>
class StandInStub : public InterfaceInfo<IType>::Stub {
    using Stub = typename InterfaceInfo<IType>::Stub;

  public:
    StandInStub(IType* impl, const std::vector<OpFns>* fns) : Stub(impl), mFns(fns) {}

    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0,
                        TransactCallback callback = nullptr) override {
        if (code >= 1 && code <= mFns->size()) {
            const sp<IType> impl = this->getImplAs();
            return (*mFns)[code - 1].serve(impl.get(), data, reply, callback);
        }
        return Stub::onTransact(code, data, reply, flags, std::move(callback));
    }

  private:
    const std::vector<OpFns>* mFns;
};

// One generated override per operation, each a level over the one before:
// Level<N> implements operations 1..N.
#define ZUV_STANDIN_OVERRIDE(ns, kind, code, name, names)                                \
    template <typename Base, typename Sig>                                               \
    struct Override_##name;                                                              \
    template <typename Base, typename I, typename R, typename... P>                      \
    struct Override_##name<Base, Return<R> (I::*)(P...)> : Base {                        \
        using Base::Base;                                                                \
        Return<R> name(P... p) override { return this->template local<ns::name>(p...); } \
    };

#define ZUV_STANDIN_LEVEL(ns, IType, kind, code, name, names)                   \
    template <>                                                                 \
    struct Level<IType, code>                                                   \
        : ns::Override_##name<Level<IType, code - 1>, decltype(&IType::name)> { \
        using ns::Override_##name<Level<IType, code - 1>,                       \
                                  decltype(&IType::name)>::Override_##name;     \
    };

template <typename IType, int N>
struct Level;
template <typename IType>
struct Level<IType, 0> : StandInCore<IType> {
    using StandInCore<IType>::StandInCore;
};

namespace ef {
namespace m = extended_fingerprint_methods;
#define ZUV_OVERRIDE(kind, code, name, names) ZUV_STANDIN_OVERRIDE(m, kind, code, name, names)
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_OVERRIDE)
#undef ZUV_OVERRIDE
}  // namespace ef
namespace cb {
namespace m = extended_fingerprint_callback_methods;
#define ZUV_OVERRIDE(kind, code, name, names) ZUV_STANDIN_OVERRIDE(m, kind, code, name, names)
ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_OVERRIDE)
#undef ZUV_OVERRIDE
}  // namespace cb
namespace as {
namespace m = android_services_methods;
#define ZUV_OVERRIDE(kind, code, name, names) ZUV_STANDIN_OVERRIDE(m, kind, code, name, names)
ZUV_ANDROID_SERVICES_METHODS(ZUV_OVERRIDE)
#undef ZUV_OVERRIDE
}  // namespace as

#define ZUV_LEVEL(kind, code, name, names) \
    ZUV_STANDIN_LEVEL(ef, IZuvExtendedFingerprint, kind, code, name, names)
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_LEVEL)
#undef ZUV_LEVEL
#define ZUV_LEVEL(kind, code, name, names) \
    ZUV_STANDIN_LEVEL(cb, IZuvExtendedFingerprintCallback, kind, code, name, names)
ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_LEVEL)
#undef ZUV_LEVEL
#define ZUV_LEVEL(kind, code, name, names) \
    ZUV_STANDIN_LEVEL(as, IDaxAndroidServices, kind, code, name, names)
ZUV_ANDROID_SERVICES_METHODS(ZUV_LEVEL)
#undef ZUV_LEVEL

// The complete class of each interface: every operation overridden.
template <typename IType>
using StandInOf = Level<IType, static_cast<int>(InterfaceInfo<IType>::kMethodCount)>;

#define ZUV_FNS(ns, kind, code, name, names)                                 \
    OpFns{&serveOne<ns::name>, &invokeOne<ns::name>, &checkArgsOf<ns::name>, \
          &checkResultOf<ns::name>},
#define ZUV_EF_FNS(kind, code, name, names) \
    ZUV_FNS(extended_fingerprint_methods, kind, code, name, names)
#define ZUV_CB_FNS(kind, code, name, names) \
    ZUV_FNS(extended_fingerprint_callback_methods, kind, code, name, names)
#define ZUV_AS_FNS(kind, code, name, names) \
    ZUV_FNS(android_services_methods, kind, code, name, names)
const std::vector<OpFns> kFingerprintFns = {ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_EF_FNS)};
const std::vector<OpFns> kCallbackFns = {ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_CB_FNS)};
const std::vector<OpFns> kServicesFns = {ZUV_ANDROID_SERVICES_METHODS(ZUV_AS_FNS)};
#undef ZUV_AS_FNS
#undef ZUV_CB_FNS
#undef ZUV_EF_FNS
#undef ZUV_FNS

// The platform makes a local object's stub through the constructor map, by
// descriptor; stand-ins get theirs, every other object the package's.
template <typename IType>
void installStubMaker(const std::vector<OpFns>* fns) {
    static std::once_flag once;
    std::call_once(once, [fns] {
        auto& makers = ::android::hardware::details::getBnConstructorMap();
        auto previous = makers.get(IType::descriptor, nullptr);
        std::function<sp<::android::hardware::IBinder>(void*)> maker =
                [previous, fns](void* iface) -> sp<::android::hardware::IBinder> {
            auto* object = static_cast<IType*>(iface);
            if (dynamic_cast<StandInCore<IType>*>(object) != nullptr)
                return new StandInStub<IType>(object, fns);
            return previous ? previous(iface) : nullptr;
        };
        makers.set(std::string(IType::descriptor), std::move(maker));
    });
}

template <typename IType>
sp<IBase> make(const InterfaceOps& iface, StandInHandler handler, const std::vector<OpFns>* fns) {
    installStubMaker<IType>(fns);
    return new StandInOf<IType>(&iface, std::move(handler));
}

// The functions of op, found by its interface.
const OpFns& fnsOf(const Operation& op) {
    for (const InterfaceOps& iface : allInterfaces()) {
        for (const Operation& o : iface.operations) {
            if (&o != &op) continue;
            if (iface.name == "IZuvExtendedFingerprint") return kFingerprintFns.at(op.code - 1);
            if (iface.name == "IZuvExtendedFingerprintCallback")
                return kCallbackFns.at(op.code - 1);
            return kServicesFns.at(op.code - 1);
        }
    }
    throw ArgumentError(op.name + ": not an operation of the package's interfaces");
}

}  // namespace

sp<IBase> makeStandIn(const InterfaceOps& iface, StandInHandler handler) {
    if (iface.name == "IZuvExtendedFingerprint")
        return make<IZuvExtendedFingerprint>(iface, std::move(handler), &kFingerprintFns);
    if (iface.name == "IZuvExtendedFingerprintCallback")
        return make<IZuvExtendedFingerprintCallback>(iface, std::move(handler), &kCallbackFns);
    return make<IDaxAndroidServices>(iface, std::move(handler), &kServicesFns);
}

int registerStandIn(const sp<IBase>& object, const std::string& instance) {
    return ::android::hardware::details::registerAsServiceInternal(object, instance);
}

CallOutcome invokeWith(const Operation& op, const sp<IBase>& service, const json& args,
                       const std::map<std::string, sp<IBase>>& objects) {
    return fnsOf(op).invoke(service, args, objects);
}

json checkArguments(const Operation& op, const json& args) {
    return fnsOf(op).checkArgs(args);
}

json checkResult(const Operation& op, const json& value, const std::string& where) {
    return fnsOf(op).checkResult(value, where);
}

const std::vector<std::string>& failureNames() {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> names;
        for (const Named& n : kTransportStatuses) names.emplace_back(n.name);
        for (const Named& n : kExceptions) names.emplace_back(n.name);
        return names;
    }();
    return kNames;
}

bool isFailureName(const std::string& name) {
    for (const std::string& n : failureNames())
        if (n == name) return true;
    return false;
}

}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
