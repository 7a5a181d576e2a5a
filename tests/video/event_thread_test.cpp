// The transport with its event thread.
#include <future>

#include "tests/video/gate.h"
#include "tests/video/video_fixture.h"

namespace {

using namespace std::chrono_literals;

class EventThreadTest : public VideoTest {
protected:
    void SetUp() override
    {
        m_transport = std::make_unique<Transport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
        m_log.Clear();
        m_sleeps.Clear();
        m_bus.EnableCallLog();
    }
    void TearDown() override
    {
        if (m_transport)
            m_transport->DisableStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }

    std::unique_ptr<Transport> m_transport;
};

TEST_F(EventThreadTest, EnableStartsTheLoopAndGivesItTime)
{
    EXPECT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    EXPECT_EQ(m_sleeps.Count(30ms), 1u);
    EXPECT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 2, test_support::kPatience));
}

TEST_F(EventThreadTest, EventsAreHandledInSlicesOf33Milliseconds)
{
    m_bus.EnableCallLog(true);
    m_transport->EnableStream(3, 4, 30);
    ASSERT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 3, test_support::kPatience));
    m_transport->DisableStream();
    std::size_t slices = 0;
    for (const Call& call : m_bus.CallLog()) {
        if (call.function != "libusb_handle_events_timeout")
            continue;
        EXPECT_EQ(call.value, 33);
        ++slices;
    }
    EXPECT_GE(slices, 3u);
}

TEST_F(EventThreadTest, RunningStreamDoesNotPauseBetweenSlices)
{
    m_transport->EnableStream(3, 4, 30);
    ASSERT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 3, test_support::kPatience));
    EXPECT_EQ(m_sleeps.Count(500us), 0u);
}

TEST_F(EventThreadTest, IdleLoopPausesHalfAMillisecond)
{
    m_transport->VideoTransferStart();
    EXPECT_TRUE(WaitUntil([&] { return m_sleeps.Count(500us) >= 2; }));
    m_transport->VideoTransferStop();
}

TEST_F(EventThreadTest, FailedEnableStartsNoLoop)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(m_transport->EnableStream(3, 4, 30), -1);
    EXPECT_EQ(m_sleeps.Count(30ms), 0u);
    EXPECT_EQ(m_bus.CallCount("libusb_handle_events_timeout"), 0u);
}

TEST_F(EventThreadTest, LastFailedSubmissionStartsNoLoopYetStreams)
{
    m_bus.FailCall("libusb_submit_transfer", 3, LIBUSB_ERROR_IO);
    EXPECT_EQ(m_transport->EnableStream(3, 4, 30), LIBUSB_ERROR_IO);
    EXPECT_TRUE(m_transport->IsStreaming());
    EXPECT_EQ(m_sleeps.Count(30ms), 0u);
    EXPECT_EQ(m_bus.CallCount("libusb_handle_events_timeout"), 0u);
}

TEST_F(EventThreadTest, DisableStopsStreamThenThreadAndSelectsSettingZeroTwice)
{
    m_transport->EnableStream(3, 4, 30);
    m_bus.ClearCallLog();
    m_log.Clear();
    EXPECT_EQ(m_transport->DisableStream(), 0);
    EXPECT_THAT(CallLines(), ElementsAre("cancel_transfer", "cancel_transfer", "cancel_transfer",
                                         "setting 1 0", "free_transfer", "free_transfer",
                                         "free_transfer", "setting 1 0"));
    const std::string in = "UVC_DisableVideoStream/4: ";
    const std::string freed =
        in + "CLibUSB_UvcCtrl::UVC_DisableVideoStream free bulk transfer \r\n";
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("DisableStream/4: UVC_DisableVideoStream +\r\n",
                            in + "Video lock +\r\n",
                            in + "UVC_DisableVideoStream:: cancel bulk transfer. 0\r\n",
                            in + "UVC_DisableVideoStream:: cancel bulk transfer. 1\r\n",
                            in + "UVC_DisableVideoStream:: cancel bulk transfer. 2\r\n",
                            in + "Video lock -\r\n", freed, freed, freed,
                            in + "UVC_DisableVideoStream finish.\r\n",
                            "DisableStream/4: UVC_DisableVideoStream -\r\n",
                            "DisableStream/4: VideoTransferStop +\r\n",
                            "VideoTransferStop/4: pthread_cancel+\n",
                            "Run/4: CKEL_CAM_LIB::run() Exit libusb thread.\n",
                            "VideoTransferStop/4: pthread_cancel-\n",
                            "DisableStream/4: VideoTransferStop -\r\n"));
}

