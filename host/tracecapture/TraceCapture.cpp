// Definitions of libcutils' trace entry points that take precedence over libcutils' own in
// any executable linking this library first. Debian's libcutils traces nothing on the host;
// here sections are recorded for the controls in hostkit/TraceCapture.h. As on a phone, the
// inline ATRACE_* macros ask atrace_get_enabled_tags() first and call the *_body writers only
// while a capture includes their tag.
#include <cutils/trace.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include <hostkit/TraceCapture.h>

namespace {

std::atomic<uint64_t> gEnabledTags{ATRACE_TAG_ALWAYS};
std::mutex gMutex;
std::vector<hostkit::trace::Event> gEvents;  // guarded by gMutex

void Record(bool begin, const char* name) {
    std::lock_guard<std::mutex> lock(gMutex);
    gEvents.push_back({gettid(), begin, name != nullptr ? name : ""});
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void atrace_init() {}

__attribute__((visibility("default"))) uint64_t atrace_get_enabled_tags() {
    return gEnabledTags.load(std::memory_order_acquire);
}

__attribute__((visibility("default"))) void atrace_begin_body(const char* name) {
    Record(true, name);
}

__attribute__((visibility("default"))) void atrace_end_body() {
    Record(false, nullptr);
}

}  // extern "C"

namespace hostkit::trace {

void Start(uint64_t tags) {
    {
        std::lock_guard<std::mutex> lock(gMutex);
        gEvents.clear();
    }
    gEnabledTags.store(tags | ATRACE_TAG_ALWAYS, std::memory_order_release);
}

void Stop() {
    gEnabledTags.store(ATRACE_TAG_ALWAYS, std::memory_order_release);
}

std::vector<Event> Events() {
    std::lock_guard<std::mutex> lock(gMutex);
    return gEvents;
}

}  // namespace hostkit::trace
