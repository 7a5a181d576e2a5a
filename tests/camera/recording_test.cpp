// What StartRecording and StopRecording do, in which order, on which
// television.
#include "tests/camera/camera_fixture.h"

namespace {

using testing::ElementsAre;
using Strings = std::vector<std::string>;

constexpr char kSelectMain[] = "14: 13 0";
constexpr char kSelectSub[] = "14: 13 1";
constexpr char kAskOptions[] = "14: 2 1";
constexpr char kLedOn[] = "4: 14 0 1";
constexpr char kLedOff[] = "4: 14 0";
constexpr char kMain2000[] = "1: 8 255 208 7";
constexpr char kMain1500[] = "1: 8 255 220 5";
constexpr char kSub800[] = "1: 8 255 32 3";
constexpr char kFps30[] = "1: 2 30";
constexpr char kFps15[] = "1: 2 15";

class Recording : public CameraTest {
protected:
    bool AudioRuns() const { return m_log.Contains("Start Audio Capture Thread"); }
};

TEST_F(Recording, BrevanUsesTheSignalTypeWithoutOptionsAndAudio)
{
    MakeAndConnect(kBrevan);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_THAT(Commands(), ElementsAre("14: 1 6", kSelectMain, kMain2000, kFps30, kSelectSub,
                                        kSub800, kFps15, kSelectMain, kLedOn));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording",
                        "Signale Type = CAM_SIGNAL_H264_GRAY_SI\r\n"));
    EXPECT_FALSE(AudioRuns());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
}

TEST_F(Recording, CalderAtItsDefaultBitRateAsksForOptionsAndAudio)
{
    MakeAndConnect(kCalder);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_THAT(Commands(),
                ElementsAre("14: 1 7", kAskOptions, "14: 2 2 48", kSelectMain, kMain2000, kFps30,
                            kSelectSub, kSub800, kFps15, kSelectMain, kLedOn));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Video mode is Dual H264\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Set KVR signal type = 0x07 \r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "last_options = 0, cur_options = 30\r\n"));
    EXPECT_TRUE(AudioRuns());
}

TEST_F(Recording, CalderIsNotSilencedByTheSilentBitRate)
{
    MakeAndConnect(kCalder);
    ASSERT_TRUE(Set(CAM_PROPERTY_BITRATE, 1500000));
    m_device->ClearLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(2), "14: 2 2 48");
    EXPECT_TRUE(AudioRuns());
}

TEST_F(Recording, FerrowAAtTheSilentBitRateHasNoAudioAndAFastSubStream)
{
    MakeAndConnect(kFerrowA);
    ASSERT_TRUE(Set(CAM_PROPERTY_BITRATE, 1500000));
    m_device->ClearLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_THAT(Commands(),
                ElementsAre("14: 1 7", kAskOptions, "14: 2 2 1", kSelectMain, kMain1500, kFps30,
                            kSelectSub, kSub800, kFps30, kSelectMain, kLedOn));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "last_options = 0, cur_options = 1\r\n"));
    EXPECT_FALSE(AudioRuns());
}

TEST_F(Recording, FerrowAAtAnotherBitRateHasAudio)
{
    MakeAndConnect(kFerrowA);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(AudioRuns());
}

TEST_F(Recording, FerrowBHasNoSubStreamAndAudioUnlessSilent)
{
    MakeAndConnect(kFerrowB);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_THAT(Commands(), ElementsAre("14: 1 8", kAskOptions, "14: 2 2 48", kSelectMain,
                                        kMain2000, kFps30, kLedOn));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Video mode is H264+JPEG\r\n"));
    EXPECT_TRUE(AudioRuns());
    m_camera->StopRecording();
    ASSERT_TRUE(Set(CAM_PROPERTY_BITRATE, 1500000));
    m_log.Clear();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_FALSE(AudioRuns());
}

TEST_F(Recording, UnsupportedTelevisionRecordsH264AndJpegWithoutAudio)
{
    MakeAndConnect(kOther);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(0), "14: 1 8");
    EXPECT_EQ(Commands().at(2), "14: 2 2 1");
    EXPECT_FALSE(AudioRuns());
}

TEST_F(Recording, VideoModeTwoIsLikeOne)
{
    MakeAndConnect(kOther);
    Set(CAM_PROPERTY_VIDEOMODE, 2);
    m_device->ClearLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(0), "14: 1 8");
    EXPECT_TRUE(m_log.Contains("Video mode is H264+JPEG\r\n"));
}

