#include "tests/pairs/trial.h"

#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <list>
#include <sstream>
#include <stdexcept>

#include "tests/pairs/play.h"
#include "tests/pairs/stacks.h"

namespace pairs {
namespace {

constexpr std::size_t kLogTail = 6000;
/// For a process whose own watch does not end it.
constexpr std::chrono::seconds kGrace{15};

int MemoryFile(const char* name)
{
    const int file = memfd_create(name, MFD_CLOEXEC);
    if (file < 0)
        throw std::runtime_error(std::string("memfd_create: ") + std::strerror(errno));
    return file;
}

std::string ReadAll(int file)
{
    std::string text;
    char block[65536];
    off_t position = 0;
    for (ssize_t got; (got = pread(file, block, sizeof block, position)) > 0; position += got)
        text.append(block, static_cast<std::size_t>(got));
    return text;
}

/// The state files of trials that run at the same time must not meet.
void HaveStateFolderForOneself()
{
    if (unshare(CLONE_NEWNS) != 0 || mount("tmpfs", "/dtv", "tmpfs", 0, nullptr) != 0)
        throw std::runtime_error(std::string("own /dtv: ") + std::strerror(errno));
    std::FILE* const file = std::fopen("/dtv/cm_frequency", "w");
    if (file == nullptr)
        throw std::runtime_error("cannot write the mains frequency");
    std::fputs("1", file);
    std::fclose(file);
}

[[noreturn]] void Work(const Trial& trial, int report, int log)
{
    int code = 0;
    try {
        dup2(log, STDOUT_FILENO);
        dup2(log, STDERR_FILENO);
        HaveStateFolderForOneself();
        Play(trial, report);
        std::fflush(stdout);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "trial: %s\n", error.what());
        code = 1;
    }
    _exit(code);
}

struct Worker {
    pid_t process;
    int report;
    int log;
    std::chrono::steady_clock::time_point deadline;
    std::size_t index;
    bool killed;
};

Worker Start(const Trial& trial, std::size_t index)
{
    const int report = MemoryFile("report");
    const int log = MemoryFile("log");
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    if (process == 0)
        Work(trial, report, log);
    return {process, report, log, std::chrono::steady_clock::now() + trial.limit + kGrace, index,
            false};
}

/// Takes the lines apart; true when the last one said that all was done.
bool Read(const std::string& report, Verdict& verdict)
{
    bool complete = false;
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 6, "steps ") == 0) {
            verdict.steps = std::strtoul(line.c_str() + 6, nullptr, 10);
            complete = true;
        } else if (line.compare(0, 5, "held ") == 0) {
            verdict.held = true;
            verdict.where = line.substr(5);
        } else if (line.compare(0, 5, "fail ") == 0) {
            verdict.failures.push_back(line.substr(5));
        } else if (line == "complete") {
            complete = true;
        } else if (line != "stacks") {
            verdict.stacks += line + "\n";
        }
    }
    return complete;
}

Verdict Collect(const Worker& worker, const Trial& trial, int status)
{
    Verdict verdict;
    verdict.trial = trial;
    const bool complete = Read(ReadAll(worker.report), verdict);
    verdict.log = ReadAll(worker.log);
    close(worker.report);
    close(worker.log);

    if (worker.killed)
        verdict.failures.emplace_back("hangs without a word");
    else if (WIFSIGNALED(status))
        verdict.failures.push_back(std::string("crashes: ") + strsignal(WTERMSIG(status)));
    else if (!complete && verdict.failures.empty())
        verdict.failures.push_back("ends with code " + std::to_string(WEXITSTATUS(status)));
    if (verdict.log.find("Sanitizer: ") != std::string::npos ||
        verdict.log.find("runtime error: ") != std::string::npos)
        verdict.failures.emplace_back("a sanitizer complains, see the log");
    else if (verdict.log.size() > kLogTail)
        verdict.log.erase(0, verdict.log.size() - kLogTail);
    if (!verdict.failures.empty())
        verdict.stacks = NameFrames(verdict.stacks);
    return verdict;
}

}  // namespace

std::vector<Verdict> RunTrials(const std::vector<Trial>& trials, unsigned parallel)
{
    std::vector<Verdict> verdicts(trials.size());
    std::list<Worker> running;
    std::size_t next = 0;
    while (next < trials.size() || !running.empty()) {
        while (running.size() < parallel && next < trials.size()) {
            running.push_back(Start(trials[next], next));
            ++next;
        }
        for (auto worker = running.begin(); worker != running.end();) {
            int status = 0;
            if (waitpid(worker->process, &status, WNOHANG) == worker->process) {
                verdicts[worker->index] = Collect(*worker, trials[worker->index], status);
                worker = running.erase(worker);
                continue;
            }
            if (!worker->killed && std::chrono::steady_clock::now() >= worker->deadline) {
                worker->killed = true;
                kill(worker->process, SIGKILL);
            }
            ++worker;
        }
        ::poll(nullptr, 0, 2);
    }
    return verdicts;
}

Verdict RunTrial(const Trial& trial)
{
    return RunTrials({trial}, 1).front();
}

}  // namespace pairs