TEST_F(EventThreadTest, DisableWithoutAStreamOnlySelectsSettingZero)
{
    EXPECT_EQ(m_transport->DisableStream(), 0);
    EXPECT_THAT(CallLines(), ElementsAre("setting 1 0"));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(EventThreadTest, DisableWithoutADeviceDoesNothing)
{
    CKEL_CAM_LIB closed;
    m_bus.ClearCallLog();
    EXPECT_EQ(closed.DisableStream(), 0);
    EXPECT_THAT(CallLines(), IsEmpty());
}

TEST_F(EventThreadTest, DisableIgnoresAFailedSetting)
{
    m_transport->EnableStream(3, 4, 30);
    m_bus.FailCall("libusb_set_interface_alt_setting", 0, LIBUSB_ERROR_OTHER);
    EXPECT_EQ(m_transport->DisableStream(), 0);
}

TEST_F(EventThreadTest, DestructorLogsBeforeTheTransport)
{
    std::make_unique<CKEL_CAM_LIB>().reset();
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("~CKEL_CAM_LIB/4: CKEL_CAM_LIB::~CKEL_CAM_LIB()+\r\n",
                            "~CKEL_CAM_LIB/4: CKEL_CAM_LIB::~CKEL_CAM_LIB()-\r\n",
                            "~CLibUSB_UvcCtrl/4: LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n"));
}

TEST_F(EventThreadTest, DestructorEndsALoopThatRuns)
{
    auto plain = std::make_unique<CKEL_CAM_LIB>();
    plain->VideoTransferStart();
    plain.reset();
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("~CKEL_CAM_LIB/4: CKEL_CAM_LIB::~CKEL_CAM_LIB()+\r\n",
                            "~CKEL_CAM_LIB/4: CKEL_CAM_LIB::~CKEL_CAM_LIB()-\r\n",
                            "Run/4: CKEL_CAM_LIB::run() Exit libusb thread.\n",
                            "~CLibUSB_UvcCtrl/4: LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n"));
}

TEST_F(EventThreadTest, FramesArriveFromTheLoop)
{
    m_transport->EnableStream(3, 4, 30);
    for (unsigned i = 0; i < 20; ++i) {
        m_camera->QueuePayload(0, Pattern(100, i));
        m_camera->QueuePayload(kEof);
        unsigned char* data = nullptr;
        unsigned int size = 0;
        ASSERT_TRUE(WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }));
        EXPECT_EQ(Bytes(data, data + size), Pattern(100, i));
        m_transport->QueueFrameBuf();
    }
}

TEST_F(EventThreadTest, StreamCanBeStartedAndStoppedManyTimes)
{
    for (unsigned i = 0; i < 10; ++i) {
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
        m_camera->QueuePayload(0, Pattern(100, i));
        m_camera->QueuePayload(kEof);
        unsigned char* data = nullptr;
        unsigned int size = 0;
        ASSERT_TRUE(WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }));
        EXPECT_EQ(Bytes(data, data + size), Pattern(100, i));
        m_transport->QueueFrameBuf();
        m_transport->DisableStream();
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
}

TEST_F(EventThreadTest, TestFlagChangesNothing)
{
    m_transport->EnableTest();
    EXPECT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    EXPECT_EQ(m_transport->DisableStream(), 0);
}

TEST_F(EventThreadTest, NullRingMakesACompletionBeIgnored)
{
    // The teardown's cancellations come when the ring is gone.
    m_transport->EnableStream(3, 4, 30);
    std::atomic<int> cancelled{0};
    m_bus.OnCall("completion", When::kAfter, [&](const Call& call) {
        if (call.status == LIBUSB_TRANSFER_CANCELLED)
            ++cancelled;
    });
    m_transport->DisableStream();
    EXPECT_EQ(cancelled, 3);
    EXPECT_FALSE(m_log.Contains("LIBUSB_TRANSFER_CANCELLED"));
}

