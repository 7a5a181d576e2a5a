#include "tests/support/log_capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace test_support {
namespace {

constexpr std::array<const char*, 6> kLevels{"-", "Fatal", "Major", "Warning", "Debugging", "Info"};

int LevelNamed(const std::string& name)
{
    for (std::size_t level = 0; level < kLevels.size(); ++level)
        if (name == kLevels[level])
            return static_cast<int>(level);
    return -1;
}

/// Takes `expected` off the front of what is left.
bool Skip(const std::string& text, std::size_t& at, const std::string& expected)
{
    if (text.compare(at, expected.size(), expected) != 0)
        return false;
    at += expected.size();
    return true;
}

/// Takes everything up to `end`, which has to come on the same line.
bool TakeUntil(const std::string& text, std::size_t& at, char end, std::string& taken)
{
    const std::size_t stop = text.find(end, at);
    if (stop == std::string::npos)
        return false;
    taken = text.substr(at, stop - at);
    at = stop + 1;
    return taken.find('\n') == std::string::npos;
}

/// "[TORVIK 1.26/Debugging] [func:12] "; `at` ends behind it.
bool ParseHeader(const std::string& text, std::size_t& at, LogEntry& entry)
{
    std::string line;
    if (!Skip(text, at, "[") || !TakeUntil(text, at, ' ', entry.module) ||
        !Skip(text, at, "1.26/") || !TakeUntil(text, at, ']', entry.level_name) ||
        !Skip(text, at, " [") || !TakeUntil(text, at, ']', line) || !Skip(text, at, " "))
        return false;
    const std::size_t colon = line.rfind(':');
    entry.level = LevelNamed(entry.level_name);
    if (colon == std::string::npos || entry.level < 0)
        return false;
    entry.function = line.substr(0, colon);
    entry.line = std::atoi(line.c_str() + colon + 1);
    entry.red = Skip(text, at, "\033[31m");
    return true;
}

/// The first header from `at` on, which moves to it (or to the end); the
/// result is where its message begins.
std::size_t FindHeader(const std::string& text, std::size_t& at, LogEntry& entry)
{
    for (at = text.find('[', at); at != std::string::npos; at = text.find('[', at + 1)) {
        std::size_t end = at;
        LogEntry candidate;
        if (!ParseHeader(text, end, candidate))
            continue;
        entry = std::move(candidate);
        return end;
    }
    at = text.size();
    return std::string::npos;
}

bool StripEnd(std::string& text, const std::string& end)
{
    if (text.size() < end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0)
        return false;
    text.erase(text.size() - end.size());
    return true;
}

}  // namespace

LogCapture::LogCapture()
    : m_file(memfd_create("captured standard output", MFD_CLOEXEC)),
      m_saved_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3))
{
    if (m_file < 0 || m_saved_output < 0)
        throw std::runtime_error("cannot capture standard output");
    std::fflush(stdout);
    // Every process and stream writes at the end.
    fcntl(m_file, F_SETFL, fcntl(m_file, F_GETFL) | O_APPEND);
    dup2(m_file, STDOUT_FILENO);
}

LogCapture::~LogCapture()
{
    std::fflush(stdout);
    const std::string text = Read();
    dup2(m_saved_output, STDOUT_FILENO);
    close(m_saved_output);
    close(m_file);
    if (testing::Test::HasFailure())
        std::printf("---- captured log ----\n%s\n---- end of log ----\n", text.c_str());
}

std::string LogCapture::Read() const
{
    struct stat state {};
    fstat(m_file, &state);
    std::string text(static_cast<std::size_t>(state.st_size), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
            pread(m_file, &text[done], text.size() - done, static_cast<off_t>(done));
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    text.resize(done);
    return text;
}

std::string LogCapture::Text() const
{
    std::fflush(stdout);
    return Read().substr(static_cast<std::size_t>(m_start));
}

void LogCapture::Clear()
{
    std::fflush(stdout);
    m_start = static_cast<long>(Read().size());
}

std::vector<LogEntry> LogCapture::Entries() const
{
    const std::string text = Text();
    std::vector<LogEntry> entries;
    std::size_t at = 0;
    LogEntry next;
    std::size_t body = FindHeader(text, at, next);
    while (body != std::string::npos) {
        LogEntry entry = std::move(next);
        at = body;  // becomes the place of the header that follows
        next = {};
        const std::size_t next_body = FindHeader(text, at, next);
        entry.message = text.substr(body, at - body);
        StripEnd(entry.message, "\n");
        if (entry.red)
            StripEnd(entry.message, "\033[0m");
        entries.push_back(std::move(entry));
        body = next_body;
    }
    return entries;
}

std::vector<std::string> LogCapture::MessagesOf(const std::string& function) const
{
    std::vector<std::string> messages;
    for (LogEntry& entry : Entries())
        if (entry.function == function)
            messages.push_back(std::move(entry.message));
    return messages;
}

std::optional<LogEntry> LogCapture::Find(const std::string& text) const
{
    for (LogEntry& entry : Entries())
        if (entry.message.find(text) != std::string::npos)
            return entry;
    return std::nullopt;
}

bool LogCapture::Contains(const std::string& text) const
{
    return Text().find(text) != std::string::npos;
}

std::size_t LogCapture::Count(const std::string& text) const
{
    const std::string all = Text();
    std::size_t count = 0;
    for (std::size_t at = all.find(text); at != std::string::npos;
         at = all.find(text, at + text.size()))
        ++count;
    return count;
}

bool LogCapture::WaitFor(const std::string& text, std::size_t times,
                         std::chrono::milliseconds limit) const
{
    return WaitUntil([&] { return Count(text) >= times; }, limit);
}

}  // namespace test_support
