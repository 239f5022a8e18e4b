#include "Watchdog.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace vircamtest {

namespace {

// Set by the build: longer under a sanitizer or an emulator.
#ifndef VIRCAM_WATCHDOG_DEFAULT_SECONDS
#define VIRCAM_WATCHDOG_DEFAULT_SECONDS 60
#endif

// The timer: one thread for the whole program, armed while a test runs. Never destroyed, so
// its thread may still wait on it while the program exits.
class Timer {
  public:
    explicit Timer(std::chrono::seconds limit) : mLimit(limit) {
        std::thread([this] { Watch(); }).detach();
    }

    void Arm(std::string test) {
        std::lock_guard<std::mutex> lock(mLock);
        mTest = std::move(test);
        mDeadline = std::chrono::steady_clock::now() + mLimit;
        mArmed = true;
        mChanged.notify_all();
    }

    void Disarm() {
        std::lock_guard<std::mutex> lock(mLock);
        mArmed = false;
        mChanged.notify_all();
    }

  private:
    void Watch() {
        std::unique_lock<std::mutex> lock(mLock);
        for (;;) {
            if (!mArmed) {
                mChanged.wait(lock);
            } else if (mChanged.wait_until(lock, mDeadline) == std::cv_status::timeout && mArmed &&
                       std::chrono::steady_clock::now() >= mDeadline) {
                Bite();
            }
        }
    }

    [[noreturn]] void Bite() {
        fprintf(stderr,
                "\n[ WATCHDOG ] %s is still running after %lld s: something blocks (a call that never "
                "returns, a wait that is never released). Aborting: read every thread's stack in the "
                "core dump or under a debugger to see where.\n",
                mTest.c_str(), static_cast<long long>(mLimit.count()));
        fflush(stderr);
        abort();
    }

    const std::chrono::seconds mLimit;
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mArmed = false;
    std::string mTest;
    std::chrono::steady_clock::time_point mDeadline;
};

// gtest owns and deletes its listeners when the program exits; the timer stays.
class Watchdog : public ::testing::EmptyTestEventListener {
  public:
    explicit Watchdog(std::chrono::seconds limit) : mTimer(new Timer(limit)) {}

    void OnTestStart(const ::testing::TestInfo& test) override {
        mTimer->Arm(std::string(test.test_suite_name()) + "." + test.name());
    }
    void OnTestEnd(const ::testing::TestInfo& /*test*/) override { mTimer->Disarm(); }

  private:
    Timer* const mTimer;
};

}  // namespace

std::chrono::seconds WatchdogLimit() {
    if (const char* text = getenv("VIRCAM_WATCHDOG_SECONDS")) {
        const long seconds = strtol(text, nullptr, 10);
        if (seconds > 0) return std::chrono::seconds(seconds);
    }
    return std::chrono::seconds(VIRCAM_WATCHDOG_DEFAULT_SECONDS);
}

void InstallWatchdog(std::chrono::seconds limit) {
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog(limit));
}

}  // namespace vircamtest
