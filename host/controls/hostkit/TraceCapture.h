#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

// Test controls over the trace sections the process writes through <cutils/trace.h>, as a
// trace capture (atrace, Perfetto) sees them on a phone. Available in executables that link
// hostkit_tracecapture ahead of the code under test. Until Start, tracing is off, as on a
// phone with no capture running, and nothing is recorded. Thread-safe.
namespace hostkit::trace {

struct Event {
    pid_t tid = 0;
    bool begin = false;  // ATRACE_BEGIN (with `name`) or ATRACE_END
    std::string name;
};

// Starts a capture of the given ATRACE_TAG_* categories, forgetting earlier events.
void Start(uint64_t tags);
// Ends the capture: tracing is off again. Events stay until the next Start.
void Stop();
// Every begin and end recorded since Start, in the order they happened.
std::vector<Event> Events();

}  // namespace hostkit::trace
