// The pair tests see what they are there to see.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <thread>

#include "tests/pairs/gate.h"
#include "tests/pairs/scene.h"
#include "tests/pairs/task_files.h"
#include "tests/pairs/trial.h"
#include "tests/support/tv_root.h"
#include "tests/support/wait_until.h"

namespace pairs {
namespace {

using test_support::TvRoot;
using test_support::WaitUntil;
using testing::Contains;
using testing::HasSubstr;

constexpr Row kFine = {kInit,    kNew, kVersion, kNothing, kTrue, "1", "K", "as in the table"};
constexpr Row kWrong = {kInit,   kNew, kVersion, kTrue, kFalse, "0", "D", "nothing of it is so"};

class PairHarness : public testing::Test {
protected:
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        TvRoot::Write("/mtd_exe/.info", "xxxxx10");
        TvRoot::Write("/mtd_rwarea/camera_l4", "");
    }
};

TEST_F(PairHarness, CountsStepsAndHoldsAtTheOneAskedFor)
{
    const Verdict alone = RunTrial({&kFine, 0});
    EXPECT_THAT(alone.failures, testing::IsEmpty());
    EXPECT_GT(alone.steps, 40u);
    const Verdict held = RunTrial({&kFine, 2});
    EXPECT_THAT(held.failures, testing::IsEmpty());
    EXPECT_TRUE(held.held);
    EXPECT_EQ(held.where, "loader 1 at libusb_get_device_list");
    EXPECT_FALSE(RunTrial({&kFine, 10 * alone.steps}).held);
}

TEST_F(PairHarness, TellsWhatIsNotAsTheRowSays)
{
    const Verdict verdict = RunTrial({&kWrong, 2});
    EXPECT_THAT(verdict.failures,
                testing::ElementsAre("held Init returned - instead of true",
                                     "other version query returned true instead of false",
                                     "call-backs '1' instead of '0'",
                                     "ends in state K instead of D"));
}

TEST_F(PairHarness, TellsWhereEveryThreadHangs)
{
    const Verdict verdict = RunTrial({&kFine, 2, std::chrono::seconds(10), true});
    EXPECT_THAT(verdict.failures, Contains("hangs: no end of cam_destroy at the end"));
    EXPECT_THAT(verdict.stacks, HasSubstr("loader 1, last call libusb_get_device_list"));
    EXPECT_THAT(verdict.stacks, HasSubstr("pairs::Gate::Pass"));
    EXPECT_THAT(verdict.stacks, HasSubstr("cam_destroy"));
}

TEST_F(PairHarness, SeesWhatLibusbHasOpen)
{
    Scene scene(kNew, kInit, 0, [](const std::string& what) { ADD_FAILURE() << what; });
    EXPECT_EQ(scene.LeftOpen(), "");
    libusb_context* context = nullptr;
    ASSERT_EQ(libusb_init(&context), 0);
    EXPECT_NE(scene.LeftOpen(), "");
    libusb_exit(context);
    EXPECT_EQ(scene.LeftOpen(), "");
}

TEST(PairSleepWatch, TellsAWaitingThreadFromABusyOne)
{
    Gate gate(1);
    std::atomic<pid_t> waiting{0};
    std::atomic<pid_t> busy{0};
    std::atomic<bool> over{false};
    std::thread waits([&] {
        waiting = ThreadId();
        gate.Pass({}, "here");
    });
    std::thread works([&] {
        busy = ThreadId();
        while (!over)
            std::this_thread::yield();
    });
    ASSERT_TRUE(WaitUntil([&] { return gate.Held().has_value() && busy != 0; }));
    SleepWatch watch;
    bool busy_waits = false;
    EXPECT_TRUE(WaitUntil([&] {
        busy_waits = busy_waits || watch.Waits(busy);
        return watch.Waits(waiting);
    }));
    EXPECT_FALSE(busy_waits);
    over = true;
    gate.Open();
    EXPECT_FALSE(gate.Held());
    waits.join();
    works.join();
}

}  // namespace
}  // namespace pairs
