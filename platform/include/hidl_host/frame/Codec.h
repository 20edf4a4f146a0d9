// One codec per wire type. A codec writes a value into a parcel and reads it
// back as a "held" value: scalars by value, strings, vectors and records as a
// pointer into the parcel's own buffers (valid while the parcel lives), and
// interface references as strong pointers.
//
// Strings, vectors and records travel as a buffer of their own size, followed
// by their children attached to that buffer; a child's children hang off the
// child in turn. Embedded<T> moves the children of a T that lies at some
// offset inside a parent buffer, so the same rule serves top-level values,
// record members and vector elements.
#pragma once

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hwbinder/IBinder.h>
#include <hwbinder/Parcel.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <utility>

namespace android {
namespace hardware {
namespace frame {

using ::android::OK;
using ::android::sp;
using ::android::status_t;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::IBinder;
using ::android::hardware::Parcel;

// Per-interface facts the frame needs: the proxy and stub classes
// (Proxy, Stub), the identity (kPackage, kVersion, kShortName), the number of
// operations (kMethodCount), the log tag of fatal messages (kLogTag) and
// whether a failed implementation call is answered with its status
// (kRepliesFailures) rather than ending the process. Each interface
// specialises this.
template <typename IType>
struct InterfaceInfo;

template <typename T, typename = void>
struct Embedded;

// parentOffset + memberOffset; a wrap means the caller's offsets are corrupt,
// and no status can describe where the child would go, so the process ends.
inline size_t embeddedOffset(size_t parentOffset, size_t memberOffset) {
    size_t offset = 0;
    if (__builtin_add_overflow(parentOffset, memberOffset, &offset)) std::abort();
    return offset;
}

// A vector lying at parentOffset inside buffer parentHandle sends its element
// array as one embedded buffer there; elements with children of their own
// attach them to that array at i x sizeof(T).
template <typename T>
status_t writeEmbeddedVector(const hidl_vec<T>& vec, Parcel* parcel, size_t parentHandle,
                             size_t parentOffset) {
    size_t childHandle = 0;
    status_t err = parcel->writeEmbeddedBuffer(vec.data(), vec.size() * sizeof(T), &childHandle,
                                               parentHandle, parentOffset);
    if (err != OK) return err;
    if constexpr (Embedded<T>::kHasChildren) {
        for (size_t i = 0; i < vec.size(); ++i) {
            err = Embedded<T>::write(vec[i], parcel, childHandle, i * sizeof(T));
            if (err != OK) return err;
        }
    }
    return OK;
}

// Nullable read: an empty vector arrives with a null element array.
template <typename T>
status_t readEmbeddedVector(const hidl_vec<T>& vec, const Parcel& parcel, size_t parentHandle,
                            size_t parentOffset) {
    size_t childHandle = 0;
    const void* elements = nullptr;
    status_t err = parcel.readNullableEmbeddedBuffer(vec.size() * sizeof(T), &childHandle,
                                                     parentHandle, parentOffset, &elements);
    if (err != OK) return err;
    if (elements == nullptr && vec.size() != 0) return ::android::BAD_VALUE;
    if constexpr (Embedded<T>::kHasChildren) {
        for (size_t i = 0; i < vec.size(); ++i) {
            err = Embedded<T>::read(vec[i], parcel, childHandle, i * sizeof(T));
            if (err != OK) return err;
        }
    }
    return OK;
}

// ---------------------------------------------------------------------------
// Children of a value lying inside a parent buffer.

// No children: scalars and flat records.
template <typename T, typename>
struct Embedded {
    static constexpr bool kHasChildren = false;
    static status_t write(const T&, Parcel*, size_t, size_t) { return OK; }
    static status_t read(const T&, const Parcel&, size_t, size_t) { return OK; }
};

// Strings, handles and records with children bring their own embedded pair.
template <typename T>
struct Embedded<T,
                std::void_t<decltype(writeEmbeddedToParcel(
                        std::declval<const T&>(), std::declval<Parcel*>(), size_t{}, size_t{}))>> {
    static constexpr bool kHasChildren = true;
    static status_t write(const T& value, Parcel* parcel, size_t parentHandle,
                          size_t parentOffset) {
        return writeEmbeddedToParcel(value, parcel, parentHandle, parentOffset);
    }
    static status_t read(const T& value, const Parcel& parcel, size_t parentHandle,
                         size_t parentOffset) {
        return readEmbeddedFromParcel(value, parcel, parentHandle, parentOffset);
    }
};

// A vector's element array is one child buffer; elements with children of
// their own attach them to that array at their element offset.
template <typename U>
struct Embedded<hidl_vec<U>> {
    static constexpr bool kHasChildren = true;

