#include "processkit/ThreadPool.h"

#include <pthread.h>

#include <thread>

#include "processkit/Process.h"
#include "processkit/ThreadContext.h"

namespace hostkit::processkit {

ThreadPool::ThreadPool(Process& process, std::string kind, size_t maxThreads)
    : mProcess(process), mKind(std::move(kind)), mMaxThreads(maxThreads) {}

void ThreadPool::setMaxThreads(size_t maxThreads) {
    std::lock_guard<std::mutex> lock(mLock);
    mMaxThreads = maxThreads;
    spawnLocked();
}

size_t ThreadPool::maxThreads() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mMaxThreads;
}

void ThreadPool::start() {
    std::lock_guard<std::mutex> lock(mLock);
    mStarted = true;
    spawnLocked();
}

bool ThreadPool::started() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mStarted;
}

void ThreadPool::enqueue(Transaction* transaction) {
    std::lock_guard<std::mutex> lock(mLock);
    mQueue.push_back(transaction);
    spawnLocked();
    mWork.notify_one();
}

void ThreadPool::join() {
    ThreadContext::current().setProcess(mProcess);
    ThreadContext::current().joinPool(*this);
    std::unique_lock<std::mutex> lock(mLock);
    ++mThreads;
    ++mFree;
    serveLoop(lock);
}

bool ThreadPool::isPoolThread() const { return ThreadContext::current().pool() == this; }

void ThreadPool::spawnLocked() {
    // Like the binder driver asking for one more looper whenever a call finds every thread busy.
    while (mStarted && mQueue.size() > mFree && mThreads < mMaxThreads) {
        ++mThreads;
        ++mFree;
        const std::string name = mKind + ":" + std::to_string(mThreads);
        std::thread([this, name] {
            // Thread names help reading a stuck test's stacks; the kernel keeps 15 characters.
            pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
            ThreadContext::current().setProcess(mProcess);
            ThreadContext::current().joinPool(*this);
            std::unique_lock<std::mutex> lock(mLock);
            serveLoop(lock);
        }).detach();
    }
}

void ThreadPool::serveLoop(std::unique_lock<std::mutex>& lock) {
    for (;;) {
        mWork.wait(lock, [this] { return !mQueue.empty(); });
        Transaction* transaction = mQueue.front();
        mQueue.pop_front();
        --mFree;
        spawnLocked();
        lock.unlock();
        ThreadContext::current().serve(*transaction);
        lock.lock();
        ++mFree;
    }
}

}  // namespace hostkit::processkit
