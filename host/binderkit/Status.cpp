#include "Status.h"

#include <cstring>
#include <new>

using hostkit::binder::pruneException;
using hostkit::binder::pruneStatus;

AStatus::AStatus(binder_exception_t exception, int32_t code, std::string message)
    : mException(pruneException(exception)),
      mServiceSpecific(mException == EX_SERVICE_SPECIFIC ? code : 0),
      mStatus(mException == EX_TRANSACTION_FAILED ? pruneStatus(code) : STATUS_OK),
      mMessage(std::move(message)) {}

namespace hostkit::binder {

binder_status_t pruneStatus(binder_status_t status) {
    switch (status) {
        case STATUS_OK:
        case STATUS_NO_MEMORY:
        case STATUS_INVALID_OPERATION:
        case STATUS_BAD_VALUE:
        case STATUS_BAD_TYPE:
        case STATUS_NAME_NOT_FOUND:
        case STATUS_PERMISSION_DENIED:
        case STATUS_NO_INIT:
        case STATUS_ALREADY_EXISTS:
        case STATUS_DEAD_OBJECT:
        case STATUS_FAILED_TRANSACTION:
        case STATUS_BAD_INDEX:
        case STATUS_NOT_ENOUGH_DATA:
        case STATUS_WOULD_BLOCK:
        case STATUS_TIMED_OUT:
        case STATUS_UNKNOWN_TRANSACTION:
        case STATUS_FDS_NOT_ALLOWED:
        case STATUS_UNEXPECTED_NULL:
            return status;
        default:
            return STATUS_UNKNOWN_ERROR;
    }
}

binder_exception_t pruneException(binder_exception_t exception) {
    switch (exception) {
        case EX_NONE:
        case EX_SECURITY:
        case EX_BAD_PARCELABLE:
        case EX_ILLEGAL_ARGUMENT:
        case EX_NULL_POINTER:
        case EX_ILLEGAL_STATE:
        case EX_NETWORK_MAIN_THREAD:
        case EX_UNSUPPORTED_OPERATION:
        case EX_SERVICE_SPECIFIC:
        case EX_PARCELABLE:
        case EX_TRANSACTION_FAILED:
            return exception;
        default:
            return EX_TRANSACTION_FAILED;
    }
}

const char* statusName(binder_status_t status) {
    switch (status) {
        case STATUS_OK: return "OK";
        case STATUS_NO_MEMORY: return "NO_MEMORY";
        case STATUS_INVALID_OPERATION: return "INVALID_OPERATION";
        case STATUS_BAD_VALUE: return "BAD_VALUE";
        case STATUS_BAD_TYPE: return "BAD_TYPE";
        case STATUS_NAME_NOT_FOUND: return "NAME_NOT_FOUND";
        case STATUS_PERMISSION_DENIED: return "PERMISSION_DENIED";
        case STATUS_NO_INIT: return "NO_INIT";
        case STATUS_ALREADY_EXISTS: return "ALREADY_EXISTS";
        case STATUS_DEAD_OBJECT: return "DEAD_OBJECT";
        case STATUS_FAILED_TRANSACTION: return "FAILED_TRANSACTION";
        case STATUS_BAD_INDEX: return "BAD_INDEX";
        case STATUS_NOT_ENOUGH_DATA: return "NOT_ENOUGH_DATA";
        case STATUS_WOULD_BLOCK: return "WOULD_BLOCK";
        case STATUS_TIMED_OUT: return "TIMED_OUT";
        case STATUS_UNKNOWN_TRANSACTION: return "UNKNOWN_TRANSACTION";
        case STATUS_FDS_NOT_ALLOWED: return "FDS_NOT_ALLOWED";
        case STATUS_UNEXPECTED_NULL: return "UNEXPECTED_NULL";
        default: return "UNKNOWN_ERROR";
    }
}

}  // namespace hostkit::binder

namespace {
AStatus* newStatus(binder_exception_t exception, int32_t code, const char* message) {
    // nothrow: allocation failure must not throw across the C boundary
    return new (std::nothrow) AStatus(exception, code, message != nullptr ? message : "");
}

// libbinder gives an EX_TRANSACTION_FAILED made from an exception code (unknown codes
// included) the status FAILED_TRANSACTION.
AStatus* fromException(binder_exception_t exception, const char* message) {
    const binder_exception_t pruned = pruneException(exception);
    return newStatus(pruned, pruned == EX_TRANSACTION_FAILED ? STATUS_FAILED_TRANSACTION : 0, message);
}
}  // namespace

AStatus* AStatus_newOk() { return newStatus(EX_NONE, 0, nullptr); }
AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return fromException(exception, nullptr);
}
AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    return fromException(exception, message);
}
AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return newStatus(EX_SERVICE_SPECIFIC, serviceSpecific, nullptr);
}
AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    return newStatus(EX_SERVICE_SPECIFIC, serviceSpecific, message);
}
AStatus* AStatus_fromStatus(binder_status_t status) {
    if (status == STATUS_OK) return newStatus(EX_NONE, 0, nullptr);
    return newStatus(EX_TRANSACTION_FAILED, status, nullptr);
}

bool AStatus_isOk(const AStatus* status) {
    return status != nullptr && status->mException == EX_NONE;
}
binder_exception_t AStatus_getExceptionCode(const AStatus* status) { return status->mException; }
int32_t AStatus_getServiceSpecificError(const AStatus* status) { return status->mServiceSpecific; }
binder_status_t AStatus_getStatus(const AStatus* status) { return status->mStatus; }
const char* AStatus_getMessage(const AStatus* status) { return status->mMessage.c_str(); }

const char* AStatus_getDescription(const AStatus* status) {
    std::string text;
    if (status->mException == EX_NONE) {
        text = "No error";
    } else if (status->mException == EX_TRANSACTION_FAILED) {
        text = "Transaction failed: " + std::string(hostkit::binder::statusName(status->mStatus));
    } else {
        text = "Status(" + std::to_string(status->mException) + ")";
        if (status->mException == EX_SERVICE_SPECIFIC) {
            text += " ServiceSpecific(" + std::to_string(status->mServiceSpecific) + ")";
        }
        text += ": '" + status->mMessage + "'";
    }
    return strdup(text.c_str());
}
void AStatus_deleteDescription(const char* description) {
    free(const_cast<char*>(description));
}
void AStatus_delete(AStatus* status) { delete status; }
