// Stamps, sound and gaps on the host's time line.
#include <gtest/gtest.h>

#include "host/audio_timeline.h"
#include "host/cadence.h"
#include "host/gap_counter.h"
#include "host/stream_clock.h"

namespace host {
namespace {

constexpr std::int64_t kStart = 5000000;

TEST(StreamClock, FirstFrameLiesWhereItArrived)
{
    StreamClock clock;
    EXPECT_EQ(clock.Place(123456, kStart), kStart);
}

TEST(StreamClock, StampsDecideOverJitterOfArrival)
{
    StreamClock clock;
    clock.Place(9000, kStart);
    EXPECT_EQ(clock.Place(9000 + 3000, kStart + 90000), kStart + 33333);
    EXPECT_EQ(clock.Place(9000 + 6000, kStart + 95000), kStart + 66666);
    EXPECT_EQ(clock.Jumps(), 0u);
}

TEST(StreamClock, StampMayWrap)
{
    StreamClock clock;
    clock.Place(0xFFFFFFFF - 899, kStart);
    EXPECT_EQ(clock.Place(0, kStart + 10000), kStart + 10000);
    EXPECT_EQ(clock.Jumps(), 0u);
}

TEST(StreamClock, JumpOf71MinutesFallsBackToArrivalAndCountsOn)
{
    StreamClock clock;
    clock.Place(9000, kStart);
    EXPECT_EQ(clock.Place(9000 + 386547056u + 3000, kStart + 33000), kStart + 33000);
    EXPECT_EQ(clock.Jumps(), 1u);
    EXPECT_EQ(clock.Place(9000 + 386547056u + 6000, kStart + 70000), kStart + 33000 + 33333);
    EXPECT_EQ(clock.Jumps(), 1u);
}

TEST(StreamClock, StampThatStandsStillFallsBackToArrival)
{
    StreamClock clock;
    clock.Place(0xFFFFFFFF, kStart);
    EXPECT_EQ(clock.Place(0xFFFFFFFF, kStart + 10000), kStart + 10000);
    EXPECT_EQ(clock.Place(0xFFFFFFFF, kStart + 20000), kStart + 20000);
}

TEST(StreamClock, PiecesOfOnePictureShareItsTime)
{
    StreamClock clock;
    clock.Place(9000, kStart);
    EXPECT_EQ(clock.Place(9000, kStart + 40), kStart);
    EXPECT_EQ(clock.Place(9000, kStart + 90), kStart);
    EXPECT_EQ(clock.Jumps(), 0u);
}

constexpr std::size_t kBlock = 960;

TEST(AudioTimeline, SamplesFollowEachOtherHoweverLateTheirBlocksCome)
{
    AudioTimeline timeline;
    for (int block = 0; block < 500; ++block) {
        const std::int64_t late = block % 7 == 0 ? 0 : 3000 * (block % 7);
        EXPECT_EQ(timeline.Place(kStart + block * 10000 + late, kBlock), kStart + block * 10000);
    }
    EXPECT_EQ(timeline.MissingMs(), 0);
}

TEST(AudioTimeline, LostSoundLeavesAGapOfItsLength)
{
    AudioTimeline timeline;
    std::int64_t time = 0;
    for (int block = 0; block < 100; ++block) {
        timeline.Place(kStart + block * 10000, kBlock);
    }
    for (int block = 150; block < 300; ++block) {  // half a second is missing
        time = timeline.Place(kStart + block * 10000, kBlock);
    }
    EXPECT_EQ(timeline.MissingMs(), 500);
    EXPECT_EQ(time, kStart + 299 * 10000);
}

TEST(AudioTimeline, SlowDriftIsFollowedWithoutAGap)
{
    AudioTimeline timeline;
    std::int64_t time = 0;
    for (int block = 0; block < 20000; ++block) {  // 200 s, 500 millionths slow
        time = timeline.Place(kStart + block * 10005, kBlock);
    }
    EXPECT_NEAR(static_cast<double>(time), static_cast<double>(kStart + 19999LL * 10005), 20000);
    EXPECT_EQ(timeline.MissingMs(), 0);
}

TEST(GapCounter, CountsFramesThatShouldHaveBeenThere)
{
    GapCounter gaps;
    for (int frame = 0; frame < 100; ++frame) {
        if (frame != 5 && frame != 50 && frame != 51) {
            gaps.Frame(kStart + frame * 33333);
        }
    }
    EXPECT_EQ(gaps.Lost(), 3u);
}

TEST(GapCounter, JitterIsNoLoss)
{
    GapCounter gaps;
    for (int frame = 0; frame < 100; ++frame) {
        gaps.Frame(kStart + frame * 33333 + (frame % 3) * 7000);
    }
    EXPECT_EQ(gaps.Lost(), 0u);
}

TEST(GapCounter, FramesHeldUpAndThenHandedOverAtOnceAreNoLoss)
{
    GapCounter gaps;
    for (int frame = 0; frame < 200; ++frame) {
        const int arrival = frame >= 50 && frame < 62 ? 62 : frame;
        gaps.Frame(kStart + arrival * 33333);
    }
    EXPECT_EQ(gaps.Lost(), 0u);
}

TEST(GapCounter, LongHoldUpIsTakenBackWhenTheFramesComeAfterAll)
{
    GapCounter gaps;
    for (int frame = 0; frame < 300; ++frame) {
        const int arrival = frame >= 50 && frame < 80 ? 80 : frame;
        gaps.Frame(kStart + arrival * 33333);
    }
    EXPECT_EQ(gaps.Lost(), 0u);
}

TEST(GapCounter, SlightlyDifferentRateIsNoLoss)
{
    GapCounter gaps;
    for (int frame = 0; frame < 20000; ++frame) {
        gaps.Frame(kStart + (frame < 20 ? frame * 33333 : 20 * 33333 + (frame - 20) * 33400));
    }
    EXPECT_EQ(gaps.Lost(), 0u);
}

}  // namespace
TEST(Cadence, PutsJitteryPicturesOnEvenTicks)
{
    Cadence cadence(30);
    std::int64_t last = -1;
    const std::int64_t times[] = {0, 1000, 34000, 100000, 101000, 166000, 170000, 230000};
    for (const std::int64_t time : times) {
        const std::int64_t placed = cadence.Place(time);
        EXPECT_GE(placed - last, last < 0 ? 0 : 33333);
        EXPECT_LE(std::abs(placed - time), 100000);
        last = placed;
    }
}

TEST(Cadence, LeavesAGapWherePicturesWereLost)
{
    Cadence cadence(30);
    cadence.Place(0);
    EXPECT_EQ(cadence.Place(1000000), 1000000);
}

TEST(Cadence, TakesTimesAsTheyAreWhenTheRateIsUnknownOrWrong)
{
    Cadence unknown(0);
    EXPECT_EQ(unknown.Place(12345), 12345);
    Cadence wrong(10);
    std::int64_t placed = 0;
    for (int picture = 0; picture < 60; ++picture) {
        placed = wrong.Place(picture * 33333);
    }
    EXPECT_EQ(placed, 59 * 33333);
}

}  // namespace host
