#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace vircamdemo {

// Per-frame timings and the summary the demo prints.
class DemoReport {
public:
    using Clock = std::chrono::steady_clock;

    void Start() { mStart = Clock::now(); }
    // One frame delivered: the time from its request to its buffer-done report.
    void FrameDelivered(Clock::duration latency);
    void Stop() { mStop = Clock::now(); }

    // Prints the table to stdout.
    // `mapper` names the graphics mapper the library used.
    void Print(uint32_t requested, uint32_t delivered, size_t frameBytes, const std::string& transport,
               const std::string& mapper) const;

private:
    mutable std::mutex mMutex;
    Clock::time_point mStart;
    Clock::time_point mStop;
    std::vector<double> mLatenciesMs;
};

}  // namespace vircamdemo
