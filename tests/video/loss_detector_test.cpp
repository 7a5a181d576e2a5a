// The frame-loss rule.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/log_level.h"
#include "tests/video/container_builder.h"
#include "video/frame_loss_detector.h"

namespace {

constexpr unsigned kDeliver = CH264_ErrorDetector::kDeliver;
constexpr unsigned kLost = CH264_ErrorDetector::kFrameLost;
constexpr unsigned kDrop = CH264_ErrorDetector::kDrop;

class LossDetector : public testing::Test {
protected:
    unsigned Check(Bytes frame, unsigned number)
    {
        return m_detector.CheckFrame(frame.data(), static_cast<unsigned>(frame.size()), number);
    }
    unsigned Predicted(unsigned number) { return Check(H264(kPredicted), number); }
    unsigned Key(unsigned number) { return Check(H264(kIntra), number); }
    std::vector<unsigned> Predicted(unsigned first, unsigned last)
    {
        std::vector<unsigned> verdicts;
        for (unsigned number = first; number <= last; ++number)
            verdicts.push_back(Predicted(number));
        return verdicts;
    }

    test_support::CapturedLog m_log;
    CH264_ErrorDetector m_detector;
};

TEST_F(LossDetector, VerdictsHaveTheirNumbers)
{
    EXPECT_EQ(kDeliver, 0u);
    EXPECT_EQ(kLost, 1u);
    EXPECT_EQ(kDrop, 2u);
}

TEST_F(LossDetector, ConsecutiveFramesAreDelivered)
{
    EXPECT_EQ(Key(9), kDeliver);
    EXPECT_EQ(Predicted(10), kDeliver);
    EXPECT_EQ(Predicted(11), kDeliver);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(LossDetector, GapIsALossOnceAndThenDropping)
{
    Key(9);
    EXPECT_EQ(Predicted(10), kDeliver);
    EXPECT_EQ(Predicted(11), kDeliver);
    EXPECT_EQ(Predicted(13), kLost);
    EXPECT_THAT(Predicted(14, 18), testing::Each(kDrop));
    EXPECT_EQ(Predicted(19), kLost);
    EXPECT_EQ(Key(20), kDeliver);
    EXPECT_EQ(Predicted(21), kDeliver);
}

TEST_F(LossDetector, KeyFrameIsAskedForAgainAfterEverySixDroppedFrames)
{
    Key(1);
    EXPECT_EQ(Predicted(3), kLost);
    for (unsigned round = 0; round < 4; ++round) {
        EXPECT_THAT(Predicted(4 + 6 * round, 8 + 6 * round), testing::Each(kDrop));
        EXPECT_EQ(Predicted(9 + 6 * round), kLost);
    }
}

TEST_F(LossDetector, WhileDroppingTheNumbersDoNotMatter)
{
    Key(1);
    EXPECT_EQ(Predicted(3), kLost);
    EXPECT_EQ(Predicted(50), kDrop);
    EXPECT_EQ(Predicted(7), kDrop);
    EXPECT_EQ(Predicted(8), kDrop);
}

TEST_F(LossDetector, RepeatedNumberIsALoss)
{
    Key(1);
    EXPECT_EQ(Predicted(1), kLost);
}

TEST_F(LossDetector, KeyFrameMayHaveAnyNumber)
{
    Key(1);
    EXPECT_EQ(Key(500), kDeliver);
    EXPECT_EQ(Predicted(501), kDeliver);
}

TEST_F(LossDetector, KeyFrameForgetsTheDroppedOnes)
{
    Key(1);
    Predicted(3, 6);
    Key(7);
    EXPECT_EQ(Predicted(9), kLost);
    EXPECT_THAT(Predicted(10, 14), testing::Each(kDrop));
    EXPECT_EQ(Predicted(15), kLost);
}

TEST_F(LossDetector, StreamThatStartsInTheMiddleStartsWithALoss)
{
    EXPECT_EQ(Predicted(2), kLost);
}

TEST_F(LossDetector, StreamThatStartsWithNumberOneDoesNot)
{
    EXPECT_EQ(Predicted(1), kDeliver);
}

TEST_F(LossDetector, NumberZeroStartsOverAndIsLogged)
{
    Key(100);
    EXPECT_EQ(Predicted(102), kLost);
    EXPECT_EQ(Predicted(0), kDeliver);
    EXPECT_EQ(Predicted(1), kDeliver);
    const auto entries = m_log.Entries();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].message, "CH264_ErrorDetector RESET.\r\n");
    EXPECT_EQ(entries[0].level, 4);
    EXPECT_EQ(entries[0].function, "CheckFrame");
}

TEST_F(LossDetector, NumberZeroForgetsTheDroppedOnes)
{
    Key(1);
    Predicted(3, 7);
    Predicted(0);
    EXPECT_EQ(Predicted(5), kLost);
    EXPECT_THAT(Predicted(6, 10), testing::Each(kDrop));
    EXPECT_EQ(Predicted(11), kLost);
}

TEST_F(LossDetector, EmptyFrameChangesNothing)
{
    Key(1);
    EXPECT_EQ(m_detector.CheckFrame(nullptr, 0, 77), kDeliver);
    EXPECT_EQ(m_detector.CheckFrame(nullptr, 0, 0), kDeliver);
    EXPECT_TRUE(m_detector.IsKeyFrame());
    EXPECT_EQ(Predicted(2), kDeliver);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(LossDetector, EverythingButTheOneNalHeaderIsAKeyFrame)
{
    for (unsigned header = 0; header < 256; ++header) {
        const unsigned verdict = Check(H264(static_cast<std::uint8_t>(header)), 1000);
        if (header == kPredicted) {
            EXPECT_EQ(verdict, kLost);
            EXPECT_FALSE(m_detector.IsKeyFrame());
        } else {
            EXPECT_EQ(verdict, kDeliver) << header;
            EXPECT_TRUE(m_detector.IsKeyFrame());
        }
    }
}

TEST_F(LossDetector, FrameShorterThanItsNalHeaderIsAKeyFrame)
{
    EXPECT_EQ(Check({0, 0, 0, 1}, 50), kDeliver);
    EXPECT_TRUE(m_detector.IsKeyFrame());
    EXPECT_EQ(Check({kPredicted}, 60), kDeliver);
}

TEST_F(LossDetector, KeyFrameFlagSurvivesNumberZero)
{
    Key(5);
    Predicted(0);
    EXPECT_TRUE(m_detector.IsKeyFrame());
    Predicted(1);
    Key(0);
    EXPECT_FALSE(m_detector.IsKeyFrame());
}

TEST_F(LossDetector, StreamMarkedAsLostDropsUntilItsKeyFrame)
{
    Key(1);
    m_detector.MarkLost();
    EXPECT_EQ(Predicted(2), kDrop);
    EXPECT_EQ(Predicted(3), kDrop);
    EXPECT_EQ(Key(4), kDeliver);
    EXPECT_EQ(Predicted(5), kDeliver);
}

TEST_F(LossDetector, NumbersGoRoundAt32Bits)
{
    EXPECT_EQ(Key(0xFFFFFFFE), kDeliver);
    EXPECT_EQ(Predicted(0xFFFFFFFF), kDeliver);
    EXPECT_EQ(Predicted(0), kDeliver);
    EXPECT_EQ(Predicted(1), kDeliver);
}

}  // namespace