    static status_t write(const hidl_vec<U>& vec, Parcel* parcel, size_t parentHandle,
                          size_t parentOffset) {
        return writeEmbeddedVector(vec, parcel, parentHandle,
                                   parentOffset + hidl_vec<U>::kOffsetOfBuffer);
    }

    static status_t read(const hidl_vec<U>& vec, const Parcel& parcel, size_t parentHandle,
                         size_t parentOffset) {
        return readEmbeddedVector(vec, parcel, parentHandle,
                                  parentOffset + hidl_vec<U>::kOffsetOfBuffer);
    }
};

// The children of a record's members, each attached at the member's place in
// the record: enough for a record whose members need nothing else.
template <typename R, typename M>
size_t memberOffset(const R& record, M R::*member) {
    return static_cast<size_t>(reinterpret_cast<const char*>(&(record.*member)) -
                               reinterpret_cast<const char*>(&record));
}

template <typename R, typename... M>
status_t writeMemberChildren(const R& record, Parcel* parcel, size_t parentHandle,
                             size_t parentOffset, M R::*... members) {
    status_t err = OK;
    ((err = err != OK ? err
                      : Embedded<M>::write(
                                record.*members, parcel, parentHandle,
                                embeddedOffset(parentOffset, memberOffset(record, members)))),
     ...);
    return err;
}

template <typename R, typename... M>
status_t readMemberChildren(const R& record, const Parcel& parcel, size_t parentHandle,
                            size_t parentOffset, M R::*... members) {
    status_t err = OK;
    ((err = err != OK ? err
                      : Embedded<M>::read(
                                record.*members, parcel, parentHandle,
                                embeddedOffset(parentOffset, memberOffset(record, members)))),
     ...);
    return err;
}

// ---------------------------------------------------------------------------
// The name of each wire type as the interfaces declare it, for people.

// Records get theirs from the package that declares them.
template <typename T, typename = void>
struct WireName;
template <>
struct WireName<bool> {
    static std::string get() { return "bool"; }
};
template <>
struct WireName<hidl_string> {
    static std::string get() { return "string"; }
};
template <typename U>
struct WireName<hidl_vec<U>> {
    static std::string get() { return "vec<" + WireName<U>::get() + ">"; }
};
template <typename U, size_t N>
struct WireName<std::array<U, N>> {
    static std::string get() { return WireName<U>::get() + "[" + std::to_string(N) + "]"; }
};
template <typename IType>
struct WireName<sp<IType>> {
    static std::string get() { return InterfaceInfo<IType>::kShortName; }
};
#define ZUV_SCALAR_NAME(T)                      \
    template <>                                 \
    struct WireName<T> {                        \
        static std::string get() { return #T; } \
    };
ZUV_SCALAR_NAME(int8_t)
ZUV_SCALAR_NAME(uint8_t)
ZUV_SCALAR_NAME(int16_t)
ZUV_SCALAR_NAME(uint16_t)
ZUV_SCALAR_NAME(int32_t)
ZUV_SCALAR_NAME(uint32_t)
ZUV_SCALAR_NAME(int64_t)
ZUV_SCALAR_NAME(uint64_t)
#undef ZUV_SCALAR_NAME

// ---------------------------------------------------------------------------
// Top-level codecs.

// Strings, vectors and records: one buffer of the value's size, then its
// children with that buffer as parent at offset 0.
template <typename T>
struct BufferCodec {
    using Held = const T*;
    static std::string typeName() { return WireName<T>::get(); }

    static status_t write(Parcel* parcel, const T& value) {
        size_t handle = 0;
        status_t err = parcel->writeBuffer(&value, sizeof(T), &handle);
        if (err != OK) return err;
        return Embedded<T>::write(value, parcel, handle, 0);
    }

    static status_t read(const Parcel& parcel, Held* out) {
        size_t handle = 0;
        const void* buffer = nullptr;
        status_t err = parcel.readBuffer(sizeof(T), &handle, &buffer);
        if (err != OK) return err;
        const T* value = static_cast<const T*>(buffer);
        err = Embedded<T>::read(*value, parcel, handle, 0);
        if (err != OK) return err;
        *out = value;
        return OK;
    }

