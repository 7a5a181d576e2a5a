// Shell commands when the system's calls fail.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include "camera/shell.h"
#include "tests/support/log_level.h"
#include "tests/support/tv_root.h"

namespace {

bool g_fork_fails = false;
bool g_exec_fails = false;
bool g_wait_answers_another = false;
int g_interruptions = 0;
int g_waits = 0;

pid_t Wait(pid_t child, int* status, int options)
{
    return static_cast<pid_t>(syscall(SYS_wait4, child, status, options, nullptr));
}

}  // namespace

// Visible, since the libraries of a sanitizer refer to these names too.
#pragma GCC visibility push(default)
extern "C" {

pid_t __wrap_vfork()
{
    if (g_fork_fails) {
        errno = EAGAIN;
        return -1;
    }
    return fork();  // a call in between cannot return twice as vfork does
}

int __wrap_execl(const char* path, const char* name, ...)
{
    if (g_exec_fails) {
        errno = ENOENT;
        return -1;
    }
    std::va_list words;
    va_start(words, name);
    char* arguments[4] = {const_cast<char*>(name)};
    for (int i = 1; i < 4; ++i)
        arguments[i] = va_arg(words, char*);
    va_end(words);
    return execv(path, arguments);
}

pid_t __wrap_waitpid(pid_t child, int* status, int options)
{
    ++g_waits;
    if (g_interruptions > 0) {
        --g_interruptions;
        errno = EINTR;
        return -1;
    }
    const pid_t waited = Wait(child, status, options);
    return g_wait_answers_another ? waited + 1 : waited;
}
}
#pragma GCC visibility pop

namespace {

class ShellFailure : public testing::Test {
protected:
    void SetUp() override
    {
        g_fork_fails = g_exec_fails = g_wait_answers_another = false;
        g_interruptions = g_waits = 0;
    }
};

TEST_F(ShellFailure, FailedForkIsToldOnStandardErrorAndReturnsMinusOne)
{
    g_fork_fails = true;
    const test_support::CapturedLog log(5);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ExecuteShell("true"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vfork fail\n");
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(g_waits, 0);
}

TEST_F(ShellFailure, WaitThatReturnsAnotherChildIsToldOnStandardError)
{
    g_wait_answers_another = true;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ExecuteShell("exit 0"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "waitpid fail - Command : exit 0\n");
}

TEST_F(ShellFailure, InterruptedWaitIsTakenUpAgain)
{
    g_interruptions = 3;
    EXPECT_EQ(ExecuteShell("exit 2"), 512);
    EXPECT_EQ(g_waits, 4);
}

TEST_F(ShellFailure, ShellThatCannotBeStartedLeavesTheChildWithStatusOne)
{
    g_exec_fails = true;
    EXPECT_EQ(ExecuteShell("true"), 1 << 8);
}

void LeaveTrace()
{
    test_support::TvRoot::Write("/dtv/exit_handler_ran", "");
}

TEST_F(ShellFailure, ChildThatCannotStartTheShellRunsNoExitHandlers)
{
    REQUIRE_TV_ROOT();
    test_support::TvRoot::Clear();
    ASSERT_EQ(std::atexit(LeaveTrace), 0);
    g_exec_fails = true;
    ExecuteShell("true");
    EXPECT_FALSE(test_support::TvRoot::Exists("/dtv/exit_handler_ran"));
}

}  // namespace