/// A completion that is held just before the driver sees it, until the
/// teardown has cleared the streaming flag.
class CompletionWhileStopping : public EventThreadTest {
protected:
    void CompleteWhileStopping(const Bytes& first, const std::vector<Bytes>& before = {},
                               int status = LIBUSB_TRANSFER_COMPLETED)
    {
        m_camera->OfferVideo(1000, 500);
        if (status != LIBUSB_TRANSFER_COMPLETED) {
            CompletionOverride ending;
            ending.status = status;
            ending.ask_device = true;
            m_bus.OverrideCompletion(1, ending);
        }
        m_transport->EnableStream(3, 4, 30);
        Gate gate;
        for (const Bytes& payload : before)
            m_camera->QueueIn(0x81, payload);
        ASSERT_TRUE(m_bus.WaitForCalls("libusb_submit_transfer", 3 + before.size(),
                                       test_support::kPatience));
        m_log.Clear();
        const int hook =
            m_bus.OnCall("completion", When::kBefore, [&](const Call&) { gate.Pass(); });
        m_camera->QueueIn(0x81, first);
        ASSERT_TRUE(gate.WaitArrived());
        m_bus.ClearCallLog();
        auto stop = std::async(std::launch::async, [this] { m_transport->DisableStream(); });
        ASSERT_TRUE(WaitUntil([this] { return !m_transport->IsStreaming(); }));
        gate.Open();
        stop.get();
        m_bus.RemoveHook(hook);
        EXPECT_THAT(CallLines("submit"), IsEmpty());
    }
};

TEST_F(CompletionWhileStopping, DataIsTakenButNothingSubmitted)
{
    CompleteWhileStopping(test_support::Payload(0, Pattern(9, 1)));
    EXPECT_THAT(LogLines(m_log, "FillVideoBuf_Bulk"),
                ElementsAre("FillVideoBuf_Bulk/4: Stop submit transfer.\r\n"));
}

TEST_F(CompletionWhileStopping, EmptyPayloadIsNotSubmittedEither)
{
    CompleteWhileStopping({});
    EXPECT_THAT(LogLines(m_log, "FillVideoBuf_Bulk"),
                ElementsAre("FillVideoBuf_Bulk/4: Stop submit transfer.\r\n"));
}

TEST_F(CompletionWhileStopping, ErrorPayloadIsDroppedSilentlyFromThen)
{
    CompleteWhileStopping(test_support::Payload(kErr, Pattern(9, 1)));
    EXPECT_THAT(LogLines(m_log, "FillVideoBuf_Bulk"),
                ElementsAre("FillVideoBuf_Bulk/4: Dropping payload (error bit set).\n"));
}

TEST_F(CompletionWhileStopping, PayloadThatDoesNotFitIsNotSubmittedAgain)
{
    const Bytes full = test_support::Payload(0, Pattern(488, 1));
    CompleteWhileStopping(full, {full, full, full});
    EXPECT_THAT(LogLines(m_log, "FillVideoBuf_Bulk"),
                ElementsAre("FillVideoBuf_Bulk/4: Fram size exceed MaxFrameSize!! 1952\n"));
}

TEST_F(CompletionWhileStopping, TimedOutTransferIsTakenUpWithItsStatus)
{
    CompleteWhileStopping(test_support::Payload(0, Pattern(9, 1)), {}, LIBUSB_TRANSFER_TIMED_OUT);
    EXPECT_THAT(LogLines(m_log, "callback"),
                ElementsAre("callback/4: LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n"));
    EXPECT_THAT(LogLines(m_log, "FillVideoBuf_Bulk"),
                ElementsAre("FillVideoBuf_Bulk/4: status 2\n",
                            "FillVideoBuf_Bulk/4: Stop submit transfer.\r\n"));
}

}  // namespace
