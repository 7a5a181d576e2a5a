// Entry points, construction, destruction and the small operations.
#include "api/torvik_camera.h"
#include "tests/camera/camera_fixture.h"

namespace {

using testing::ElementsAre;

class Lifecycle : public CameraTest {};

TEST_F(Lifecycle, VersionIs138)
{
    EXPECT_EQ(cam_version(), 138);
    EXPECT_TRUE(HasLine(m_log, 1, "cam_version", "TORVIK version 138\n"));
}

TEST_F(Lifecycle, CreateLogsConstructsAndPausesOneSecond)
{
    TvRoot::Write("/mtd_exe/.info", kCalder);
    TvRoot::Write("/mtd_rwarea/camera_l5", "");
    ICameraSubject* const camera = cam_create();
    ASSERT_NE(camera, nullptr);
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 1u);
    EXPECT_TRUE(HasLine(m_log, 1, "cam_create", "Torvik Driver ver: 2013-03-07-1945\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "cam_create", "KelLib:: cam_create() \r\n"));
    EXPECT_TRUE(InOrder(m_log, {"Torvik Driver ver: 2013-03-07-1945\r\n",
                                "KelLib:: cam_create() \r\n",
                                "CKelVeskCamera::CKelVeskCamera() construction.\r\n",
                                "TV platform is Calder \r\n", "Use video mode property\r\n",
                                "exit CKelVeskCamera construction.\r\n"}));
    cam_destroy(camera);
    EXPECT_TRUE(HasLine(m_log, 1, "cam_destroy", "KelLib:: cam_destroy() \r\n"));
}

TEST_F(Lifecycle, DestroyOfNothingOnlyLogs)
{
    cam_destroy(nullptr);
    EXPECT_EQ(m_log.Entries().size(), 1u);
    EXPECT_TRUE(HasLine(m_log, 1, "cam_destroy", "KelLib:: cam_destroy() \r\n"));
}

TEST_F(Lifecycle, ConstructionLinesAreFatalLevel)
{
    Make(kOther);
    EXPECT_TRUE(HasLine(m_log, 1, "CKelVeskCamera",
                        "CKelVeskCamera::CKelVeskCamera() construction.\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "CKelVeskCamera", "exit CKelVeskCamera construction.\r\n"));
}

TEST_F(Lifecycle, ConstructionObeysTheMarkerFiles)
{
    TvRoot::Write("/mtd_exe/.info", kOther);
    TvRoot::Write("/mtd_rwarea/camera_l1", "");
    m_camera = std::make_unique<CKelVeskCamera>();
    EXPECT_FALSE(m_log.Contains("We can not support TV \r\n")) << "a debugging line";
    EXPECT_EQ(Get(CAM_PROPERTY_DEBUG_LEVEL), 1);
}

TEST_F(Lifecycle, NewCameraHasItsNamesStateAndDefaults)
{
    Make(kOther);
    EXPECT_EQ(m_camera->GetVendorName(), "MERIDOX");
    EXPECT_EQ(m_camera->GetModelName(), "TORVIK");
    EXPECT_EQ(&m_camera->GetModelName(), &m_camera->GetModelName());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CREATED);
    EXPECT_TRUE(HasLine(m_log, 4, "GetState", "Get status=1\r\n"));
    EXPECT_EQ(Get(CAM_PROPERTY_BITRATE), 2000000);
    EXPECT_EQ(Get(CAM_PROPERTY_FRAMERATE), 30);
    EXPECT_EQ(Get(CAM_PROPERTY_RESOLUTION), 0x01E00280);
    EXPECT_EQ(Get(CAM_PROPERTY_MICVOLUME), 30);
    EXPECT_EQ(Get(CAM_PROPERTY_AUDIO_RATE), 24000);
    EXPECT_EQ(Get(CAM_PROPERTY_USER_FLAG), 0);
}

TEST_F(Lifecycle, StateCanBeForcedSilently)
{
    Make(kOther);
    m_log.Clear();
    m_camera->SetState(CAM_STATE_RECORDING);
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    m_camera->SetState(CAM_STATE_CREATED);
}

TEST_F(Lifecycle, StreamFormatIsStoredAndAlwaysTrue)
{
    Make(kOther);
    EXPECT_TRUE(m_camera->SetStreamFormat(CAM_STR_FORMAT_TS));
    EXPECT_TRUE(HasLine(m_log, 4, "SetStreamFormat",
                        "CKelVeskCamera::SetStreamFormat format=0x1\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "SetStreamFormat", "CKelVeskCamera not support TS format.\r\n"));
    EXPECT_TRUE(m_camera->SetStreamFormat(CAM_STR_FORMAT_H264));
    EXPECT_TRUE(HasLine(m_log, 4, "SetStreamFormat", "CKelVeskCamera Video Format= H264\r\n"));
    EXPECT_TRUE(m_camera->SetStreamFormat(static_cast<CAM_STR_FORMAT>(0xAB)));
    EXPECT_TRUE(m_log.Contains("format=0xAB\r\n"));
    EXPECT_EQ(m_log.Count("CKelVeskCamera Video Format= H264\r\n"), 2u);
}

TEST_F(Lifecycle, PublishedPointersFollowTheObject)
{
    Make(kOther);
    EXPECT_EQ(g_pCamera, m_camera.get());
    EXPECT_NE(g_pData, nullptr);
    m_camera.reset();
    EXPECT_EQ(g_pCamera, nullptr);
}

TEST_F(Lifecycle, DestructionRemovesTheVersionFileBetweenItsLines)
{
    Make(kOther);
    TvRoot::Write("/dtv/cm_cam_version", "x");
    m_log.Clear();
    m_camera.reset();
    EXPECT_FALSE(TvRoot::Exists("/dtv/cm_cam_version"));
    EXPECT_TRUE(HasLine(m_log, 4, "~CKelVeskCamera",
                        "CKelVeskCamera::~CKelVeskCamera() destruction+.\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "~CKelVeskCamera",
                        "CKelVeskCamera::~CKelVeskCamera() destruction-.\r\n"));
    EXPECT_FALSE(m_log.Contains("StopRecording")) << "nothing was ever opened";
}

TEST_F(Lifecycle, DestructionStopsRecordingThenFreesVideoThenAudio)
{
    Record(kCalder);
    m_camera.reset();
    EXPECT_TRUE(InOrder(m_log, {"destruction+.\r\n", "CKelVeskCamera::StopRecording\r\n",
                                "CKelVeskCamera:: stop audio capture thread\r\n",
                                "CKelVeskCamera:: stop video capture thread \r\n",
                                "CKEL_CAM_LIB::~CKEL_CAM_LIB()+\r\n",
                                "CAudioCapture::~CAudioCapture+\r\n", "destruction-.\r\n"}));
}

TEST_F(Lifecycle, DestructionOfAConnectedCameraStopsAllTheSame)
{
    MakeAndConnect(kOther);
    m_camera.reset();
    EXPECT_TRUE(InOrder(m_log, {"CKelVeskCamera::StopRecording\r\n",
                                "Abnormal StopRecording.\r\n", "destruction-.\r\n"}));
}

TEST_F(Lifecycle, CameraForcedToDisconnectedWhileRecordingIsDestroyedWithItsThreads)
{
    Record(kCalder);
    m_camera->SetState(CAM_STATE_DISCONNECTED);
    m_camera.reset();
    EXPECT_TRUE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    EXPECT_TRUE(m_log.Contains("Exit Audio capture thread.\r\n"));
    EXPECT_TRUE(InOrder(m_log, {"Exit VideoCapture thread.\r\n",
                                "CKEL_CAM_LIB::~CKEL_CAM_LIB()+\r\n"}));
}

TEST_F(Lifecycle, DiagnosticHooksDoNothing)
{
    Make(kOther);
    EXPECT_FALSE(m_camera->Execute(0, nullptr));
    EXPECT_TRUE(m_camera->StartTest());
    EXPECT_TRUE(HasLine(m_log, 4, "StartTest", "CKelVeskCamera::StartTest() Not support now.\r\n"));
    EXPECT_TRUE(m_camera->StopTest());
    EXPECT_TRUE(HasLine(m_log, 4, "StopTest", "CKelVeskCamera::StopTest() Not support now.\r\n"));
    EXPECT_TRUE(m_camera->PrintStatus());
    EXPECT_TRUE(
        HasLine(m_log, 4, "PrintStatus", "CKelVeskCamera::PrintStatus() Not support now.\r\n"));
}

}  // namespace
