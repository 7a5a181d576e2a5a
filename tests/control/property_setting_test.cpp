// SetProperty, without the camera object.
#include "control/property_setting.h"
#include "tests/control/control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PropertySetting : public ControlTest {
protected:
    bool Set(unsigned property, std::int32_t value, std::int32_t res0 = 0)
    {
        const CAM_PROP_VALUE record{value, {res0, 0}};
        return ApplyProperty(Context(), static_cast<CAM_PROPERTY>(property), record);
    }
    testing::AssertionResult Line(const std::string& text, int level = 4) const
    {
        return HasLine(m_log, level, "SetProperty", text);
    }
    testing::AssertionResult Unreachable() const { return Line(kUnreachable, 1); }
    std::vector<Bytes> PanTilt() const
    {
        std::vector<Bytes> sent;
        for (const auto& request : m_camera->Controls(0x21, 0x01, 0x0D00, 0x0100))
            sent.push_back(request.data);
        return sent;
    }
    std::vector<Bytes> PowerLine() const
    {
        std::vector<Bytes> sent;
        for (const auto& request : m_camera->Controls(0x21, 0x01, 0x0500, 0x0300))
            sent.push_back(request.data);
        return sent;
    }
};

TEST_F(PropertySetting, FirstLineShowsEveryOperand)
{
    const CAM_PROP_VALUE record{-1, {0x12, 0xABC}};
    ApplyProperty(Context(), CAM_PROPERTY_CROP_VGA, record);
    EXPECT_TRUE(Line("CKelVeskCamera::SetProperty prop=0x14, param->value=0xFFFFFFFF, "
                     "param->res[0]=0x12, param->res[1]=0xABC\r\n"));
}

TEST_F(PropertySetting, SuccessAndFailureHaveTheirTails)
{
    EXPECT_TRUE(Set(5, 48000));
    EXPECT_TRUE(Line("Return true\r\n"));
    EXPECT_FALSE(Set(4, 101));
    EXPECT_TRUE(Line("Fail set property 0x4\r\n", 1));
}

class UnsupportedSetting : public PropertySetting, public testing::WithParamInterface<unsigned> {};

