// What opening, recording and destroying ask of libusb, whatever release that
// is.
#include "api/torvik_camera.h"
#include "tests/camera/camera_fixture.h"
#include "tests/support/libusb_release.h"
#include "tests/video/container_builder.h"
#include "tests/video/usb_calls.h"

namespace {

using test_support::LibusbRelease;
using Strings = std::vector<std::string>;

constexpr std::uint8_t kEndOfFrame = 0x02;

// Commands of the extension unit: of 16 bytes, of 8 bytes, and the LED's.
constexpr char kMmp[] = "control 21 01 0e00 0600 16 1000ms";
constexpr char kMmpResult[] = "control a1 81 0f00 0600 16 1000ms";
constexpr char kIsp[] = "control 21 01 0100 0600 8 1000ms";
constexpr char kLed[] = "control 21 01 0400 0600 8 1000ms";
constexpr char kVolume[] = "control 21 01 0200 0503 2 2000ms";
constexpr char kSubmitVideo[] = "submit 81 type 2 length 8192 5000ms";
constexpr char kSubmitAudio[] = "submit 82 type 1 length 1920 1000ms";

std::string Open()
{
    char open[20];
    std::snprintf(open, sizeof open, "open %04x:%04x", TORVIK_CAM_VENDOR_ID,
                  TORVIK_CAM_PRODUCT_ID);
    return open;
}

const Strings kOpenVideo = {"init",
                            Open(),
                            "get_device",
                            "get_configuration",
                            "kernel_driver_active 1",
                            "kernel_driver_active 0",
                            "claim_interface 1",
                            "claim_interface 0",
                            "setting 1 0"};
const Strings kOpenAudio = {"init",
                            Open(),
                            "get_device",
                            "get_configuration",
                            "kernel_driver_active 3",
                            "claim_interface 3",
                            "setting 3 0",
                            "kernel_driver_active 2",
                            "claim_interface 2"};
const Strings kStartAudio = {"control 22 01 0100 0082 3 1000ms",
                             "control a2 81 0100 0082 3 1000ms",
                             "control a1 83 0200 0503 2 1000ms",
                             "control a1 82 0200 0503 2 1000ms",
                             "setting 3 1",
                             "alloc_transfer",
                             "alloc_transfer",
                             "get_max_iso_packet_size",
                             kSubmitAudio,
                             kSubmitAudio,
                             kVolume};
const Strings kStopAudio = {"cancel_transfer", "cancel_transfer", "setting 3 0", "free_transfer",
                            "free_transfer"};
const Strings kStartVideo = {"control 21 01 0100 0001 26 1000ms",
                             "control a1 83 0100 0001 26 1000ms",
                             "control a1 82 0100 0001 26 1000ms",
                             "control 21 01 0100 0001 26 1000ms",
                             "control a1 81 0100 0001 26 1000ms",
                             "control 21 01 0200 0001 26 1500ms",
                             "get_max_packet_size 81",
                             "alloc_transfer",
                             "alloc_transfer",
                             "alloc_transfer",
                             kSubmitVideo,
                             kSubmitVideo,
                             kSubmitVideo};
const Strings kStopVideo = {"cancel_transfer", "cancel_transfer", "cancel_transfer",
                            "setting 1 0",     "free_transfer",   "free_transfer",
                            "free_transfer",   "setting 1 0"};

Strings Joined(std::initializer_list<Strings> pieces)
{
    Strings all;
    for (const Strings& piece : pieces)
        all.insert(all.end(), piece.begin(), piece.end());
    return all;
}

class CameraCalls : public CameraTest, public testing::WithParamInterface<LibusbRelease> {
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        if (IsSkipped())
            return;
        test_support::Pretend(GetParam());
        Make(kCalder);  // a television that records sound, too
        m_bus.EnableCallLog();
        CKelVeskCamera::CamInitDoneCallback(0, m_camera.get());
        ASSERT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    }
    void Start()
    {
        ASSERT_TRUE(m_camera->StartRecording());
        m_bus.ClearCallLog();
    }

    SteadyCalls m_calls;
};

TEST_P(CameraCalls, OfAnOpening)
{
    EXPECT_EQ(m_calls.Lines(), Joined({kOpenVideo, kOpenAudio, kStartAudio}));
}

TEST_P(CameraCalls, OfTheStartOfARecording)
{
    m_bus.ClearCallLog();
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_calls.Lines(),
              Joined({{kMmp},                           // combination of streams
                      {kMmp, kMmpResult, kMmp},         // option word
                      {kMmp, "setting 1 0"},            // main stream
                      kStartVideo,
                      {kIsp, kIsp},                     // its bit rate and frame rate
                      {kMmp, kIsp, kIsp, kMmp},         // sub stream
                      kStopAudio,                       // that of the opening
                      kStartAudio,
                      {kVolume, kLed}}));
}

TEST_P(CameraCalls, OfFramesAndSound)
{
    FrameCollector gray(CAM_STREAM_GRAY);
    FrameCollector pcm(CAM_STREAM_PCM);
    m_camera->RegisterObserver(&gray);
    m_camera->RegisterObserver(&pcm);
    Start();
    m_device->QueuePayload(0, Container({{kGray, Bytes(10)}}));
    m_device->QueuePayload(kEndOfFrame);
    ASSERT_TRUE(gray.WaitFor(1));
    ASSERT_TRUE(WaitUntil([this] { return m_calls.Lines().size() >= 2; }));
    m_device->QueueAudio(std::vector<Bytes>(10, Bytes(96)));
    ASSERT_TRUE(pcm.WaitFor(1));
    ASSERT_TRUE(WaitUntil([this] { return m_calls.Lines().size() >= 3; }));
    EXPECT_EQ(m_calls.Lines(), (Strings{kSubmitVideo, kSubmitVideo, kSubmitAudio}));
    EXPECT_TRUE(m_camera->StopRecording());
    EXPECT_TRUE(m_camera->RemoveObserver(&gray));
    EXPECT_TRUE(m_camera->RemoveObserver(&pcm));
}

TEST_P(CameraCalls, OfTheEndOfARecording)
{
    Start();
    ASSERT_TRUE(m_camera->StopRecording());
    EXPECT_EQ(m_calls.Lines(), Joined({{kLed}, kStopAudio, kStopVideo}));
}

TEST_P(CameraCalls, OfADestruction)
{
    Start();
    ASSERT_TRUE(m_camera->StopRecording());
    m_bus.ClearCallLog();
    cam_destroy(m_camera.release());
    EXPECT_EQ(m_calls.Lines(), Joined({{kLed, "setting 1 0"},
                                   {"setting 1 0", "release_interface 1", "release_interface 0"},
                                   {"close", "exit"},
                                   {"release_interface 1", "close", "exit"}}));
}

TEST_P(CameraCalls, OfADestructionWhileRecording)
{
    Start();
    cam_destroy(m_camera.release());
    EXPECT_EQ(m_calls.Lines(), Joined({{kLed},
                                   kStopAudio,
                                   kStopVideo,
                                   {"setting 1 0", "release_interface 1", "release_interface 0"},
                                   {"close", "exit"},
                                   {"release_interface 1", "close", "exit"}}));
}

INSTANTIATE_TEST_SUITE_P(With, CameraCalls, testing::ValuesIn(test_support::kEveryRelease),
                         test_support::ReleaseName());

}  // namespace
