// Status of a hardware-interface call and the Return<T> wrapper every
// operation answers with. A Return that carries a failure must be looked at:
// destroying it unchecked ends the process, as on the device.
#pragma once

#include <utils/Errors.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>

namespace android {
namespace hardware {

class Status final {
  public:
    // Exception codes as the platform defines them.
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_HAS_REPLY_HEADER = -128,
        EX_TRANSACTION_FAILED = -129,
    };

    static Status ok();
    static Status fromExceptionCode(int32_t exceptionCode);
    static Status fromExceptionCode(int32_t exceptionCode, const char* message);
    // OK stays OK; any other transport error becomes EX_TRANSACTION_FAILED
    // with that error kept.
    static Status fromStatusT(status_t status);

    static std::string exceptionToString(int32_t exceptionCode);

    Status() = default;
    ~Status() = default;
    Status(const Status&) = default;
    Status(Status&&) = default;
    Status& operator=(const Status&) = default;
    Status& operator=(Status&&) = default;

    void setException(int32_t ex, const char* message);
    void setFromStatusT(status_t status);

    bool isOk() const { return mException == EX_NONE; }
    int32_t exceptionCode() const { return mException; }
    // The transport error when the exception is EX_TRANSACTION_FAILED, else OK.
    status_t transactionError() const {
        return mException == EX_TRANSACTION_FAILED ? mErrorCode : OK;
    }
    const char* exceptionMessage() const { return mMessage.c_str(); }

    // Human-readable text naming the exception, the transport error and the
    // message.
    std::string description() const;

  private:
    Status(int32_t exceptionCode, int32_t errorCode);
    Status(int32_t exceptionCode, int32_t errorCode, const char* message);

    int32_t mException = EX_NONE;
    int32_t mErrorCode = OK;
    std::string mMessage;
};

std::ostream& operator<<(std::ostream& stream, const Status& s);

// Text for a status_t, used in descriptions and fatal messages.
std::string statusToString(status_t s);

namespace details {

// Fatal error shared by the Return machinery.
[[noreturn]] void logAlwaysFatal(const char* message);

// The status part of every Return; remembers whether anyone looked at it.
class return_status {
  public:
    return_status() = default;
    return_status(const Status& s) : mStatus(s) {}  // NOLINT(google-explicit-constructor)

    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;

    return_status(return_status&& other) noexcept;
    return_status& operator=(return_status&& other) noexcept;

    ~return_status();

    // Ends the process when the status is not OK.
    void assertOk() const;

    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }

    // Like isOk, without marking the status as checked.
    bool isOkUnchecked() const { return mStatus.isOk(); }

    bool isDeadObject() const {
        mCheckedStatus = true;
        return mStatus.exceptionCode() == Status::EX_TRANSACTION_FAILED &&
               mStatus.transactionError() == DEAD_OBJECT;
    }

    // Taking a value out of a failed Return is fatal; taking it out of an
    // OK one counts as checking it.
    void onValueRetrieval() const;

    std::string description() const {
        mCheckedStatus = true;
        return mStatus.description();
    }

    // The status itself; looking at it counts as checking.
    const Status& getStatus() const {
        mCheckedStatus = true;
        return mStatus;
    }

    // Keeps the process alive when the status is dropped on purpose.
    void setChecked() const { mCheckedStatus = true; }

    // The call that made this status (static strings), named when an
    // unchecked failure ends the process.
    void setOrigin(const char* interfaceName, const char* method) {
        mInterface = interfaceName;
        mMethod = method;
    }

  private:
    [[noreturn]] void fatal(const char* what) const;

    Status mStatus{};
    mutable bool mCheckedStatus = false;
    const char* mInterface = nullptr;
    const char* mMethod = nullptr;
};

}  // namespace details

template <typename T>
class Return : public details::return_status {
  public:
    Return(T v) : details::return_status(), mVal{std::move(v)} {}  // NOLINT
    Return(Status s) : details::return_status(s), mVal{} {}        // NOLINT

    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
    ~Return() = default;

    operator T() const {  // NOLINT(google-explicit-constructor)
        onValueRetrieval();
        return mVal;
    }

    T withDefault(T t) const { return isOk() ? mVal : t; }

  private:
    T mVal;
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() : details::return_status() {}
    Return(const Status& s) : details::return_status(s) {}  // NOLINT

    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
    ~Return() = default;
};

inline Return<void> Void() {
    return Return<void>();
}

}  // namespace hardware
}  // namespace android
