#include "tests/sweep/worker.h"

#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <list>
#include <stdexcept>

#include "tests/sweep/scenario.h"

namespace sweep {
namespace {

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

/// The state files of workers that run at the same time must not meet.
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

[[noreturn]] void Work(const Fault& fault, int facts_file, int log_file)
{
    int code = 0;
    try {
        dup2(log_file, STDOUT_FILENO);
        HaveStateFolderForOneself();
        const Facts facts = Play(FindScenario(fault.scenario), fault);
        std::fflush(stdout);
        const std::string text = ToText(facts);
        if (write(facts_file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            code = 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", fault.ToString().c_str(), error.what());
        code = 1;
    }
    _exit(code);
}

}  // namespace

Workers::Workers(unsigned parallel, std::chrono::seconds limit)
    : m_parallel(parallel), m_limit(limit)
{
}

Workers::Worker Workers::Start(const Fault& fault) const
{
    const int facts = MemoryFile("facts");
    const int log = MemoryFile("log");
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    if (process == 0)
        Work(fault, facts, log);
    return {process, std::chrono::steady_clock::now() + m_limit, facts, log, fault, false};
}

Run Workers::Collect(const Worker& worker, int status)
{
    Run run;
    run.fault = worker.fault;
    run.hung = worker.killed;
    if (WIFSIGNALED(status) && !worker.killed)
        run.crash = std::string("signal ") + strsignal(WTERMSIG(status));
    else if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        run.crash = "exit code " + std::to_string(WEXITSTATUS(status));
    const std::string text = ReadAll(worker.facts);
    if (!text.empty())
        run.facts = FactsFromText(text);
    run.facts.log = ReadAll(worker.log);
    close(worker.facts);
    close(worker.log);
    return run;
}

void Workers::RunAll(const std::vector<Fault>& faults, const std::function<void(const Run&)>& done)
{
    std::list<Worker> running;
    std::size_t next = 0;
    while (next < faults.size() || !running.empty()) {
        while (running.size() < m_parallel && next < faults.size())
            running.push_back(Start(faults[next++]));
        for (auto worker = running.begin(); worker != running.end();) {
            int status = 0;
            const pid_t ended = waitpid(worker->process, &status, WNOHANG);
            if (ended == worker->process) {
                done(Collect(*worker, status));
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
}

}  // namespace sweep
