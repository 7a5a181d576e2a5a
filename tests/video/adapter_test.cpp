// The video adapter between the camera object and the transport.
#include "api/device_commands.h"
#include "control/video_capture_adapter.h"
#include "tests/video/video_fixture.h"
#include "video/media_sample.h"

namespace {

class VideoAdapter : public VideoTest {
protected:
    void SetUp() override { m_bus.EnableCallLog(); }
    void Open()
    {
        m_capture = std::make_unique<KelUvcCapture>(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        m_bus.ClearCallLog();
        m_log.Clear();
    }
    void TearDown() override
    {
        CloseCleanly(m_capture);
        VideoTest::TearDown();
    }
    /// Format index, frame index and frame interval of the last proposal.
    Bytes LastProposal()
    {
        const auto sent = m_camera->Controls(0x21, 0x01, 0x0100, 1);
        if (sent.empty())
            return {};
        const Bytes& probe = sent.back().data;
        return {probe.begin() + 2, probe.begin() + 8};
    }
    static Bytes Asked(std::uint8_t frame_index)
    {
        return {3, frame_index, 0x15, 0x16, 0x05, 0};
    }
    Bytes LastSent()
    {
        const auto sent = m_camera->Of(test_support::Received::kControl);
        return sent.empty() ? Bytes{} : sent.back().data;
    }
    void SendFrame(const Bytes& data)
    {
        m_camera->QueuePayload(0, data);
        m_camera->QueuePayload(kEof);
    }

    std::unique_ptr<KelUvcCapture> m_capture;
};

TEST_F(VideoAdapter, OpensTheDeviceWhenConstructed)
{
    m_capture = std::make_unique<KelUvcCapture>(CAM_VENDOR_ID, CAM_PRODUCT_ID);
    EXPECT_TRUE(m_capture->DeviceExists());
    EXPECT_THAT(CallLines("open"), ElementsAre("open 1209:0001"));
    EXPECT_FALSE(m_log.Contains("Device not exist"));
}

TEST_F(VideoAdapter, AbsentDeviceIsLoggedAndTheObjectKept)
{
    m_bus.DetachAll();
    m_capture = std::make_unique<KelUvcCapture>(CAM_VENDOR_ID, CAM_PRODUCT_ID);
    EXPECT_FALSE(m_capture->DeviceExists());
    EXPECT_EQ(LogLines(m_log).back(),
              "KelUvcCapture/4: KelUvcCapture:: Device not exist.\r\n");
}

TEST_F(VideoAdapter, ForwardersReportTheAbsentDevice)
{
    m_bus.DetachAll();
    Open();
    unsigned char bytes[8] = {};
    int value = 0;
    EXPECT_EQ(m_capture->SetBitrate(1), 0);
    EXPECT_EQ(m_capture->RequestKeyFrame(), 0);
    EXPECT_EQ(m_capture->GetPTZ(kControlPanAbsolute, &value), 0);
    EXPECT_EQ(m_capture->KelCommandGet(1, bytes, 8), -1);
    EXPECT_EQ(m_capture->KelCommandSend(1, bytes, 8), -1);
    EXPECT_FALSE(m_capture->ConfigureDev(640, 480, 0, 30));
    EXPECT_THAT(LogLines(m_log), ElementsAre("ConfigureDev/4: Failed to start streaming.\r\n"));
}

struct SizeRow {
    unsigned width;
    unsigned height;
    std::uint8_t frame_index;
};

class PictureSize : public VideoAdapter, public testing::WithParamInterface<SizeRow> {};

TEST_P(PictureSize, ChoosesTheFrameIndex)
{
    const auto [width, height, frame_index] = GetParam();
    Open();
    EXPECT_TRUE(m_capture->ConfigureDev(width, height, 99, 7));
    EXPECT_EQ(LastProposal(), Asked(frame_index));
}

INSTANTIATE_TEST_SUITE_P(Table, PictureSize,
                         testing::Values(SizeRow{1280, 720, 4}, SizeRow{640, 480, 1},
                                         SizeRow{320, 240, 3}, SizeRow{160, 120, 2},
                                         SizeRow{1920, 1080, 5}, SizeRow{800, 600, 1},
                                         SizeRow{1280, 480, 1}, SizeRow{0, 0, 1},
                                         SizeRow{720, 1280, 1}),
                         [](const auto& row) {
                             return "Size" + std::to_string(row.param.width) + "x" +
                                    std::to_string(row.param.height);
                         });

TEST_F(VideoAdapter, ConfiguringStopsFirstEvenWhenNothingStreams)
{
    Open();
    EXPECT_TRUE(m_capture->ConfigureDev(640, 480, 0, 30));
    EXPECT_EQ(CallLines().front(), "setting 1 0");
}

TEST_F(VideoAdapter, ReconfiguringStopsTheRunningStream)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    m_bus.ClearCallLog();
    EXPECT_TRUE(m_capture->ConfigureDev(1280, 720, 0, 30));
    EXPECT_EQ(CallLines().front(), "cancel_transfer");
    EXPECT_EQ(LastProposal(), Asked(4));
    EXPECT_EQ(m_bus.Counters().transfers, 3);
}

TEST_F(VideoAdapter, FailedStartIsLoggedAndLeavesVideoStopped)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    m_log.Clear();
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    EXPECT_FALSE(m_capture->ConfigureDev(640, 480, 0, 30));
    EXPECT_EQ(LogLines(m_log).back(), "ConfigureDev/4: Failed to start streaming.\r\n");
    EXPECT_EQ(m_bus.Counters().transfers, 0);
    MediaSample sample;
    EXPECT_EQ(m_capture->CaptureFrame(sample), 0);
}

