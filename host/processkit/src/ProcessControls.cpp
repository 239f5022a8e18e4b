// The test controls of hostkit/Process.h over the kit's process table.
#include <hostkit/Process.h>

#include "processkit/ProcessTable.h"
#include "processkit/ThreadContext.h"

namespace hostkit::process {

using processkit::PoolKind;
using processkit::Process;
using processkit::ProcessTable;
using processkit::ThreadContext;

namespace {
PoolKind KindOf(Pool pool) { return pool == Pool::HWBINDER ? PoolKind::HWBINDER : PoolKind::BINDER; }
}  // namespace

std::string Current() { return ThreadContext::current().process().name(); }

As::As(const std::string& name) : mPrevious(&ThreadContext::current().process()) {
    ThreadContext::current().setProcess(ProcessTable::named(name));
}

As::~As() { ThreadContext::current().setProcess(*static_cast<Process*>(mPrevious)); }

std::thread Thread(const std::string& name, std::function<void()> body) {
    Process& process = ProcessTable::named(name);
    return std::thread([&process, body = std::move(body)] {
        ThreadContext::current().setProcess(process);
        body();
    });
}

bool OnPoolThread(Pool pool) {
    ThreadContext& here = ThreadContext::current();
    return here.pool() == &here.process().pool(KindOf(pool));
}

bool PoolStarted(const std::string& name, Pool pool) {
    return ProcessTable::named(name).pool(KindOf(pool)).started();
}

}  // namespace hostkit::process
