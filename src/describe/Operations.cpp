// The operation descriptions, read off the one operation list each
// interface's proxy and stub are built from, and the records' JSON through
// their member tables.
#include <vendor/zuv/hardware/fingerprint/1.0/Operations.h>

#include <tuple>
#include <utility>

#include "android_services/AndroidServicesMethods.h"
#include "extended_fingerprint/ExtendedFingerprintMethods.h"
#include "extended_fingerprint_callback/ExtendedFingerprintCallbackMethods.h"
#include "types/RecordFields.h"

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {

template <typename R>
const char* RecordJson<R>::name() {
    return RecordFields<R>::kName;
}

template <typename R>
json RecordJson<R>::to(const R& v) {
    json out = json::object();
    std::apply(
            [&](const auto&... field) {
                ((out[field.name] = JsonCodec<std::decay_t<decltype(v.*(field.member))>>::to(
                          v.*(field.member))),
                 ...);
            },
            RecordFields<R>::fields());
    return out;
}

template <typename R>
void RecordJson<R>::from(const json& j, R* out, const std::string& where) {
    if (!j.is_object()) mismatch(where, typeName<R>() + " (an object)", j);
    size_t known = 0;
    std::apply(
            [&](const auto&... field) {
                (([&] {
                     auto it = j.find(field.name);
                     if (it == j.end()) return;
                     ++known;
                     using M = std::decay_t<decltype(out->*(field.member))>;
                     JsonCodec<M>::from(*it, &(out->*(field.member)), where + "." + field.name);
                 }()),
                 ...);
            },
            RecordFields<R>::fields());
    if (known != j.size()) {
        std::string members;
        std::apply([&](const auto&... field) { ((members += std::string(" ") + field.name), ...); },
                   RecordFields<R>::fields());
        throw ArgumentError(where + ": " + typeName<R>() + " has only the members" + members);
    }
}

template struct RecordJson<CaptureDebugData>;
template struct RecordJson<EnrollRecord>;
template struct RecordJson<FieldMfgFormat>;
template struct RecordJson<FrameworkInfo>;
template struct RecordJson<ReadInfoResult>;
template struct RecordJson<BiasTestResult>;
template struct RecordJson<TxTestResult>;
template struct RecordJson<NoiseTestResult>;
template struct RecordJson<DbiasCalibrationResult>;
template struct RecordJson<CaptouchCalibrationResult>;
template struct RecordJson<ContactResistanceTestResult>;
template struct RecordJson<TemperatureTestResult>;
template struct RecordJson<DigitalTestResult>;
template struct RecordJson<PsfVerificationResult>;
template struct RecordJson<PsfSettingFormat>;
template struct RecordJson<PsfCalibrationResult>;
template struct RecordJson<ImageQualityTestResult>;
template struct RecordJson<OtpTestResult>;

namespace {

using ::android::hardware::Return;
using Callback = IZuvExtendedFingerprintCallback;

const char* shapeName(frame::Shape s) {
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
constexpr bool kIsCallbackObject = std::is_same<T, sp<Callback>>::value;

template <typename M, size_t... I>
std::vector<Param> params(std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    return {Param{M::kParamNames[I], typeName<std::tuple_element_t<I, Tuple>>(),
                  kIsCallbackObject<std::tuple_element_t<I, Tuple>>}...};
}

template <typename M, size_t... I>
Outcome invoke(typename M::Interface* service, const json& args, const sp<Callback>& callback,
               std::index_sequence<I...>) {
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

template <typename T>
struct IsInterfaceRef : std::false_type {};
template <typename IType>
struct IsInterfaceRef<sp<IType>> : std::true_type {};

template <typename T>
json valueJson(const T& value, const ObjectNamer& name) {
    if constexpr (IsInterfaceRef<T>::value) {
        return name(value.get(), typeName<T>());
    } else {
        return JsonCodec<T>::to(value);
    }
}

template <typename M, size_t... I>
json argsJson(const void* const* args, const ObjectNamer& name, std::index_sequence<I...>) {
    using Tuple = typename M::Traits::ParamTuple;
    json out = json::object();
    ((out[M::kParamNames[I]] =
              valueJson(*static_cast<const std::tuple_element_t<I, Tuple>*>(args[I]), name)),
     ...);
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
        op.resultToJson = [](const void* v) { return JsonCodec<R>::to(*static_cast<const R*>(v)); };
    } else if constexpr (M::kShape == frame::Shape::kDirect) {
        using R = typename M::Traits::DirectResult;
        op.result = Param{"", typeName<R>()};
        op.resultToJson = [](const void* v) { return JsonCodec<R>::to(*static_cast<const R*>(v)); };
    }
    op.argsToJson = [](const void* const* args, const ObjectNamer& name) {
        return argsJson<M>(args, name, std::make_index_sequence<kIn>());
    };
    op.invoke = [](const sp<IBase>& service, const json& args, const sp<Callback>& callback) {
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
    ops.cast = [](const sp<IBase>& base) -> sp<IBase> {
        Return<sp<IType>> cast = IType::castFrom(base);
        if (!cast.isOk()) return nullptr;
        return static_cast<sp<IType>>(cast);
    };
    return ops;
}

}  // namespace

template <typename R>
RecordInfo recordInfo() {
    RecordInfo info{RecordFields<R>::kName, {}};
    std::apply(
            [&](const auto&... field) {
                (info.members.push_back(
                         {field.name,
                          typeName<std::decay_t<decltype(std::declval<R>().*(field.member))>>()}),
                 ...);
            },
            RecordFields<R>::fields());
    return info;
}

const std::vector<RecordInfo>& allRecords() {
    static const std::vector<RecordInfo> kAll = {recordInfo<CaptureDebugData>(),
                                                 recordInfo<EnrollRecord>(),
                                                 recordInfo<FieldMfgFormat>(),
                                                 recordInfo<FrameworkInfo>(),
                                                 recordInfo<ReadInfoResult>(),
                                                 recordInfo<BiasTestResult>(),
                                                 recordInfo<TxTestResult>(),
                                                 recordInfo<NoiseTestResult>(),
                                                 recordInfo<DbiasCalibrationResult>(),
                                                 recordInfo<CaptouchCalibrationResult>(),
                                                 recordInfo<ContactResistanceTestResult>(),
                                                 recordInfo<TemperatureTestResult>(),
                                                 recordInfo<DigitalTestResult>(),
                                                 recordInfo<PsfVerificationResult>(),
                                                 recordInfo<PsfSettingFormat>(),
                                                 recordInfo<PsfCalibrationResult>(),
                                                 recordInfo<ImageQualityTestResult>(),
                                                 recordInfo<OtpTestResult>()};
    return kAll;
}

const RecordInfo* findRecord(const std::string& name) {
    for (const RecordInfo& r : allRecords())
        if (r.name == name) return &r;
    return nullptr;
}

const std::vector<InterfaceOps>& allInterfaces() {
    static const std::vector<InterfaceOps> kAll = [] {
        namespace efm = extended_fingerprint_methods;
        namespace asm_ = android_services_methods;
        namespace cbm = extended_fingerprint_callback_methods;
        std::vector<InterfaceOps> all;
#define ZUV_EF_OP(kind, code, name, names) operation<efm::name>(),
#define ZUV_AS_OP(kind, code, name, names) operation<asm_::name>(),
#define ZUV_CB_OP(kind, code, name, names) operation<cbm::name>(),
        all.push_back(interfaceOps<IZuvExtendedFingerprint>(
                {ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_EF_OP)}));
        all.push_back(interfaceOps<IZuvExtendedFingerprintCallback>(
                {ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_CB_OP)}));
        all.push_back(interfaceOps<IDaxAndroidServices>({ZUV_ANDROID_SERVICES_METHODS(ZUV_AS_OP)}));
#undef ZUV_CB_OP
#undef ZUV_AS_OP
#undef ZUV_EF_OP
        return all;
    }();
    return kAll;
}

const InterfaceOps* findInterface(const std::string& name) {
    for (const InterfaceOps& i : allInterfaces())
        if (i.name == name || i.descriptor == name) return &i;
    return nullptr;
}

}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
