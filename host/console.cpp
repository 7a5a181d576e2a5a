#include "host/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "host/host_error.h"

namespace host {

Console::Console()
{
    // Not inherited: the driver runs shell commands.
    const int fd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    m_out = fd >= 0 ? fdopen(fd, "w") : nullptr;
    m_terminal = fd >= 0 && isatty(fd) == 1;
}

Console::~Console()
{
    ClearStatus();
    if (m_out != nullptr) {
        std::fclose(m_out);
    }
}

void Console::DivertDriverLog(const std::string& target)
{
    int fd = STDERR_FILENO;
    if (target != "-") {
        const char* path = target.empty() ? "/dev/null" : target.c_str();
        fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) {
            throw SystemError(std::string("cannot write ") + path, errno);
        }
    }
    std::fflush(stdout);
    dup2(fd, STDOUT_FILENO);
    if (fd != STDERR_FILENO) {
        close(fd);
    }
}

void Console::ClearStatus()
{
    if (m_status_shown && m_out != nullptr) {
        std::fputs("\r\033[K", m_out);
        m_status_shown = false;
    }
}

void Console::Line(const std::string& text)
{
    Text(text + "\n");
}

void Console::Text(const std::string& text)
{
    if (m_out == nullptr) {
        return;
    }
    ClearStatus();
    std::fputs(text.c_str(), m_out);
    std::fflush(m_out);
}

void Console::Status(const std::string& text)
{
    if (m_out == nullptr || !m_terminal) {
        return;
    }
    ClearStatus();
    std::fputs(text.c_str(), m_out);
    std::fflush(m_out);
    m_status_shown = true;
}

void PrintProblem(const std::string& text)
{
    std::fprintf(stderr, "camhost: %s\n", text.c_str());
}

}  // namespace host
