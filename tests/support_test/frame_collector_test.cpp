#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/support/frame_collector.h"

namespace {

using test_support::Digest;
using test_support::FrameCollector;
using test_support::Keep;

CCameraData Record(std::string& data, CAM_STREAM stream)
{
    CCameraData record{};
    record.data = reinterpret_cast<unsigned char*>(&data[0]);
    record.size = static_cast<std::uint32_t>(data.size());
    record.stream_type = stream;
    return record;
}

TEST(FrameCollectorTest, DigestIsFnv1a)
{
    const unsigned char letter = 'a';
    EXPECT_EQ(Digest(&letter, 0), 0xcbf29ce484222325u);
    EXPECT_EQ(Digest(&letter, 1), 0xaf63dc4c8601ec8cu);
}

TEST(FrameCollectorTest, StreamDigestDoesNotDependOnTheCuts)
{
    std::string whole = "one two";
    std::string first = "one";
    std::string second = " two";
    FrameCollector in_one(CAM_STREAM_H264_MAIN);
    FrameCollector in_two(CAM_STREAM_H264_MAIN);
    const CCameraData a = Record(whole, CAM_STREAM_H264_MAIN);
    const CCameraData b = Record(first, CAM_STREAM_H264_MAIN);
    const CCameraData c = Record(second, CAM_STREAM_H264_MAIN);
    in_one.OnFrame(&a);
    in_two.OnFrame(&b);
    in_two.OnFrame(&c);
    EXPECT_EQ(in_one.StreamDigest(), in_two.StreamDigest());
    EXPECT_EQ(in_two.TotalBytes(), 7u);
    EXPECT_EQ(in_two.Count(), 2u);
}

TEST(FrameCollectorTest, KeepsDataAndCropInfoWhenAsked)
{
    std::string data = "gray";
    CCameraCropInfo crop{true, 3, 4};
    CCameraData record = Record(data, CAM_STREAM_GRAY);
    record.crop_info = &crop;
    FrameCollector collector(CAM_STREAM_GRAY, Keep::kData, 5);
    EXPECT_EQ(collector.OnFrame(&record), 5);
    const auto frames = collector.Frames();
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].data.size(), 4u);
    EXPECT_TRUE(frames[0].has_crop_info);
    EXPECT_EQ(frames[0].crop_info.pos_x, 4u);
}

TEST(FrameCollectorTest, WaitsForFramesOfAnotherThread)
{
    FrameCollector collector(CAM_STREAM_PCM);
    std::string data = "pcm";
    std::thread producer([&] {
        const CCameraData record = Record(data, CAM_STREAM_PCM);
        collector.OnFrame(&record);
        collector.OnFrame(&record);
    });
    EXPECT_TRUE(collector.WaitFor(2));
    EXPECT_FALSE(collector.WaitFor(3, std::chrono::milliseconds(1)));
    producer.join();
}

}  // namespace
