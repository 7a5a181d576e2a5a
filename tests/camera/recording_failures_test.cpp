// Starts that fail, and what the next operation makes of them.
#include "tests/camera/camera_fixture.h"

namespace {

class FailedStart : public CameraTest {
protected:
    void RefuseAudio(bool refuse)
    {
        m_device->SetReply(0x22, 0x01, 0x0100, 0x0082,
                           {{},
                            refuse ? TransferStatus::kStall : TransferStatus::kCompleted});
    }
    void RefuseVideo(bool refuse)
    {
        m_device->SetReply(0x21, 0x01, 0x0200, 0x0001,
                           {{},
                            refuse ? TransferStatus::kStall : TransferStatus::kCompleted});
    }
};

TEST_F(FailedStart, WithoutAVideoAdapterFails)
{
    Make(kCalder);
    m_camera->SetState(CAM_STATE_CONNECTED);
    EXPECT_FALSE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 1, "StartRecording",
                        "CKelVeskCamera::StartRecording, Can't open video break\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

TEST_F(FailedStart, OfTheVideoStreamIsReportedAndNothingRuns)
{
    MakeAndConnect(kCalder);
    RefuseVideo(true);
    EXPECT_FALSE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 1, "StartRecording",
                        "Failed to config device. W=640,H=480,Fmt=0,Fps=30\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "ConfigureDev", "Failed to start streaming.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    RefuseVideo(false);
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
}

TEST_F(FailedStart, RefusedCommandsAreLoggedAndIgnored)
{
    MakeAndConnect(kOther);
    m_device->SetReply(0x21, 0x01, 0x0E00, 0x0600, {{}, TransferStatus::kStall});
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_log.Count("Failed to set video mode.\r\n"), 3u) << "one for each target";
    EXPECT_TRUE(HasLine(m_log, 1, "StartRecording", "Failed to set video mode.\r\n"));
    // An option word that cannot be read counts as 0.
    EXPECT_TRUE(m_log.Contains("last_options = 0, cur_options = 1\r\n"));
}

TEST_F(FailedStart, OfTheAudioStreamLeavesTheVideoThreadRunning)
{
    MakeAndConnect(kCalder);
    RefuseAudio(true);
    EXPECT_FALSE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Failed to open audio streaming.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    EXPECT_FALSE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    m_log.Clear();
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_TRUE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    EXPECT_TRUE(m_log.Contains("Abnormal StopRecording.\r\n"));
}

TEST_F(FailedStart, IsFollowedByAStartThatEndsTheOldThreadFirst)
{
    MakeAndConnect(kCalder);
    RefuseAudio(true);
    EXPECT_FALSE(m_camera->StartRecording());
    RefuseAudio(false);
    m_log.Clear();
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
    EXPECT_TRUE(InOrder(m_log, {"Exit VideoCapture thread.\r\n", "UVC_DisableVideoStream +\r\n",
                                "UVC_EnableVideoStream start video"}));
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 2u);
}

TEST_F(FailedStart, LeftThreadIsEndedByTheDestructor)
{
    MakeAndConnect(kCalder);
    RefuseAudio(true);
    EXPECT_FALSE(m_camera->StartRecording());
    m_camera.reset();
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
}

TEST_F(FailedStart, LeftThreadOfADisconnectedCameraIsEndedByTheDestructor)
{
    MakeAndConnect(kCalder);
    RefuseAudio(true);
    EXPECT_FALSE(m_camera->StartRecording());
    m_camera->SetState(CAM_STATE_DISCONNECTED);
    m_camera.reset();
    EXPECT_EQ(m_log.Count("Exit VideoCapture thread.\r\n"), 1u);
}

TEST_F(FailedStart, RefusedLedDoesNotMatter)
{
    MakeAndConnect(kOther);
    m_device->SetReply(0x21, 0x01, 0x0400, 0x0600, {{}, TransferStatus::kStall});
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(m_camera->StopRecording());
}

}  // namespace
