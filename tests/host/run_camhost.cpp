#include "tests/host/run_camhost.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

// Words, each with a comma behind it, of what runs this build's programs on
// this machine.
#ifndef CAMHOST_LAUNCHER
#define CAMHOST_LAUNCHER
#endif

namespace host_test {

TempFolder::TempFolder()
{
    std::string pattern =
        (std::filesystem::temp_directory_path() / "camhost-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp");
    }
    m_path = pattern;
}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

Camhost::Camhost(const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment, bool bound)
{
    std::vector<char*> argv;
    for (const char* word : {CAMHOST_LAUNCHER CAMHOST_PROGRAM}) {
        argv.push_back(const_cast<char*>(word));
    }
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const std::string out = m_folder.Path() + "/out";
    const std::string err = m_folder.Path() + "/err";
    m_pid = fork();
    if (m_pid == 0) {
        dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
        for (const std::string& variable : environment) {
            putenv(const_cast<char*>(variable.c_str()));
        }
        if (bound && geteuid() == 0 && prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) != 0) {
            _exit(126);
        }
        execv(argv[0], argv.data());
        _exit(127);
    }
}

Camhost::~Camhost()
{
    if (!m_ended) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
}

bool Camhost::Ended()
{
    m_ended = m_ended || waitpid(m_pid, &m_status, WNOHANG) == m_pid;
    return m_ended;
}

std::string Camhost::Output(const char* name) const
{
    std::ifstream file(m_folder.Path() + "/" + name);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool Camhost::WaitForOutput(const std::string& text, int seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (;;) {
        const bool ended = Ended();  // first, so that the last words are read
        if (Output("out").find(text) != std::string::npos) {
            return true;
        }
        if (ended || std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void Camhost::Signal(int number)
{
    kill(m_pid, number);
}

Result Camhost::Wait()
{
    if (!m_ended) {
        waitpid(m_pid, &m_status, 0);
        m_ended = true;
    }
    const int code = WIFEXITED(m_status) ? WEXITSTATUS(m_status) : 128 + WTERMSIG(m_status);
    return {code, Output("out"), Output("err")};
}

Result RunCamhost(const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment)
{
    return Camhost(arguments, environment).Wait();
}

std::string Squeezed(const std::string& text)
{
    std::string squeezed;
    for (char c : text) {
        if (c != ' ' || squeezed.empty() || squeezed.back() != ' ') {
            squeezed += c;
        }
    }
    return squeezed;
}

std::size_t Lines(const std::string& text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace host_test
