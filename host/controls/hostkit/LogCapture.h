#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Test controls over the lines the process wrote to the Android log. Available in
// executables that link hostkit_logcapture ahead of the code under test; every
// function may be called from any thread.
namespace hostkit::logs {

struct LogLine {
    int priority = 0;
    std::optional<std::string> tag;  // empty optional: the caller passed a null tag
    std::string text;
};

// Every line captured since start or the last Clear(), oldest first.
std::vector<LogLine> Lines();

// Forgets all captured lines.
void Clear();

// Lines equal in priority, tag and text. A null `tag` matches only lines logged with
// a null tag; "" matches only the empty tag.
size_t Count(int priority, const char* tag, const std::string& text);
bool Contains(int priority, const char* tag, const std::string& text);

// Waits until such a line has been captured; false when `timeout` passed first.
bool WaitFor(int priority, const char* tag, const std::string& text,
             std::chrono::milliseconds timeout);

// The wanted line and every captured line, for test failure messages.
std::string Describe(int priority, const char* tag, const std::string& text);

}  // namespace hostkit::logs

// gtest helpers: exactly one / exactly `n` matching lines, listing the log on failure.
#define HOSTKIT_EXPECT_LOG_LINE(prio, tag, text) \
    HOSTKIT_EXPECT_LOG_COUNT(1u, prio, tag, text)
#define HOSTKIT_EXPECT_LOG_COUNT(n, prio, tag, text)                             \
    EXPECT_EQ(static_cast<size_t>(n), ::hostkit::logs::Count((prio), (tag), (text))) \
        << ::hostkit::logs::Describe((prio), (tag), (text))
