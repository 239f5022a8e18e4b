#pragma once

#include <chrono>
#include <mutex>
#include <thread>

namespace vircamfeed {

// Holds deliveries to a frame rate, as a video source that produces F frames a second
// would: each Wait returns no earlier than one period after the previous one.
class FramePacer {
public:
    explicit FramePacer(uint32_t fps) : mPeriod(std::chrono::microseconds(1000000 / fps)) {}

    void Wait() {
        std::chrono::steady_clock::time_point slot;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            const auto now = std::chrono::steady_clock::now();
            mNext = std::max(mNext, now);
            slot = mNext;
            mNext += mPeriod;
        }
        std::this_thread::sleep_until(slot);
    }

private:
    const std::chrono::microseconds mPeriod;
    std::mutex mMutex;
    std::chrono::steady_clock::time_point mNext;
};

}  // namespace vircamfeed