TEST_F(Recording, VideoModeZeroOnAnyPlatformButFerrowAHasAudio)
{
    MakeAndConnect(kOther);
    Set(CAM_PROPERTY_VIDEOMODE, 0);
    m_log.Clear();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(AudioRuns());
}

struct Options {
    const char* platform;
    std::uint32_t before;
    const char* line;
    const char* command;  ///< null: the controller is left alone
};

class OptionWord : public Recording, public testing::WithParamInterface<Options> {};

TEST_P(OptionWord, IsSentOnlyWhenItSharesNoBitWithTheOldOne)
{
    const Options& row = GetParam();
    MakeAndConnect(row.platform);
    OfferOptions(row.before);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", row.line));
    Strings sent;
    for (const std::string& command : Commands())
        if (command.rfind("14: 2 2", 0) == 0)
            sent.push_back(command);
    EXPECT_EQ(sent, row.command ? Strings{row.command} : Strings{});
}

INSTANTIATE_TEST_SUITE_P(
    Words, OptionWord,
    testing::Values(Options{kCalder, 0x01, "last_options = 1, cur_options = 30\r\n", "14: 2 2 48"},
                    Options{kCalder, 0x30, "last_options = 30, cur_options = 30\r\n", nullptr},
                    Options{kCalder, 0x101, "last_options = 101, cur_options = 130\r\n", nullptr},
                    Options{kOther, 0x30, "last_options = 30, cur_options = 1\r\n", "14: 2 2 1"},
                    Options{kOther, 0x01, "last_options = 1, cur_options = 1\r\n", nullptr},
                    Options{kOther, 0xF0, "last_options = F0, cur_options = C1\r\n", nullptr}));

class EverySignalType : public Recording,
                        public testing::WithParamInterface<std::pair<int, const char*>> {};

TEST_P(EverySignalType, IsSentAndLogged)
{
    MakeAndConnect(kBrevan);
    const auto [type, line] = GetParam();
    Set(CAM_PROPERTY_SIGNAL_TYPE, type);
    m_device->ClearLog();
    m_log.Clear();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(Commands().at(0), "14: 1 " + std::to_string(type));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", line));
    EXPECT_EQ(AudioRuns(), type == CAM_SIGNAL_H264_H264_GRAY);
    for (const std::string& command : Commands())
        EXPECT_NE(command.rfind("14: 2", 0), 0u) << "no option word: " << command;
}

INSTANTIATE_TEST_SUITE_P(
    Types, EverySignalType,
    testing::Values(std::pair(0, "Signale Type = CAM_SIGNAL_H264_YUYV\r\n"),
                    std::pair(1, "Signale Type = CAM_SIGNAL_H264_GRAY\r\n"),
                    std::pair(2, "Signale Type = CAM_SIGNAL_GRAY\r\n"),
                    std::pair(3, "Signale Type = CAM_SIGNAL_H264_H264_GRAY\r\n"),
                    std::pair(4, "Signale Type = CAM_SIGNAL_H264_NV21\r\n"),
                    std::pair(5, "Signale Type = CAM_SIGNAL_H264_GRAY_JPEG\r\n"),
                    std::pair(6, "Signale Type = CAM_SIGNAL_H264_GRAY_SI\r\n"),
                    std::pair(7, "Signale Type = CAM_SIGNAL_H264_H264\r\n"),
                    std::pair(8, "Signale Type = CAM_SIGNAL_H264_MJPEG\r\n")));

