// What the I<Name>Default classes are made of: each operation's function type
// read off the interface's member, and the answer an operation gives when the
// service did not override it.
#pragma once

#include <hidl/Status.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

template <typename Member>
struct DefaultSignature;
template <typename I, typename R, typename... P>
struct DefaultSignature<::android::hardware::Return<R> (I::*)(P...)> {
    using Function = ::android::hardware::Return<R>(P...);
    using Value = R;
    using Result = ::android::hardware::Return<R>;
    template <size_t N>
    using Param = std::tuple_element_t<N, std::tuple<P...>>;
};

// The type of operation `name`, so a class declares it as `Function name;`
// and overrides it without spelling its parameters.
template <typename Member>
using DefaultFunction = typename DefaultSignature<Member>::Function;

template <typename F>
struct ResultCallback : std::false_type {};
template <typename T>
struct ResultCallback<std::function<void(const T&)>> : std::true_type {
    using Result = T;
};

// Logs, the first time only (`said`), that `interface::operation` answered
// the default because the service did not override it.
void sayNotOverridden(std::atomic<bool>& said, const char* interface, const char* operation);

// Zero for a direct result; an empty value through the result callback,
// called once; nothing otherwise. The status is OK.
template <typename Member, typename... Args>
typename DefaultSignature<Member>::Result answerDefault(Args&&... args) {
    using Value = typename DefaultSignature<Member>::Value;
    using Result = typename DefaultSignature<Member>::Result;
    if constexpr (!std::is_void<Value>::value) {
        return Result(Value{});
    } else {
        if constexpr (sizeof...(Args) > 0) {
            auto&& last = std::get<sizeof...(Args) - 1>(std::forward_as_tuple(args...));
            using Last = std::decay_t<decltype(last)>;
            if constexpr (ResultCallback<Last>::value) {
                if (last) last(typename ResultCallback<Last>::Result{});
            }
        }
        return Result();
    }
}

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor

// Inside an I<Name>Default class with `using Interface = I<Name>;`: one
// declaration per entry of the interface's operation list.
#define ZUV_DEFAULT_DECLARE(kind, code, name, names)                      \
    ::vendor::zuv::hardware::fingerprint::V1_0::details::DefaultFunction< \
            decltype(&Interface::name)>                                   \
            name;
