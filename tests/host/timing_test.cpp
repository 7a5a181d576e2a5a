// Stamps, sound and gaps on the host's time line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

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
    EXPECT_EQ(clock.Place(9000, kStart + 20000), kStart);  // the machine was busy
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

std::vector<std::int64_t> Placed(Cadence cadence, const std::vector<std::int64_t>& times)
{
    std::vector<std::int64_t> placed;
    std::int64_t one = 0;
    for (const std::int64_t time : times) {
        cadence.Add(time);
        while (cadence.Next(false, one)) {
            placed.push_back(one);
        }
    }
    while (cadence.Next(true, one)) {
        placed.push_back(one);
    }
    return placed;
}

/// `count` pictures at 30 a second, in microseconds.
std::vector<std::int64_t> EvenTimes(int count)
{
    std::vector<std::int64_t> times;
    for (int picture = 0; picture < count; ++picture) {
        times.push_back(picture * std::int64_t{1000000} / 30);
    }
    return times;
}

TEST(Cadence, PutsJitteryPicturesOnEvenTicks)
{
    std::vector<std::int64_t> times = EvenTimes(200);
    for (std::size_t i = 0; i < times.size(); ++i) {
        times[i] += static_cast<std::int64_t>(i * 7919 % 31) * 1000;
    }
    EXPECT_EQ(Placed(Cadence(30), times), EvenTimes(200));
}

TEST(Cadence, HeldUpPicturesKeepTheirPlacesAndSoDoThoseAfterThem)
{
    std::vector<std::int64_t> times = EvenTimes(200);
    for (std::size_t i = 50; i < 60; ++i) {
        times[i] = times[60];
    }
    EXPECT_EQ(Placed(Cadence(30), times), EvenTimes(200));
}

TEST(Cadence, LeavesAGapOfTheSizeOfWhatWasLost)
{
    std::vector<std::int64_t> times = EvenTimes(200);
    times.erase(times.begin() + 70, times.begin() + 75);
    times.erase(times.begin() + 30);
    EXPECT_EQ(Placed(Cadence(30), times), times);
}

TEST(Cadence, StreamThatBeginsLaterKeepsItsPlace)
{
    const std::vector<std::int64_t> all = EvenTimes(60);
    const std::vector<std::int64_t> times(all.begin() + 12, all.end());
    EXPECT_EQ(Placed(Cadence(30), times), times);
}

TEST(Cadence, FasterCameraStaysInStepWithTheSound)
{
    std::vector<std::int64_t> times;
    for (int picture = 0; picture < 100000; ++picture) {
        times.push_back(picture * std::int64_t{33300});  // 0.1 % fast, for 55 minutes
    }
    const std::vector<std::int64_t> placed = Placed(Cadence(30), times);
    ASSERT_EQ(placed.size(), times.size());
    for (std::size_t i = 1; i < placed.size(); ++i) {
        ASSERT_GT(placed[i], placed[i - 1]);
        ASSERT_LE(std::llabs(placed[i] - times[i]), 340000) << i;
    }
}

TEST(Cadence, SlowerCameraStaysInStepWithTheSound)
{
    std::vector<std::int64_t> times;
    for (int picture = 0; picture < 20000; ++picture) {
        times.push_back(picture * std::int64_t{33400});
    }
    const std::vector<std::int64_t> placed = Placed(Cadence(30), times);
    ASSERT_EQ(placed.size(), times.size());
    for (std::size_t i = 1; i < placed.size(); ++i) {
        ASSERT_LE(std::llabs(placed[i] - times[i]), 34000) << i;
    }
}

TEST(Cadence, TakesTimesAsTheyAreWhenTheRateIsUnknownOrWrong)
{
    EXPECT_EQ(Placed(Cadence(0), {0, 12345, 12346}),
              (std::vector<std::int64_t>{0, 12345, 12346}));
    for (unsigned wrong : {10u, 15u, 60u}) {
        const std::vector<std::int64_t> times = EvenTimes(300);
        EXPECT_EQ(Placed(Cadence(wrong), times), times) << wrong;
    }
}

TEST(Cadence, StartInAHurryDoesNotChangeTheRate)
{
    std::vector<std::int64_t> times = EvenTimes(200);
    for (std::size_t i = 0; i < 8; ++i) {
        times[i] = static_cast<std::int64_t>(i) * 1000;
    }
    for (std::size_t i = 8; i < times.size(); ++i) {
        times[i] -= 200000;
    }
    EXPECT_EQ(Placed(Cadence(30), times), EvenTimes(200));
}

}  // namespace
}  // namespace host
