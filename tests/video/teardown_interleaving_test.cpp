// Teardown that meets a stream in every possible state.
#include "tests/support/refused_thread.h"
#include "tests/video/stream_fixture.h"

namespace {

class StoppingStream : public RunningStream {
protected:
    void Disable()
    {
        ExpectEnds([this] { EXPECT_EQ(m_transport->DisableStream(), 0); });
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
    void ExpectNextStreamWorks()
    {
        m_left = 0;
        m_entered = 0;
        Start();
        // The frame id may be that of the last payload; the end is explicit.
        m_camera->QueuePayload(0, FrameData(1));
        m_camera->QueuePayload(kEof);
        EXPECT_TRUE(Take(1));
    }
};

TEST_F(StoppingStream, WithAnEmptyRing)
{
    Disable();
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, WithAFullRingThatHoldsTheEventThread)
{
    FillRing();
    Disable();
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, WithAFullRingAndADeviceThatGoesOnSending)
{
    FillRing();
    SendFrames(7, 50);
    Disable();
}

TEST_F(StoppingStream, WithAConsumerThatSleeps)
{
    std::atomic<bool> asked{false};
    std::atomic<int> result{-1};
    std::thread consumer([&] {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        asked = true;
        result = m_transport->DequeFrameBuf(&data, &size);
    });
    ASSERT_TRUE(WaitUntil([&] { return asked.load(); }));
    ::poll(nullptr, 0, 20);  // asleep by now, most of the time
    Disable();
    consumer.join();
    EXPECT_EQ(result, 0);
}

TEST_F(StoppingStream, WithAFrameThatIsStillLent)
{
    SendFrames(1, 3);
    unsigned char* data = nullptr;
    unsigned int size = 0;
    ASSERT_TRUE(WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }));
    Disable();
    EXPECT_EQ(m_transport->QueueFrameBuf(), 0);
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, WithParkedPayloadsAndARequestUnderWay)
{
    FillRingAndPark();
    Disable();
    AnswerHeldRequest();
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, WithParkedPayloadsAfterTheRequest)
{
    FillRingAndPark();
    AnswerHeldRequest();
    Disable();
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, WithARequestUnderWayAndAnEmptyRing)
{
    StartHeldRequest();
    Disable();
    AnswerHeldRequest();
    ExpectNextStreamWorks();
}

TEST_F(StoppingStream, ForgetsTheParkedPayloads)
{
    FillRingAndPark();
    Disable();
    AnswerHeldRequest();
    Start();
    m_log.Clear();
    m_camera->QueuePayload(0, FrameData(1));
    m_camera->QueuePayload(kEof);
    EXPECT_TRUE(Take(1));
    unsigned char* data = nullptr;
    unsigned int size = 0;
    EXPECT_EQ(m_transport->DequeFrameBuf(&data, &size), 0);
}

TEST_F(StoppingStream, WithACompletionOnTheRequestersThreadInTheMiddle)
{
    const auto gate = std::make_shared<Gate>();
    StartHeldRequest();
    ASSERT_TRUE(WaitUntil([this] { return m_left == m_entered; }));
    const int hook =
        m_bus.OnCall("completion", When::kBefore, [gate](const Call&) { gate->Pass(); });
    SendFrame(1);
    ASSERT_TRUE(gate->WaitArrived());
    m_bus.RemoveHook(hook);
    auto stop = std::async(std::launch::async, [this] { m_transport->DisableStream(); });
    ASSERT_TRUE(WaitUntil([this] { return !m_transport->IsStreaming(); }));
    gate->Open();
    ExpectEnds([&] { stop.get(); });
    AnswerHeldRequest();
}

