#include "DemoReport.h"

#include <algorithm>
#include <cstdio>

namespace vircamdemo {

void DemoReport::FrameDelivered(Clock::duration latency) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLatenciesMs.push_back(std::chrono::duration<double, std::milli>(latency).count());
}

void DemoReport::Print(uint32_t requested, uint32_t delivered, size_t frameBytes, const std::string& transport,
                       const std::string& mapper) const {
    std::vector<double> latencies;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        latencies = mLatenciesMs;
    }
    std::sort(latencies.begin(), latencies.end());
    auto percentile = [&](double p) {
        return latencies.empty() ? 0.0 : latencies[std::min(latencies.size() - 1, size_t(p * latencies.size()))];
    };
    const double seconds = std::chrono::duration<double>(mStop - mStart).count();
    const double bytes = double(delivered) * double(frameBytes);
    printf("+-----------------------------+------------------+\n");
    printf("| transport                   | %16s |\n", transport.c_str());
    printf("| mapper                      | %16s |\n", mapper.c_str());
    printf("| frames requested            | %16u |\n", requested);
    printf("| frames delivered            | %16u |\n", delivered);
    printf("| frames dropped              | %16u |\n", requested - std::min(requested, delivered));
    printf("| fps achieved                | %16.1f |\n", seconds > 0 ? delivered / seconds : 0.0);
    printf("| latency p50 (ms)            | %16.3f |\n", percentile(0.50));
    printf("| latency p99 (ms)            | %16.3f |\n", percentile(0.99));
    printf("| bytes moved                 | %16.0f |\n", bytes);
    printf("+-----------------------------+------------------+\n");
}

}  // namespace vircamdemo
