// Starts with settings and adapters that no host can bring about.
#include "tests/camera/camera_fixture.h"
#include "tests/camera/camera_internals.h"

namespace {

class OddSettings : public CameraTest {
protected:
    CameraSettings& Settings() { return SettingsOf(*m_camera); }
    void LoseAudioAdapter() { delete AudioOf(*m_camera).exchange(nullptr); }
    std::vector<std::string> StreamSelections() const
    {
        std::vector<std::string> selections;
        for (const std::string& command : Commands())
            if (command.rfind("14: 1 ", 0) == 0)
                selections.push_back(command);
        return selections;
    }
};

class UnknownVideoMode : public OddSettings, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(UnknownVideoMode, SelectsNoStreamsButStillAnOptionWord)
{
    MakeAndConnect(kCalder);
    Settings().video_mode = GetParam();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Video Mode\r\n"));
    EXPECT_TRUE(StreamSelections().empty());
    EXPECT_TRUE(m_log.Contains("last_options = 0, cur_options = 1\r\n"));
    EXPECT_FALSE(m_log.Contains("Start Audio Capture Thread"));
}

INSTANTIATE_TEST_SUITE_P(Modes, UnknownVideoMode, testing::Values(3u, 100u, 0xFFFFFFFFu));

class UnknownPlatform : public OddSettings, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(UnknownPlatform, RecordsWithASlowSubStream)
{
    MakeAndConnect(kFerrowB);
    Settings().tv_platform = GetParam();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_THAT(Commands(), testing::ElementsAre("14: 1 8", "14: 2 1", "14: 2 2 1", "14: 13 0",
                                                 "1: 8 255 208 7", "1: 2 30", "14: 13 1",
                                                 "1: 8 255 32 3", "1: 2 15", "14: 13 0",
                                                 "4: 14 0 1"));
}

INSTANTIATE_TEST_SUITE_P(Codes, UnknownPlatform, testing::Values(0u, 6u, 0xFFFFFFFFu));

TEST_F(OddSettings, UnknownSignalTypeSelectsTheFirst)
{
    MakeAndConnect(kBrevan);
    Settings().signal_type = 9;
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Signal Type\r\n"));
    EXPECT_EQ(StreamSelections(), std::vector<std::string>{"14: 1 0"});
}

TEST_F(OddSettings, NegativeVideoModeIsUnknown)
{
    MakeAndConnect(kCalder);
    CAM_PROP_VALUE value = {-1, {0, 0}};
    EXPECT_FALSE(m_camera->SetProperty(CAM_PROPERTY_VIDEOMODE, &value)) << "not recording";
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Video Mode\r\n"));
    EXPECT_TRUE(StreamSelections().empty());
}

TEST_F(OddSettings, NegativeSignalTypeSelectsTheFirst)
{
    MakeAndConnect(kBrevan);
    CAM_PROP_VALUE value = {-1, {0, 0}};
    EXPECT_FALSE(m_camera->SetProperty(CAM_PROPERTY_SIGNAL_TYPE, &value)) << "not recording";
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Signal Type\r\n"));
    EXPECT_EQ(StreamSelections(), std::vector<std::string>{"14: 1 0"});
}

TEST_F(OddSettings, OtherConfigurationSelectsNothing)
{
    MakeAndConnect(kCalder);
    Settings().use_signal_type = 2;
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(StreamSelections().empty());
    EXPECT_FALSE(m_log.Contains("last_options"));
}

TEST_F(OddSettings, CapabilityQuerySwitchesTheNextStartToSignalTypes)
{
    MakeAndConnect(kBrevan);
    Settings().use_signal_type = 0;
    EXPECT_TRUE(m_camera->GetCapability(CAM_CAPABILITY_SIGNAL_TYPE));
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(StreamSelections(), std::vector<std::string>{"14: 1 6"});
}

TEST_F(OddSettings, AudioWithoutAnAdapterFailsAndLeavesTheVideoThreadRunning)
{
    MakeAndConnect(kCalder);
    LoseAudioAdapter();
    EXPECT_FALSE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording",
                        "CKelVeskCamera::StartRecording, Can't open video device , break\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    EXPECT_FALSE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_TRUE(m_log.Contains("Exit VideoCapture thread.\r\n"));
}

TEST_F(OddSettings, StartWithoutAudioSkipsTheVolumeOfAMissingAdapter)
{
    MakeAndConnect(kOther);
    LoseAudioAdapter();
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_FALSE(Set(CAM_PROPERTY_MICVOLUME, 10));
    EXPECT_TRUE(m_camera->StopRecording());
}

}  // namespace
