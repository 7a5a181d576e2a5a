// Sampling rate, volume and the generic class request.
#include "api/device_commands.h"
#include "tests/audio/audio_fixture.h"

namespace {

using testing::ElementsAre;

class AudioVolume : public EventThreadTest {
protected:
    void Enable(std::int16_t minimum, std::int16_t maximum)
    {
        m_camera->OfferVolume(minimum, maximum);
        ASSERT_EQ(Init(), 0);
        ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
        m_camera->ClearLog();
        m_log.Clear();
    }
    /// The volumes that the device was sent, raw.
    std::vector<std::int16_t> Sent() const
    {
        std::vector<std::int16_t> sent;
        for (const auto& request : m_camera->Controls(0x21, 0x01, 0x0200, 0x0503))
            sent.push_back(static_cast<std::int16_t>(request.data.at(0) | request.data.at(1) << 8));
        return sent;
    }
    void TearDown() override
    {
        if (m_audio)
            m_audio->UAC_DisableAudioStream();
        EventThreadTest::TearDown();
    }
};

TEST_F(AudioVolume, StepZeroIsTheDevicesMinimum)
{
    Enable(-4096, 0);
    EXPECT_EQ(m_audio->SetCurVolume(0), 0);
    EXPECT_THAT(Sent(), ElementsAre(-4096));
    EXPECT_EQ(m_audio->GetCurVolume(), 0);
}

TEST_F(AudioVolume, LimitsAreRawAndTheCurrentVolumeIsNot)
{
    Enable(-4096, 100);
    EXPECT_EQ(m_audio->GetMinVolume(), -4096);
    EXPECT_EQ(m_audio->GetMaxVolume(), 100);
    ASSERT_EQ(m_audio->UAC_SetCurVolume(-96), 0);
    EXPECT_EQ(m_audio->GetCurVolume(), 4000);
}

TEST_F(AudioVolume, LimitsAreZeroBeforeTheFirstEnable)
{
    EXPECT_EQ(m_audio->GetMinVolume(), 0);
    EXPECT_EQ(m_audio->GetMaxVolume(), 0);
    EXPECT_EQ(m_audio->GetCurVolume(), -1);
}

TEST_F(AudioVolume, SetVolumeSendsTwoBytesAndLogsTheRange)
{
    Enable(-2560, 0);
    m_bus.EnableCallLog();
    EXPECT_EQ(m_audio->UAC_SetCurVolume(-2), 0);
    const auto calls = CallsOf("libusb_control_transfer");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].setup.request_type, 0x21);
    EXPECT_EQ(calls[0].setup.request, 0x01);
    EXPECT_EQ(calls[0].setup.value, 0x0200);
    EXPECT_EQ(calls[0].setup.index, 0x0503);
    EXPECT_EQ(calls[0].timeout_ms, 2000u);
    EXPECT_THAT(calls[0].data, ElementsAre(0xFE, 0xFF));
    EXPECT_TRUE(
        HasLine(m_log, 4, "UAC_SetCurVolume", "UAC SetVolume Min=-2560, Max=0, Vol=-2\r\n"));
}

TEST_F(AudioVolume, VolumeOutOfRangeIsRefusedSilently)
{
    Enable(-100, 50);
    EXPECT_EQ(m_audio->UAC_SetCurVolume(-101), -1);
    EXPECT_EQ(m_audio->UAC_SetCurVolume(51), -1);
    EXPECT_TRUE(Sent().empty());
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_EQ(m_audio->UAC_SetCurVolume(-100), 0);
    EXPECT_EQ(m_audio->UAC_SetCurVolume(50), 0);
}

TEST_F(AudioVolume, FailedTransferKeepsTheOldVolume)
{
    Enable(0, 100);
    const int before = m_audio->GetCurVolume();
    m_camera->SetReply(0x21, 0x01, 0x0200, 0x0503, {{}, vcam::TransferStatus::kStall});
    EXPECT_EQ(m_audio->UAC_SetCurVolume(70), LIBUSB_ERROR_PIPE);
    EXPECT_TRUE(HasLine(m_log, 4, "UAC_SetCurVolume", "UAC_SetCurVolume: Error: (-9)\n"));
    EXPECT_EQ(m_audio->GetCurVolume(), before);
}

