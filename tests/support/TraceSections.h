#pragma once

#include <map>
#include <string>
#include <vector>

#include <cutils/trace.h>
#include <hostkit/TraceCapture.h>

// The names of the sections a capture recorded, in the order they began. Sections left
// open, or ends without a begin, on any thread come back as "unbalanced on a thread".
inline std::vector<std::string> BeganSections(const std::vector<hostkit::trace::Event>& events) {
    std::vector<std::string> names;
    std::map<pid_t, int> depth;
    for (const hostkit::trace::Event& event : events) {
        if (event.begin) {
            names.push_back(event.name);
            ++depth[event.tid];
        } else if (--depth[event.tid] < 0) {
            return {"unbalanced on a thread"};
        }
    }
    for (const auto& [tid, open] : depth) {
        if (open != 0) {
            return {"unbalanced on a thread"};
        }
    }
    return names;
}
