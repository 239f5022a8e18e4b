#pragma once

#include <cstdint>
#include <string>

#include <android/binder_status.h>

// The data behind an AStatus handle: an exception, its detail code and a message.
struct AStatus {
    AStatus(binder_exception_t exception, int32_t code, std::string message);

    binder_exception_t mException;
    int32_t mServiceSpecific;  // only for EX_SERVICE_SPECIFIC
    binder_status_t mStatus;   // only for EX_TRANSACTION_FAILED
    std::string mMessage;
};

namespace hostkit::binder {
// Known codes pass through; anything else becomes STATUS_UNKNOWN_ERROR / EX_TRANSACTION_FAILED.
binder_status_t pruneStatus(binder_status_t status);
binder_exception_t pruneException(binder_exception_t exception);
const char* statusName(binder_status_t status);
}  // namespace hostkit::binder