TEST_F(AudioVolume, NothingWorksWithoutADevice)
{
    unsigned char data[2] = {};
    EXPECT_EQ(m_audio->UAC_SetCurVolume(0), -1);
    EXPECT_EQ(m_audio->UAC_SetSamplingRate(24000), -1);
    EXPECT_EQ(m_audio->UVC_query_ctrl(0x81, 5, 3, 2, data, 2, 1000), -1);
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(24000), -1);
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), -1);
}

TEST_F(AudioVolume, SamplingRateTravelsAsThreeBytesAndIsNotReadBack)
{
    ASSERT_EQ(Init(), 0);
    m_bus.EnableCallLog();
    EXPECT_EQ(m_audio->SetSamplingRate(0x123456), 3);
    const auto calls = CallsOf("libusb_control_transfer");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].setup.request_type, 0x22);
    EXPECT_EQ(calls[0].setup.request, 0x01);
    EXPECT_EQ(calls[0].setup.value, 0x0100);
    EXPECT_EQ(calls[0].setup.index, 0x0082);
    EXPECT_EQ(calls[0].timeout_ms, 1000u);
    EXPECT_THAT(calls[0].data, ElementsAre(0x56, 0x34, 0x12));
}

TEST_F(AudioVolume, RefusedSamplingRateIsLogged)
{
    ASSERT_EQ(Init(), 0);
    m_camera->SetReply(0x22, 0x01, 0x0100, 0x0082, {{}, vcam::TransferStatus::kStall});
    EXPECT_EQ(m_audio->UAC_SetSamplingRate(24000), LIBUSB_ERROR_PIPE);
    EXPECT_TRUE(HasLine(m_log, 4, "UAC_SetSamplingRate", "UAC_SetSamplingRate: Error: (-9)\n"));
}

TEST_F(AudioVolume, ClassRequestPacksUnitInterfaceAndSelector)
{
    ASSERT_EQ(Init(), 0);
    m_camera->SetReply(0xA1, 0x84, 0x0700, 0x0503, {{0x11, 0x22}});
    unsigned char data[2] = {};
    EXPECT_EQ(m_audio->UVC_query_ctrl(0x84, 5, 3, 7, data, 2, 1000), 2);
    EXPECT_THAT(data, ElementsAre(0x11, 0x22));
    EXPECT_EQ(m_audio->UVC_query_ctrl(0x01, 5, 3, 7, data, 2, 1000), 2);
    EXPECT_EQ(m_camera->Controls(0x21, 0x01, 0x0700, 0x0503).size(), 1u);
}

TEST_F(AudioVolume, FailedClassRequestIsUnsupported)
{
    ASSERT_EQ(Init(), 0);
    unsigned char data[2] = {};
    EXPECT_EQ(m_audio->UVC_query_ctrl(0x84, 5, 3, 7, data, 2, 1000),
              static_cast<int>(0x80000003u));
}

struct Range {
    std::int16_t minimum, maximum, sent;
};

class InitialVolume : public EventThreadTest, public testing::WithParamInterface<Range> {};

TEST_P(InitialVolume, IsThirtyPercentUnlessMinusOneIsInRange)
{
    m_camera->OfferVolume(GetParam().minimum, GetParam().maximum);
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    const auto sent = m_camera->Controls(0x21, 0x01, 0x0200, 0x0503);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(static_cast<std::int16_t>(sent[0].data.at(0) | sent[0].data.at(1) << 8),
              GetParam().sent);
    m_audio->UAC_DisableAudioStream();
}

INSTANTIATE_TEST_SUITE_P(Ranges, InitialVolume,
                         testing::Values(Range{-2560, 0, -1}, Range{0, 100, 30},
                                         Range{-100, -50, -85}, Range{-32768, 32767, -1},
                                         Range{0, 32767, 9830}, Range{-99, -10, -73},
                                         Range{7, 7, 7}));

}  // namespace
