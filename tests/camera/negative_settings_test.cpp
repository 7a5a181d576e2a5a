// Signal types and video modes below zero, and a controller that refuses the
// combination of streams.
#include <limits>

#include "tests/camera/camera_fixture.h"
#include "tests/camera/camera_internals.h"

namespace {

class Negative : public CameraTest, public testing::WithParamInterface<std::int32_t> {
protected:
    std::int32_t SignalType() const
    {
        return static_cast<std::int32_t>(SettingsOf(*m_camera).signal_type);
    }
    std::int32_t VideoMode() const
    {
        return static_cast<std::int32_t>(SettingsOf(*m_camera).video_mode);
    }
    /// Commands that choose the combination of streams.
    std::vector<std::string> Combinations() const
    {
        std::vector<std::string> combinations;
        for (const std::string& command : Commands())
            if (command.rfind("14: 1 ", 0) == 0)
                combinations.push_back(command);
        return combinations;
    }
    void ExpectUnknownSignalType()
    {
        EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Signal Type\r\n"));
        EXPECT_EQ(Combinations(), std::vector<std::string>{"14: 1 0"});
    }
    void ExpectUnknownVideoMode()
    {
        EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Unknown Video Mode\r\n"));
        EXPECT_TRUE(Combinations().empty());
        EXPECT_TRUE(m_log.Contains("last_options = 0, cur_options = 1\r\n"));
    }
};

TEST_P(Negative, SignalTypeIsStoredForTheNextStart)
{
    MakeAndConnect(kBrevan);
    EXPECT_FALSE(Set(CAM_PROPERTY_SIGNAL_TYPE, GetParam())) << "not recording";
    EXPECT_EQ(SignalType(), GetParam());
    EXPECT_FALSE(m_log.Contains("Not support this format.\r\n"));
    ASSERT_TRUE(m_camera->StartRecording());
    ExpectUnknownSignalType();
}

TEST_P(Negative, SignalTypeRestartsARecording)
{
    Record(kBrevan);
    EXPECT_TRUE(Set(CAM_PROPERTY_SIGNAL_TYPE, GetParam()));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    ExpectUnknownSignalType();
    m_log.Clear();
    EXPECT_TRUE(Set(CAM_PROPERTY_SIGNAL_TYPE, GetParam()));
    EXPECT_TRUE(HasLine(m_log, 4, "SetProperty",
                        "same signal type " + std::to_string(GetParam()) + ", " +
                            std::to_string(GetParam()) + "\n"));
    EXPECT_FALSE(m_log.Contains("StopRecording"));
}

TEST_P(Negative, VideoModeIsStoredForTheNextStart)
{
    MakeAndConnect(kCalder);
    EXPECT_FALSE(Set(CAM_PROPERTY_VIDEOMODE, GetParam())) << "not recording";
    EXPECT_EQ(VideoMode(), GetParam());
    EXPECT_FALSE(m_log.Contains("Not support this format.\r\n"));
    ASSERT_TRUE(m_camera->StartRecording());
    ExpectUnknownVideoMode();
}

TEST_P(Negative, VideoModeRestartsARecording)
{
    Record(kCalder);
    EXPECT_TRUE(Set(CAM_PROPERTY_VIDEOMODE, GetParam()));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    ExpectUnknownVideoMode();
}

INSTANTIATE_TEST_SUITE_P(Values, Negative,
                         testing::Values(-1, -2, std::numeric_limits<std::int32_t>::min()));

class RefusedCombination : public CameraTest, public testing::WithParamInterface<const char*> {
protected:
    std::vector<std::string> MessagesOfAStart()
    {
        m_log.Clear();
        EXPECT_TRUE(m_camera->StartRecording());
        return m_log.MessagesOf("StartRecording");
    }
};

TEST_P(RefusedCombination, IsNotLogged)
{
    MakeAndConnect(GetParam());
    const std::vector<std::string> usual = MessagesOfAStart();
    ASSERT_TRUE(m_camera->StopRecording());
    // To the first command of a start.
    m_device->QueueReply(0x21, 0x01, 0x0E00, 0x0600, {{}, TransferStatus::kStall});
    EXPECT_EQ(MessagesOfAStart(), usual);
    EXPECT_FALSE(m_log.Contains("Failed to set video mode.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
}

INSTANTIATE_TEST_SUITE_P(BySignalTypeAndByVideoMode, RefusedCombination,
                         testing::Values(kBrevan, kCalder));

}  // namespace
