#pragma once

#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <map>
#include <string>

// The open descriptors of this process and what each refers to, without the directory
// stream used to list them. Compared before and after to catch leaks and double closes.
inline std::map<int, std::string> OpenFds() {
    std::map<int, std::string> fds;
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return fds;
    const int own = dirfd(dir);
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] == '.') continue;
        const int fd = std::stoi(entry->d_name);
        if (fd == own) continue;
        char target[PATH_MAX] = {};
        const std::string path = std::string("/proc/self/fd/") + entry->d_name;
        if (readlink(path.c_str(), target, sizeof(target) - 1) >= 0) fds.emplace(fd, target);
    }
    closedir(dir);
    return fds;
}
