// Init and what the firmware loader's outcome leads to.
#include <atomic>
#include <thread>

#include "tests/camera/camera_fixture.h"

namespace {

std::atomic<int> g_ready{0};
std::atomic<int> g_failed{0};
std::atomic<CKelVeskCamera*> g_retry{nullptr};  ///< Init is called on it from the call-back, once

void OnInit(bool ready)
{
    // The test may set the next retry as soon as it sees the count.
    CKelVeskCamera* const camera = g_retry.exchange(nullptr);
    ++(ready ? g_ready : g_failed);
    if (camera != nullptr)
        camera->Init(OnInit, 0);
}

class Initialisation : public CameraTest {
protected:
    Initialisation()
    {
        g_ready = 0;
        g_failed = 0;
        g_retry = nullptr;
    }
    void Outcome(unsigned status) { CKelVeskCamera::CamInitDoneCallback(status, m_camera.get()); }
    /// Registers the host's call-back without a device to be found.
    void InitWithoutDevice()
    {
        m_bus.DetachAll();
        m_camera->Init(OnInit, 0);
        ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
    }
    std::vector<Bytes> PowerLine() const
    {
        std::vector<Bytes> sent;
        for (const auto& request : m_device->Controls(0x21, 0x01, 0x0500, 0x0300))
            sent.push_back(request.data);
        return sent;
    }
};

TEST_F(Initialisation, LogsItsArguments)
{
    Make();
    m_camera->SetState(CAM_STATE_CONNECTED);
    m_camera->Init(nullptr, 0x2A);
    EXPECT_TRUE(HasLine(m_log, 4, "Init", "CKelVeskCamera::Init 0x0, 0x2A \r\n"));
}

TEST_F(Initialisation, IsRefusedWhileConnected)
{
    Make();
    m_camera->SetState(CAM_STATE_CONNECTED);
    m_camera->Init(OnInit, 0);
    EXPECT_TRUE(HasLine(m_log, 1, "Init", "Already Initialization started.. \n"));
    EXPECT_FALSE(m_log.Contains("CCameraFwLoader::Run()\r\n"));
    EXPECT_EQ(g_ready + g_failed, 0);
}

TEST_F(Initialisation, FindsTheCameraAndReportsItOnTheLoadersThread)
{
    Make();
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready == 1; }));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    EXPECT_EQ(g_failed, 0);
    EXPECT_TRUE(m_log.Contains("Create Video, Audio capture class.\r\n"));
}

TEST_F(Initialisation, SecondInitAfterAFailureMakesAFreshLoader)
{
    Make();
    InitWithoutDevice();
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    m_bus.Attach(m_device);
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready == 1; }));
    EXPECT_EQ(m_log.Count("CCameraFwLoader::Run()\r\n"), 2u);
}

TEST_F(Initialisation, CanBeCalledAgainFromInsideTheCallback)
{
    Make();
    m_bus.DetachAll();
    g_retry = m_camera.get();
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_failed == 2; }));
    g_retry = m_camera.get();
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_failed == 4; }));
    EXPECT_EQ(m_log.Count("CCameraFwLoader::Run()\r\n"), 4u);
}

TEST_F(Initialisation, DisconnectedCameraIsReportedAgainAndCanBeInitialisedFromThere)
{
    Make();
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready == 1; }));
    g_retry = m_camera.get();
    m_device->Plug(false);
    ASSERT_TRUE(WaitUntil([] { return g_failed == 2; })) << "lost, then not found";
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

TEST_F(Initialisation, DisconnectionWithoutACallbackIsSilent)
{
    Make();
    m_camera->Init(nullptr, 0);
    ASSERT_TRUE(WaitUntil([this] { return m_camera->GetState() == CAM_STATE_CONNECTED; }));
    m_device->Plug(false);
    ASSERT_TRUE(WaitUntil([this] { return m_camera->GetState() == CAM_STATE_DISCONNECTED; }));
}

TEST_F(Initialisation, DisconnectionStopsRecordingFirst)
{
    Make(kCalder);
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready == 1; }));
    // The retry of the loader aside, the mains frequency comes last.
    ASSERT_TRUE(m_camera->StartRecording());
    m_device->Plug(false);
    ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
    EXPECT_TRUE(InOrder(m_log, {"Camera is disconnected.", "CKelVeskCamera::StopRecording\r\n",
                                "Exit VideoCapture thread.\r\n"}));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

class FailedOutcome : public Initialisation, public testing::WithParamInterface<unsigned> {};

TEST_P(FailedOutcome, DisconnectsAndTellsTheHostFalse)
{
    Make();
    InitWithoutDevice();
    m_log.Clear();
    m_camera->SetState(CAM_STATE_CREATED);
    Outcome(GetParam());
    EXPECT_EQ(g_failed, 2);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    EXPECT_FALSE(m_log.Contains("Create Video, Audio capture class.\r\n"));
}

