#include "tests/memory/child.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <list>
#include <new>
#include <stdexcept>

namespace child {
namespace {

constexpr std::chrono::seconds kLimit{40};
constexpr std::size_t kAtATime = 6;
/// More allocations than any operation makes.
constexpr std::size_t kMost = 300;
constexpr off_t kOutputTold = 1500;

struct Running {
    pid_t process;
    Record* record;
    int output;
    std::chrono::steady_clock::time_point deadline;
    bool killed;
};

void Copy(const std::string& text, char* to, std::size_t size)
{
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(to, text.data(), length);
    to[length] = '\0';
}

/// Without destructors: after what went wrong they might hang.
[[noreturn]] void EndChild(Record& record, const std::string& problem)
{
    product_heap::FailNone();
    Copy(problem, record.problem, sizeof record.problem);
    std::fflush(nullptr);
    record.finished = true;
    _exit(0);
}

[[noreturn]] void BeChild(const std::function<void(Story&)>& story, Record& record, int output)
{
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    product_heap::KeepFailureIn(record.failure);
    Story mine(record);
    try {
        story(mine);
    } catch (const std::exception& error) {
        EndChild(record, std::string("an exception left it: ") + error.what());
    }
    EndChild(record, "");
}

Running Start(const std::function<void(Story&)>& story)
{
    void* const shared =
        mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    const int output = memfd_create("output of a child", MFD_CLOEXEC);
    if (shared == MAP_FAILED || output < 0)
        throw std::runtime_error("no memory to share with a child");
    auto* const record = new (shared) Record{};
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error("fork");
    if (process == 0)
        BeChild(story, *record, output);
    return {process, record, output, std::chrono::steady_clock::now() + kLimit, false};
}

std::string LastOf(int file)
{
    std::string text(static_cast<std::size_t>(kOutputTold), '\0');
    const off_t size = lseek(file, 0, SEEK_END);
    const ssize_t got = pread(file, &text[0], text.size(), std::max<off_t>(0, size - kOutputTold));
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

Ending Collect(const Running& running, int status)
{
    const Record& record = *running.record;
    Ending ending;
    ending.failed = record.failure.happened;
    ending.on_callers_thread = record.failure.on_callers_thread;
    ending.size = record.failure.size;
    ending.figures = record.figures;
    const std::string doing = record.doing;
    if (running.killed)
        ending.what = doing + ": did not end";
    else if (WIFSIGNALED(status))
        ending.what = doing + ": the process ended by signal " + strsignal(WTERMSIG(status));
    else if (record.problem[0] != '\0')
        ending.what = doing + ": " + record.problem;
    else if (WEXITSTATUS(status) != 0 || !record.finished)  // a sanitizer's word, too
        ending.what = doing + ": the process ended with " + std::to_string(WEXITSTATUS(status));
    ending.good = ending.what.empty();
    ending.output = LastOf(running.output);
    munmap(running.record, sizeof(Record));
    close(running.output);
    return ending;
}

/// True when the child has ended, killed if need be.
bool HasEnded(Running& running, int& status)
{
    if (waitpid(running.process, &status, WNOHANG) == running.process)
        return true;
    if (!running.killed && std::chrono::steady_clock::now() >= running.deadline) {
        running.killed = true;
        kill(running.process, SIGKILL);
    }
    return false;
}

}  // namespace

void Story::Doing(const std::string& what)
{
    Copy(what, m_record.doing, sizeof m_record.doing);
}

void Story::Require(bool holds, const std::string& otherwise)
{
    if (!holds)
        EndChild(m_record, otherwise);
}

Ending Play(const std::function<void(Story&)>& story)
{
    Running running = Start(story);
    int status = 0;
    test_support::WaitUntil([&] { return HasEnded(running, status); }, kLimit * 2);
    return Collect(running, status);
}

std::vector<Ending> PlayEach(const std::function<void(Story&, std::size_t nth)>& story)
{
    std::vector<Ending> endings;
    std::list<std::pair<std::size_t, Running>> running;
    std::size_t started = 0;
    bool enough = false;
    while (!enough || !running.empty()) {
        while (!enough && running.size() < kAtATime) {
            const std::size_t nth = ++started;
            running.emplace_back(nth, Start([&](Story& one) { story(one, nth); }));
            endings.resize(started);
            enough = started == kMost;
        }
        for (auto one = running.begin(); one != running.end();) {
            int status = 0;
            if (!HasEnded(one->second, status)) {
                ++one;
                continue;
            }
            Ending& ending = endings[one->first - 1] = Collect(one->second, status);
            enough = enough || !ending.failed;
            one = running.erase(one);
        }
        ::poll(nullptr, 0, 2);
    }
    // Those started ahead of the first undisturbed one add nothing.
    const auto undisturbed = std::find_if(endings.begin(), endings.end(),
                                          [](const Ending& ending) { return !ending.failed; });
    if (undisturbed != endings.end())
        endings.erase(undisturbed + 1, endings.end());
    return endings;
}

}  // namespace child
