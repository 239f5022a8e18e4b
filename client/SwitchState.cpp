#include "client/SwitchState.h"

#include <chrono>

#include <android/log.h>

namespace android {

namespace {

constexpr std::chrono::seconds WAIT_LIMIT{3};
constexpr std::chrono::nanoseconds TIMEOUT_AFTER{2999999999};

size_t IndexOf(SwitchState::Direction direction) {
    return static_cast<size_t>(direction);
}

}  // namespace

SwitchState::Call::Call(SwitchState& state, Direction direction) : mState(state) {
    mState.BeginCall(direction);
}

SwitchState::Call::~Call() {
    if (!mAnswered) {
        mState.EndCall(false, 0);
    }
}

void SwitchState::Call::Answer(uint32_t seqNum) {
    if (!mAnswered) {
        mAnswered = true;
        mState.EndCall(true, seqNum);
    }
}

void SwitchState::BeginCall(Direction direction) {
    Mutex::Autolock lock(mMutex);
    // Forgets the record of earlier reports.
    mReturnedSeqNum = 0;
    mReturned = false;
    mAnswerPending = true;
    mPendingDirection = direction;
    mHeld.clear();
}

void SwitchState::EndCall(bool answered, uint32_t seqNum) {
    Mutex::Autolock lock(mMutex);
    if (answered) {
        mSequenNum = seqNum;
    }
    mAnswerPending = false;
    std::vector<HeldReport> held;
    held.swap(mHeld);
    for (const HeldReport& report : held) {
        Judge(mPendingDirection, report.seqNum, report.succeeded, report.caller);
    }
}

void SwitchState::Report(Direction direction, uint32_t seqNum, bool succeeded, const char* caller) {
    Mutex::Autolock lock(mMutex);
    if (mAnswerPending && direction == mPendingDirection) {
        // Ahead of the answer it belongs to: judged when that answer is known.
        mHeld.push_back({seqNum, succeeded, caller});
        return;
    }
    Judge(direction, seqNum, succeeded, caller);
}

void SwitchState::Judge(Direction direction, uint32_t seqNum, bool succeeded, const char* caller) {
    const size_t index = IndexOf(direction);
    if (direction == Direction::SWITCH_ON) {
        if (mSequenNum != seqNum) {
            mLog.SequenceMismatch(caller, seqNum, mSequenNum);
            succeeded = false;
        }
        mResults[index] = succeeded;
    } else {
        mResults[index] = succeeded;
        mLog.SequenceTaken(caller, seqNum, mSequenNum);
        mSequenNum = seqNum;
    }
    if (mWaiting) {
        __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: main thread waiting on aync return, notify it", caller);
    } else {
        __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: get async task info lock", caller);
        mReturnedSeqNum = seqNum;
        mReturned = true;
    }
    ++mReports[index];
    mReported.notify_all();
}

SwitchState::Outcome SwitchState::Wait(Direction direction, uint32_t seqNum) {
    Mutex::Autolock lock(mMutex);
    if (mReturned && mReturnedSeqNum == seqNum) {
        __android_log_print(ANDROID_LOG_INFO, mLogTag, "%s: the async task has return, no need wait",
                            "WaitForHALReturn");
        return Outcome::RETURNED_BEFORE;
    }
    // Any report of this direction ends the wait, also one with another sequence number:
    // the caller then reads the outcome the report left.
    const size_t index = IndexOf(direction);
    const uint64_t reportsBefore = mReports[index];
    const auto start = std::chrono::steady_clock::now();
    mWaiting = true;
    while (mReports[index] == reportsBefore) {
        // Releases mMutex while asleep and holds it again on return.
        if (mReported.wait_until(mMutex, start + WAIT_LIMIT) == std::cv_status::timeout) {
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

int32_t SwitchState::AwaitReport(Direction direction, uint32_t seqNum, const Ending& ending) {
    if (Wait(direction, seqNum) == Outcome::TIMEOUT) {
        __android_log_print(ANDROID_LOG_ERROR, mLogTag, ending.noReport, ending.function);
        return ending.noReportCode;
    }
    if (Succeeded(direction)) {
        __android_log_print(ending.succeededPriority, mLogTag, ending.succeeded, ending.function);
        return 0;
    }
    __android_log_print(ANDROID_LOG_ERROR, mLogTag, ending.failed, ending.function);
    return ending.failedCode;
}

bool SwitchState::Succeeded(Direction direction) const {
    Mutex::Autolock lock(mMutex);
    return mResults[IndexOf(direction)];
}

uint32_t SwitchState::SequenceNumber() const {
    Mutex::Autolock lock(mMutex);
    return mSequenNum;
}

}  // namespace android
