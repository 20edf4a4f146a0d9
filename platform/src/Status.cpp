// Status, its text forms and the fatal rules of return_status.
#include <android/log.h>
#include <hidl/Status.h>
#include <hidl_host/Fatal.h>

#include <cstdlib>
#include <sstream>

namespace android {
namespace hardware {

std::string statusToString(status_t s) {
    switch (s) {
        case OK:
            return "OK";
        case UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case NO_MEMORY:
            return "NO_MEMORY";
        case INVALID_OPERATION:
            return "INVALID_OPERATION";
        case BAD_VALUE:
            return "BAD_VALUE";
        case BAD_TYPE:
            return "BAD_TYPE";
        case NAME_NOT_FOUND:
            return "NAME_NOT_FOUND";
        case PERMISSION_DENIED:
            return "PERMISSION_DENIED";
        case NO_INIT:
            return "NO_INIT";
        case ALREADY_EXISTS:
            return "ALREADY_EXISTS";
        case DEAD_OBJECT:
            return "DEAD_OBJECT";
        case FAILED_TRANSACTION:
            return "FAILED_TRANSACTION";
        case BAD_INDEX:
            return "BAD_INDEX";
        case NOT_ENOUGH_DATA:
            return "NOT_ENOUGH_DATA";
        case WOULD_BLOCK:
            return "WOULD_BLOCK";
        case TIMED_OUT:
            return "TIMED_OUT";
        case UNKNOWN_TRANSACTION:
            return "UNKNOWN_TRANSACTION";
        case FDS_NOT_ALLOWED:
            return "FDS_NOT_ALLOWED";
        case UNEXPECTED_NULL:
            return "UNEXPECTED_NULL";
        default:
            return "status_t(" + std::to_string(s) + ")";
    }
}

std::string Status::exceptionToString(int32_t exceptionCode) {
    switch (exceptionCode) {
        case EX_NONE:
            return "EX_NONE";
        case EX_SECURITY:
            return "EX_SECURITY";
        case EX_BAD_PARCELABLE:
            return "EX_BAD_PARCELABLE";
        case EX_ILLEGAL_ARGUMENT:
            return "EX_ILLEGAL_ARGUMENT";
        case EX_NULL_POINTER:
            return "EX_NULL_POINTER";
        case EX_ILLEGAL_STATE:
            return "EX_ILLEGAL_STATE";
        case EX_NETWORK_MAIN_THREAD:
            return "EX_NETWORK_MAIN_THREAD";
        case EX_UNSUPPORTED_OPERATION:
            return "EX_UNSUPPORTED_OPERATION";
        case EX_HAS_REPLY_HEADER:
            return "EX_HAS_REPLY_HEADER";
        case EX_TRANSACTION_FAILED:
            return "EX_TRANSACTION_FAILED";
        default:
            return "EX_UNKNOWN(" + std::to_string(exceptionCode) + ")";
    }
}

Status Status::ok() {
    return Status();
}

Status Status::fromExceptionCode(int32_t exceptionCode) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK);
}

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK,
                  message);
}

Status Status::fromStatusT(status_t status) {
    Status result;
    result.setFromStatusT(status);
    return result;
}

Status::Status(int32_t exceptionCode, int32_t errorCode)
    : mException(exceptionCode), mErrorCode(errorCode) {}

Status::Status(int32_t exceptionCode, int32_t errorCode, const char* message)
    : mException(exceptionCode), mErrorCode(errorCode), mMessage(message ? message : "") {}

void Status::setException(int32_t ex, const char* message) {
    mException = ex;
    // A transport failure always carries a transport error, never OK.
    mErrorCode = ex == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    mMessage = message ? message : "";
}

void Status::setFromStatusT(status_t status) {
    mException = status == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    mErrorCode = status;
    mMessage.clear();
}

std::string Status::description() const {
    if (mException == EX_NONE) return "No error";
    std::string text = "Status(" + exceptionToString(mException);
    if (mException == EX_TRANSACTION_FAILED) text += ", " + statusToString(mErrorCode);
    text += "): '" + mMessage + "'";
    return text;
}

std::ostream& operator<<(std::ostream& stream, const Status& s) {
    return stream << s.description();
}

namespace details {

void return_status::fatal(const char* what) const {
    std::string origin;
    if (mInterface != nullptr && mMethod != nullptr)
        origin = std::string(mInterface) + "::" + mMethod + ": ";
    host::fatal("HidlStatus", "%s%s: %s; check it with isOk() or isDeadObject()", origin.c_str(),
                what, mStatus.description().c_str());
}

return_status::return_status(return_status&& other) noexcept
    : mStatus(std::move(other.mStatus)),
      mCheckedStatus(other.mCheckedStatus),
      mInterface(other.mInterface),
      mMethod(other.mMethod) {
    other.mCheckedStatus = true;
}

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this == &other) return *this;
    // Overwriting counts as dropping the old status.
    if (!mCheckedStatus && !mStatus.isOk()) fatal("Failed HIDL return status not checked");
    mStatus = std::move(other.mStatus);
    mCheckedStatus = other.mCheckedStatus;
    mInterface = other.mInterface;
    mMethod = other.mMethod;
    other.mCheckedStatus = true;
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus && !mStatus.isOk()) {
        fatal("Failed HIDL return status not checked");
    }
}

void return_status::assertOk() const {
    mCheckedStatus = true;
    if (!mStatus.isOk()) fatal("Failed HIDL return status asserted OK");
}

void return_status::onValueRetrieval() const {
    if (!mStatus.isOk()) fatal("Attempted to retrieve value from failed HIDL call");
    mCheckedStatus = true;
}

}  // namespace details

}  // namespace hardware
}  // namespace android