INSTANTIATE_TEST_SUITE_P(Statuses, FailedOutcome, testing::Values(1u, 2u, 99u));

TEST_F(Initialisation, ReadyOutcomePausesOpensBothSidesAndTheAudioStream)
{
    Make();
    m_sleeps.Clear();
    Outcome(0);
    EXPECT_TRUE(HasLine(m_log, 4, "CamInitDoneCallback",
                        "Create Video, Audio capture class.\r\n"));
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 1u);
    EXPECT_TRUE(HasLine(m_log, 4, "CamInitDoneCallback",
                        "Succeeded to open audio streaming.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    const auto rates = m_device->Controls(0x22, 0x01, 0x0100, 0x0082);
    ASSERT_EQ(rates.size(), 1u);
    EXPECT_EQ(rates[0].data, (Bytes{0xC0, 0x5D, 0x00}));
}

TEST_F(Initialisation, FailedAudioStreamDoesNotChangeTheOutcome)
{
    Make();
    m_device->SetReply(0x22, 0x01, 0x0100, 0x0082, {{}, TransferStatus::kStall});
    Outcome(0);
    EXPECT_TRUE(HasLine(m_log, 4, "CamInitDoneCallback", "Failed to open audio streaming.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

TEST_F(Initialisation, ReadyFirmwareWithoutADeviceIsDisconnected)
{
    Make();
    m_bus.DetachAll();
    Outcome(0);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    EXPECT_TRUE(m_log.Contains("KelUvcCapture:: Device not exist.\r\n"));
    EXPECT_TRUE(m_log.Contains("CAudioCapture:: Device not exist.\r\n"));
    EXPECT_TRUE(m_log.Contains("Anti Flicker path /dtv/cm_frequency ...\r\n"));
}

TEST_F(Initialisation, OneMissingSideIsDisconnected)
{
    Make();
    // The third and fourth claim are the audio side's.
    m_bus.FailCall("libusb_claim_interface", 3, LIBUSB_ERROR_BUSY);
    Outcome(0);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
}

TEST_F(Initialisation, AdaptersAreMadeOnce)
{
    Make();
    Outcome(0);
    m_bus.ResetCallCounts();
    m_camera->SetState(CAM_STATE_CREATED);
    Outcome(0);
    EXPECT_EQ(m_bus.CallCount("libusb_open_device_with_vid_pid"), 0u);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

struct Frequency {
    const char* name;
    const char* content;
    const char* text;  ///< null: ignored
    int control_value;
};

class MainsFrequencyFile : public Initialisation, public testing::WithParamInterface<Frequency> {
};

TEST_P(MainsFrequencyFile, SetsThePowerLineFrequency)
{
    const Frequency& row = GetParam();
    TvRoot::Write("/dtv/cm_frequency", row.content);
    Make();
    Outcome(0);
    EXPECT_TRUE(HasLine(m_log, 4, "CamInitDoneCallback",
                        "Anti Flicker path /dtv/cm_frequency ...\r\n"));
    if (row.text == nullptr) {
        EXPECT_TRUE(PowerLine().empty());
        EXPECT_FALSE(m_log.Contains("cam frequency is"));
        return;
    }
    EXPECT_TRUE(HasLine(m_log, 4, "CamInitDoneCallback", row.text));
    EXPECT_EQ(PowerLine(),
              std::vector<Bytes>{Bytes{static_cast<std::uint8_t>(row.control_value)}});
}

INSTANTIATE_TEST_SUITE_P(
    Files, MainsFrequencyFile,
    testing::Values(Frequency{"One", "1", "cam frequency is 60Hz", 2},
                    Frequency{"Two", "2\n", "cam frequency is 50Hz", 1},
                    Frequency{"Three", "3", nullptr, 0}, Frequency{"Letters", "abc", nullptr, 0},
                    Frequency{"Empty", "", nullptr, 0},
                    Frequency{"LowEightBits", "257", "cam frequency is 60Hz", 2},
                    Frequency{"SecondLineIsIgnored", "x\n1", nullptr, 0},
                    Frequency{"SevenCharacters", "00000012", "cam frequency is 60Hz", 2}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Initialisation, MissingFrequencyFileIsLogged)
{
    Make();
    Outcome(0);
    EXPECT_TRUE(HasLine(m_log, 1, "CamInitDoneCallback",
                        "Can't open file. /dtv/cm_frequency!!!\r\n"));
    EXPECT_TRUE(PowerLine().empty());
}

TEST_F(Initialisation, FrequencyIsAppliedBehindTheCallbackInBothOutcomes)
{
    TvRoot::Write("/dtv/cm_frequency", "1");
    Make();
    m_bus.FailCall("libusb_claim_interface", 3, LIBUSB_ERROR_BUSY);
    Outcome(0);
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    EXPECT_EQ(PowerLine(), std::vector<Bytes>{Bytes{2}});
}

}  // namespace
