// Where a call between the kit's processes runs: the callee's pool, or the callee's thread
// that waits in the caller's chain of calls, never the caller's own thread.
#include <string>
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

// Where a piece of work ran.
struct Place {
    std::thread::id thread;
    std::string process;
    bool onPool = false;
};

Place Here() {
    return {std::this_thread::get_id(), hostkit::process::Current(),
            hostkit::process::OnPoolThread(hostkit::process::Pool::BINDER)};
}

class KitDispatcher : public ::testing::Test {
  protected:
    // A process of this test alone, with its binder pool started.
    static Process& Started(const std::string& suffix) {
        Process& process = ProcessTable::named(Name(suffix));
        process.pool(PoolKind::BINDER).start();
        return process;
    }
    static std::string Name(const std::string& suffix) {
        return std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + "/" + suffix;
    }
};

TEST_F(KitDispatcher, CallWithinTheProcessRunsOnTheCallingThread) {
    Place place;
    Dispatcher::call(ProcessTable::self(), PoolKind::BINDER, [&] { place = Here(); });
    EXPECT_EQ(place.thread, std::this_thread::get_id());
    EXPECT_EQ(place.process, hostkit::process::SELF);
}

TEST_F(KitDispatcher, CallIntoAnotherProcessRunsOnItsPoolWhileTheCallerWaits) {
    Process& service = Started("service");
    Place place;
    bool ran = false;
    Dispatcher::call(service, PoolKind::BINDER, [&] {
        place = Here();
        ran = true;
    });
    EXPECT_TRUE(ran) << "returns only once the call ran";
    EXPECT_NE(place.thread, std::this_thread::get_id());
    EXPECT_EQ(place.process, service.name());
    EXPECT_TRUE(place.onPool);
    EXPECT_EQ(hostkit::process::Current(), hostkit::process::SELF) << "the caller stays itself";
}

TEST_F(KitDispatcher, NestedCallsRunOnTheThreadsWaitingInTheChain) {
    Process& a = Started("a");
    Process& b = Started("b");
    hostkit::process::As asA(a.name());
    // A -> B -> A -> B -> A: every A call on this thread, every B call on B's first thread.
    std::vector<Place> places;
    std::function<void(int)> hop = [&](int depth) {
        places.push_back(Here());
        if (depth == 4) return;
        Process& next = depth % 2 == 0 ? b : a;
        Dispatcher::call(next, PoolKind::BINDER, [&, depth] { hop(depth + 1); });
    };
    hop(0);
    ASSERT_EQ(places.size(), 5u);
    for (size_t i = 0; i < places.size(); i += 2) {
        EXPECT_EQ(places[i].thread, std::this_thread::get_id()) << "hop " << i;
        EXPECT_EQ(places[i].process, a.name());
    }
    EXPECT_TRUE(places[1].onPool);
    EXPECT_EQ(places[3].thread, places[1].thread) << "B's waiting thread serves B's nested call";
    EXPECT_EQ(places[3].process, b.name());
}

TEST_F(KitDispatcher, NestedCallSkipsToTheWaitingThreadOverSeveralProcesses) {
    Process& a = Started("a");
    Process& b = Started("b");
    Process& c = Started("c");
    hostkit::process::As asA(a.name());
    Place backInA;
    Place backInB;
    std::thread::id bThread;
    Dispatcher::call(b, PoolKind::BINDER, [&] {
        bThread = std::this_thread::get_id();
        Dispatcher::call(c, PoolKind::BINDER, [&] {
            Dispatcher::call(a, PoolKind::BINDER, [&] { backInA = Here(); });
            Dispatcher::call(b, PoolKind::BINDER, [&] { backInB = Here(); });
        });
    });
    EXPECT_EQ(backInA.thread, std::this_thread::get_id());
    EXPECT_EQ(backInB.thread, bThread);
}

TEST_F(KitDispatcher, CallFromThePeersOwnThreadRunsOnThePoolNotOnTheWaitingThread) {
    Process& a = Started("a");
    Process& b = Started("b");
    hostkit::process::As asA(a.name());
    Place place;
    Dispatcher::call(b, PoolKind::BINDER, [&] {
        // B asks a thread of its own to call A and waits for it, while A waits for B.
        std::thread own = hostkit::process::Thread(b.name(), [&] {
            Dispatcher::call(a, PoolKind::BINDER, [&] { place = Here(); });
        });
        own.join();
    });
    EXPECT_NE(place.thread, std::this_thread::get_id());
    EXPECT_EQ(place.process, a.name());
    EXPECT_TRUE(place.onPool);
}

TEST_F(KitDispatcher, OnewayCallsQueueWithoutWaiting) {
    Process& idle = ProcessTable::named(Name("idle"));
    Signal ran;
    Place place;
    Dispatcher::post(idle, PoolKind::BINDER, [&] {
        place = Here();
        ran.Raise();
    });
    EXPECT_FALSE(ran.WaitFor(200ms)) << "nobody serves a pool that was never started";
    idle.pool(PoolKind::BINDER).start();
    ASSERT_TRUE(ran.WaitFor(5s));
    EXPECT_EQ(place.process, idle.name());
    EXPECT_TRUE(place.onPool);
}

}  // namespace
