#pragma once

// NDK binder status codes and AStatus (libbinder_ndk).

#include <assert.h>  // before the __assert macro below, which shadows glibc's declaration
#include <errno.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/cdefs.h>

#ifndef __ANDROID_API__
#define __ANDROID_API__ 10000
#endif
#ifndef __INTRODUCED_IN
#define __INTRODUCED_IN(n)
#endif

__BEGIN_DECLS

#if !defined(__BIONIC__) && !defined(__assert)
// Writes "file: message" to syslog and aborts. Out of line: <syslog.h> defines a LOG_PRI
// that clashes with liblog's, so it must not reach the includers of this header.
__attribute__((noreturn)) void AIBinder_hostAssertFailed(const char* file, const char* message);
#define __assert(a, b, c) AIBinder_hostAssertFailed(a, c)
#endif

enum {
    STATUS_OK = 0,
    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -ENOMEM,
    STATUS_INVALID_OPERATION = -ENOSYS,
    STATUS_BAD_VALUE = -EINVAL,
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -ENOENT,
    STATUS_PERMISSION_DENIED = -EPERM,
    STATUS_NO_INIT = -ENODEV,
    STATUS_ALREADY_EXISTS = -EEXIST,
    STATUS_DEAD_OBJECT = -EPIPE,
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -EOVERFLOW,
    STATUS_NOT_ENOUGH_DATA = -ENODATA,
    STATUS_WOULD_BLOCK = -EWOULDBLOCK,
    STATUS_TIMED_OUT = -ETIMEDOUT,
    STATUS_UNKNOWN_TRANSACTION = -EBADMSG,
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};
typedef int32_t binder_status_t;

enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    EX_TRANSACTION_FAILED = -129,
};
typedef int32_t binder_exception_t;

struct AStatus;
typedef struct AStatus AStatus;

// Each constructor returns a status owned by the caller (free with AStatus_delete). Unknown
// exception codes become EX_TRANSACTION_FAILED, unknown status codes STATUS_UNKNOWN_ERROR.
__attribute__((warn_unused_result)) AStatus* AStatus_newOk(void) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCode(binder_exception_t exception)
        __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromExceptionCodeWithMessage(
        binder_exception_t exception, const char* message) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific)
        __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromServiceSpecificErrorWithMessage(
        int32_t serviceSpecific, const char* message) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) AStatus* AStatus_fromStatus(binder_status_t status)
        __INTRODUCED_IN(29);

// Getters: only AStatus_isOk accepts null.
bool AStatus_isOk(const AStatus* status) __INTRODUCED_IN(29);
binder_exception_t AStatus_getExceptionCode(const AStatus* status) __INTRODUCED_IN(29);
int32_t AStatus_getServiceSpecificError(const AStatus* status) __INTRODUCED_IN(29);
binder_status_t AStatus_getStatus(const AStatus* status) __INTRODUCED_IN(29);
// Never null: "" when there is no message; valid while the status lives.
const char* AStatus_getMessage(const AStatus* status) __INTRODUCED_IN(29);
// Caller frees the result with AStatus_deleteDescription.
__attribute__((warn_unused_result)) const char* AStatus_getDescription(const AStatus* status)
        __INTRODUCED_IN(30);
void AStatus_deleteDescription(const char* description) __INTRODUCED_IN(30);
void AStatus_delete(AStatus* status) __INTRODUCED_IN(29);

__END_DECLS