TEST_F(Recording, StartLogsItsStepsInOrder)
{
    MakeAndConnect(kCalder);
    ASSERT_TRUE(m_camera->StartRecording());
    char open[120];
    std::snprintf(open, sizeof open,
                  "CKelVeskCamera::StartRecording open device VID=0x%X, PID=0x%X W=640 H=480\r\n",
                  TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "CKelVeskCamera::StartRecording\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "StartRecording", open));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Set stream target(ID)=0\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "StartRecording", "Set stream target(ID)=1\r\n"));
    EXPECT_TRUE(InOrder(
        m_log,
        {"CKelVeskCamera::StartRecording\r\n", open, "Video mode is Dual H264\r\n",
         "Set KVR signal type = 0x07 \r\n", "last_options = ", "Set stream target(ID)=0\r\n",
         "UVC_EnableVideoStream start video FormatID:3 FrameID:1\r\n",
         "Set stream target(ID)=1\r\n", "Set stream target(ID)=0\r\n",
         "*********** Start Audio Capture Thread*************\r\n",
         "CLibUSB_UacCtrl::UAC_EnableAudioStream  24000 Hz\r\n",
         "*********** Audio Capture Thread Init finish.\r\n*************\r\n",
         "UAC SetVolume Min=-2560, Max=0, Vol=-1792\r\n"}));
}

TEST_F(Recording, SizeBitRateAndFrameRateAreThoseRecorded)
{
    MakeAndConnect(kFerrowB);
    Set(CAM_PROPERTY_RESOLUTION, 0x02D00500);
    Set(CAM_PROPERTY_BITRATE, 999999);
    Set(CAM_PROPERTY_FRAMERATE, 25);
    m_device->ClearLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(m_log.Contains("FormatID:3 FrameID:4\r\n"));
    EXPECT_TRUE(m_log.Contains(" W=1280 H=720\r\n"));
    const Strings commands = Commands();
    EXPECT_EQ(commands.at(4), "1: 8 255 231 3");  // 999: a kilobit is 1000 bits here
    EXPECT_EQ(commands.at(5), "1: 2 25");
}

TEST_F(Recording, SecondStartDoesNothingAndIsTrue)
{
    Record(kOther);
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(HasLine(m_log, 1, "StartRecording", "StartRecording twice\r\n"));
    EXPECT_TRUE(Commands().empty());
}

TEST_F(Recording, StartBeforeInitAndAfterDisconnectionIsTrueToo)
{
    Make(kOther);
    EXPECT_TRUE(m_camera->StartRecording());
    m_camera->SetState(CAM_STATE_DISCONNECTED);
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_log.Count("StartRecording twice\r\n"), 2u);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

TEST_F(Recording, StopTurnsTheLedOffAndGoesBackToConnected)
{
    Record(kCalder);
    m_sleeps.Clear();
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    EXPECT_THAT(Commands(), ElementsAre(kLedOff));
    EXPECT_EQ(m_sleeps.Count(std::chrono::milliseconds(10)), 1u);
    EXPECT_TRUE(HasLine(m_log, 1, "StopRecording", "CKelVeskCamera::StopRecording\r\n"));
    EXPECT_TRUE(InOrder(
        m_log, {"CKelVeskCamera::StopRecording\r\n",
                "CKelVeskCamera:: stop audio capture thread\r\n", "Exit Audio capture thread.\r\n",
                "UAC_DisableAudioStream+\r\n", "CKelVeskCamera:: stop video capture thread \r\n",
                "Exit VideoCapture thread.\r\n", "Null Gray or NV12 Data is received !!!\r\n",
                "UVC_DisableVideoStream +\r\n"}));
    EXPECT_FALSE(m_log.Contains("Abnormal StopRecording.\r\n"));
}

TEST_F(Recording, StopWithoutAudioThreadStillClosesTheAudioStream)
{
    Record(kOther);
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_FALSE(m_log.Contains("stop audio capture thread"));
    EXPECT_TRUE(m_log.Contains("UAC_DisableAudioStream+\r\n"));
    m_log.Clear();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_FALSE(m_log.Contains("UAC_DisableAudioStream+\r\n")) << "it stayed closed";
}

TEST_F(Recording, StopTellsRawImageObserversThatTheirStreamEnded)
{
    FrameCollector gray(CAM_STREAM_GRAY);
    MakeAndConnect(kOther);
    m_camera->RegisterObserver(&gray);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_TRUE(m_camera->RemoveObserver(&gray));
    ASSERT_EQ(gray.Count(), 1u);
    EXPECT_TRUE(gray.Frames()[0].ends_stream);
}

TEST_F(Recording, StopWhileConnectedTearsDownAndIsAbnormal)
{
    MakeAndConnect(kOther);
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_TRUE(HasLine(m_log, 1, "StopRecording", "Abnormal StopRecording.\r\n"));
    EXPECT_TRUE(m_log.Contains("UAC_DisableAudioStream+\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

TEST_F(Recording, StopWithoutAdaptersFails)
{
    Make(kOther);
    m_log.Clear();
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_TRUE(HasLine(m_log, 1, "StopRecording",
                        "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!!\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "TurnOnOffLED",
                        "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!! \r\n"));
}

TEST_F(Recording, StopOfADisconnectedCameraEndsAudioOnly)
{
    Record(kCalder);
    m_camera->SetState(CAM_STATE_DISCONNECTED);
    EXPECT_FALSE(m_camera->StopRecording());
    EXPECT_TRUE(m_log.Contains("Exit Audio capture thread.\r\n"));
    EXPECT_FALSE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    EXPECT_TRUE(HasLine(m_log, 1, "StopRecording",
                        "video_capturer is NULL or m_State is CAM_STATE_DISCONNECTED !!!\r\n"));
}

}  // namespace
