#pragma once

#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include "OpenFds.h"

// Lines of /proc/self/maps that map kit buffers (memfds named hostkit-gralloc).
inline std::set<std::string> BufferMappings() {
    std::set<std::string> lines;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("hostkit-gralloc") != std::string::npos) lines.insert(line);
    }
    return lines;
}
