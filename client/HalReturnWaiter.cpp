#include "client/HalReturnWaiter.h"

#include <android/log.h>

namespace android {

namespace {

constexpr std::chrono::seconds WAIT_LIMIT{3};
constexpr std::chrono::nanoseconds TIMEOUT_AFTER{2999999999};

}  // namespace

void HalReturnWaiter::Reset() {
    Mutex::Autolock lock(mAsyncTaskInfoLock);
    mReturnedSeqNum = 0;
    mReturned = false;
}

HalReturnWaiter::Outcome HalReturnWaiter::Wait(Direction direction, uint32_t seqNum) {
    Mutex::Autolock lock(mAsyncTaskInfoLock);
    if (mReturned && mReturnedSeqNum == seqNum) {
        __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: the async task has return, no need wait",
                            "WaitForHALReturn");
        return Outcome::RETURNED_BEFORE;
    }
    // Any report of this direction ends the wait, also one with another sequence number:
    // the caller then reads the outcome the report left.
    const size_t index = static_cast<size_t>(direction);
    const uint64_t reportsBefore = mReports[index];
    const auto start = std::chrono::steady_clock::now();
    mWaiting = true;
    while (mReports[index] == reportsBefore) {
        // Releases mAsyncTaskInfoLock while asleep and holds it again on return.
        if (mReported.wait_until(mAsyncTaskInfoLock, start + WAIT_LIMIT) == std::cv_status::timeout) {
            break;
        }
    }
    mWaiting = false;
    if (mReports[index] == reportsBefore && std::chrono::steady_clock::now() - start > TIMEOUT_AFTER) {
        __android_log_print(ANDROID_LOG_ERROR, mLogTag, "%s: wait for HAL return timeout!", "WaitForHALReturn");
        return Outcome::TIMEOUT;
    }
    return Outcome::WOKEN;
}

void HalReturnWaiter::Report(Direction direction, uint32_t seqNum, const char* caller) {
    {
        Mutex::Autolock lock(mAsyncTaskInfoLock);
        if (mWaiting) {
            __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: main thread waiting on aync return, notify it",
                                caller);
        } else {
            __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: get async task info lock", caller);
            mReturnedSeqNum = seqNum;
            mReturned = true;
        }
        ++mReports[static_cast<size_t>(direction)];
    }
    mReported.notify_all();
}

}  // namespace android
