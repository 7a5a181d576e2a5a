#include "tests/camera/host_call.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/wait_until.h"

using test_support::WaitUntil;

namespace {

constexpr int kRestMs = 10;

std::string ReadOf(pid_t thread, const char* file)
{
    std::ifstream stream("/proc/self/task/" + std::to_string(thread) + "/" + file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

bool IsAsleep(pid_t thread)
{
    const std::string text = ReadOf(thread, "stat");
    const std::size_t name_end = text.rfind(") ");
    return name_end != std::string::npos && text[name_end + 2] == 'S';
}

/// How often it has gone to sleep.
std::string SleepsOf(pid_t thread)
{
    const std::string text = ReadOf(thread, "status");
    const std::size_t at = text.find("\nvoluntary_ctxt_switches:");
    return at == std::string::npos ? "" : text.substr(at + 1, text.find('\n', at + 1) - at);
}

}  // namespace

std::set<pid_t> ListedThreads()
{
    std::set<pid_t> threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        threads.insert(static_cast<pid_t>(std::atol(entry.path().filename().c_str())));
    return threads;
}

pid_t ThisThread()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

bool SleepsOn(pid_t thread)
{
    const std::string before = SleepsOf(thread);
    for (int i = 0; i < kRestMs; ++i) {
        if (!IsAsleep(thread))
            return false;
        ::poll(nullptr, 0, 1);
    }
    return !before.empty() && SleepsOf(thread) == before;
}

bool AllOthersSleepOn()
{
    for (const pid_t thread : ListedThreads())
        if (thread != ThisThread() && !SleepsOn(thread))
            return false;
    return true;
}

HostCall::HostCall(std::function<void()> call)
    : m_thread([this, call = std::move(call)] {
          m_number = ThisThread();
          call();
          m_returned = true;
      })
{
}

bool HostCall::WaitReturned(std::chrono::milliseconds limit) const
{
    return WaitUntil([this] { return Returned(); }, limit);
}

bool HostCall::WaitAtRest() const
{
    return WaitUntil([this] { return Returned() || (m_number != 0 && SleepsOn(m_number)); });
}
