// main() of a test program whose process never starts the binder thread pool.
#include <gtest/gtest.h>

#include "Watchdog.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    vircamtest::InstallWatchdog();
    return RUN_ALL_TESTS();
}
