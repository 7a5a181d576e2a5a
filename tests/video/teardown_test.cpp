// The end of a stream.
#include "tests/video/video_fixture.h"

namespace {

using namespace std::chrono_literals;

class VideoTeardown : public PumpedTest {
protected:
    void SetUp() override
    {
        PumpedTest::SetUp();
        m_bus.EnableCallLog();
    }
    void EnableAndForget()
    {
        Enable();
        m_bus.ClearCallLog();
        m_sleeps.Clear();
    }
};

TEST_F(VideoTeardown, CancelsSelectsSettingZeroAndFrees)
{
    EnableAndForget();
    EXPECT_EQ(m_transport->UVC_DisableVideoStream(), 0);
    EXPECT_THAT(CallLines(), ElementsAre("cancel_transfer", "cancel_transfer", "cancel_transfer",
                                         "setting 1 0", "free_transfer", "free_transfer",
                                         "free_transfer"));
    EXPECT_FALSE(m_transport->IsStreaming());
}

TEST_F(VideoTeardown, LogsItsStepsAndNothingOfTheCancelledTransfers)
{
    EnableAndForget();
    m_transport->UVC_DisableVideoStream();
    const std::string at = "UVC_DisableVideoStream/4: ";
    const std::string freed =
        at + "CLibUSB_UvcCtrl::UVC_DisableVideoStream free bulk transfer \r\n";
    EXPECT_THAT(LogLines(m_log),
                ElementsAre(at + "Video lock +\r\n",
                            at + "UVC_DisableVideoStream:: cancel bulk transfer. 0\r\n",
                            at + "UVC_DisableVideoStream:: cancel bulk transfer. 1\r\n",
                            at + "UVC_DisableVideoStream:: cancel bulk transfer. 2\r\n",
                            at + "Video lock -\r\n", freed, freed, freed,
                            at + "UVC_DisableVideoStream finish.\r\n"));
}

TEST_F(VideoTeardown, WaitsAFifthOfASecondForTheCancellations)
{
    EnableAndForget();
    m_transport->UVC_DisableVideoStream();
    EXPECT_EQ(m_sleeps.Count(200ms), 1u);
}

TEST_F(VideoTeardown, FailedSettingIsLoggedAndReturned)
{
    EnableAndForget();
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, LIBUSB_ERROR_OTHER);
    EXPECT_EQ(m_transport->UVC_DisableVideoStream(), LIBUSB_ERROR_OTHER);
    EXPECT_EQ(m_log.Count("UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!"), 1u);
    EXPECT_EQ(m_log.Find("IF = 1, Alt = 0")->message,
              "UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!");
    EXPECT_EQ(m_log.Find("IF = 1, Alt = 0")->level, 4);
    EXPECT_EQ(m_bus.Counters().transfers, 0);
}

TEST_F(VideoTeardown, LeavesOutTheTransferThatWasNotSubmitted)
{
    m_bus.FailCall("libusb_submit_transfer", 2, LIBUSB_ERROR_IO);
    EnableAndForget();
    m_transport->UVC_DisableVideoStream();
    EXPECT_EQ(m_log.Count("cancel bulk transfer."), 2u);
    EXPECT_TRUE(m_log.Contains("cancel bulk transfer. 0\r\n"));
    EXPECT_TRUE(m_log.Contains("cancel bulk transfer. 2\r\n"));
    EXPECT_EQ(m_log.Count("free bulk transfer"), 2u);
}

TEST_F(VideoTeardown, FreesTransfersThatLeftCirculation)
{
    EnableAndForget();
    for (int i = 0; i < 3; ++i)
        m_camera->QueueIn(0x81, {}, vcam::TransferStatus::kStall);
    Pump();
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    m_transport->UVC_DisableVideoStream();
    EXPECT_EQ(m_bus.Counters().transfers, 0);
}

TEST_F(VideoTeardown, LastFailedSubmissionLeavesNothingBehind)
{
    m_bus.FailCall("libusb_submit_transfer", 3, LIBUSB_ERROR_IO);
    ASSERT_EQ(m_transport->UVC_EnableVideoStream(3, 4, 30), LIBUSB_ERROR_IO);
    m_transport->UVC_DisableVideoStream();
    EXPECT_EQ(m_bus.Counters().transfers, 0);
    EXPECT_FALSE(m_log.Contains("LIBUSB_TRANSFER_CANCELLED"));
}

