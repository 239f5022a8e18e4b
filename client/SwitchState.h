#pragma once

#include <condition_variable>
#include <cstdint>
#include <vector>

#include <android-base/thread_annotations.h>
#include <android/log.h>
#include <utils/Mutex.h>

namespace android {

// The stream switches of one virtual camera client: the sequence number of the switch in
// flight, the HAL's reported outcome per direction, and the caller's wait for the report.
//
// The HAL answers a switch call with a sequence number and reports the outcome later,
// on a binder thread. The report can reach the library before the answer does: a HIDL
// HAL may report as soon as its reply is sent, an AIDL HAL may report nested inside the
// call. A report that comes while a switch call of its direction waits for its answer is
// therefore kept, and judged the moment the answer is known, as if it had come right
// after it. Reports that come after the answer are judged on arrival.
//
// A judged report is recorded when nobody waits yet, so a caller that then starts
// waiting for its number returns at once; a waiting caller is woken by any report of its
// direction and reads the outcome the report left. Reports meet the waiter on this
// object's own lock, so one arriving just as the caller starts to wait still wakes it.
class SwitchState {
public:
    enum class Direction { SWITCH_ON, SWITCH_OFF };
    enum class Outcome { RETURNED_BEFORE, WOKEN, TIMEOUT };

    // How a client ends an answered switch: one line and one result for each way it ends.
    // Each text takes the function name.
    struct Ending {
        const char* function;
        const char* noReport;
        int32_t noReportCode;
        const char* succeeded;
        android_LogPriority succeededPriority;
        const char* failed;
        int32_t failedCode;
    };

    // The client's log lines that depend on the sequence number in flight. Called with
    // this object's lock held: they only log.
    class ReportLog {
    public:
        // A switch-on report whose number is not the one in flight.
        virtual void SequenceMismatch(const char* caller, uint32_t reported, uint32_t expected) const = 0;
        // A switch-off report, which takes its number whatever it is.
        virtual void SequenceTaken(const char* caller, uint32_t reported, uint32_t previous) const = 0;

    protected:
        ~ReportLog() = default;
    };

    // One switch call to the HAL, from just before it is made until its answer is known.
    // Reports of its direction wait for Answer(); leaving the scope without an answer
    // judges them against the number in flight before the call.
    class Call {
    public:
        Call(SwitchState& state, Direction direction);
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

        // The switch's sequence number, as the HAL answered it.
        void Answer(uint32_t seqNum);

    private:
        SwitchState& mState;
        bool mAnswered = false;
    };

    SwitchState(const char* logTag, const ReportLog& log) : mLogTag(logTag), mLog(log) {}

    // Returns at once if the report for `seqNum` came already, else waits up to three
    // seconds for the next report of `direction` (whatever its sequence number).
    Outcome Wait(Direction direction, uint32_t seqNum) EXCLUDES(mMutex);
    // A report of the HAL; `succeeded` is its own verdict, before the sequence number is
    // checked. `caller` names the reporting function in the log lines.
    void Report(Direction direction, uint32_t seqNum, bool succeeded, const char* caller) EXCLUDES(mMutex);
    // The end of an answered switch: Wait for `seqNum`, then log and return what the
    // report left (0 when it succeeded).
    int32_t AwaitReport(Direction direction, uint32_t seqNum, const Ending& ending) EXCLUDES(mMutex);

    // The outcome of the last judged report of `direction` (true before the first).
    bool Succeeded(Direction direction) const EXCLUDES(mMutex);
    // The sequence number in flight: the last answer, or the last switch-off report.
    uint32_t SequenceNumber() const EXCLUDES(mMutex);

private:
    struct HeldReport {
        uint32_t seqNum;
        bool succeeded;
        const char* caller;
    };
    static constexpr size_t DIRECTIONS = 2;

    void BeginCall(Direction direction) EXCLUDES(mMutex);
    void EndCall(bool answered, uint32_t seqNum) EXCLUDES(mMutex);
    void Judge(Direction direction, uint32_t seqNum, bool succeeded, const char* caller) REQUIRES(mMutex);

    const char* const mLogTag;
    const ReportLog& mLog;
    mutable Mutex mMutex;  // the "async task info" lock: guards everything below
    std::condition_variable_any mReported;  // waits on mMutex itself
    uint32_t mSequenNum GUARDED_BY(mMutex) = 0;
    bool mResults[DIRECTIONS] GUARDED_BY(mMutex) = {true, true};
    // The record of a judged report that nobody waited for.
    uint32_t mReturnedSeqNum GUARDED_BY(mMutex) = 0;
    bool mReturned GUARDED_BY(mMutex) = false;
    bool mWaiting GUARDED_BY(mMutex) = false;
    uint64_t mReports[DIRECTIONS] GUARDED_BY(mMutex) = {0, 0};
    // A switch call waiting for its answer, and the reports of its direction meanwhile.
    bool mAnswerPending GUARDED_BY(mMutex) = false;
    Direction mPendingDirection GUARDED_BY(mMutex) = Direction::SWITCH_ON;
    std::vector<HeldReport> mHeld GUARDED_BY(mMutex);
};

}  // namespace android
