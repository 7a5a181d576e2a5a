// The video-option word and the LED.
#include "control/indicator_led.h"
#include "control/video_options.h"
#include "tests/control/control_fixture.h"

namespace {

using testing::ElementsAre;

class VideoOption : public ControlTest {};

TEST_F(VideoOption, SetSendsTheWordLowestByteFirst)
{
    EXPECT_EQ(SetVideoOption(Context(), 0x0A0B0C0D), 16);
    EXPECT_THAT(Commands(14), ElementsAre(Frame({2, 2, 0x0D, 0x0C, 0x0B, 0x0A}, 16)));
    EXPECT_TRUE(HasLine(m_log, 4, "SetVideoOption", "SetVideoOption = 0xA0B0C0D"));
}

TEST_F(VideoOption, RefusedSetIsReturned)
{
    Refuse(14);
    EXPECT_EQ(SetVideoOption(Context(), 1), static_cast<int>(0x80000003u));
}

TEST_F(VideoOption, GetAsksAndDecodesBytesOneToFour)
{
    Answer(15, Frame({0x99, 1, 2, 3, 4, 0x99}, 16));
    std::uint32_t options = 0;
    EXPECT_EQ(GetVideoOption(Context(), &options), 16);
    EXPECT_EQ(options, 0x04030201u);
    EXPECT_THAT(Commands(14), ElementsAre(Frame({2, 1}, 16)));
    EXPECT_TRUE(HasLine(m_log, 4, "GetVideoOption", "GetVideoOption = 0x4030201"));
}

TEST_F(VideoOption, RefusedQueryLeavesTheOutput)
{
    Refuse(14);
    std::uint32_t options = 77;
    EXPECT_EQ(GetVideoOption(Context(), &options), static_cast<int>(0x80000003u));
    EXPECT_EQ(options, 77u);
    EXPECT_TRUE(m_camera->Controls(0xA1, 0x81, 0x0F00, 0x0600).empty());
}

TEST_F(VideoOption, FailedReplyLeavesTheOutput)
{
    std::uint32_t options = 77;  // selector 15 has no answer: it stalls
    EXPECT_EQ(GetVideoOption(Context(), &options), static_cast<int>(0x80000003u));
    EXPECT_EQ(options, 77u);
    EXPECT_EQ(m_camera->Controls(0xA1, 0x81, 0x0F00, 0x0600).size(), 1u);
}

TEST_F(VideoOption, DisconnectedCameraClearsTheOutput)
{
    m_state = CAM_STATE_DISCONNECTED;
    std::uint32_t options = 77;
    EXPECT_EQ(GetVideoOption(Context(), &options), -1);
    EXPECT_EQ(options, 0u);
    EXPECT_TRUE(HasLine(m_log, 1, "GetVideoOption", kUnreachable));
    EXPECT_EQ(SetVideoOption(Context(), 1), -1);
    EXPECT_TRUE(HasLine(m_log, 1, "SetVideoOption", kUnreachable));
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(VideoOption, MissingAdapterCountsAsDisconnected)
{
    m_with_video = false;
    std::uint32_t options = 77;
    EXPECT_EQ(GetVideoOption(Context(), &options), -1);
    EXPECT_EQ(options, 0u);
    EXPECT_EQ(SetVideoOption(Context(), 1), -1);
}

TEST_F(VideoOption, CreatedStateIsReachable)
{
    m_state = CAM_STATE_CREATED;
    EXPECT_EQ(SetVideoOption(Context(), 1), 16);
}

class Led : public ControlTest {};

TEST_F(Led, OnAndOffAreSentToSelectorFour)
{
    EXPECT_TRUE(TurnOnOffLED(Context(), 1));
    EXPECT_TRUE(TurnOnOffLED(Context(), 0));
    EXPECT_THAT(Commands(4), ElementsAre(Frame({14, 0, 1}, 8), Frame({14, 0, 0}, 8)));
}

TEST_F(Led, RefusedCommandIsFalse)
{
    Refuse(4);
    EXPECT_FALSE(TurnOnOffLED(Context(), 1));
}

TEST_F(Led, UnreachableCameraIsFalseAndSendsNothing)
{
    m_with_video = false;
    EXPECT_FALSE(TurnOnOffLED(Context(), 1));
    EXPECT_TRUE(HasLine(m_log, 1, "TurnOnOffLED", kUnreachable));
    m_with_video = true;
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(TurnOnOffLED(Context(), 1));
    EXPECT_EQ(Requests(), 0u);
}

}  // namespace
