#include "processkit/ThreadContext.h"

#include "processkit/ProcessTable.h"

namespace hostkit::processkit {

ThreadContext& ThreadContext::current() {
    thread_local ThreadContext context;
    return context;
}

ThreadContext::ThreadContext() : mProcess(&ProcessTable::self()) {}

void ThreadContext::serve(Transaction& transaction) {
    const Transaction* outer = mServing;
    mServing = &transaction;
    transaction.work();
    mServing = outer;
    if (transaction.caller == nullptr) {
        delete &transaction;
        return;
    }
    transaction.caller->complete(transaction);
}

void ThreadContext::deliver(Transaction& transaction) {
    std::lock_guard<std::mutex> lock(mLock);
    mInbox.push_back(&transaction);
    mWake.notify_all();
}

void ThreadContext::waitFor(Transaction& transaction) {
    std::unique_lock<std::mutex> lock(mLock);
    for (;;) {
        if (transaction.done) return;
        if (!mInbox.empty()) {
            Transaction* nested = mInbox.front();
            mInbox.pop_front();
            lock.unlock();
            serve(*nested);
            lock.lock();
            continue;
        }
        mWake.wait(lock);
    }
}

void ThreadContext::complete(Transaction& transaction) {
    std::lock_guard<std::mutex> lock(mLock);
    transaction.done = true;
    // Notified under the lock: once it is released the waiter may return and the
    // transaction, which lives on its stack, is gone.
    mWake.notify_all();
}

}  // namespace hostkit::processkit
