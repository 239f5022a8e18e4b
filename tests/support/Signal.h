#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// A flag one thread raises and another waits for.
class Signal {
  public:
    void Raise() {
        std::lock_guard<std::mutex> lock(mLock);
        mRaised = true;
        mChanged.notify_all();
    }
    // False if not raised within `timeout`.
    bool WaitFor(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, timeout, [this] { return mRaised; });
    }
    bool Raised() {
        std::lock_guard<std::mutex> lock(mLock);
        return mRaised;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mRaised = false;
};
