#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>

#include <hidl/HidlInternal.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android {
namespace hardware {

// Outcome of a HIDL call: an exception code, a transport status_t for
// EX_TRANSACTION_FAILED, and a message.
class Status final {
  public:
    enum Exception {
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
    static Status fromStatusT(status_t status);

    Status() = default;
    ~Status() = default;
    Status(const Status&) = default;
    Status(Status&&) = default;
    Status& operator=(const Status&) = default;
    Status& operator=(Status&&) = default;

    void setException(int32_t ex, const char* message);
    void setFromStatusT(status_t status);

    int32_t exceptionCode() const { return mException; }
    const char* exceptionMessage() const { return mMessage.c_str(); }
    // The transport error for EX_TRANSACTION_FAILED, OK otherwise.
    status_t transactionError() const { return mException == EX_TRANSACTION_FAILED ? mErrorCode : OK; }
    bool isOk() const { return mException == EX_NONE; }
    // "No error", or "Status(EX_...): '[STATUS_NAME: ]message'".
    std::string description() const;

  private:
    Status(int32_t exceptionCode, int32_t errorCode);
    Status(int32_t exceptionCode, int32_t errorCode, const char* message);

    int32_t mException = EX_NONE;
    int32_t mErrorCode = 0;
    std::string mMessage;
};

// The description(), for logs and test output.
std::string toString(const Status& s);
std::ostream& operator<<(std::ostream& stream, const Status& s);

namespace details {

// Status part of every Return. A failed status must be checked (isOk(),
// isDeadObject() when dead, withDefault()) before the Return goes away or is
// overwritten, and its value is never read: both abort like the platform.
class return_status {
  public:
    return_status() = default;
    return_status(const Status& s) : mStatus(s) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept;
    return_status& operator=(return_status&& other) noexcept;
    ~return_status();

    void assertOk() const;
    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }
    bool isOkUnchecked() const { return mStatus.isOk(); }
    bool isDeadObject() const {
        const bool dead = mStatus.transactionError() == DEAD_OBJECT;
        if (dead) mCheckedStatus = true;
        return dead;
    }
    // Does not count as a check.
    std::string description() const { return mStatus.description(); }

  protected:
    void onValueRetrieval() const;

  private:
    Status mStatus{};
    mutable bool mCheckedStatus = false;
};

}  // namespace details

template <typename T>
class Return : public details::return_status {
  public:
    Return(T value) : details::return_status(), mVal{std::move(value)} {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
    ~Return() = default;

    operator T() const {
        onValueRetrieval();
        return mVal;
    }
    T withDefault(T t) const { return isOk() ? mVal : t; }

  private:
    T mVal{};
};

template <typename T>
class Return<sp<T>> : public details::return_status {
  public:
    Return(sp<T> value) : details::return_status(), mVal{std::move(value)} {}
    template <typename U>
    Return(sp<U> value) : details::return_status(), mVal{value} {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
    ~Return() = default;

    operator sp<T>() const {
        onValueRetrieval();
        return mVal;
    }
    sp<T> withDefault(sp<T> t) const { return isOk() ? mVal : t; }

  private:
    sp<T> mVal{};
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() : details::return_status() {}
    Return(const Status& s) : details::return_status(s) {}
    Return(Return&& other) = default;
    Return& operator=(Return&& other) = default;
    ~Return() = default;
};

inline Return<void> Void() {
    return Return<void>();
}

}  // namespace hardware
}  // namespace android
