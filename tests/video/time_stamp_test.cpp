// The 90 kHz stamps, computed from the wall clock.
#include "tests/video/capture_fixture.h"

namespace {

class TimeStamp : public CaptureLoop {
protected:
    /// Stamps of frames between which the clock moves by these steps.
    std::vector<std::uint32_t> StampsOfSteps(const std::vector<std::uint64_t>& steps)
    {
        std::size_t next = 0;
        m_capture.before_frame = [&] { m_clock.Add(steps[next++]); };
        for (unsigned i = 1; i <= steps.size(); ++i)
            Queue({Main(i)});
        RunLoop();
        std::vector<std::uint32_t> stamps;
        for (const Delivery& delivery : m_camera.deliveries)
            stamps.push_back(delivery.third);
        return stamps;
    }
    using Stamps = std::vector<std::uint32_t>;
};

TEST_F(TimeStamp, NinetyTicksAMillisecondFromTheStartOfTheThread)
{
    EXPECT_EQ(StampsOfSteps({1000, 1000, 33333}), (Stamps{90, 180, 3179}));
}

TEST_F(TimeStamp, FractionsOfATickAreCutNotLost)
{
    // 11 us are 0.99 ticks.
    EXPECT_EQ(StampsOfSteps({11, 11, 11}), (Stamps{0, 1, 2}));
}

TEST_F(TimeStamp, TimeOfAPassWithoutAFrameCounts)
{
    m_capture.frames.push_back({});
    Queue({Main(1)});
    m_capture.before_frame = [this] { m_clock.Add(1000); };
    RunLoop();
    EXPECT_EQ(m_camera.deliveries.at(0).third, 180u);
}

TEST_F(TimeStamp, EqualReadingsJumpByAWholeTurnOfTheClock)
{
    // 0xFFFFFFFF us are 386547056.55 ticks.
    EXPECT_EQ(StampsOfSteps({1000, 0}), (Stamps{90, 386547146}));
}

TEST_F(TimeStamp, EqualReadingsJumpOnTheFirstPassToo)
{
    EXPECT_EQ(StampsOfSteps({0}), Stamps{386547056});
}

TEST_F(TimeStamp, ReadingThatWrapsAt32BitsCountsOneMicrosecondLess)
{
    m_clock.Set((std::uint64_t{5} << 32) - 1000);
    // 1000 up to the wrap and 1000 behind it, less one.
    EXPECT_EQ(StampsOfSteps({2000, 1000}), (Stamps{179, 269}));
}

TEST_F(TimeStamp, ClockThatIsSetBackCountsAsAWrap)
{
    EXPECT_EQ(StampsOfSteps({1000, static_cast<std::uint64_t>(-500)}),
              (Stamps{90, static_cast<std::uint32_t>((0xFFFFFFFFull - 500 + 1000) * 0.09)}));
}

TEST_F(TimeStamp, StampWrapsAt32Bits)
{
    // Twelve equal readings exceed 2^32 ticks; the stamp keeps the low 32 bits.
    const std::vector<std::uint64_t> steps(12, 0);
    const Stamps stamps = StampsOfSteps(steps);
    ASSERT_EQ(stamps.size(), 12u);
    const auto ticks = static_cast<std::uint64_t>(12.0 * 4294967295.0 * 0.09);
    EXPECT_GT(ticks, 0xFFFFFFFFull);
    EXPECT_EQ(stamps[11], static_cast<std::uint32_t>(ticks));
}

}  // namespace
