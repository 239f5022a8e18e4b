#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

namespace android {

// Waits for the HAL's asynchronous report of a stream switch, matched by sequence number.
// A report that comes while nobody waits is kept in a small record, so a caller that then
// starts waiting for it returns at once. Reports come on binder threads and never take a
// caller's lock: they meet the waiter on this object's own lock and condition, so a report
// arriving just as the caller starts to wait still wakes it.
class HalReturnWaiter {
public:
    enum class Direction { SWITCH_ON, SWITCH_OFF };
    enum class Outcome { RETURNED_BEFORE, WOKEN, TIMEOUT };

    explicit HalReturnWaiter(const char* logTag) : mLogTag(logTag) {}

    // Forgets any earlier report; call before each switch request to the HAL.
    void Reset() EXCLUDES(mAsyncTaskInfoLock);
    // Returns at once if the report for `seqNum` already came, else waits up to three
    // seconds for the next report of `direction` (whatever its sequence number).
    Outcome Wait(Direction direction, uint32_t seqNum) EXCLUDES(mAsyncTaskInfoLock);
    // A report of `direction`: recorded when nobody waits, and the waiter is woken.
    // `caller` names the reporting function in the log lines.
    void Report(Direction direction, uint32_t seqNum, const char* caller) EXCLUDES(mAsyncTaskInfoLock);

private:
    static constexpr size_t DIRECTIONS = 2;

    const char* const mLogTag;
    Mutex mAsyncTaskInfoLock;  // "async task info": guards the record and the report counts
    std::condition_variable_any mReported;  // waits on mAsyncTaskInfoLock itself
    uint32_t mReturnedSeqNum GUARDED_BY(mAsyncTaskInfoLock) = 0;
    bool mReturned GUARDED_BY(mAsyncTaskInfoLock) = false;
    bool mWaiting GUARDED_BY(mAsyncTaskInfoLock) = false;
    uint64_t mReports[DIRECTIONS] GUARDED_BY(mAsyncTaskInfoLock) = {0, 0};
};

}  // namespace android
