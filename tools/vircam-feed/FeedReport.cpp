#include "FeedReport.h"

#include <algorithm>
#include <cstdio>

namespace vircamfeed {

void FeedReport::Start() {
    std::lock_guard<std::mutex> lock(mMutex);
    mStart = Clock::now();
}

bool FeedReport::Started() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mStart != Clock::time_point();
}

void FeedReport::FrameDelivered(Clock::duration latency, size_t bytes) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLatenciesMs.push_back(std::chrono::duration<double, std::milli>(latency).count());
    mBytes += double(bytes);
}

void FeedReport::Print(uint32_t requested, uint32_t delivered, const std::string& transport,
                       const std::string& mapper) const {
    std::vector<double> latencies;
    double bytes = 0;
    Clock::time_point start;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        latencies = mLatenciesMs;
        bytes = mBytes;
        start = mStart;
    }
    std::sort(latencies.begin(), latencies.end());
    auto percentile = [&](double p) {
        return latencies.empty() ? 0.0 : latencies[std::min(latencies.size() - 1, size_t(p * latencies.size()))];
    };
    const double seconds = std::chrono::duration<double>(mStop - start).count();
    printf("+-----------------------------+------------------+\n");
    printf("| transport                   | %16s |\n", transport.c_str());
    if (!mapper.empty()) {
        printf("| mapper                      | %16s |\n", mapper.c_str());
    }
    printf("| frames requested            | %16u |\n", requested);
    printf("| frames delivered            | %16u |\n", delivered);
    printf("| frames dropped              | %16u |\n", requested - std::min(requested, delivered));
    printf("| fps achieved                | %16.1f |\n", seconds > 0 ? delivered / seconds : 0.0);
    printf("| latency p50 (ms)            | %16.3f |\n", percentile(0.50));
    printf("| latency p99 (ms)            | %16.3f |\n", percentile(0.99));
    printf("| bytes moved                 | %16.0f |\n", bytes);
    printf("+-----------------------------+------------------+\n");
}

}  // namespace vircamfeed