TEST_P(UnsupportedSetting, Fails)
{
    EXPECT_FALSE(Set(GetParam(), 1));
    EXPECT_TRUE(Line("Not supported camera property\n"));
    char tail[48];
    std::snprintf(tail, sizeof tail, "Fail set property 0x%x\r\n", GetParam());
    EXPECT_TRUE(Line(tail, 1));
    EXPECT_EQ(Requests(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Ids, UnsupportedSetting,
                         testing::Values(6u, 16u, 17u, 22u, 23u, 33u, 40u, 41u, 42u, 44u, 45u, 46u,
                                         47u, 48u, 49u, 50u, 51u, 52u, 53u, 54u, 55u, 56u, 57u,
                                         58u, 59u, 60u, 61u, 62u, 65u, 67u, 69u, 70u, 71u, 72u,
                                         73u, 0xFFFFFFFFu));

class RecordedSetting : public PropertySetting, public testing::WithParamInterface<unsigned> {};

TEST_P(RecordedSetting, SucceedsWithoutTraffic)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_TRUE(Set(GetParam(), 4711));
    if (GetParam() != 11) {
        EXPECT_EQ(m_settings.recorded[GetParam()], 4711);
    }
    EXPECT_EQ(Requests(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Ids, RecordedSetting,
                         testing::Values(11u, 12u, 13u, 14u, 18u, 19u, 25u, 26u, 27u, 28u, 29u,
                                         30u, 31u, 32u, 34u, 35u, 36u, 37u, 38u, 39u, 43u, 64u));

TEST_F(PropertySetting, BitrateIsLimitedAndDividedBy1024)
{
    EXPECT_TRUE(Set(0, 3000000));
    EXPECT_EQ(m_settings.bitrate, 2560000u);
    EXPECT_TRUE(Line("BITRATE: 2560000 bps\r\n"));
    EXPECT_TRUE(Set(0, 1000000));
    EXPECT_THAT(Commands(1), ElementsAre(Bytes{8, 0xFF, 0xC4, 0x09, 0, 0, 0, 0},    // 2500
                                         Bytes{8, 0xFF, 0xD0, 0x03, 0, 0, 0, 0}));  // 976
}

TEST_F(PropertySetting, NegativeBitrateIsComparedAndDividedAsSigned)
{
    EXPECT_TRUE(Set(0, -1025));
    EXPECT_EQ(m_settings.bitrate, static_cast<std::uint32_t>(-1025));
    EXPECT_TRUE(Line("BITRATE: -1025 bps\r\n"));
    EXPECT_THAT(Commands(1), ElementsAre(Bytes{8, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));  // -1
}

TEST_F(PropertySetting, FramerateIsNotChecked)
{
    EXPECT_TRUE(Set(1, 70000));
    EXPECT_EQ(m_settings.frame_rate, 70000u);
    EXPECT_TRUE(Line("FRAME RATE: 70000 fps\r\n"));
    EXPECT_THAT(Commands(1), ElementsAre(Bytes{2, 0x70, 0x11, 0, 0, 0, 0, 0}));
}

TEST_F(PropertySetting, ForceIAsksForAKeyFrame)
{
    EXPECT_TRUE(Set(2, 5));
    EXPECT_TRUE(Line("Force I: 5 \r\n"));
    EXPECT_THAT(Commands(1), ElementsAre(Frame({4}, 8)));
}

TEST_F(PropertySetting, RefusedCommandFailsButTheValueStays)
{
    Refuse(1);
    EXPECT_FALSE(Set(0, 1000000));
    EXPECT_FALSE(Set(1, 15));
    EXPECT_FALSE(Set(2, 0));
    EXPECT_EQ(m_settings.bitrate, 1000000u);
    EXPECT_EQ(m_settings.frame_rate, 15u);
}

TEST_F(PropertySetting, UnreachableCameraFailsButTheValueStays)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(0, 1000000));
    EXPECT_TRUE(Unreachable());
    EXPECT_FALSE(Set(1, 15));
    for (const unsigned id : {2u, 7u, 8u, 9u, 10u})
        EXPECT_FALSE(Set(id, 1)) << id;
    EXPECT_EQ(m_settings.bitrate, 1000000u);
    EXPECT_EQ(m_settings.frame_rate, 15u);
    EXPECT_EQ(m_log.Count(kUnreachable), 7u);
    m_state = CAM_STATE_CONNECTED;
    m_with_video = false;
    EXPECT_FALSE(Set(2, 1));
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertySetting, ResolutionIsStoredAndReportedAsFailureWhileNotRecording)
{
    EXPECT_FALSE(Set(3, 0x02D00500));
    EXPECT_TRUE(Line("RESOLUTION: w=1280, h=720\r\n"));
    EXPECT_TRUE(Unreachable());
    EXPECT_EQ(m_settings.width, 1280);
    EXPECT_EQ(m_settings.height, 720);
    EXPECT_FALSE(Set(3, 0x02D00500));
    EXPECT_TRUE(Line("(1280 x 720) is ignored!, Same setting!", 1));
    EXPECT_THAT(m_subject.calls, IsEmpty());
}

TEST_F(PropertySetting, ResolutionRestartsRecordingAndSucceedsWhateverTheStartSays)
{
    m_state = CAM_STATE_RECORDING;
    m_subject.start_result = false;
    EXPECT_TRUE(Set(3, 0x02D00500));
    EXPECT_THAT(m_subject.calls, ElementsAre("stop", "start"));
    EXPECT_EQ(m_sleeps.Count(std::chrono::microseconds(30000)), 1u);
}

TEST_F(PropertySetting, ResolutionHalvesAreShownSigned)
{
    EXPECT_FALSE(Set(3, static_cast<std::int32_t>(0x8000FFFF)));
    EXPECT_TRUE(Line("RESOLUTION: w=-1, h=-32768\r\n"));
}

TEST_F(PropertySetting, VolumeGoesToTheAudioAdapterAndIsRecordedAfterwards)
{
    EXPECT_TRUE(Set(4, 100));
    EXPECT_TRUE(Line("MICVOLUME: 100\r\n"));
    EXPECT_EQ(m_settings.mic_volume, 100u);
    m_audio.volume_result = false;
    EXPECT_FALSE(Set(4, 50));
    EXPECT_TRUE(Line("Fail set MIC volume!!!\r\n"));
    EXPECT_EQ(m_settings.mic_volume, 100u);
    EXPECT_THAT(m_audio.volumes, ElementsAre(100, 50));
}

TEST_F(PropertySetting, VolumeAboveAHundredFailsBeforeAnythingElse)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(4, 101));
    EXPECT_TRUE(Line("Exceed Mic Volume Range.[101]"));
    EXPECT_FALSE(Set(4, -1));
    EXPECT_TRUE(Line("Exceed Mic Volume Range.[-1]"));
    EXPECT_FALSE(m_log.Contains(kUnreachable));
    EXPECT_EQ(m_settings.mic_volume, 30u);
}

TEST_F(PropertySetting, VolumeNeedsTheAudioAdapterAndAConnectedCamera)
{
    m_with_video = false;
    EXPECT_TRUE(Set(4, 10)) << "the video adapter is not asked for";
    m_with_audio = false;
    EXPECT_FALSE(Set(4, 20));
    EXPECT_TRUE(Unreachable());
    m_with_audio = true;
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(4, 20));
    EXPECT_EQ(m_settings.mic_volume, 10u);
}

