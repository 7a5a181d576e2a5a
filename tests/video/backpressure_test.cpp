// A consumer slower than the camera.
#include "tests/video/stream_fixture.h"

namespace {

using namespace std::chrono_literals;

using Backpressure = RunningStream;

TEST_F(Backpressure, FifthUnreadFrameHoldsTheEventThread)
{
    FillRing();
    EXPECT_FALSE(WaitUntil([this] { return m_left > kRing; }, 100ms));
    EXPECT_EQ(CompletionThreads().back(), EventThread());
}

TEST_F(Backpressure, ReleaseLetsTheEventThreadGoOn)
{
    FillRing();
    EXPECT_TRUE(Take(1));
    EXPECT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
}

TEST_F(Backpressure, HeldEventThreadTakesNothingFromTheDevice)
{
    FillRing();
    SendFrames(7, 20);
    EXPECT_FALSE(WaitUntil([this] { return m_camera->Queued(0x81) < 14; }, 100ms));
}

TEST_F(Backpressure, NothingIsLostAfterAHold)
{
    FillRing();
    SendFrames(7, 60);
    TakeAll(1, 59);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Backpressure, NextFrameIsWrittenIntoTheReleasedBuffer)
{
    FillRing();
    unsigned char* first = nullptr;
    unsigned char* data = nullptr;
    unsigned int size = 0;
    ASSERT_GT(m_transport->DequeFrameBuf(&first, &size), 0);
    TakeAll(1, 5);
    SendFrame(7);
    ASSERT_TRUE(WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }));
    EXPECT_EQ(data, first);
    m_transport->QueueFrameBuf();
}

TEST_F(Backpressure, EveryTimeTheRingFillsUpItHolds)
{
    FillRing();
    unsigned sent = 6;
    for (unsigned k = 1; k <= 30; ++k) {
        ASSERT_TRUE(Take(k));
        SendFrame(++sent);
        ASSERT_TRUE(WaitUntil([&] { return m_entered == sent && m_left == sent - 1; })) << k;
    }
    TakeAll(31, sent - 1);
}

class ControlsOnAFullRing : public RunningStream {
protected:
    void SetUp() override
    {
        RunningStream::SetUp();
        FillRing();
    }
};

TEST_F(ControlsOnAFullRing, ConsumersKeyFrameRequestIsAnswered)
{
    ExpectEnds([this] { EXPECT_EQ(m_transport->RequestKeyFrame(), 1); });
    SendFrames(7, 30);
    TakeAll(1, 29);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ControlsOnAFullRing, EveryRequestIsAnsweredWhileTheRingStaysFull)
{
    SendFrames(7, 30);
    ExpectEnds([this] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_EQ(m_transport->RequestKeyFrame(), 1);
            EXPECT_EQ(m_transport->SetPU(2, i), 1);
        }
    });
    TakeAll(1, 29);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(ControlsOnAFullRing, RequestsOfSeveralThreadsAreAnswered)
{
    SendFrames(7, 30);
    ExpectEnds([this] {
        std::vector<std::thread> hosts;
        for (int host = 0; host < 4; ++host)
            hosts.emplace_back([this] {
                for (int i = 0; i < 25; ++i)
                    EXPECT_EQ(m_transport->SetPU(3, i), 1);
            });
        for (std::thread& host : hosts)
            host.join();
    });
    TakeAll(1, 29);
}

TEST_F(ControlsOnAFullRing, FailedRequestDisturbsNothing)
{
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE);
    ExpectEnds([this] {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(m_transport->RequestKeyFrame(), 0);
    });
    m_bus.ClearRules();
    SendFrames(7, 20);
    TakeAll(1, 19);
}

TEST_F(ControlsOnAFullRing, UnansweredRequestTimesOutAndDisturbsNothing)
{
    m_camera->HoldControls(true);
    ExpectEnds([this] {
        unsigned char frame[8] = {4};
        EXPECT_LT(m_transport->UVC_query_ctrl(0x01, 6, 0, 1, frame, 8, 50), 0);
    });
    m_camera->HoldControls(false);
    SendFrames(7, 20);
    TakeAll(1, 19);
}

TEST_F(ControlsOnAFullRing, EventThreadSleepsAgainAfterwards)
{
    ExpectEnds([this] { EXPECT_EQ(m_transport->RequestKeyFrame(), 1); });
    // Its waits between two looks at the ring are 33 ms long at most, so a
    // thread that does not sleep would look many times.
    ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
    std::size_t passes = 0;
    WaitUntil([&] {
        const std::size_t now = m_bus.CallCount("libusb_handle_events_timeout");
        const bool settled = now == passes;
        passes = now;
        return settled;
    });
    EXPECT_FALSE(m_bus.WaitForCalls("libusb_handle_events_timeout", passes + 10, 100ms));
}

TEST_F(ControlsOnAFullRing, RequestThatWaitsForSomebodyElsesIsAnswered)
{
    StartHeldRequest();  // has the library's control lock
    std::thread consumer([this] { EXPECT_EQ(m_transport->RequestKeyFrame(), 1); });
    SendFrames(7, 20);
    AnswerHeldRequest();
    ExpectEnds([&] { consumer.join(); });
    TakeAll(1, 19);
}

TEST_F(ControlsOnAFullRing, SettingTheInterfaceIsNotHeldUp)
{
    ExpectEnds([this] {
        EXPECT_EQ(libusb_set_interface_alt_setting(m_transport->DeviceHandle(), 1, 0), 0);
    });
}

}  // namespace
