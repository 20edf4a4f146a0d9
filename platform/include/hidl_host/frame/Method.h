// What the frame knows of one operation: its code, name, flags and parameter
// names, and the member function it calls. Everything else (arguments, result, and how the
// result comes back) is read off the member function's type:
//   Return<T> f(args...)                          direct result
//   Return<void> f(args..., std::function<...>)   result through a callback
//   Return<void> f(args...)                       no result (two-way or oneway)
#pragma once

#include <hidl/Status.h>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <tuple>
#include <type_traits>

namespace android {
namespace hardware {
namespace frame {

enum class Shape { kDirect, kCallback, kNoResult, kOneway };

template <typename F>
struct CallbackTraits {
    static constexpr bool kIsCallback = false;
};
template <typename R>
struct CallbackTraits<std::function<void(const R&)>> {
    static constexpr bool kIsCallback = true;
    using Result = R;
};

template <typename M>
struct MethodTraits;

template <typename IType, typename R, typename... Params>
struct MethodTraits<::android::hardware::Return<R> (IType::*)(Params...)> {
    using Interface = IType;
    using DirectResult = R;
    using ParamTuple = std::tuple<std::decay_t<Params>...>;
    static constexpr size_t kParamCount = sizeof...(Params);

    using LastParam = std::tuple_element_t<kParamCount == 0 ? 0 : kParamCount - 1,
                                           std::tuple<std::decay_t<Params>..., void>>;
    static constexpr bool kHasCallback =
            std::is_void<R>::value && kParamCount > 0 && CallbackTraits<LastParam>::kIsCallback;
};

template <typename IType, uint32_t Code, auto Member, uint32_t Flags = 0>
struct MethodDecl {
    using Traits = MethodTraits<decltype(Member)>;
    using Interface = IType;
    static_assert(std::is_same<typename Traits::Interface, IType>::value,
                  "operation of another interface");

    static constexpr uint32_t kCode = Code;
    static constexpr uint32_t kFlags = Flags;
    static constexpr auto kMember = Member;

    static constexpr Shape kShape = Flags != 0 ? Shape::kOneway
                                    : !std::is_void<typename Traits::DirectResult>::value
                                            ? Shape::kDirect
                                    : Traits::kHasCallback ? Shape::kCallback
                                                           : Shape::kNoResult;
    static_assert(Flags == 0 || std::is_void<typename Traits::DirectResult>::value,
                  "a oneway operation has no result");
};

// The parameter names of an operation as the interface declares them; for a
// result delivered through a callback, the last one names the result.
template <typename... Names>
constexpr std::array<const char*, sizeof...(Names)> paramNames(Names... names) {
    return {{names...}};
}

// Stubs dispatch by position, so an operation list must run 1, 2, 3, ...
constexpr bool codesAreSequential(std::initializer_list<uint32_t> codes) {
    uint32_t expected = 1;
    for (uint32_t code : codes) {
        if (code != expected++) return false;
    }
    return true;
}

}  // namespace frame
}  // namespace hardware
}  // namespace android

// Declare operation `name` of the interface named by ZUV_INTERFACE in the
// including file: its code, name, member and the parenthesised list of its
// parameter names; arguments and result follow from the member's type.
#define ZUV_METHOD_WITH_FLAGS(code, name, names, flags)                                     \
    struct name : ::android::hardware::frame::MethodDecl<ZUV_INTERFACE, code,               \
                                                         &ZUV_INTERFACE::name, flags> {     \
        static constexpr const char* kName = #name;                                         \
        static constexpr auto kParamNames = ::android::hardware::frame::paramNames names;   \
        static_assert(kParamNames.size() == Traits::kParamCount, "one name per parameter"); \
    };
#define ZUV_METHOD(code, name, names) ZUV_METHOD_WITH_FLAGS(code, name, names, 0)
#define ZUV_ONEWAY_METHOD(code, name, names) ZUV_METHOD_WITH_FLAGS(code, name, names, 1)
