// Properties that restart recording, through the real locks.
#include "tests/camera/camera_fixture.h"

namespace {

class Restart : public CameraTest {
protected:
    void ExpectRestarted()
    {
        EXPECT_TRUE(InOrder(m_log, {"CKelVeskCamera::SetProperty prop=",
                                    "CKelVeskCamera::StopRecording\r\n",
                                    "Exit VideoCapture thread.\r\n",
                                    "CKelVeskCamera::StartRecording\r\n", "Return true\r\n"}));
        EXPECT_EQ(m_sleeps.Count(std::chrono::microseconds(30000)), 2u)
            << "one pause of the restart, one of the event thread's start";
        EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    }
};

TEST_F(Restart, ByTheResolutionUnderTheHeldLock)
{
    Record(kOther);
    m_sleeps.Clear();
    EXPECT_TRUE(Set(CAM_PROPERTY_RESOLUTION, 0x02D00500));
    ExpectRestarted();
    EXPECT_TRUE(m_log.Contains("FormatID:3 FrameID:4\r\n"));
}

TEST_F(Restart, ByTheSignalType)
{
    Record(kBrevan);
    m_sleeps.Clear();
    EXPECT_TRUE(Set(CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_H264_GRAY));
    ExpectRestarted();
    EXPECT_TRUE(m_log.Contains("Signale Type = CAM_SIGNAL_H264_H264_GRAY\r\n"));
    EXPECT_TRUE(m_log.Contains("Start Audio Capture Thread"));
}

TEST_F(Restart, ByTheVideoMode)
{
    Record(kOther);
    m_sleeps.Clear();
    EXPECT_TRUE(Set(CAM_PROPERTY_VIDEOMODE, 0));
    ExpectRestarted();
}

TEST_F(Restart, CurrentSignalTypeDoesNotRestart)
{
    Record(kBrevan);
    EXPECT_TRUE(Set(CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_GRAY_SI));
    EXPECT_FALSE(m_log.Contains("CKelVeskCamera::StopRecording\r\n"));
}

TEST_F(Restart, ThatFailsSucceedsAllTheSameAndLeavesTheCameraConnected)
{
    Record(kOther);
    m_device->SetReply(0x21, 0x01, 0x0200, 0x0001, {{}, TransferStatus::kStall});
    EXPECT_TRUE(Set(CAM_PROPERTY_RESOLUTION, 0x02D00500));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

TEST_F(Restart, StoredSignalTypeIsUsedByTheNextStart)
{
    MakeAndConnect(kBrevan);
    EXPECT_FALSE(Set(CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_GRAY));
    m_device->ClearLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(0), "14: 1 2");
}

TEST_F(Restart, QueriedCapabilitySwitchesTheNextStartToSignalTypes)
{
    // Only this platform answers, and it uses signal types from the start; the
    // query must leave that as it is.
    MakeAndConnect(kBrevan);
    EXPECT_TRUE(m_camera->GetCapability(CAM_CAPABILITY_SIGNAL_TYPE));
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(0), "14: 1 6");
}

TEST_F(Restart, JpegTriggerReachesTheControllerOnlyInSignalTypeMode)
{
    Record(kBrevan);
    EXPECT_TRUE(Set(CAM_PROPERTY_TRIGGER_JPEG, 0));
    EXPECT_EQ(Commands(), std::vector<std::string>{"14: 3 0"});
    m_camera.reset();
    Record(kOther);
    EXPECT_TRUE(Set(CAM_PROPERTY_TRIGGER_JPEG, 0));
    EXPECT_TRUE(Commands().empty());
}

}  // namespace
