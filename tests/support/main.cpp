// Entry of every test program.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/tv_root.h"
#include "virtual_camera/standin/bus.h"

int main(int argc, char** argv)
{
    // gmock takes its arguments out of argv; a restart needs them all.
    if (!test_support::TvRoot::Enter(argv))
        std::fprintf(stderr, "no private root directory: %s\n",
                     test_support::TvRoot::Problem().c_str());
    testing::InitGoogleMock(&argc, argv);
    // Tests plug in what they want to see.
    vcam::standin::Bus::Instance().MarkConfigured();
    return RUN_ALL_TESTS();
}
