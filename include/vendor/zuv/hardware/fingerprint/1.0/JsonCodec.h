// Values of the package's wire types as JSON, both ways: numbers, strings,
// arrays for vectors, objects for records with their member names. Bytes
// (vec<uint8_t> and uint8_t[N]) are written as one lowercase hex string and
// read from a hex string ("0a0b", "0x0A0B") or an array of numbers alike. A
// value that does not fit names where it sits and what was expected.
//
// Templates, so a tool can convert the typed values it holds; the records'
// member tables stay in the library (libvendor.zuv.hardware.fingerprint@1.0-describe).
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/IDaxAndroidServices.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprint.h>
#include <vendor/zuv/hardware/fingerprint/1.0/IZuvExtendedFingerprintCallback.h>
#include <vendor/zuv/hardware/fingerprint/1.0/types.h>

#include <array>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace vendor {
namespace zuv {
namespace hardware {
namespace fingerprint {
namespace V1_0 {
namespace describe {

// Objects keep their members in declaration order.
using json = nlohmann::ordered_json;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;

// A value that does not fit its parameter: a usage error, not a failed call.
struct ArgumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The records, each with its member table compiled into the library.
template <typename R>
struct IsRecord : std::false_type {};
#define ZUV_DESCRIBED_RECORD(R) \
    template <>                 \
    struct IsRecord<R> : std::true_type {};
ZUV_DESCRIBED_RECORD(CaptureDebugData)
ZUV_DESCRIBED_RECORD(EnrollRecord)
ZUV_DESCRIBED_RECORD(FieldMfgFormat)
ZUV_DESCRIBED_RECORD(FrameworkInfo)
ZUV_DESCRIBED_RECORD(ReadInfoResult)
ZUV_DESCRIBED_RECORD(BiasTestResult)
ZUV_DESCRIBED_RECORD(TxTestResult)
ZUV_DESCRIBED_RECORD(NoiseTestResult)
ZUV_DESCRIBED_RECORD(DbiasCalibrationResult)
ZUV_DESCRIBED_RECORD(CaptouchCalibrationResult)
ZUV_DESCRIBED_RECORD(ContactResistanceTestResult)
ZUV_DESCRIBED_RECORD(TemperatureTestResult)
ZUV_DESCRIBED_RECORD(DigitalTestResult)
ZUV_DESCRIBED_RECORD(PsfVerificationResult)
ZUV_DESCRIBED_RECORD(PsfSettingFormat)
ZUV_DESCRIBED_RECORD(PsfCalibrationResult)
ZUV_DESCRIBED_RECORD(ImageQualityTestResult)
ZUV_DESCRIBED_RECORD(OtpTestResult)
#undef ZUV_DESCRIBED_RECORD

// Defined in the library for every record above.
template <typename R>
struct RecordJson {
    static const char* name();
    static json to(const R& v);
    // Members left out stay zero; a member the record lacks is an error.
    static void from(const json& j, R* out, const std::string& where);
};

// The name of a wire type as `zuv_hidl describe` shows it.
template <typename T, typename = void>
struct TypeName;
template <typename T>
std::string typeName() {
    return TypeName<T>::get();
}

#define ZUV_SCALAR_NAME(T)                      \
    template <>                                 \
    struct TypeName<T> {                        \
        static std::string get() { return #T; } \
    };
ZUV_SCALAR_NAME(bool)
ZUV_SCALAR_NAME(int8_t)
ZUV_SCALAR_NAME(uint8_t)
ZUV_SCALAR_NAME(int16_t)
ZUV_SCALAR_NAME(uint16_t)
ZUV_SCALAR_NAME(int32_t)
ZUV_SCALAR_NAME(uint32_t)
ZUV_SCALAR_NAME(int64_t)
ZUV_SCALAR_NAME(uint64_t)
#undef ZUV_SCALAR_NAME
template <>
struct TypeName<hidl_string> {
    static std::string get() { return "string"; }
};
template <typename U>
struct TypeName<hidl_vec<U>> {
    static std::string get() { return "vec<" + typeName<U>() + ">"; }
};
template <typename U, size_t N>
struct TypeName<std::array<U, N>> {
    static std::string get() { return typeName<U>() + "[" + std::to_string(N) + "]"; }
};
// The interface's short name: its descriptor after the package.
template <typename IType>
struct TypeName<sp<IType>> {
    static std::string get() {
        const std::string d = IType::descriptor;
        return d.substr(d.rfind(':') + 1);
    }
};
template <typename R>
struct TypeName<R, std::enable_if_t<IsRecord<R>::value>> {
    static std::string get() { return RecordJson<R>::name(); }
};

[[noreturn]] inline void mismatch(const std::string& where, const std::string& expected,
                                  const json& got) {
    throw ArgumentError(where + ": expected " + expected + ", got " +
                        got.dump(-1, ' ', false, json::error_handler_t::replace));
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

inline int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Bytes from a hex string (an optional 0x first) or an array of numbers,
// at most `max`; `expected` words the mismatch.
inline std::string bytesFromJson(const json& j, size_t max, const std::string& expected,
                                 const std::string& where) {
    std::string bytes;
    if (j.is_array()) {
        if (j.size() > max) mismatch(where, expected, j);
        for (size_t i = 0; i < j.size(); ++i) {
            const json& b = j[i];
            if (!b.is_number_unsigned() || b.get<uint64_t>() > 255)
                mismatch(where + "[" + std::to_string(i) + "]", "uint8_t (0..255)", b);
            bytes += static_cast<char>(b.get<uint64_t>());
        }
        return bytes;
    }
    if (!j.is_string()) mismatch(where, expected, j);
    const std::string& text = j.get_ref<const std::string&>();
    const size_t from = text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const size_t digits = text.size() - 2 * from;
    if (digits % 2 != 0 || digits / 2 > max) mismatch(where, expected, j);
    for (size_t i = 2 * from; i < text.size(); i += 2) {
        const int hi = hexDigit(text[i]), lo = hexDigit(text[i + 1]);
        if (hi < 0 || lo < 0) mismatch(where, expected, j);
        bytes += static_cast<char>(hi * 16 + lo);
    }
    return bytes;
}

// Byte vectors: as hex, like the byte blocks below.
template <>
struct JsonCodec<hidl_vec<uint8_t>> {
    static json to(const hidl_vec<uint8_t>& v) { return toHex(v.data(), v.size()); }
    static void from(const json& j, hidl_vec<uint8_t>* out, const std::string& where) {
        const std::string bytes = bytesFromJson(
                j, SIZE_MAX, "vec<uint8_t> (a hex string or an array of numbers)", where);
        out->resize(bytes.size());
        for (size_t i = 0; i < bytes.size(); ++i) (*out)[i] = static_cast<uint8_t>(bytes[i]);
    }
};

// Opaque byte blocks: at most N bytes, the rest zero.
template <size_t N>
struct JsonCodec<std::array<uint8_t, N>> {
    static json to(const std::array<uint8_t, N>& v) { return toHex(v.data(), N); }
    static void from(const json& j, std::array<uint8_t, N>* out, const std::string& where) {
        const std::string bytes = bytesFromJson(
                j, N,
                "up to " + std::to_string(N) + " bytes as a hex string or an array of numbers",
                where);
        out->fill(0);
        for (size_t i = 0; i < bytes.size(); ++i) (*out)[i] = static_cast<uint8_t>(bytes[i]);
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
struct JsonCodec<R, std::enable_if_t<IsRecord<R>::value>> {
    static json to(const R& v) { return RecordJson<R>::to(v); }
    static void from(const json& j, R* out, const std::string& where) {
        RecordJson<R>::from(j, out, where);
    }
};

}  // namespace describe
}  // namespace V1_0
}  // namespace fingerprint
}  // namespace hardware
}  // namespace zuv
}  // namespace vendor
