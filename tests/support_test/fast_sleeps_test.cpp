#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "tests/support/sleeps.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using test_support::FastSleeps;

TEST(FastSleepsTest, EverySleepIsRecordedAndShortened)
{
    const auto start = steady_clock::now();
    FastSleeps sleeps(1000);
    ::sleep(10);
    ::usleep(20000000);
    timespec length{30, 500000000};
    ::nanosleep(&length, nullptr);
    ::clock_nanosleep(CLOCK_MONOTONIC, 0, &length, nullptr);
    std::this_thread::sleep_for(seconds(40));
    EXPECT_LT(steady_clock::now() - start, seconds(9));

    const auto all = sleeps.All();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0].asked, seconds(10));
    EXPECT_EQ(all[1].asked, seconds(20));
    EXPECT_EQ(all[2].asked, milliseconds(30500));
    EXPECT_EQ(all[3].asked, milliseconds(30500));
    EXPECT_EQ(all[4].asked, seconds(40));
    EXPECT_EQ(sleeps.Count(milliseconds(30500)), 2u);
}

TEST(FastSleepsTest, SleepsAreTakenAsTheyAreWithDivisorOne)
{
    FastSleeps sleeps(1);
    const auto start = steady_clock::now();
    ::usleep(20000);
    EXPECT_GE(steady_clock::now() - start, milliseconds(20));
}

TEST(FastSleepsTest, ThreadsAreToldApart)
{
    FastSleeps sleeps(1000);
    std::thread other([] { ::usleep(1234); });
    const std::thread::id id = other.get_id();
    ::usleep(4321);
    other.join();
    const auto of_other = sleeps.OfThread(id);
    ASSERT_EQ(of_other.size(), 1u);
    EXPECT_EQ(of_other[0].asked, microseconds(1234));
    EXPECT_EQ(sleeps.OfThread(std::this_thread::get_id()).size(), 1u);
    sleeps.Clear();
    EXPECT_TRUE(sleeps.All().empty());
}

TEST(FastSleepsTest, InvalidLengthIsRefused)
{
    timespec length{0, 2000000000};
    EXPECT_EQ(::nanosleep(&length, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(::clock_nanosleep(CLOCK_MONOTONIC, 0, &length, nullptr), EINVAL);
}

}  // namespace