    static const T& get(const Held& held) { return *held; }
};

template <typename T, status_t (Parcel::*Write)(T), status_t (Parcel::*Read)(T*) const>
struct ScalarCodec {
    using Held = T;
    static std::string typeName() { return WireName<T>::get(); }
    static status_t write(Parcel* parcel, const T& value) { return (parcel->*Write)(value); }
    static status_t read(const Parcel& parcel, Held* out) { return (parcel.*Read)(out); }
    static const T& get(const Held& held) { return held; }
};

// Enums travel as their underlying type; a value outside what ValidEnum
// admits is refused on the way in.
template <typename E>
struct ValidEnum {
    static bool check(E) { return true; }
};

template <typename T, typename = void>
struct Codec : BufferCodec<T> {
    static_assert(std::is_class<T>::value, "no wire encoding for this type");
};

template <typename E>
struct Codec<E, std::enable_if_t<std::is_enum<E>::value>> {
    using Held = E;
    using Raw = Codec<std::underlying_type_t<E>>;
    static std::string typeName() { return WireName<E>::get(); }
    static status_t write(Parcel* parcel, const E& value) {
        return Raw::write(parcel, static_cast<std::underlying_type_t<E>>(value));
    }
    static status_t read(const Parcel& parcel, Held* out) {
        typename Raw::Held raw{};
        status_t err = Raw::read(parcel, &raw);
        if (err != OK) return err;
        if (!ValidEnum<E>::check(static_cast<E>(raw))) return ::android::BAD_VALUE;
        *out = static_cast<E>(raw);
        return OK;
    }
    static const E& get(const Held& held) { return held; }
};

template <>
struct Codec<bool> : ScalarCodec<bool, &Parcel::writeBool, &Parcel::readBool> {};
template <>
struct Codec<int8_t> : ScalarCodec<int8_t, &Parcel::writeInt8, &Parcel::readInt8> {};
template <>
struct Codec<uint8_t> : ScalarCodec<uint8_t, &Parcel::writeUint8, &Parcel::readUint8> {};
template <>
struct Codec<int16_t> : ScalarCodec<int16_t, &Parcel::writeInt16, &Parcel::readInt16> {};
template <>
struct Codec<uint16_t> : ScalarCodec<uint16_t, &Parcel::writeUint16, &Parcel::readUint16> {};
template <>
struct Codec<int32_t> : ScalarCodec<int32_t, &Parcel::writeInt32, &Parcel::readInt32> {};
template <>
struct Codec<uint32_t> : ScalarCodec<uint32_t, &Parcel::writeUint32, &Parcel::readUint32> {};
template <>
struct Codec<int64_t> : ScalarCodec<int64_t, &Parcel::writeInt64, &Parcel::readInt64> {};
template <>
struct Codec<uint64_t> : ScalarCodec<uint64_t, &Parcel::writeUint64, &Parcel::readUint64> {};

// Interface references travel as binders: the binder standing for the object
// on the way out, and on the way in the proxy, or the local object itself
// when the binder is one of this process's stubs.
template <typename IType>
struct Codec<sp<IType>> {
    using Held = sp<IType>;
    static std::string typeName() { return WireName<sp<IType>>::get(); }

    static status_t write(Parcel* parcel, const sp<IType>& value) {
        if (value == nullptr) return parcel->writeStrongBinder(nullptr);
        sp<IBinder> binder = ::android::hardware::getOrCreateCachedBinder(value.get());
        if (binder == nullptr) return ::android::UNKNOWN_ERROR;
        return parcel->writeStrongBinder(binder);
    }

    static status_t read(const Parcel& parcel, Held* out) {
        sp<IBinder> binder;
        status_t err = parcel.readNullableStrongBinder(&binder);
        if (err != OK) return err;
        using Classes = InterfaceInfo<IType>;
        *out = ::android::hardware::fromBinder<IType, typename Classes::Proxy,
                                               typename Classes::Stub>(binder);
        return OK;
    }

    static const sp<IType>& get(const Held& held) { return held; }
};

template <typename T>
struct IsInterface : std::false_type {};
template <typename IType>
struct IsInterface<sp<IType>> : std::true_type {};

// Writes each value in order; the first failure stops the rest.
template <typename... Values>
status_t writeItems(Parcel* parcel, const Values&... values) {
    status_t err = OK;
    (void)parcel;  // unused when there is nothing to write
    ((err == OK ? (err = Codec<Values>::write(parcel, values)) : err), ...);
    return err;
}

}  // namespace frame
}  // namespace hardware
}  // namespace android
