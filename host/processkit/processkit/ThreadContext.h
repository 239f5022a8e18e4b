#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "processkit/Transaction.h"

namespace hostkit::processkit {

class Process;
class ThreadPool;

// What the kit knows about one thread: the process it belongs to (this process unless told
// otherwise), the pool it serves if it is a binder thread, the call it is serving, and the
// nested calls handed to it while it waits for a reply. Each thread has its own.
class ThreadContext {
  public:
    static ThreadContext& current();

    // Only the thread itself changes these.
    Process& process() const { return *mProcess; }
    void setProcess(Process& process) { mProcess = &process; }
    const ThreadPool* pool() const { return mPool; }
    void joinPool(const ThreadPool& pool) { mPool = &pool; }
    const Transaction* serving() const { return mServing; }

    // Runs the call here, then releases its caller (or deletes it when oneway).
    void serve(Transaction& transaction);
    // Hands a nested call to this thread, which waits for a reply in waitFor().
    void deliver(Transaction& transaction);
    // Blocks until `transaction` is done, serving the nested calls handed over meanwhile.
    void waitFor(Transaction& transaction);

  private:
    ThreadContext();
    void complete(Transaction& transaction);

    Process* mProcess;
    const ThreadPool* mPool = nullptr;
    const Transaction* mServing = nullptr;
    std::mutex mLock;  // guards mInbox and the done flag of the calls this thread waits for
    std::condition_variable mWake;
    std::deque<Transaction*> mInbox;
};

}  // namespace hostkit::processkit
