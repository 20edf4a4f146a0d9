// The operations of the package's interfaces as the tool sees them: what
// describe prints and what call and watch invoke, all read off the one
// operation list each interface's proxy and stub are built from.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Status.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Json.h"
#include "android_services/AndroidServicesMethods.h"
#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"

namespace zuv_hidl {

using ::android::hardware::Return;
using ::android::hidl::base::V1_0::IBase;
using Callback = V1_0::IZuvExtendedFingerprintCallback;

struct Param {
    std::string name;
    std::string type;
    bool isCallbackObject = false;  // an IZuvExtendedFingerprintCallback the tool can supply
};

// What one call gave: a status, and the result when there is one.
struct Outcome {
    bool ok = true;
    std::string status;  // the failure, for people
    json result;         // null when the operation has none
};

struct Operation {
    uint32_t code = 0;
    std::string name;
    std::string shape;  // direct, callback, none, oneway
    std::vector<Param> params;
    Param result;  // type empty when there is none
    // Calls the operation on `service` (an object of the interface) with one
    // JSON value per parameter; callback-object parameters take `callback`
    // and are not among `args`. Throws ArgumentError for an argument that
    // does not fit. With a null service it only checks the arguments.
    std::function<Outcome(const ::android::sp<IBase>& service, const json& args,
                          const ::android::sp<Callback>& callback)>
            invoke;
    size_t argCount() const {
        size_t n = 0;
        for (const Param& p : params) n += p.isCallbackObject ? 0 : 1;
        return n;
    }
};

struct InterfaceOps {
    std::string name;        // short name, IZuvExtendedFingerprint
    std::string descriptor;  // vendor.zuv.hardware.fingerprint@1.0::IZuvExtendedFingerprint
    std::vector<Operation> operations;
    // The object of this interface behind a service, or null.
    std::function<::android::sp<IBase>(const ::android::sp<IBase>&)> cast;
    const Operation* find(const std::string& op) const {
        for (const Operation& o : operations)
            if (o.name == op) return &o;
        return nullptr;
    }
};

namespace detail {

inline const char* shapeName(frame::Shape s) {
    switch (s) {
        case frame::Shape::kDirect:
            return "direct";
        case frame::Shape::kCallback:
            return "callback";
        case frame::Shape::kOneway:
            return "oneway";
        default:
            return "none";
    }
}

template <typename T>
constexpr bool kIsCallbackObject = std::is_same<T, ::android::sp<Callback>>::value;

template <typename M, size_t... I>
std::vector<Param> params(std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    return {Param{M::kParamNames[I], typeName<std::tuple_element_t<I, Tuple>>(),
                  kIsCallbackObject<std::tuple_element_t<I, Tuple>>}...};
}

template <typename M, size_t... I>
Outcome invoke(typename M::Interface* service, const json& args,
               const ::android::sp<Callback>& callback, std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    std::tuple<std::tuple_element_t<I, Tuple>...> values;
    [[maybe_unused]] size_t next = 0;
    (([&] {
         using P = std::tuple_element_t<I, Tuple>;
         if constexpr (kIsCallbackObject<P>) {
             std::get<I>(values) = callback;
         } else {
             const std::string where = std::string("argument ") + std::to_string(next + 1) + " (" +
                                       M::kParamNames[I] + ")";
             JsonCodec<P>::from(args.at(next++), &std::get<I>(values), where);
         }
     }()),
     ...);
    Outcome out;
    if (service == nullptr) return out;  // checking the arguments only
    auto finish = [&](const auto& ret) {
        out.ok = ret.isOk();
        if (!out.ok) out.status = ret.isDeadObject() ? "DEAD_OBJECT" : ret.description();
    };
    if constexpr (M::kShape == frame::Shape::kCallback) {
        using R = typename frame::CallbackTraits<typename M::Traits::LastParam>::Result;
        Return<void> ret = (service->*M::kMember)(
                std::get<I>(values)..., [&](const R& r) { out.result = JsonCodec<R>::to(r); });
        finish(ret);
    } else if constexpr (M::kShape == frame::Shape::kDirect) {
        using R = typename M::Traits::DirectResult;
        Return<R> ret = (service->*M::kMember)(std::get<I>(values)...);
        finish(ret);
        if (out.ok) out.result = JsonCodec<R>::to(static_cast<R>(ret));
    } else {
        Return<void> ret = (service->*M::kMember)(std::get<I>(values)...);
        finish(ret);
    }
    return out;
}

template <typename M>
Operation operation() {
    constexpr size_t kAll = M::Traits::kParamCount;
    constexpr bool kCallback = M::kShape == frame::Shape::kCallback;
    constexpr size_t kIn = kCallback ? kAll - 1 : kAll;
    Operation op;
    op.code = M::kCode;
    op.name = M::kName;
    op.shape = shapeName(M::kShape);
    op.params = params<M>(std::make_index_sequence<kIn>());
    if constexpr (kCallback) {
        using R = typename frame::CallbackTraits<typename M::Traits::LastParam>::Result;
        op.result = Param{M::kParamNames[kAll - 1], typeName<R>()};
    } else if constexpr (M::kShape == frame::Shape::kDirect) {
        op.result = Param{"", typeName<typename M::Traits::DirectResult>()};
    }
    op.invoke = [](const ::android::sp<IBase>& service, const json& args,
                   const ::android::sp<Callback>& callback) {
        auto* object = static_cast<typename M::Interface*>(service.get());
        return invoke<M>(object, args, callback, std::make_index_sequence<kIn>());
    };
    return op;
}

template <typename IType>
InterfaceOps interfaceOps(std::vector<Operation> operations) {
    InterfaceOps ops;
    ops.name = frame::InterfaceInfo<IType>::kShortName;
    ops.descriptor = IType::descriptor;
    ops.operations = std::move(operations);
    ops.cast = [](const ::android::sp<IBase>& base) -> ::android::sp<IBase> {
        Return<::android::sp<IType>> cast = IType::castFrom(base);
        if (!cast.isOk()) return nullptr;
        return static_cast<::android::sp<IType>>(cast);
    };
    return ops;
}

}  // namespace detail

// The three interfaces, in the package's order.
inline const std::vector<InterfaceOps>& allInterfaces() {
    static const std::vector<InterfaceOps> kAll = [] {
        namespace efm = V1_0::extended_fingerprint_methods;
        namespace asm_ = V1_0::android_services_methods;
        namespace cbm = V1_0::extended_fingerprint_callback_methods;
        std::vector<InterfaceOps> all;
#define ZUV_EF_OP(kind, code, name, names) detail::operation<efm::name>(),
#define ZUV_AS_OP(kind, code, name, names) detail::operation<asm_::name>(),
#define ZUV_CB_OP(kind, code, name, names) detail::operation<cbm::name>(),
        all.push_back(detail::interfaceOps<V1_0::IZuvExtendedFingerprint>(
                {ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_EF_OP)}));
        all.push_back(detail::interfaceOps<V1_0::IZuvExtendedFingerprintCallback>(
                {ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_CB_OP)}));
        all.push_back(detail::interfaceOps<V1_0::IDaxAndroidServices>(
                {ZUV_ANDROID_SERVICES_METHODS(ZUV_AS_OP)}));
#undef ZUV_CB_OP
#undef ZUV_AS_OP
#undef ZUV_EF_OP
        return all;
    }();
    return kAll;
}

inline const InterfaceOps* findInterface(const std::string& name) {
    for (const InterfaceOps& i : allInterfaces())
        if (i.name == name || i.descriptor == name) return &i;
    return nullptr;
}

}  // namespace zuv_hidl
