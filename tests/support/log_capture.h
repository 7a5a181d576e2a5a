// The driver's log, caught where it leaves the process: at standard output.
#ifndef TESTS_SUPPORT_LOG_CAPTURE_H
#define TESTS_SUPPORT_LOG_CAPTURE_H

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/wait_until.h"

namespace test_support {

struct LogEntry {
    std::string module;
    std::string level_name;
    int level = 0;
    std::string function;
    int line = 0;
    bool red = false;
    std::string message;  ///< as given, "\r\n" included; without the closing line
};

/// Takes standard output from construction to destruction. When the test fails
/// meanwhile, everything caught is printed afterwards.
///
/// A line is three writes, so lines of several threads may interleave: each
/// message is whole in Text(), but the header before it may be another one's.
/// Tests of busy threads ask Contains and Count, not Entries.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Everything printed so far, byte for byte.
    std::string Text() const;
    std::vector<LogEntry> Entries() const;
    /// Messages of one function, in order.
    std::vector<std::string> MessagesOf(const std::string& function) const;
    /// The first entry whose message contains the text.
    std::optional<LogEntry> Find(const std::string& text) const;
    bool Contains(const std::string& text) const;
    std::size_t Count(const std::string& text) const;
    /// Waits for `times` occurrences.
    bool WaitFor(const std::string& text, std::size_t times = 1,
                 std::chrono::milliseconds limit = kPatience) const;
    /// Forgets what was printed so far.
    void Clear();

private:
    std::string Read() const;

    int m_file;
    int m_saved_output;
    long m_start = 0;
};

}  // namespace test_support

#endif
