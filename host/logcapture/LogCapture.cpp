#include "hostkit/LogCapture.h"

#include <sstream>

#include "LogStore.h"

namespace hostkit::logs {

namespace {

void Print(std::ostream& out, int priority, const std::optional<std::string>& tag,
           const std::string& text) {
    out << "  [" << priority << "] " << (tag ? "\"" + *tag + "\"" : std::string("<null tag>"))
        << " \"" << text << "\"\n";
}

}  // namespace

std::vector<LogLine> Lines() { return LogStore::Get().Lines(); }

void Clear() { LogStore::Get().Clear(); }

size_t Count(int priority, const char* tag, const std::string& text) {
    return LogStore::Get().Count(priority, tag, text);
}

bool Contains(int priority, const char* tag, const std::string& text) {
    return Count(priority, tag, text) > 0;
}

bool WaitFor(int priority, const char* tag, const std::string& text,
             std::chrono::milliseconds timeout) {
    return LogStore::Get().WaitFor(priority, tag, text, timeout);
}

std::string Describe(int priority, const char* tag, const std::string& text) {
    std::ostringstream out;
    out << "wanted:\n";
    Print(out, priority, tag ? std::optional<std::string>(tag) : std::nullopt, text);
    out << "captured:\n";
    for (const LogLine& line : Lines()) Print(out, line.priority, line.tag, line.text);
    return out.str();
}

}  // namespace hostkit::logs
