// The loop itself: empty results, the end, the alive line.
#include "tests/support/wait_until.h"
#include "tests/video/capture_fixture.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kZero[] = "4: Zero frame size.\r\n";
constexpr char kHangup[] = "4: Detected a video hangup problem, reset streaming.\r\n";

class VideoCaptureLoop : public CaptureLoop {
protected:
    void QueueNothing(int times)
    {
        for (int i = 0; i < times; ++i)
            m_capture.frames.push_back({});
    }
};

TEST_F(VideoCaptureLoop, EndsWithItsLineOnce)
{
    RunLoop();
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
    EXPECT_THAT(LoopLines(), IsEmpty());
}

TEST_F(VideoCaptureLoop, EveryFrameIsGivenBackOnce)
{
    for (unsigned i = 1; i <= 7; ++i)
        Queue({Main(i)});
    RunLoop();
    EXPECT_EQ(m_capture.lent, 7);
    EXPECT_EQ(m_capture.returned, 7);
}

TEST_F(VideoCaptureLoop, MalformedFrameIsGivenBackToo)
{
    m_capture.frames.push_back(Bytes(20, 1));
    RunLoop();
    EXPECT_EQ(m_capture.returned, 1);
    EXPECT_THAT(m_camera.deliveries, IsEmpty());
    EXPECT_TRUE(m_log.Contains("Parser Error, offset >= frame_size \r\n"));
}

TEST_F(VideoCaptureLoop, EmptyResultGivesNothingBack)
{
    QueueNothing(3);
    RunLoop();
    EXPECT_EQ(m_capture.returned, 0);
    EXPECT_THAT(LoopLines(), ElementsAre(kZero, kZero, kZero));
}

TEST_F(VideoCaptureLoop, FifthEmptyResultIsAHangupAndPausesASecond)
{
    QueueNothing(5);
    RunLoop();
    EXPECT_THAT(LoopLines(), ElementsAre(kZero, kZero, kZero, kZero, kZero, kHangup));
    EXPECT_EQ(m_sleeps.Count(1s), 1u);
}

TEST_F(VideoCaptureLoop, FourEmptyResultsAreNoHangup)
{
    QueueNothing(3);  // and the last pass
    RunLoop();
    EXPECT_FALSE(m_log.Contains("hangup"));
    EXPECT_EQ(m_sleeps.Count(1s), 0u);
}

TEST_F(VideoCaptureLoop, CountStartsOverAfterAHangup)
{
    QueueNothing(11);
    RunLoop();
    EXPECT_EQ(m_log.Count("Detected a video hangup problem, reset streaming.\r\n"), 2u);
}

TEST_F(VideoCaptureLoop, FramesInBetweenDoNotResetTheCount)
{
    for (unsigned i = 1; i <= 5; ++i) {
        QueueNothing(1);
        Queue({Main(i)});
    }
    RunLoop();
    EXPECT_THAT(LoopLines(), ElementsAre(kZero, kZero, kZero, kZero, kZero, kHangup));
}

TEST_F(VideoCaptureLoop, AliveLineComesWithEvery30thMainSection)
{
    for (unsigned i = 1; i <= 65; ++i)
        Queue({Main(i)});
    RunLoop();
    EXPECT_EQ(m_log.Count("MAIN H264 ALIVE"), 2u);
    const auto entry = m_log.Find("MAIN H264 ALIVE");
    EXPECT_EQ(entry->level, 5);
    EXPECT_EQ(entry->function, "Run");
}

TEST_F(VideoCaptureLoop, AliveLineNamesTheStamp)
{
    for (unsigned i = 1; i <= 30; ++i)
        Queue({Main(i)});
    m_capture.before_frame = [this] { m_clock.Add(1000000); };
    RunLoop();
    // 30 s in 90 kHz ticks.
    EXPECT_EQ(m_log.Find("ALIVE")->message,
              "CVideoCaptureThread:: MAIN H264 ALIVE. Timestamp=0x2932E0\r\n");
}

TEST_F(VideoCaptureLoop, AliveLineCountsDroppedSectionsToo)
{
    for (unsigned i = 0; i < 30; ++i)
        Queue({Main(100 + 2 * i)});
    RunLoop();
    EXPECT_THAT(m_camera.deliveries, IsEmpty());
    EXPECT_EQ(m_log.Count("MAIN H264 ALIVE"), 1u);
}

TEST_F(VideoCaptureLoop, AliveLineDoesNotCountContainersWithoutMainSection)
{
    for (unsigned i = 1; i <= 29; ++i)
        Queue({Main(i)});
    for (unsigned i = 1; i <= 10; ++i)
        Queue({Sub(i)});
    RunLoop();
    EXPECT_FALSE(m_log.Contains("MAIN H264 ALIVE"));
}

TEST_F(VideoCaptureLoop, StopDuringADeliveryLeavesTheRestOfTheContainerOut)
{
    Queue({Main(1), Sub(1), {kJpeg, Bytes(5)}, {kGray, Bytes(6)}});
    Queue({Main(2)});
    m_camera.then = [this](const CCameraData&) { m_thread->Stop(); };
    RunLoop();
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_H264_MAIN));
    EXPECT_EQ(m_capture.returned, 1);
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
}

TEST_F(VideoCaptureLoop, StopDuringAnImageLeavesTheOtherImagesOut)
{
    Queue({{kJpeg, Bytes(5)}, {kGray, Bytes(6)}, {kNv12, Bytes(7)}});
    m_camera.then = [this](const CCameraData&) { m_thread->Stop(); };
    RunLoop();
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_JPEG));
}

TEST_F(VideoCaptureLoop, StoppedThreadTakesNoFrame)
{
    CVideoCaptureThread thread(&m_camera, &m_capture, 5, false);
    Queue({Main(1)});
    thread.Stop();
    thread.Run();
    EXPECT_EQ(m_capture.lent, 0);
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
}

TEST_F(VideoCaptureLoop, ThreadEndsWithItsObject)
{
    std::atomic<int> passes{0};
    {
        CVideoCaptureThread thread(&m_camera, &m_capture, 5, false);
        m_capture.at_end = [&passes] { ++passes; };
        ASSERT_EQ(thread.Start(nullptr), 0);
        ASSERT_TRUE(test_support::WaitUntil([&] { return passes > 2; }));
    }
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
}

TEST_F(VideoCaptureLoop, NewThreadStartsWithFreshDetectors)
{
    Queue({Main(7, kIntra)});
    Queue({Main(9)});
    RunLoop();
    Queue({Main(1)});
    RunLoop();
    EXPECT_EQ(Delivered(CAM_STREAM_H264_MAIN), 2u);
}

}  // namespace
