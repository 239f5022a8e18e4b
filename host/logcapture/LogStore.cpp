#include "LogStore.h"

#include <utility>

namespace hostkit::logs {

namespace {

bool Matches(const LogLine& line, int priority, const char* tag, const std::string& text) {
    if (line.priority != priority || line.text != text) return false;
    if (tag == nullptr) return !line.tag.has_value();
    return line.tag.has_value() && *line.tag == tag;
}

}  // namespace

LogStore& LogStore::Get() {
    static LogStore* store = new LogStore();
    return *store;
}

void LogStore::Add(LogLine line) {
    {
        std::lock_guard<std::mutex> guard(mLock);
        mLines.push_back(std::move(line));
    }
    mAdded.notify_all();
}

std::vector<LogLine> LogStore::Lines() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mLines;
}

void LogStore::Clear() {
    std::lock_guard<std::mutex> guard(mLock);
    mLines.clear();
}

size_t LogStore::Count(int priority, const char* tag, const std::string& text) const {
    std::lock_guard<std::mutex> guard(mLock);
    return CountLocked(priority, tag, text);
}

bool LogStore::WaitFor(int priority, const char* tag, const std::string& text,
                       std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mLock);
    return mAdded.wait_for(lock, timeout,
                           [&] { return CountLocked(priority, tag, text) > 0; });
}

size_t LogStore::CountLocked(int priority, const char* tag, const std::string& text) const {
    size_t count = 0;
    for (const LogLine& line : mLines) {
        if (Matches(line, priority, tag, text)) ++count;
    }
    return count;
}

}  // namespace hostkit::logs
