// The audio adapter.
#include "control/audio_capture_adapter.h"
#include "tests/audio/audio_fixture.h"

namespace {

class AudioAdapter : public testing::Test {
protected:
    AudioAdapter() { m_bus.Attach(m_camera); }
    void TearDown() override
    {
        m_adapter.reset();
        EXPECT_TRUE(BusIsClean({test_support::kAudioReleasesForeignInterface}));
        m_bus.Reset();
    }
    void Make()
    {
        m_adapter =
            std::make_unique<CAudioCapture>(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    }
    void MakeAndConfigure(std::int16_t minimum, std::int16_t maximum)
    {
        m_camera->OfferVolume(minimum, maximum);
        Make();
        ASSERT_TRUE(m_adapter->ConfigureDev(2, 24000, 0));
        m_camera->ClearLog();
    }
    std::vector<int> SentVolumes() const
    {
        std::vector<int> sent;
        for (const auto& request : m_camera->Controls(0x21, 0x01, 0x0200, 0x0503))
            sent.push_back(static_cast<std::int16_t>(request.data.at(0) | request.data.at(1) << 8));
        return sent;
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedCamera> m_camera = std::make_shared<ScriptedCamera>();
    CapturedLog m_log;
    FastSleeps m_sleeps{20};
    std::unique_ptr<CAudioCapture> m_adapter;
};

TEST_F(AudioAdapter, FindsItsDeviceWhenMade)
{
    Make();
    EXPECT_TRUE(m_adapter->DeviceExists());
}

TEST_F(AudioAdapter, MissingDeviceIsLoggedAndKept)
{
    m_bus.DetachAll();
    Make();
    EXPECT_FALSE(m_adapter->DeviceExists());
    EXPECT_TRUE(HasLine(m_log, 4, "CAudioCapture", "CAudioCapture:: Device not exist.\r\n"));
    EXPECT_FALSE(m_adapter->ConfigureDev(2, 24000, 0));
    EXPECT_TRUE(HasLine(m_log, 4, "ConfigureDev", "Failed to start streaming.\r\n"));
    EXPECT_TRUE(m_adapter->SetVolume(30)) << "whatever the transport answers";
    EXPECT_EQ(m_adapter->SetSamplingRate(24000), -1);
    EXPECT_EQ(m_adapter->UnConfigureDev(), 0);
}

TEST_F(AudioAdapter, ChannelsAndReservedAreIgnored)
{
    Make();
    EXPECT_TRUE(m_adapter->ConfigureDev(77, 48000, 12345));
    const auto rates = m_camera->Controls(0x22, 0x01, 0x0100, 0x0082);
    ASSERT_EQ(rates.size(), 1u);
    EXPECT_EQ(rates[0].data, (Bytes{0x80, 0xBB, 0x00}));
}

TEST_F(AudioAdapter, SecondConfigureStopsTheRunningStreamFirst)
{
    Make();
    ASSERT_TRUE(m_adapter->ConfigureDev(2, 24000, 0));
    m_log.Clear();
    ASSERT_TRUE(m_adapter->ConfigureDev(2, 24000, 0));
    EXPECT_TRUE(InOrder(m_log, {"UAC_DisableAudioStream+\r\n",
                                "CLibUSB_UacCtrl::UAC_EnableAudioStream  24000 Hz\r\n"}));
}

TEST_F(AudioAdapter, ConfigureOfAStoppedStreamDoesNotStopFirst)
{
    Make();
    ASSERT_TRUE(m_adapter->ConfigureDev(2, 24000, 0));
    EXPECT_EQ(m_adapter->UnConfigureDev(), 0);
    m_log.Clear();
    ASSERT_TRUE(m_adapter->ConfigureDev(2, 24000, 0));
    EXPECT_FALSE(m_log.Contains("UAC_DisableAudioStream+\r\n"));
}

TEST_F(AudioAdapter, HalfVolumeIsTheMiddleOfTheRange)
{
    MakeAndConfigure(-4096, 0);
    EXPECT_TRUE(m_adapter->SetVolume(50));
    EXPECT_EQ(SentVolumes(), std::vector<int>{-2048});
}

TEST_F(AudioAdapter, VolumeStepIsCutTowardsZero)
{
    MakeAndConfigure(-10, -3);
    EXPECT_TRUE(m_adapter->SetVolume(50));  // 3.5 steps
    EXPECT_EQ(SentVolumes(), std::vector<int>{-7});
}

TEST_F(AudioAdapter, ThirtyThreeOfAHundredIsThirtyThree)
{
    MakeAndConfigure(0, 100);
    EXPECT_TRUE(m_adapter->SetVolume(33));
    EXPECT_EQ(SentVolumes(), std::vector<int>{33});
}

TEST_F(AudioAdapter, FullRangeOfSixteenBitsDoesNotOverflow)
{
    MakeAndConfigure(-32768, 32767);
    EXPECT_TRUE(m_adapter->SetVolume(100));
    EXPECT_TRUE(m_adapter->SetVolume(0));
    EXPECT_EQ(SentVolumes(), (std::vector<int>{32767, -32768}));
}

TEST_F(AudioAdapter, MoreThanAHundredPercentIsNotRefusedHere)
{
    MakeAndConfigure(-32768, 0);
    EXPECT_TRUE(m_adapter->SetVolume(101));  // above the maximum: the transport refuses
    EXPECT_TRUE(SentVolumes().empty());
    EXPECT_TRUE(m_adapter->SetVolume(250));  // beyond 16 bits it comes round again
    EXPECT_EQ(SentVolumes(), std::vector<int>{-16384});
}

TEST_F(AudioAdapter, ChunksAndRatesAreForwarded)
{
    MakeAndConfigure(-4096, 0);
    m_camera->QueueAudio({Bytes(96, 7)});
    unsigned char* data = nullptr;
    unsigned size = 0;
    ASSERT_TRUE(WaitUntil([&] { return m_adapter->GetBuf(&data, &size) == 96; }));
    EXPECT_EQ(data[95], 7);
    EXPECT_EQ(m_adapter->RetBuf(), 0);
    m_camera->QueueAudio({Bytes(50, 8)});
    unsigned char copy[96];
    ASSERT_TRUE(WaitUntil([&] { return m_adapter->ReadAudioData(copy, sizeof copy) == 50; }));
    EXPECT_EQ(copy[49], 8);
    EXPECT_EQ(m_adapter->SetSamplingRate(16000), 3);
}

TEST_F(AudioAdapter, ReadDoesNotAskWhetherTheStreamRuns)
{
    Make();
    unsigned char copy[4];
    EXPECT_EQ(m_adapter->ReadAudioData(copy, sizeof copy), 0);
}

TEST_F(AudioAdapter, DestructorStopsTheStreamBetweenItsLines)
{
    MakeAndConfigure(-4096, 0);
    m_log.Clear();
    m_adapter.reset();
    EXPECT_TRUE(HasLine(m_log, 4, "~CAudioCapture", "CAudioCapture::~CAudioCapture+\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "~CAudioCapture", "CAudioCapture::~CAudioCapture-\r\n"));
    EXPECT_TRUE(InOrder(m_log, {"CAudioCapture::~CAudioCapture+\r\n",
                                "UAC_DisableAudioStream+\r\n",
                                "CAudioCapture::~CAudioCapture-\r\n",
                                "CKEL_AUDIO_LIB::~CKEL_AUDIO_LIB()+"}));
}

}  // namespace