TEST_F(PropertySetting, AudioRateIsAlways24000)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_TRUE(Set(5, 48000));
    EXPECT_EQ(m_settings.audio_rate, 24000u);
}

TEST_F(PropertySetting, ZoomIsSentAsItIs)
{
    EXPECT_TRUE(Set(7, 0x1234));
    EXPECT_TRUE(Line("ZOOM: 4660\r\n"));
    const auto sent = m_camera->Controls(0x21, 0x01, 0x0B00, 0x0100);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].data, (Bytes{0x34, 0x12}));
}

TEST_F(PropertySetting, PanStepsAreMultipliedAndTheTiltKept)
{
    m_camera->SetReply(0xA1, 0x81, 0x0D00, 0x0100, {{0, 0, 0, 0, 0x10, 0x0E, 0, 0}});
    EXPECT_TRUE(Set(8, 2));
    EXPECT_TRUE(Line("PAN: 2\r\n"));
    EXPECT_THAT(PanTilt(), ElementsAre(Bytes{0x20, 0x1C, 0, 0, 0x10, 0x0E, 0, 0}));  // 7200, 3600
}

TEST_F(PropertySetting, TiltStepsAreMultipliedAndThePanKept)
{
    m_camera->SetReply(0xA1, 0x81, 0x0D00, 0x0100, {{0x10, 0x0E, 0, 0, 0, 0, 0, 0}});
    EXPECT_TRUE(Set(9, -1));
    EXPECT_TRUE(Line("TILT: -1\r\n"));
    EXPECT_THAT(PanTilt(), ElementsAre(Bytes{0x10, 0x0E, 0, 0, 0xF0, 0xF1, 0xFF, 0xFF}));
}

TEST_F(PropertySetting, FrequencyIsSentWithUsbsNumbers)
{
    EXPECT_TRUE(Set(10, 1));
    EXPECT_TRUE(Line("cam frequency is 60Hz"));
    EXPECT_TRUE(Set(10, 2));
    EXPECT_TRUE(Line("cam frequency is 50Hz"));
    EXPECT_THAT(PowerLine(), ElementsAre(Bytes{2}, Bytes{1}));
}

TEST_F(PropertySetting, OtherFrequenciesSucceedAndSendNothing)
{
    for (const int value : {0, 3, -1, 60})
        EXPECT_TRUE(Set(10, value)) << value;
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertySetting, FrequencyAsksForTheCameraFirst)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(10, 3));
    EXPECT_TRUE(Unreachable());
}

TEST_F(PropertySetting, CurrentSignalTypeChangesNothing)
{
    m_state = CAM_STATE_RECORDING;
    EXPECT_TRUE(Set(15, 6));
    EXPECT_TRUE(InOrder(m_log, {"Set SIGNAL TYPE: 6\r\n", "same signal type 6, 6\n"}));
    EXPECT_TRUE(Line("same signal type 6, 6\n"));
    EXPECT_THAT(m_subject.calls, IsEmpty());
}

TEST_F(PropertySetting, UnknownSignalTypeIsIgnoredAndSucceeds)
{
    m_state = CAM_STATE_RECORDING;
    for (const int value : {9, 1000}) {
        EXPECT_TRUE(Set(15, value)) << value;
        EXPECT_EQ(m_settings.signal_type, static_cast<std::uint32_t>(CAM_SIGNAL_H264_GRAY_SI));
    }
    EXPECT_EQ(m_log.Count("Not support this format.\r\n"), 2u);
    EXPECT_THAT(m_subject.calls, IsEmpty());
}

TEST_F(PropertySetting, NewSignalTypeRestartsRecordingAlsoTypeFive)
{
    m_state = CAM_STATE_RECORDING;
    EXPECT_TRUE(Set(15, 5));
    EXPECT_EQ(m_settings.signal_type, 5u);
    EXPECT_THAT(m_subject.calls, ElementsAre("stop", "start"));
    EXPECT_TRUE(Line("Set SIGNAL TYPE: 5\r\n"));
}

TEST_F(PropertySetting, SignalTypeIsStoredAndReportedAsFailureWhileNotRecording)
{
    EXPECT_FALSE(Set(15, 3));
    EXPECT_TRUE(Unreachable());
    EXPECT_EQ(m_settings.signal_type, 3u);
}

TEST_F(PropertySetting, VideoModeAboveTwoFails)
{
    m_state = CAM_STATE_RECORDING;
    for (const int value : {3, 1000})
        EXPECT_FALSE(Set(24, value)) << value;
    EXPECT_TRUE(Line("VIDEOMODE: 3\r\n"));
    EXPECT_TRUE(Line("Not support this format.\r\n"));
    EXPECT_EQ(m_settings.video_mode, 1u);
    EXPECT_THAT(m_subject.calls, IsEmpty());
}

