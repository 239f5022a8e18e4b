// A process's pool: nothing served before it starts, one call at a time with one thread,
// more threads only up to its maximum.
#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <hostkit/Process.h>

#include "Signal.h"
#include "processkit/Dispatcher.h"
#include "processkit/ProcessTable.h"

namespace {

using namespace std::chrono_literals;
using hostkit::processkit::Dispatcher;
using hostkit::processkit::PoolKind;
using hostkit::processkit::Process;
using hostkit::processkit::ProcessTable;

std::string Name(const std::string& suffix) {
    return std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + "/" + suffix;
}

// Counts the calls running at once and holds each until released.
class Gate {
  public:
    void Pass() {
        std::unique_lock<std::mutex> lock(mLock);
        ++mInside;
        mMostInside = std::max(mMostInside, mInside);
        mChanged.notify_all();
        mChanged.wait(lock, [this] { return mOpen; });
        --mInside;
    }
    bool WaitForInside(int count, std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, timeout, [&] { return mInside >= count; });
    }
    void Open() {
        std::lock_guard<std::mutex> lock(mLock);
        mOpen = true;
        mChanged.notify_all();
    }
    int MostInside() {
        std::lock_guard<std::mutex> lock(mLock);
        return mMostInside;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    int mInside = 0;
    int mMostInside = 0;
    bool mOpen = false;
};

// `count` callers of this process, each on a thread of its own, calling into `target`.
std::vector<std::thread> Callers(int count, Process& target, PoolKind kind, Gate& gate) {
    std::vector<std::thread> callers;
    for (int i = 0; i < count; ++i) {
        callers.emplace_back([&target, kind, &gate] { Dispatcher::call(target, kind, [&gate] { gate.Pass(); }); });
    }
    return callers;
}

TEST(KitThreadPool, TwoWayCallWaitsUntilThePoolStarts) {
    Process& service = ProcessTable::named(Name("service"));
    Signal returned;
    std::thread caller([&] {
        Dispatcher::call(service, PoolKind::BINDER, [] {});
        returned.Raise();
    });
    EXPECT_FALSE(returned.WaitFor(300ms)) << "the call waits for a thread to serve it";
    service.pool(PoolKind::BINDER).start();
    EXPECT_TRUE(returned.WaitFor(5s));
    caller.join();
}

TEST(KitThreadPool, OneThreadServesOneCallAtATime) {
    Process& service = ProcessTable::named(Name("service"));
    service.pool(PoolKind::HWBINDER).start();
    Gate gate;
    std::vector<std::thread> callers = Callers(3, service, PoolKind::HWBINDER, gate);
    ASSERT_TRUE(gate.WaitForInside(1, 5s));
    EXPECT_FALSE(gate.WaitForInside(2, 300ms)) << "the others queue behind the first";
    gate.Open();
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(gate.MostInside(), 1);
}

TEST(KitThreadPool, ThreadsGrowOnDemandUpToTheMaximum) {
    Process& service = ProcessTable::named(Name("service"));
    service.pool(PoolKind::HWBINDER).setMaxThreads(2);
    service.pool(PoolKind::HWBINDER).start();
    Gate gate;
    std::vector<std::thread> callers = Callers(3, service, PoolKind::HWBINDER, gate);
    EXPECT_TRUE(gate.WaitForInside(2, 5s)) << "two threads serve two calls at once";
    EXPECT_FALSE(gate.WaitForInside(3, 300ms)) << "never more than the maximum";
    gate.Open();
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(gate.MostInside(), 2);
}

TEST(KitThreadPool, JoinedThreadServesAPoolNeverStarted) {
    Process& service = ProcessTable::named(Name("service"));
    // Like a HAL's main: its own thread becomes the pool's only one.
    hostkit::process::Thread(service.name(), [&service] { service.pool(PoolKind::HWBINDER).join(); }).detach();
    std::string servedBy;
    Dispatcher::call(service, PoolKind::HWBINDER, [&] { servedBy = hostkit::process::Current(); });
    EXPECT_EQ(servedBy, service.name());
    EXPECT_FALSE(service.pool(PoolKind::HWBINDER).started());
}

}  // namespace
