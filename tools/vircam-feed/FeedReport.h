#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace vircamfeed {

// Per-frame timings and the summary vircam-feed and vircam-demo print.
class FeedReport {
public:
    using Clock = std::chrono::steady_clock;

    void Start();
    bool Started() const;
    // One frame of `bytes` delivered: the time from its request to its buffer-done report.
    void FrameDelivered(Clock::duration latency, size_t bytes);
    void Stop() { mStop = Clock::now(); }

    // Prints the table to stdout; the mapper row only when the mapper used is known.
    void Print(uint32_t requested, uint32_t delivered, const std::string& transport,
               const std::string& mapper = "") const;

private:
    mutable std::mutex mMutex;
    Clock::time_point mStart;  // guarded by mMutex
    Clock::time_point mStop;
    std::vector<double> mLatenciesMs;  // guarded by mMutex
    double mBytes = 0;                 // guarded by mMutex
};

}  // namespace vircamfeed
