#include "ProcessState.h"

#include <dirent.h>

#include <fstream>
#include <string>
#include <thread>

namespace faults {

namespace {

// Binder pool threads start as calls need them and live as long as the process, as on a
// device: they are not the library's threads.
bool IsBinderThread(const char* tid) {
    std::ifstream comm(std::string("/proc/self/task/") + tid + "/comm");
    std::string name;
    std::getline(comm, name);
    return name.rfind("binder:", 0) == 0 || name.rfind("hwbinder:", 0) == 0;
}

}  // namespace

size_t ThreadCount() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/task");
    if (dir == nullptr) return count;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.' && !IsBinderThread(entry->d_name)) ++count;
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
