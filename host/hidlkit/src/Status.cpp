#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>

#include <cstring>
#include <ostream>
#include <string>

#include <hidl/HidlInternal.h>

namespace android {
namespace hardware {

namespace {

std::string exceptionToString(int32_t exception) {
    switch (exception) {
        case Status::EX_NONE: return "EX_NONE";
        case Status::EX_SECURITY: return "EX_SECURITY";
        case Status::EX_BAD_PARCELABLE: return "EX_BAD_PARCELABLE";
        case Status::EX_ILLEGAL_ARGUMENT: return "EX_ILLEGAL_ARGUMENT";
        case Status::EX_NULL_POINTER: return "EX_NULL_POINTER";
        case Status::EX_ILLEGAL_STATE: return "EX_ILLEGAL_STATE";
        case Status::EX_NETWORK_MAIN_THREAD: return "EX_NETWORK_MAIN_THREAD";
        case Status::EX_UNSUPPORTED_OPERATION: return "EX_UNSUPPORTED_OPERATION";
        case Status::EX_HAS_REPLY_HEADER: return "EX_HAS_REPLY_HEADER";
        case Status::EX_TRANSACTION_FAILED: return "EX_TRANSACTION_FAILED";
        default: return std::to_string(exception);
    }
}

// Names as libutils' statusToString() gives them; an unknown code is its number and strerror text.
std::string statusToString(status_t status) {
    switch (status) {
        case OK: return "OK";
        case UNKNOWN_ERROR: return "UNKNOWN_ERROR";
        case NO_MEMORY: return "NO_MEMORY";
        case INVALID_OPERATION: return "INVALID_OPERATION";
        case BAD_VALUE: return "BAD_VALUE";
        case BAD_TYPE: return "BAD_TYPE";
        case NAME_NOT_FOUND: return "NAME_NOT_FOUND";
        case PERMISSION_DENIED: return "PERMISSION_DENIED";
        case NO_INIT: return "NO_INIT";
        case ALREADY_EXISTS: return "ALREADY_EXISTS";
        case DEAD_OBJECT: return "DEAD_OBJECT";
        case FAILED_TRANSACTION: return "FAILED_TRANSACTION";
        case BAD_INDEX: return "BAD_INDEX";
        case NOT_ENOUGH_DATA: return "NOT_ENOUGH_DATA";
        case WOULD_BLOCK: return "WOULD_BLOCK";
        case TIMED_OUT: return "TIMED_OUT";
        case UNKNOWN_TRANSACTION: return "UNKNOWN_TRANSACTION";
        case FDS_NOT_ALLOWED: return "FDS_NOT_ALLOWED";
        case UNEXPECTED_NULL: return "UNEXPECTED_NULL";
        default: return std::to_string(status) + " (" + strerror(-status) + ")";
    }
}

}  // namespace

Status Status::ok() { return Status(); }

Status Status::fromExceptionCode(int32_t exceptionCode) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK);
}

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    return Status(exceptionCode, exceptionCode == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK, message);
}

Status Status::fromStatusT(status_t status) {
    Status result;
    result.setFromStatusT(status);
    return result;
}

Status::Status(int32_t exceptionCode, int32_t errorCode) : mException(exceptionCode), mErrorCode(errorCode) {}

Status::Status(int32_t exceptionCode, int32_t errorCode, const char* message)
    : mException(exceptionCode), mErrorCode(errorCode), mMessage(message != nullptr ? message : "") {}

void Status::setException(int32_t ex, const char* message) {
    mException = ex;
    mErrorCode = ex == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    mMessage = message != nullptr ? message : "";
}

void Status::setFromStatusT(status_t status) {
    mException = status == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    mErrorCode = status;
    mMessage.clear();
}

std::string Status::description() const {
    if (mException == EX_NONE) return "No error";
    std::string text = "Status(" + exceptionToString(mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED) text += statusToString(mErrorCode) + ": ";
    return text + mMessage + "'";
}

std::string toString(const Status& s) { return s.description(); }

std::ostream& operator<<(std::ostream& stream, const Status& s) { return stream << s.description(); }

namespace details {

return_status::return_status(return_status&& other) noexcept { *this = std::move(other); }

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this == &other) return *this;
    if (!mCheckedStatus) assertOk();
    mStatus = std::move(other.mStatus);
    mCheckedStatus = other.mCheckedStatus;
    // The moved-from shell holds nothing left to check.
    other.mCheckedStatus = true;
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus) assertOk();
}

void return_status::assertOk() const {
    if (!isOk()) {
        logAlwaysFatal(("Failed HIDL return status not checked. Usually this happens because of a "
                        "transport error (error parceling, binder driver, or from unparceled data). "
                        "See logcat for details. " + description()).c_str());
    }
}

void return_status::onValueRetrieval() const {
    if (!isOk()) {
        logAlwaysFatal(("Attempted to retrieve value from failed HIDL call: " + description()).c_str());
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
