// What a mocked operation answers when no expectation or ON_CALL says
// otherwise.
#pragma once

#include <gmock/gmock.h>
#include <hidl/Status.h>

#include <cstdint>
#include <functional>
#include <tuple>
#include <type_traits>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace details {

// Return<T> has no default constructor (a value or a status must be chosen),
// so GoogleMock has no default action for it and an uninteresting call would
// fail the test. Zero with an OK status is what GoogleMock gives plain
// integers; set once, process-wide, before the first mock exists.
inline void useZeroForUnsetResults() {
    static const bool once = [] {
        using ::android::hardware::Return;
        ::testing::DefaultValue<Return<int32_t>>::SetFactory([] { return Return<int32_t>(0); });
        ::testing::DefaultValue<Return<uint8_t>>::SetFactory([] { return Return<uint8_t>(0); });
        ::testing::DefaultValue<Return<int8_t>>::SetFactory([] { return Return<int8_t>(0); });
        return true;
    }();
    (void)once;
}

template <typename Callback>
struct ResultOf;
template <typename T>
struct ResultOf<std::function<void(const T&)>> {
    using type = T;
};

// Calls the result callback (the last argument) once with a default value.
struct AnswerWithDefaultValue {
    template <typename... Args>
    ::android::hardware::Return<void> operator()(Args&&... args) const {
        auto&& callback = std::get<sizeof...(Args) - 1>(std::forward_as_tuple(args...));
        callback(typename ResultOf<std::decay_t<decltype(callback)>>::type{});
        return ::android::hardware::Return<void>();
    }
};

}  // namespace details
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
