// Entry of the tests that run in the guest.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/tv_root.h"

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (!testing::GTEST_FLAG(list_tests) && !test_support::TvRoot::Enter(argv)) {
        std::fprintf(stderr, "no private television folders: %s\n",
                     test_support::TvRoot::Problem().c_str());
        return 1;
    }
    return RUN_ALL_TESTS();
}
