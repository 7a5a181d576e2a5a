// What the loop does about lost frames.
#include "tests/video/capture_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kMainDropped[] = "3: Drop H264[1] frme.\r\n";
constexpr char kSubDropped[] = "4: Drop H264[2] frme.\r\n";

using LossHandling = CaptureLoop;

TEST_F(LossHandling, MainLossIsLoggedAsksForAKeyFrameAndDrops)
{
    Queue({Main(9, kIntra)});
    for (const unsigned number : {10u, 11u, 13u})
        Queue({Main(number)});
    RunLoop();
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 3u);
    EXPECT_EQ(m_capture.key_frame_requests, 1);
    EXPECT_THAT(LoopLines(), ElementsAre("4: Main H264, FRAME LOST. 13\r\n", kMainDropped));
}

TEST_F(LossHandling, MainKeyFrameIsAskedForAgainWithTheSixthDroppedFrame)
{
    Queue({Main(9, kIntra)});
    for (const unsigned number : {10u, 11u, 13u, 14u, 15u, 16u, 17u, 18u, 19u})
        Queue({Main(number)});
    Queue({Main(20, kIntra)});
    Queue({Main(21)});
    RunLoop();
    EXPECT_EQ(m_capture.key_frame_requests, 2);
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 5u);  // 9, 10, 11, 20, 21
    EXPECT_THAT(LoopLines(),
                ElementsAre("4: Main H264, FRAME LOST. 13\r\n", kMainDropped, kMainDropped,
                            kMainDropped, kMainDropped, kMainDropped, kMainDropped,
                            "4: Main H264, FRAME LOST. 19\r\n", kMainDropped));
}

TEST_F(LossHandling, MainLossMakesTheSubStreamWaitForItsKeyFrame)
{
    Queue({Main(1, kIntra), Sub(1, kIntra)});
    Queue({Main(3), Sub(2)});
    Queue({Main(4, kIntra), Sub(3)});
    Queue({Main(5), Sub(4, kIntra)});
    Queue({Main(6), Sub(5)});
    RunLoop();
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 4u);
    EXPECT_EQ(Delivered(CAM_STREAM_H264_SUB), 3u);  // 1, 4, 5
    EXPECT_EQ(m_capture.key_frame_requests, 1);
    EXPECT_THAT(LoopLines(), ElementsAre("4: Main H264, FRAME LOST. 3\r\n", kMainDropped,
                                         kSubDropped, kSubDropped));
}

TEST_F(LossHandling, SubKeyFrameIsAskedForAgainWithTheSixthDroppedFrame)
{
    Queue({Main(1, kIntra), Sub(1, kIntra)});
    Queue({Main(3)});
    for (unsigned number = 2; number <= 7; ++number)
        Queue({Sub(number)});
    RunLoop();
    EXPECT_EQ(m_capture.key_frame_requests, 2);
    EXPECT_TRUE(m_log.Contains("Sub H264, FRAME LOST. 7\r\n"));
}

TEST_F(LossHandling, SubLossIsLoggedAsksForAKeyFrameAndLeavesTheMainStreamAlone)
{
    Queue({Main(1, kIntra), Sub(1, kIntra)});
    Queue({Main(2), Sub(5)});
    Queue({Main(3), Sub(6)});
    RunLoop();
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 3u);
    EXPECT_EQ(Delivered(CAM_STREAM_H264_SUB), 1u);
    EXPECT_EQ(m_capture.key_frame_requests, 1);
    EXPECT_THAT(LoopLines(),
                ElementsAre("4: Sub H264, FRAME LOST. 5\r\n", kSubDropped, kSubDropped));
}

TEST_F(LossHandling, StreamWhoseFirstPictureIsPredictedStartsWithALoss)
{
    Queue({Main(8)});
    RunLoop();
    EXPECT_EQ(m_capture.key_frame_requests, 1);
    EXPECT_THAT(m_camera.deliveries, IsEmpty());
}

TEST_F(LossHandling, NumberZeroBringsTheStreamBack)
{
    Queue({Main(1, kIntra)});
    Queue({Main(5)});
    Queue({Main(0)});
    Queue({Main(1)});
    RunLoop();
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 3u);
    EXPECT_TRUE(m_log.Contains("CH264_ErrorDetector RESET.\r\n"));
}

TEST_F(LossHandling, NumberIsLoggedSigned)
{
    Queue({Main(0xFFFFFFF0)});
    RunLoop();
    EXPECT_TRUE(m_log.Contains("Main H264, FRAME LOST. -16\r\n"));
}

TEST_F(LossHandling, ImagesOfADroppedFrameAreDelivered)
{
    Queue({Main(8), {kGray, Bytes(5)}});
    RunLoop();
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_GRAY));
}

}  // namespace