/// The fifth frame is completed just after the ring was closed.
class LateFifthFrame : public StoppingStream {
protected:
    void StopAround(std::uint8_t flags, const Bytes& data)
    {
        SendFrames(1, kRing);
        ASSERT_TRUE(WaitUntil([this] { return m_left == kRing; }));
        const auto gate = std::make_shared<Gate>();
        const int hook =
            m_bus.OnCall("completion", When::kBefore, [gate](const Call&) { gate->Pass(); });
        m_camera->QueuePayload(flags, data);
        ASSERT_TRUE(gate->WaitArrived());
        m_bus.RemoveHook(hook);
        auto stop = std::async(std::launch::async, [this] { m_transport->DisableStream(); });
        ASSERT_TRUE(WaitUntil([this] { return !m_transport->IsStreaming(); }));
        const std::size_t before = Submissions();
        gate->Open();
        ExpectEnds([&] { stop.get(); });
        EXPECT_EQ(Submissions(), before);
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
};

TEST_F(LateFifthFrame, LeavesNoRoomForItsPayload)
{
    StopAround(0, FrameData(6));
    EXPECT_TRUE(m_log.Contains("Frame Buffer for writing is NULL !!!\r\n"));
    EXPECT_EQ(m_log.Find("Frame Buffer for writing is NULL")->level, 1);
    EXPECT_EQ(m_log.Find("Frame Buffer for writing is NULL")->function, "FillVideoBuf_Bulk");
}

TEST_F(LateFifthFrame, NeedsNoRoomForAHeader)
{
    StopAround(kEof, {});
    EXPECT_FALSE(m_log.Contains("Frame Buffer for writing is NULL"));
    EXPECT_TRUE(m_log.Contains("Stop submit transfer.\r\n"));
}

TEST_F(StoppingStream, WithoutADevice)
{
    m_camera->Plug(false);
    Disable();
}

TEST_F(StoppingStream, WithoutADeviceAndWithAFullRing)
{
    FillRing();
    m_camera->Plug(false);
    Disable();
}

TEST_F(StoppingStream, WithoutADeviceAndWithParkedPayloads)
{
    FillRingAndPark();
    m_camera->Plug(false);
    m_requester.join();
    EXPECT_LT(m_request_result, 0);
    Disable();
}

TEST_F(StoppingStream, WhileHostsKeepSettingControls)
{
    std::atomic<bool> stop{false};
    std::vector<std::thread> hosts;
    for (int host = 0; host < 3; ++host)
        hosts.emplace_back([&] {
            for (int i = 0; !stop; ++i)
                EXPECT_EQ(m_transport->SetPU(2, i), 1);
        });
    ExpectEnds([&] {
        for (unsigned round = 0; round < 15; ++round) {
            SendFrames(1, 3 + round % 8);  // from an idle to a held event thread
            m_transport->DisableStream();
            EXPECT_EQ(m_transport->EnableStream(3, 4, 30), 0);
        }
    });
    stop = true;
    for (std::thread& host : hosts)
        host.join();
}

/// The last transfer could not be submitted: the stream has no event thread.
class WithoutEventThread : public StoppingStream {
protected:
    void Start() override
    {
        m_bus.FailCall("libusb_submit_transfer", 3, LIBUSB_ERROR_IO);
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), LIBUSB_ERROR_IO);
        m_bus.ClearRules();
    }
};

TEST_F(WithoutEventThread, Ends)
{
    Disable();
}

TEST_F(WithoutEventThread, EndsWithDataDue)
{
    SendFrames(1, 10);
    Disable();
}

TEST_F(WithoutEventThread, EndsWithPayloadsThatAHostsRequestCompleted)
{
    SendFrames(1, 10);
    ExpectEnds([this] { EXPECT_EQ(m_transport->RequestKeyFrame(), 1); });
    EXPECT_EQ(m_left, 2u);
    Disable();
}

TEST_F(WithoutEventThread, EndsWithARequestUnderWay)
{
    StartHeldRequest();
    SendFrames(1, 10);
    ASSERT_TRUE(WaitUntil([this] { return m_left == 2; }));
    Disable();
    AnswerHeldRequest();
}

/// The system refuses the event thread.
class RefusedEventThread : public StoppingStream {
protected:
    void Start() override
    {
        test_support::RefuseNextThread();
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    }
};

TEST_F(RefusedEventThread, TransfersAreFreedByTheTeardownAllTheSame)
{
    Disable();
    EXPECT_EQ(m_log.Count("CLibUSB_UvcCtrl::UVC_DisableVideoStream free bulk transfer \r\n"), 3u);
}

TEST_F(WithoutEventThread, GivesWayToAStreamThatHasOne)
{
    ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    SendFrames(1, 10);
    TakeAll(1, 9);
}

}  // namespace
