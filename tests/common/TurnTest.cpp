// A turn lets one holder run at a time and hands itself to the next waiting taker.
#include "common/Turn.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

using android::Turn;

// Four threads take the same turn again and again, so most takes find it held and wait:
// a pass that wakes nobody leaves a waiter asleep for ever (the watchdog ends the test), a
// second holder shows in the count. The plain counter is for ThreadSanitizer.
TEST(TurnTest, HoldersRunOneAtATimeAndEveryWaiterGetsItsTurn) {
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 2000;
    Turn turn;
    std::atomic<int> holders{0};
    std::atomic<int> mostHolders{0};
    int completed = 0;
    std::vector<std::thread> takers;
    for (int t = 0; t < THREADS; ++t) {
        takers.emplace_back([&] {
            for (int round = 0; round < ROUNDS; ++round) {
                Turn::Scoped held(turn);
                const int now = ++holders;
                int most = mostHolders.load();
                while (now > most && !mostHolders.compare_exchange_weak(most, now)) {
                }
                ++completed;
                std::this_thread::yield();  // lets the others find the turn held
                --holders;
            }
        });
    }
    for (std::thread& taker : takers) taker.join();
    EXPECT_EQ(1, mostHolders.load());
    EXPECT_EQ(THREADS * ROUNDS, completed);
}

}  // namespace
