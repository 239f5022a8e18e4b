// main() of every test program: gtest, the watchdog, and the binder thread pool a device
// process's main starts before it does anything else (HIDL's pool starts by itself when the
// process first sends a callback).
#include <android/binder_process.h>
#include <gtest/gtest.h>

#include "Watchdog.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    vircamtest::InstallWatchdog();
    ABinderProcess_startThreadPool();
    return RUN_ALL_TESTS();
}
