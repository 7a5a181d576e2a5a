// Questions about single lines of a caught log.
#ifndef TESTS_SUPPORT_LOG_LINES_H
#define TESTS_SUPPORT_LOG_LINES_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/log_capture.h"

namespace test_support {

/// EXPECT_TRUE(HasLine(log, level, "Function", "text\r\n")): the text is
/// compared whole, byte for byte.
inline testing::AssertionResult HasLine(const LogCapture& log, int level,
                                        const std::string& function, const std::string& message)
{
    for (const LogEntry& entry : log.Entries()) {
        if (entry.message == message && entry.function == function && entry.level == level)
            return testing::AssertionSuccess();
    }
    testing::AssertionResult result = testing::AssertionFailure();
    result << "no line of level " << level << " by " << function << " that says \"" << message
           << "\"";
    for (const LogEntry& entry : log.Entries()) {
        if (entry.message == message)
            result << "; but level " << entry.level << " by " << entry.function;
    }
    return result;
}

/// Messages in order of appearance, of any function.
inline std::vector<std::string> Messages(const LogCapture& log)
{
    std::vector<std::string> messages;
    for (LogEntry& entry : log.Entries())
        messages.push_back(std::move(entry.message));
    return messages;
}

/// EXPECT_TRUE(InOrder(log, {...})): each text appears, each behind the one
/// before it.
inline testing::AssertionResult InOrder(const LogCapture& log,
                                        const std::vector<std::string>& texts)
{
    const std::string all = log.Text();
    std::size_t from = 0;
    for (const std::string& text : texts) {
        const std::size_t at = all.find(text, from);
        if (at == std::string::npos) {
            return testing::AssertionFailure()
                   << "\"" << text << "\" "
                   << (all.find(text) == std::string::npos ? "is missing" : "comes too early");
        }
        from = at + text.size();
    }
    return testing::AssertionSuccess();
}

}  // namespace test_support

#endif
