// Typed values drawn from fuzz bytes, one template per wire type, and the
// same values written back as bytes so a recorded call becomes an input.
// Every byte string is a valid draw: running out of bytes gives zeros.
#pragma once

#include <vendor/zuv/hardware/fingerprint/1.0/JsonCodec.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "FuzzInput.h"
#include "types/RecordFields.h"

namespace zuv_fuzz_service {

namespace fpv = ::vendor::zuv::hardware::fingerprint::V1_0;
using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using zuv_fuzz::ByteReader;
using zuv_fuzz::ByteWriter;

constexpr size_t kMaxElements = 64;
constexpr size_t kMaxStringBytes = 255;

// Keys and values an implementation is likely to compare against; a string
// drawn from here costs the fuzzer one byte instead of a guess.
inline const std::vector<std::string>& dictionary() {
    static const std::vector<std::string> kWords = {
            "",
            "default",
            "mode",
            "threshold",
            "sensor.model",
            "match.threshold",
            "led.color",
            "finger-1",
            "finger-2",
            "user",
            "enabled",
            "debug",
            "timeout",
            "level",
            "calibration",
            "test",
            "0",
            "1",
            "2",
            "3",
            "4",
            "5",
            "6",
            "7",
            "8",
            "9",
            "-1",
            "true",
            "false",
            "on",
            "off",
            "fast",
            "secure",
            "capture",
            "enroll",
            "image",
            "power",
            "version",
            "4294967295",
            "%s%n%x",
    };
    return kWords;
}

// Stand-in objects for interface-typed parameters come from the caller.
class ObjectSource {
  public:
    enum Behaviour : uint8_t { kAnswers, kLate, kFails, kDies, kBehaviours };
    virtual sp<fpv::IZuvExtendedFingerprintCallback> callback(Behaviour b) = 0;
    virtual sp<fpv::IDaxAndroidServices> services(Behaviour b) = 0;

  protected:
    virtual ~ObjectSource() = default;
};

template <typename T, typename = void>
struct Value;

template <typename T>
struct Value<T, std::enable_if_t<std::is_integral<T>::value>> {
    static T read(ByteReader& in, ObjectSource&) {
        if constexpr (std::is_same<T, bool>::value) {
            return (in.u8() & 1) != 0;
        } else if constexpr (sizeof(T) == 1) {
            return static_cast<T>(in.u8());
        } else {
            // Boundaries are where implementations go wrong; make them cheap.
            switch (in.u8() % 8) {
                case 0:
                    return 0;
                case 1:
                    return 1;
                case 2:
                    return static_cast<T>(-1);
                case 3:
                    return std::numeric_limits<T>::min();
                case 4:
                    return std::numeric_limits<T>::max();
                case 5:
                    return static_cast<T>(in.u8());
                default:
                    return in.take<T>();
            }
        }
    }
    static void write(ByteWriter& out, T v) {
        if constexpr (sizeof(T) == 1) {
            out.u8(static_cast<uint8_t>(v));
        } else {
            out.u8(7).put(v);
        }
    }
};

// A string is a dictionary word, a short string whose length is in the mode
// byte (so a word the fuzzer learns from a comparison needs one byte before
// it, not two), or up to 255 bytes after a length byte.
template <>
struct Value<hidl_string> {
    static constexpr uint8_t kShort = 0x80;  // below: a dictionary word
    static constexpr uint8_t kLong = 0xc0;   // below: kShort + length
    static hidl_string read(ByteReader& in, ObjectSource&) {
        const uint8_t mode = in.u8();
        if (mode < kShort) {
            const std::string& word = dictionary()[mode % dictionary().size()];
            return hidl_string(word.data(), word.size());
        }
        size_t n = mode < kLong ? mode - kShort : in.u8();
        if (n > in.remaining()) n = in.remaining();
        std::string s(n, '\0');
        for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(in.u8());
        return hidl_string(s.data(), s.size());
    }
    static void write(ByteWriter& out, const hidl_string& v) {
        const size_t n = v.size() < kMaxStringBytes ? v.size() : kMaxStringBytes;
        if (n < kLong - kShort) {
            out.u8(static_cast<uint8_t>(kShort + n));
        } else {
            out.u8(kLong).u8(static_cast<uint8_t>(n));
        }
        out.raw(v.c_str(), n);
    }
};

template <typename U>
struct Value<hidl_vec<U>> {
    static hidl_vec<U> read(ByteReader& in, ObjectSource& objects) {
        size_t n = in.u8() % (kMaxElements + 1);
        if (n > in.remaining()) n = in.remaining();
        hidl_vec<U> v;
        v.resize(n);
        for (size_t i = 0; i < n; ++i) v[i] = Value<U>::read(in, objects);
        return v;
    }
    static void write(ByteWriter& out, const hidl_vec<U>& v) {
        const size_t n = v.size() < kMaxElements ? v.size() : kMaxElements;
        out.u8(static_cast<uint8_t>(n));
        for (size_t i = 0; i < n; ++i) Value<U>::write(out, v[i]);
    }
};

// Fixed blocks: a count of leading elements drawn, the rest zero.
template <typename U, size_t N>
struct Value<std::array<U, N>> {
    static_assert(N <= 255, "a block's length fits the count byte");
    static std::array<U, N> read(ByteReader& in, ObjectSource& objects) {
        std::array<U, N> a{};
        const size_t n = in.u8() % (N + 1);
        for (size_t i = 0; i < n; ++i) a[i] = Value<U>::read(in, objects);
        return a;
    }
    static void write(ByteWriter& out, const std::array<U, N>& a) {
        size_t n = N;
        while (n > 0 && a[n - 1] == U{}) --n;
        out.u8(static_cast<uint8_t>(n));
        for (size_t i = 0; i < n; ++i) Value<U>::write(out, a[i]);
    }
};

template <typename R>
struct Value<R, std::enable_if_t<fpv::describe::IsRecord<R>::value>> {
    static R read(ByteReader& in, ObjectSource& objects) {
        R r{};
        std::apply(
                [&](const auto&... field) {
                    ((r.*(field.member) =
                              Value<std::decay_t<decltype(r.*(field.member))>>::read(in, objects)),
                     ...);
                },
                fpv::RecordFields<R>::fields());
        return r;
    }
    static void write(ByteWriter& out, const R& r) {
        std::apply(
                [&](const auto&... field) {
                    (Value<std::decay_t<decltype(r.*(field.member))>>::write(out,
                                                                             r.*(field.member)),
                     ...);
                },
                fpv::RecordFields<R>::fields());
    }
};

// An object parameter: none, or a stand-in behaving as the byte says.
template <typename I>
struct Value<sp<I>> {
    static sp<I> read(ByteReader& in, ObjectSource& objects) {
        const uint8_t mode = in.u8() % (ObjectSource::kBehaviours + 1);
        if (mode == 0) return nullptr;
        const auto b = static_cast<ObjectSource::Behaviour>(mode - 1);
        if constexpr (std::is_same<I, fpv::IZuvExtendedFingerprintCallback>::value) {
            return objects.callback(b);
        } else {
            return objects.services(b);
        }
    }
    // An object in a recording is a stand-in that answers.
    static void write(ByteWriter& out, bool present) { out.u8(present ? 1 : 0); }
};

}  // namespace zuv_fuzz_service