TEST_F(PropertySetting, NegativeSignalTypeAndVideoModeAreTaken)
{
    m_state = CAM_STATE_RECORDING;
    EXPECT_TRUE(Set(15, -1));
    EXPECT_TRUE(Set(24, -1));
    EXPECT_EQ(m_settings.signal_type, 0xFFFFFFFFu);
    EXPECT_EQ(m_settings.video_mode, 0xFFFFFFFFu);
    EXPECT_FALSE(m_log.Contains("Not support this format.\r\n"));
    EXPECT_THAT(m_subject.calls, ElementsAre("stop", "start", "stop", "start"));
}

TEST_F(PropertySetting, VideoModeRestartsRecordingAlsoWhenItIsTheSame)
{
    m_state = CAM_STATE_RECORDING;
    EXPECT_TRUE(Set(24, 1));
    EXPECT_THAT(m_subject.calls, ElementsAre("stop", "start"));
    m_state = CAM_STATE_CONNECTED;
    EXPECT_FALSE(Set(24, 2));
    EXPECT_TRUE(Unreachable());
    EXPECT_EQ(m_settings.video_mode, 2u);
}

TEST_F(PropertySetting, RestartNeedsTheVideoAdapterToo)
{
    m_state = CAM_STATE_RECORDING;
    m_with_video = false;
    for (const unsigned id : {3u, 15u, 24u})
        EXPECT_FALSE(Set(id, 2)) << id;
    EXPECT_THAT(m_subject.calls, IsEmpty());
}

TEST_F(PropertySetting, CropPositionIsPendingWithSizeInTheSecondOperand)
{
    EXPECT_TRUE(Set(20, 0x00200010, 0x00F00140));
    EXPECT_TRUE(Line("CAM_PROPERTY_CROP_VGA, x=16, y=32, w=320, h=240\r\n"));
    EXPECT_EQ(m_settings.m_pending_crop_x, 16);
    EXPECT_EQ(m_settings.m_pending_crop_y, 32);
    EXPECT_TRUE(Set(66, 0x00040003, 0x00060005));
    EXPECT_TRUE(Line("CAM_PROPERTY_CROP_GRAY, x=3, y=4, w=5, h=6\r\n"));
    EXPECT_EQ(m_settings.m_pending_crop_x, 3);
    EXPECT_EQ(m_settings.m_pending_crop_y, 4);
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertySetting, JpegIsTriggeredWithoutTrafficInVideoMode)
{
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_TRUE(Set(21, 0));
    EXPECT_TRUE(Line("TRIGGER_JPEG:\r\n"));
    EXPECT_EQ(m_settings.m_send_jpeg, 1);
    EXPECT_EQ(Requests(), 0u);
}

TEST_F(PropertySetting, JpegIsAskedOfTheControllerInSignalTypeMode)
{
    m_settings.use_signal_type = 1;
    EXPECT_TRUE(Set(21, 0));
    EXPECT_THAT(Commands(14), ElementsAre(Frame({3}, 16)));
    EXPECT_EQ(m_settings.m_send_jpeg, 1);
}

TEST_F(PropertySetting, UnreachableJpegFailsButTheRequestStays)
{
    m_settings.use_signal_type = 1;
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(21, 0));
    EXPECT_TRUE(Unreachable());
    EXPECT_EQ(m_settings.m_send_jpeg, 1);
}

TEST_F(PropertySetting, RefusedJpegCommandFails)
{
    m_settings.use_signal_type = 1;
    Refuse(14);
    EXPECT_FALSE(Set(21, 0));
}

TEST_F(PropertySetting, DebugLevelIsHandedOn)
{
    EXPECT_TRUE(Set(63, 5));
    EXPECT_FALSE(Set(63, 6));
    EXPECT_FALSE(Set(63, 0));
}

TEST_F(PropertySetting, UserFlagIsSentAndStoredInAnyCase)
{
    EXPECT_TRUE(Set(68, 0x1234));
    EXPECT_EQ(m_settings.user_flag, 0x34);
    EXPECT_THAT(Commands(14), ElementsAre(Frame({16, 0x34}, 16)));
    Refuse(14);
    EXPECT_FALSE(Set(68, 0x56));
    EXPECT_EQ(m_settings.user_flag, 0x56);
    m_state = CAM_STATE_DISCONNECTED;
    EXPECT_FALSE(Set(68, 0x78));
    EXPECT_TRUE(Unreachable());
    EXPECT_EQ(m_settings.user_flag, 0x78);
}

}  // namespace
