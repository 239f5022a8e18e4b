#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

#include "processkit/Transaction.h"

namespace hostkit::processkit {

class Process;

// One binder thread pool of a process. Calls queue here until a thread of the pool is free;
// threads are spawned lazily, one per call that finds none free, up to the maximum, and only
// once the pool is started (a joined thread serves without it). Threads never end: the
// process lives as long as the test program. Never holds its lock while a call runs.
class ThreadPool {
  public:
    ThreadPool(Process& process, std::string kind, size_t maxThreads);
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    void setMaxThreads(size_t maxThreads);
    size_t maxThreads() const;
    // From now on threads are spawned for calls. Idempotent.
    void start();
    bool started() const;
    // Queues a call; `transaction` must live until it ran (a oneway one is deleted after).
    void enqueue(Transaction* transaction);
    // The calling thread serves this pool from now on; never returns.
    [[noreturn]] void join();
    // Whether the calling thread is one of this pool's.
    bool isPoolThread() const;

  private:
    void spawnLocked();
    [[noreturn]] void serveLoop(std::unique_lock<std::mutex>& lock);

    Process& mProcess;
    const std::string mKind;
    mutable std::mutex mLock;
    std::condition_variable mWork;
    std::deque<Transaction*> mQueue;
    size_t mMaxThreads;
    size_t mThreads = 0;
    size_t mFree = 0;  // threads waiting for work, or spawned and about to
    bool mStarted = false;
};

}  // namespace hostkit::processkit
