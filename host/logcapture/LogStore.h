#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "hostkit/LogCapture.h"

namespace hostkit::logs {

// The process-wide list of captured lines. Never destroyed, so lines written by
// static destructors of other libraries still have somewhere to go.
class LogStore {
  public:
    static LogStore& Get();

    void Add(LogLine line);
    std::vector<LogLine> Lines() const;
    void Clear();
    size_t Count(int priority, const char* tag, const std::string& text) const;
    bool WaitFor(int priority, const char* tag, const std::string& text,
                 std::chrono::milliseconds timeout);

  private:
    LogStore() = default;
    size_t CountLocked(int priority, const char* tag, const std::string& text) const;

    mutable std::mutex mLock;
    std::condition_variable mAdded;
    std::vector<LogLine> mLines;  // guarded by mLock
};

}  // namespace hostkit::logs
