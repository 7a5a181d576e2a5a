// Entry of the tests that run in the guest.
#include <execinfo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "tests/support/tv_root.h"

namespace
{

/// There is no debugger in the guest.
void ShowWhere(int number)
{
    std::array<void*, 64> frames;
    backtrace_symbols_fd(frames.data(), backtrace(frames.data(), frames.size()), STDERR_FILENO);
    signal(number, SIG_DFL);
    raise(number);
}

}  // namespace

int main(int argc, char** argv)
{
    for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGTERM}) signal(number, ShowWhere);
    testing::InitGoogleMock(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests) && !test_support::TvRoot::Enter(argv)) {
        std::fprintf(stderr, "no private television folders: %s\n",
                     test_support::TvRoot::Problem().c_str());
        return 1;
    }
    return RUN_ALL_TESTS();
}