TEST_F(VideoAdapter, LastFailedSubmissionIsAFailedStart)
{
    Open();
    m_bus.FailCall("libusb_submit_transfer", 3, LIBUSB_ERROR_IO);
    EXPECT_FALSE(m_capture->ConfigureDev(640, 480, 0, 30));
    EXPECT_TRUE(m_log.Contains("Failed to start streaming.\r\n"));
}

TEST_F(VideoAdapter, ResetRestartsWithTheLastSize)
{
    Open();
    m_capture->ConfigureDev(1920, 1080, 1, 15);
    m_bus.ClearCallLog();
    EXPECT_TRUE(m_capture->ResetStream());
    EXPECT_EQ(CallLines().front(), "cancel_transfer");
    EXPECT_EQ(LastProposal(), Asked(5));
}

TEST_F(VideoAdapter, ResetAtOnceStartsTheDefaultSize)
{
    Open();
    EXPECT_TRUE(m_capture->ResetStream());
    EXPECT_EQ(LastProposal(), Asked(1));
}

TEST_F(VideoAdapter, ResetReportsAFailedStart)
{
    Open();
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    EXPECT_FALSE(m_capture->ResetStream());
}

/// An adapter whose start and stop are watched.
class WatchedCapture : public KelUvcCapture {
public:
    using KelUvcCapture::KelUvcCapture;
    bool ConfigureDev(unsigned width, unsigned height, unsigned format, unsigned fps) override
    {
        calls.push_back("configure " + std::to_string(width) + " " + std::to_string(height) + " " +
                        std::to_string(format) + " " + std::to_string(fps));
        return KelUvcCapture::ConfigureDev(width, height, format, fps);
    }
    int UnConfigureDev() override
    {
        calls.push_back("unconfigure");
        return KelUvcCapture::UnConfigureDev();
    }
    std::vector<std::string> calls;
};

TEST_F(VideoAdapter, ResetGoesThroughTheVirtualOperationsWithWhatWasStored)
{
    auto watched = std::make_unique<WatchedCapture>(CAM_VENDOR_ID, CAM_PRODUCT_ID);
    watched->ConfigureDev(320, 240, 5, 15);
    watched->calls.clear();
    EXPECT_TRUE(watched->ResetStream());
    EXPECT_THAT(watched->calls,
                ElementsAre("unconfigure", "configure 320 240 5 15", "unconfigure"));
}

TEST_F(VideoAdapter, UnconfiguringIsSafeAtAnyTime)
{
    Open();
    EXPECT_EQ(m_capture->UnConfigureDev(), 0);
    EXPECT_EQ(m_capture->UnConfigureDev(), 0);
    EXPECT_THAT(CallLines(), ElementsAre("setting 1 0", "setting 1 0"));
}

TEST_F(VideoAdapter, CaptureBeforeConfiguringLeavesTheSampleAlone)
{
    Open();
    MediaSample sample;
    sample.AllocBuffer(100, nullptr);
    sample.SetSampleSize(42);
    EXPECT_EQ(m_capture->CaptureFrame(sample), 0);
    EXPECT_EQ(sample.GetSampleSize(), 42u);
}

TEST_F(VideoAdapter, CaptureAfterUnconfiguringLeavesTheSampleAlone)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    m_capture->UnConfigureDev();
    MediaSample sample;
    sample.AllocBuffer(100, nullptr);
    sample.SetSampleSize(42);
    EXPECT_EQ(m_capture->CaptureFrame(sample), 0);
    EXPECT_EQ(sample.GetSampleSize(), 42u);
}

