#pragma once

#include <string>

#include <hostkit/LogCapture.h>

namespace faults {

// Captured lines of `prio` and `tag` starting with `prefix` (for lines that end in a
// transport description).
inline size_t CountStartingWith(int prio, const char* tag, const std::string& prefix) {
    size_t count = 0;
    for (const hostkit::logs::LogLine& line : hostkit::logs::Lines()) {
        if (line.priority == prio && line.tag && *line.tag == tag && line.text.rfind(prefix, 0) == 0) ++count;
    }
    return count;
}

}  // namespace faults
