#include "camera/shell.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <string>

#include "tests/support/tv_root.h"

namespace {

using test_support::TvRoot;

TEST(Shell, NullCommandIsRefused)
{
    EXPECT_EQ(ExecuteShell(nullptr), -1);
}

TEST(Shell, Exit2Returns512)
{
    EXPECT_EQ(ExecuteShell("exit 2"), 512);
}

TEST(Shell, SuccessReturnsZero)
{
    EXPECT_EQ(ExecuteShell("true"), 0);
}

TEST(Shell, UnknownCommandReturnsTheShellsStatus)
{
    EXPECT_EQ(ExecuteShell("no_such_command_here 2>/dev/null"), 127 << 8);
}

TEST(Shell, DeathBySignalReturnsTheRawWaitStatus)
{
    const int status = ExecuteShell("kill -9 $$");
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(Shell, WaitsUntilTheCommandHasEnded)
{
    REQUIRE_TV_ROOT();
    TvRoot::Clear();
    EXPECT_EQ(ExecuteShell("echo done > /dtv/result"), 0);
    EXPECT_EQ(TvRoot::Read("/dtv/result"), "done\n");
}

TEST(Shell, CommandIsRunByTheSystemsShellWithItsOwnArgumentList)
{
    REQUIRE_TV_ROOT();
    TvRoot::Clear();
    const std::string command = "cat /proc/$$/cmdline > /dtv/words; true";
    EXPECT_EQ(ExecuteShell(command.c_str()), 0);
    const char nul = '\0';
    EXPECT_EQ(TvRoot::Read("/dtv/words"),
              std::string("/bin/sh") + nul + "-c" + nul + command + nul);
}

TEST(Shell, ChildThatIsReapedElsewhereIsToldOnStandardError)
{
    // Children of a process that ignores SIGCHLD leave no status behind.
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ExecuteShell("true"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "waitpid fail - Command : true\n");
    std::signal(SIGCHLD, before);
}

}  // namespace
