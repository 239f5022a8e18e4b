#include "hostkit/LogCapture.h"

#include <android/log.h>
#include <gtest/gtest.h>

#include <errno.h>

#include <string>
#include <thread>
#include <vector>

extern "C" void LogProbeWrite(int count);

namespace {

using hostkit::logs::Clear;
using hostkit::logs::Count;
using hostkit::logs::Lines;

class LogCaptureTest : public ::testing::Test {
  protected:
    void SetUp() override { Clear(); }
};

TEST_F(LogCaptureTest, PrintRecordsExactLine) {
    __android_log_print(ANDROID_LOG_INFO, "TAG_A", "%s: value %d", "Func", 7);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, "TAG_A", "Func: value 7");
    EXPECT_EQ(0u, Count(ANDROID_LOG_WARN, "TAG_A", "Func: value 7"));
    EXPECT_EQ(0u, Count(ANDROID_LOG_INFO, "TAG_B", "Func: value 7"));
    EXPECT_EQ(0u, Count(ANDROID_LOG_INFO, "TAG_A", "Func: value 7\n"));
}

TEST_F(LogCaptureTest, WriteAndVprintAreRecordedInOrder) {
    __android_log_write(ANDROID_LOG_ERROR, "T", "first");
    __android_log_print(ANDROID_LOG_DEBUG, "T", "second\n");
    const std::vector<hostkit::logs::LogLine> lines = Lines();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(ANDROID_LOG_ERROR, lines[0].priority);
    EXPECT_EQ("first", lines[0].text);
    EXPECT_EQ("second\n", lines[1].text);  // the text is kept byte for byte
}

TEST_F(LogCaptureTest, NullTagIsDistinctFromEmptyTag) {
    __android_log_write(ANDROID_LOG_INFO, nullptr, "x");
    EXPECT_EQ(1u, Count(ANDROID_LOG_INFO, nullptr, "x"));
    EXPECT_EQ(0u, Count(ANDROID_LOG_INFO, "", "x"));
    __android_log_write(ANDROID_LOG_INFO, "", "x");
    EXPECT_EQ(1u, Count(ANDROID_LOG_INFO, nullptr, "x"));
    EXPECT_EQ(1u, Count(ANDROID_LOG_INFO, "", "x"));
}

TEST_F(LogCaptureTest, LinesFromSharedLibraryAreCaptured) {
    LogProbeWrite(3);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, "PROBE", "probe line 3");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, nullptr, "probe without tag");
}

TEST_F(LogCaptureTest, BehavesLikeLiblog) {
    errno = 1234;
    EXPECT_EQ(1, __android_log_print(ANDROID_LOG_INFO, "T", "%s", "a"));
    EXPECT_EQ(1234, errno);
    EXPECT_GT(0, __android_log_write(ANDROID_LOG_INFO, "T", nullptr));
    const std::string longText(5000, 'x');
    __android_log_print(ANDROID_LOG_INFO, "T", "%s", longText.c_str());
    EXPECT_EQ(1u, Count(ANDROID_LOG_INFO, "T", std::string(1023, 'x')));
    EXPECT_EQ(2u, Lines().size());
}

TEST_F(LogCaptureTest, ClearForgetsLines) {
    __android_log_write(ANDROID_LOG_INFO, "T", "gone");
    Clear();
    EXPECT_TRUE(Lines().empty());
}

TEST_F(LogCaptureTest, ConcurrentWritersLoseNothing) {
    constexpr int THREADS = 4;
    constexpr int PER_THREAD = 500;
    std::vector<std::thread> writers;
    for (int t = 0; t < THREADS; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < PER_THREAD; ++i) {
                __android_log_print(ANDROID_LOG_DEBUG, "MT", "thread %d", t);
            }
        });
    }
    for (std::thread& writer : writers) writer.join();
    for (int t = 0; t < THREADS; ++t) {
        EXPECT_EQ(static_cast<size_t>(PER_THREAD),
                  Count(ANDROID_LOG_DEBUG, "MT", "thread " + std::to_string(t)));
    }
}

TEST_F(LogCaptureTest, WaitForSeesLineFromOtherThread) {
    std::thread writer([] { __android_log_write(ANDROID_LOG_INFO, "W", "later"); });
    EXPECT_TRUE(hostkit::logs::WaitFor(ANDROID_LOG_INFO, "W", "later", std::chrono::seconds(10)));
    writer.join();
    EXPECT_FALSE(hostkit::logs::WaitFor(ANDROID_LOG_INFO, "W", "never",
                                        std::chrono::milliseconds(10)));
}

}  // namespace
