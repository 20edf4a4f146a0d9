// Values of the package's wire types as JSON, both ways: numbers, strings,
// arrays for vectors, objects for records with their member names, and hex
// strings for opaque byte blocks. A value that does not fit names where it
// sits and what was expected.
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>

#include "frame/Interfaces.h"
#include "types/RecordFields.h"

namespace zuv_hidl {

// Objects keep their members in declaration order.
using json = nlohmann::ordered_json;
namespace frame = ::vendor::zuv::hardware::fingerprint::frame;
namespace V1_0 = ::vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;

// A value that does not fit its parameter: a usage error, not a failed call.
struct ArgumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

template <typename T>
std::string typeName() {
    return frame::WireName<T>::get();
}

[[noreturn]] inline void mismatch(const std::string& where, const std::string& expected,
                                  const json& got) {
    throw ArgumentError(where + ": expected " + expected + ", got " + got.dump());
}

inline std::string toHex(const uint8_t* data, size_t size) {
    static const char kDigits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        out += kDigits[data[i] >> 4];
        out += kDigits[data[i] & 15];
    }
    return out;
}

template <typename T, typename = void>
struct JsonCodec;

template <typename T>
struct JsonCodec<T, std::enable_if_t<std::is_integral<T>::value>> {
    static json to(T v) { return v; }
    static void from(const json& j, T* out, const std::string& where) {
        const std::string expected = typeName<T>() + " (" +
                                     std::to_string(+std::numeric_limits<T>::min()) + ".." +
                                     std::to_string(+std::numeric_limits<T>::max()) + ")";
        if (!j.is_number_integer()) mismatch(where, expected, j);
        if (j.is_number_unsigned()) {
            const auto v = j.get<uint64_t>();
            if (v > static_cast<uint64_t>(std::numeric_limits<T>::max()))
                mismatch(where, expected, j);
            *out = static_cast<T>(v);
        } else {
            const auto v = j.get<int64_t>();
            if (v < static_cast<int64_t>(std::numeric_limits<T>::min()) ||
                (v > 0 &&
                 static_cast<uint64_t>(v) > static_cast<uint64_t>(std::numeric_limits<T>::max())))
                mismatch(where, expected, j);
            *out = static_cast<T>(v);
        }
    }
};

template <>
struct JsonCodec<hidl_string> {
    static json to(const hidl_string& v) { return std::string(v.c_str(), v.size()); }
    static void from(const json& j, hidl_string* out, const std::string& where) {
        if (!j.is_string()) mismatch(where, "string", j);
        *out = j.get<std::string>();
    }
};

template <typename U>
struct JsonCodec<hidl_vec<U>> {
    static json to(const hidl_vec<U>& v) {
        json out = json::array();
        for (size_t i = 0; i < v.size(); ++i) out.push_back(JsonCodec<U>::to(v[i]));
        return out;
    }
    static void from(const json& j, hidl_vec<U>* out, const std::string& where) {
        if (!j.is_array()) mismatch(where, typeName<hidl_vec<U>>() + " (an array)", j);
        out->resize(j.size());
        for (size_t i = 0; i < j.size(); ++i)
            JsonCodec<U>::from(j[i], &(*out)[i], where + "[" + std::to_string(i) + "]");
    }
};

// Opaque byte blocks: a hex string of at most N bytes, the rest zero.
template <size_t N>
struct JsonCodec<std::array<uint8_t, N>> {
    static json to(const std::array<uint8_t, N>& v) { return toHex(v.data(), N); }
    static void from(const json& j, std::array<uint8_t, N>* out, const std::string& where) {
        const std::string expected = "up to " + std::to_string(N) + " bytes as a hex string";
        if (!j.is_string()) mismatch(where, expected, j);
        const std::string hex = j.get<std::string>();
        if (hex.size() % 2 != 0 || hex.size() > 2 * N) mismatch(where, expected, j);
        out->fill(0);
        for (size_t i = 0; i < hex.size(); i += 2) {
            size_t used = 0;
            int byte = -1;
            try {
                byte = std::stoi(hex.substr(i, 2), &used, 16);
            } catch (const std::exception&) {
            }
            if (used != 2 || byte < 0) mismatch(where, expected, j);
            (*out)[i / 2] = static_cast<uint8_t>(byte);
        }
    }
};

// Interface references: a tool can pass no object of its own but null.
template <typename IType>
struct JsonCodec<sp<IType>> {
    static json to(const sp<IType>& v) {
        return v == nullptr ? json(nullptr) : json(typeName<sp<IType>>() + " object");
    }
    static void from(const json& j, sp<IType>* out, const std::string& where) {
        if (!j.is_null()) mismatch(where, "null (no " + typeName<sp<IType>>() + " object)", j);
        *out = nullptr;
    }
};

template <typename R>
struct JsonCodec<R, std::void_t<decltype(V1_0::RecordFields<R>::kName)>> {
    static json to(const R& v) {
        json out = json::object();
        std::apply(
                [&](const auto&... field) {
                    ((out[field.name] = JsonCodec<std::decay_t<decltype(v.*(field.member))>>::to(
                              v.*(field.member))),
                     ...);
                },
                V1_0::RecordFields<R>::fields());
        return out;
    }
    // Members left out stay zero; a member the record lacks is an error.
    static void from(const json& j, R* out, const std::string& where) {
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
                V1_0::RecordFields<R>::fields());
        if (known != j.size()) {
            std::string members;
            std::apply(
                    [&](const auto&... field) {
                        ((members += std::string(" ") + field.name), ...);
                    },
                    V1_0::RecordFields<R>::fields());
            throw ArgumentError(where + ": " + typeName<R>() + " has only the members" + members);
        }
    }
};

}  // namespace zuv_hidl
