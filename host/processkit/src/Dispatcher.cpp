#include "processkit/Dispatcher.h"

#include <utility>

#include "processkit/ThreadContext.h"

namespace hostkit::processkit {

namespace {

// The thread of `target` that waits for a reply in the chain of calls `serving` belongs to:
// binder hands a nested call to it instead of to the pool.
ThreadContext* waitingThreadOf(const Process& target, const Transaction* serving) {
    for (const Transaction* call = serving; call != nullptr; call = call->parent) {
        if (call->caller != nullptr && call->from == &target) return call->caller;
    }
    return nullptr;
}

}  // namespace

void Dispatcher::call(Process& target, PoolKind kind, std::function<void()> work) {
    ThreadContext& here = ThreadContext::current();
    if (&here.process() == &target) {
        work();
        return;
    }
    Transaction transaction;
    transaction.work = std::move(work);
    transaction.target = &target;
    transaction.from = &here.process();
    transaction.caller = &here;
    transaction.parent = here.serving();
    if (ThreadContext* waiting = waitingThreadOf(target, here.serving())) {
        waiting->deliver(transaction);
    } else {
        target.pool(kind).enqueue(&transaction);
    }
    here.waitFor(transaction);
}

void Dispatcher::post(Process& target, PoolKind kind, std::function<void()> work) {
    auto* transaction = new Transaction();
    transaction->work = std::move(work);
    transaction->target = &target;
    target.pool(kind).enqueue(transaction);
}

Process& Dispatcher::currentProcess() { return ThreadContext::current().process(); }

}  // namespace hostkit::processkit
