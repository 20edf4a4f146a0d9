// The I<Name>Default classes: every operation of each list defined once, by
// the same few lines; the parameters are read off the interface's member, the
// preprocessor only counts them.
#define LOG_TAG "vendor.zuv.hardware.fingerprint@1.0"

#include <hidl_host/Log.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServicesDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallbackDefault.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintDefault.h>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {

void details::sayNotOverridden(std::atomic<bool>& said, const char* interface,
                               const char* operation) {
    if (said.exchange(true, std::memory_order_relaxed)) return;
    ::android::hardware::host::logf(
            ::android::hardware::host::LogLevel::Warning,
            "%s::%s is not overridden; it answers zero or empty. Override it in "
            "your class derived from %sDefault.",
            interface, operation, interface);
}

// How many parameter names an entry lists: 0 to 6. An empty list and a list
// of one both make one macro argument; a comma made from "()" tells them apart.
#define ZUV_D_ARG7(a0, a1, a2, a3, a4, a5, a6, ...) a6
#define ZUV_D_COUNT(...) ZUV_D_ARG7(__VA_ARGS__, 6, 5, 4, 3, 2, 1, )
#define ZUV_D_HAS_COMMA(...) ZUV_D_ARG7(__VA_ARGS__, 1, 1, 1, 1, 1, 0, )
#define ZUV_D_MAKE_COMMA(...) ,
#define ZUV_D_IS_EMPTY(...) ZUV_D_HAS_COMMA(ZUV_D_MAKE_COMMA __VA_ARGS__())
#define ZUV_D_CAT(a, b) ZUV_D_CAT_(a, b)
#define ZUV_D_CAT_(a, b) a##b
#define ZUV_D_ARITY(...) \
    ZUV_D_CAT(ZUV_D_ARITY_, ZUV_D_CAT(ZUV_D_COUNT(__VA_ARGS__), ZUV_D_IS_EMPTY(__VA_ARGS__)))
#define ZUV_D_ARITY_11 0
#define ZUV_D_ARITY_10 1
#define ZUV_D_ARITY_21 2
#define ZUV_D_ARITY_31 3
#define ZUV_D_ARITY_41 4
#define ZUV_D_ARITY_51 5
#define ZUV_D_ARITY_61 6

#define ZUV_D_PARAMS(n, S) ZUV_D_CAT(ZUV_D_PARAMS_, n)(S)
#define ZUV_D_PARAMS_0(S)
#define ZUV_D_PARAMS_1(S) S::Param<0> a0
#define ZUV_D_PARAMS_2(S) ZUV_D_PARAMS_1(S), S::Param<1> a1
#define ZUV_D_PARAMS_3(S) ZUV_D_PARAMS_2(S), S::Param<2> a2
#define ZUV_D_PARAMS_4(S) ZUV_D_PARAMS_3(S), S::Param<3> a3
#define ZUV_D_PARAMS_5(S) ZUV_D_PARAMS_4(S), S::Param<4> a4
#define ZUV_D_PARAMS_6(S) ZUV_D_PARAMS_5(S), S::Param<5> a5
#define ZUV_D_ARGS(n) ZUV_D_CAT(ZUV_D_ARGS_, n)
#define ZUV_D_ARGS_0
#define ZUV_D_ARGS_1 a0
#define ZUV_D_ARGS_2 a0, a1
#define ZUV_D_ARGS_3 a0, a1, a2
#define ZUV_D_ARGS_4 a0, a1, a2, a3
#define ZUV_D_ARGS_5 a0, a1, a2, a3, a4
#define ZUV_D_ARGS_6 a0, a1, a2, a3, a4, a5

#define ZUV_D_DEFINE(kind, code, name, names)                                                  \
    details::DefaultSignature<decltype(&ZUV_D_INTERFACE::name)>::Result                        \
    ZUV_D_CAT(ZUV_D_INTERFACE, Default)::name(ZUV_D_PARAMS(                                    \
            ZUV_D_ARITY names, details::DefaultSignature<decltype(&ZUV_D_INTERFACE::name)>)) { \
        static std::atomic<bool> said{false};                                                  \
        details::sayNotOverridden(said, ZUV_D_NAME, #name);                                    \
        return details::answerDefault<decltype(&ZUV_D_INTERFACE::name)>(                       \
                ZUV_D_ARGS(ZUV_D_ARITY names));                                                \
    }

#define ZUV_D_INTERFACE IZuvExtendedFingerprint
#define ZUV_D_NAME "IZuvExtendedFingerprint"
ZUV_EXTENDED_FINGERPRINT_METHODS(ZUV_D_DEFINE)
#undef ZUV_D_INTERFACE
#undef ZUV_D_NAME

#define ZUV_D_INTERFACE IZuvExtendedFingerprintCallback
#define ZUV_D_NAME "IZuvExtendedFingerprintCallback"
ZUV_EXTENDED_FINGERPRINT_CALLBACK_METHODS(ZUV_D_DEFINE)
#undef ZUV_D_INTERFACE
#undef ZUV_D_NAME

#define ZUV_D_INTERFACE IDaxAndroidServices
#define ZUV_D_NAME "IDaxAndroidServices"
ZUV_ANDROID_SERVICES_METHODS(ZUV_D_DEFINE)

}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
