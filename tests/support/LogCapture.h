// What the code under test writes to syslog, kept instead of sent. Thread-safe; setlogmask is honoured as by syslog.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>
#include <syslog.h>
#include <vector>

namespace support {

struct LogLine {
    int priority;
    std::string text; // as given, with its line end when it has one
};

constexpr int kAnyPriority = -1;

// In patterns `*` stands for any text; everything else for itself.
class LogCapture {
public:
    static void Clear();
    static std::vector<LogLine> Lines();
    // The texts that match, oldest first.
    static std::vector<std::string> Texts(std::string_view pattern, int priority = kAnyPriority);
    static std::size_t Count(int priority, std::string_view pattern);
    // False when no such line has come within the limit. Lines from before the call count.
    static bool WaitFor(std::string_view pattern, std::size_t count = 1,
                        std::chrono::milliseconds limit = std::chrono::seconds(20));
};

// For EXPECT_TRUE: says which lines of that priority there were when the one looked for is missing, and the reverse.
testing::AssertionResult Logged(int priority, std::string_view pattern);
testing::AssertionResult LoggedTimes(std::size_t times, int priority, std::string_view pattern);
testing::AssertionResult NotLogged(int priority, std::string_view pattern);
// Lines matching the patterns came, the first of each in the patterns' order.
testing::AssertionResult LoggedInOrder(const std::vector<std::string> &patterns);

bool Matches(std::string_view text, std::string_view pattern);

} // namespace support
