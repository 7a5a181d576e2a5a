#include "tests/support/log_capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <regex>
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
    static const std::regex header(
        R"(\[(\w+) 1\.26/([\w-]+)\] \[([\w~:]*):(-?\d+)\] (\x1b\[31m)?)");
    const std::string text = Text();
    std::vector<LogEntry> entries;
    const std::sregex_iterator end;
    for (std::sregex_iterator at(text.begin(), text.end(), header); at != end; ++at) {
        const std::smatch& found = *at;
        LogEntry entry;
        entry.module = found[1];
        entry.level_name = found[2];
        entry.level = LevelNamed(entry.level_name);
        entry.function = found[3];
        entry.line = std::atoi(found[4].str().c_str());
        entry.red = found[5].matched;
        const auto start = static_cast<std::size_t>(found.position() + found.length());
        const auto next = std::next(at);
        const std::size_t stop =
            next == end ? text.size() : static_cast<std::size_t>(next->position());
        entry.message = text.substr(start, stop - start);
        StripEnd(entry.message, "\n");
        if (entry.red)
            StripEnd(entry.message, "\033[0m");
        entries.push_back(std::move(entry));
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
