// The byte buffer of the capture adapter.
#include <gtest/gtest.h>

#include "video/media_sample.h"

namespace {

TEST(MediaSampleTest, StartsWithoutABuffer)
{
    MediaSample sample;
    EXPECT_EQ(sample.GetBuffer(), nullptr);
    EXPECT_EQ(sample.GetBufferSize(), 0u);
    EXPECT_EQ(sample.GetSampleSize(), 0u);
}

TEST(MediaSampleTest, SizeNeedsABuffer)
{
    MediaSample sample;
    EXPECT_EQ(sample.SetSampleSize(5), 0);
    EXPECT_EQ(sample.GetSampleSize(), 0u);
}

TEST(MediaSampleTest, AllocatesMemoryOfItsOwn)
{
    MediaSample sample;
    EXPECT_EQ(sample.AllocBuffer(10, nullptr), 1);
    ASSERT_NE(sample.GetBuffer(), nullptr);
    EXPECT_EQ(sample.GetBufferSize(), 10u);
    EXPECT_EQ(sample.GetSampleSize(), 0u);
    sample.GetBuffer()[9] = 1;
}

TEST(MediaSampleTest, SizeIsNotCheckedAgainstTheBuffer)
{
    MediaSample sample;
    sample.AllocBuffer(10, nullptr);
    EXPECT_EQ(sample.SetSampleSize(4000), 1);
    EXPECT_EQ(sample.GetSampleSize(), 4000u);
}

TEST(MediaSampleTest, NewBufferReplacesTheOldOneAndEmptiesTheSample)
{
    MediaSample sample;
    sample.AllocBuffer(10, nullptr);
    sample.SetSampleSize(7);
    sample.AllocBuffer(20, nullptr);
    EXPECT_EQ(sample.GetBufferSize(), 20u);
    EXPECT_EQ(sample.GetSampleSize(), 0u);
}

TEST(MediaSampleTest, BorrowedBufferIsUsedAndNeverFreed)
{
    unsigned char memory[8] = {1, 2, 3};
    {
        MediaSample sample;
        EXPECT_EQ(sample.AllocBuffer(8, memory), 1);
        EXPECT_EQ(sample.GetBuffer(), memory);
        EXPECT_EQ(sample.GetBufferSize(), 8u);
        sample.SetSampleSize(3);
        EXPECT_EQ(sample.AllocBuffer(8, memory), 1);
        EXPECT_EQ(sample.GetSampleSize(), 0u);
        sample.AllocBuffer(16, nullptr);
        EXPECT_NE(sample.GetBuffer(), memory);
        sample.AllocBuffer(8, memory);
    }
    EXPECT_EQ(memory[2], 3);
}

}  // namespace