TEST_F(VideoTeardown, UnreadFramesAreForgotten)
{
    EnableAndForget();
    Send(0, Pattern(10, 1));
    Send(kEof);
    m_transport->UVC_DisableVideoStream();
    Enable();
    EXPECT_EQ(NextFrame(), Bytes{});
    Send(0, Pattern(20, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(20, 2));
}

TEST_F(VideoTeardown, DataOfAnUnfinishedFrameDoesNotReachTheNextStream)
{
    EnableAndForget();
    Send(0, Pattern(10, 1));
    m_transport->UVC_DisableVideoStream();
    Enable();
    Send(0, Pattern(5, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(5, 2));
}

TEST_F(VideoTeardown, WithoutADeviceTheSettingFails)
{
    CLibUSB_UvcCtrl closed;
    EXPECT_LT(closed.UVC_DisableVideoStream(), 0);
    EXPECT_TRUE(m_log.Contains("UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!"));
}

TEST_F(VideoTeardown, DestructorFreesTransfersThatEndedInAStreamNobodyStopped)
{
    EnableAndForget();
    for (int i = 0; i < 3; ++i)
        m_camera->QueueIn(0x81, {}, vcam::TransferStatus::kStall);
    Pump();
    m_log.Clear();
    m_transport.reset();
    const std::string at = "~CLibUSB_UvcCtrl/4: ";
    EXPECT_THAT(LogLines(m_log), ElementsAre(at + "LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n",
                                             at + "CLibUSB_UvcCtrl free transfer \r\n",
                                             at + "CLibUSB_UvcCtrl free transfer \r\n",
                                             at + "CLibUSB_UvcCtrl free transfer \r\n"));
    EXPECT_THAT(CallLines(), ElementsAre("release_interface 1", "release_interface 0", "close",
                                         "free_transfer", "free_transfer", "free_transfer",
                                         "exit"));
}

/// A transfer that neither completes nor can be cancelled when its stream ends.
class StuckTransfer : public VideoTeardown {
protected:
    void SetUp() override
    {
        VideoTeardown::SetUp();
        Enable();
        std::vector<const void*> submitted;
        for (const Call& call : m_bus.CallLog())
            if (call.function == "libusb_submit_transfer")
                submitted.push_back(call.transfer);
        ASSERT_EQ(submitted.size(), 3u);
        m_bus.FailCall("libusb_cancel_transfer", 0, LIBUSB_ERROR_OTHER,
                       [stuck = submitted[1]](const Call& call) { return call.transfer == stuck; });
        m_transport->UVC_DisableVideoStream();
    }
    void TearDown() override
    {
        m_bus.ClearRules();
        if (!m_transport->IsStreaming())
            Enable();
        VideoTeardown::TearDown();
    }
};

TEST_F(StuckTransfer, IsNotFreedInFlight)
{
    EXPECT_EQ(m_bus.Counters().transfers, 1);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 1);
    EXPECT_EQ(m_log.Count("free bulk transfer"), 2u);
    EXPECT_THAT(m_bus.Misuse(), IsEmpty());
}

TEST_F(StuckTransfer, DoesNotDisturbTheNextStreamAndIsFreedByItsLateCompletion)
{
    Enable();
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 4);
    m_camera->QueuePayload(0, Pattern(8, 1));  // taken by the stuck one, and lost with it
    Send(0, Pattern(9, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(9, 2));
    EXPECT_EQ(m_bus.Counters().transfers, 3);
}

TEST_F(StuckTransfer, IsCancelledAgainBeforeTheNextStream)
{
    m_bus.ClearRules();
    Enable();
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 3);
    EXPECT_EQ(m_bus.Counters().transfers, 3);
}

TEST_F(StuckTransfer, IsFreedBeforeTheNextStreamWhenItHasCompletedSince)
{
    m_camera->QueuePayload(0);
    Pump();
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    Enable();
    EXPECT_EQ(m_bus.Counters().transfers, 3);
}

}  // namespace
