#pragma once

#include <chrono>

// A gtest listener that ends the test program loudly when one test runs longer than `limit`:
// it names the test, says "watchdog" and aborts, so a call that blocks for ever fails the
// test (and leaves every thread's stack to a core dump or debugger) instead of hanging it.
namespace vircamtest {

// The limit a test of this build gets: 60 s, 240 s under a sanitizer or an emulator;
// VIRCAM_WATCHDOG_SECONDS in the environment overrides it.
std::chrono::seconds WatchdogLimit();

// Appends the watchdog to gtest's listeners. Call once, after InitGoogleTest.
void InstallWatchdog(std::chrono::seconds limit = WatchdogLimit());

}  // namespace vircamtest