TEST_F(VideoAdapter, CaptureCopiesAFrameAndItsSize)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    SendFrame(Pattern(70, 1));
    MediaSample sample;
    sample.AllocBuffer(100, nullptr);
    ASSERT_TRUE(WaitUntil([&] { return m_capture->CaptureFrame(sample) == 70; }));
    EXPECT_EQ(sample.GetSampleSize(), 70u);
    EXPECT_EQ(Bytes(sample.GetBuffer(), sample.GetBuffer() + 70), Pattern(70, 1));
}

TEST_F(VideoAdapter, CaptureWithoutAFrameStoresTheZero)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    MediaSample sample;
    sample.AllocBuffer(100, nullptr);
    sample.SetSampleSize(42);
    EXPECT_EQ(m_capture->CaptureFrame(sample), 0);
    EXPECT_EQ(sample.GetSampleSize(), 0u);
}

TEST_F(VideoAdapter, CaptureIntoBareMemoryIsNotSupported)
{
    Open();
    unsigned char bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(m_capture->CaptureFrame(bytes, 4), 0);
    EXPECT_EQ(bytes[0], 1);
}

TEST_F(VideoAdapter, FramesAreLentAndGivenBack)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    for (unsigned i = 0; i < 8; ++i) {
        SendFrame(Pattern(30, i));
        unsigned char* data = nullptr;
        unsigned int size = 0;
        ASSERT_TRUE(WaitUntil([&] { return m_capture->GetFrameBuf(&data, &size) == 30; }));
        EXPECT_EQ(Bytes(data, data + size), Pattern(30, i));
        EXPECT_EQ(m_capture->RetFrameBuf(), 0);
    }
}

TEST_F(VideoAdapter, BitRateAndFrameRateAreCutTo16Bits)
{
    Open();
    EXPECT_EQ(m_capture->SetBitrate(70000), 1);
    EXPECT_EQ(LastSent(), (Bytes{8, 0xFF, 0x70, 0x11, 0, 0, 0, 0}));  // 4464
    EXPECT_EQ(m_capture->SetFramerate(0x1001E), 1);
    EXPECT_EQ(LastSent(), (Bytes{2, 0x1E, 0, 0, 0, 0, 0, 0}));
}

TEST_F(VideoAdapter, ControlsAreForwardedWithTheirResults)
{
    Open();
    m_camera->SetReply(0xA1, 0x81, 0x0B00, 0x0100, {{0x34, 0x12}});
    int value = 0;
    EXPECT_EQ(m_capture->GetPTZ(kControlZoomAbsolute, &value), 1);
    EXPECT_EQ(value, 0x1234);
    EXPECT_EQ(m_capture->SetPTZ(kControlZoomAbsolute, 5), 1);
    EXPECT_EQ(m_capture->SetPU(3, 6), 1);
    EXPECT_EQ(m_capture->RequestKeyFrame(), 1);
    EXPECT_EQ(m_capture->SetPU(4, 6), 0);
    EXPECT_THAT(CallLines(), ElementsAre("control a1 81 0b00 0100 2 1000ms",
                                         "control 21 01 0b00 0100 2 1000ms",
                                         "control 21 01 0300 0300 2 1000ms",
                                         "control 21 01 0100 0600 8 1000ms"));
}

TEST_F(VideoAdapter, CommandsAreForwardedWithTheirResults)
{
    Open();
    Bytes data(16, 3);
    EXPECT_EQ(m_capture->KelCommandSend(14, data.data(), 16), 16);
    EXPECT_EQ(m_capture->KelCommandGet(15, data.data(), 16), kCamUnsupported);  // stalls
    EXPECT_THAT(CallLines(), ElementsAre("control 21 01 0e00 0600 16 1000ms",
                                         "control a1 81 0f00 0600 16 1000ms"));
}

TEST_F(VideoAdapter, DestructionStopsTheStreamBeforeTheDeviceCloses)
{
    Open();
    m_capture->ConfigureDev(640, 480, 0, 30);
    m_bus.ClearCallLog();
    std::unique_ptr<IVideoCapture> as_interface = std::move(m_capture);
    as_interface.reset();
    EXPECT_THAT(CallLines(), ElementsAre("cancel_transfer", "cancel_transfer", "cancel_transfer",
                                         "setting 1 0", "free_transfer", "free_transfer",
                                         "free_transfer", "setting 1 0", "release_interface 1",
                                         "release_interface 0", "close", "exit"));
}

}  // namespace
