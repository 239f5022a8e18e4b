#include "ProcessState.h"

#include <dirent.h>

#include <thread>

namespace faults {

size_t ThreadCount() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/task");
    if (dir == nullptr) return count;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') ++count;
    }
    closedir(dir);
    return count;
}

size_t WaitForThreadCount(size_t expected, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    size_t count = ThreadCount();
    while (count > expected && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        count = ThreadCount();
    }
    return count;
}

}  // namespace faults
