// Start and stop of the audio stream.
#include "tests/audio/audio_fixture.h"
#include "tests/support/refused_thread.h"

namespace {

using testing::ElementsAre;
using vcam::TransferStatus;

constexpr char kEnable[] = "UAC_EnableAudioStream";

class AudioEnable : public TransportTest {
protected:
    void ExpectRefused(const std::string& message)
    {
        ASSERT_EQ(Init(), 0);
        EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), -1);
        EXPECT_TRUE(HasLine(m_log, 4, kEnable, message));
    }
};

TEST_F(AudioEnable, RequestsAreSentInOrderWithTheirFields)
{
    ASSERT_EQ(Init(), 0);
    m_bus.EnableCallLog();
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    std::vector<std::string> requests;
    for (const Call& call : CallsOf("libusb_control_transfer")) {
        char text[64];
        std::snprintf(text, sizeof text, "%02X %02X %04X %04X %u %u", call.setup.request_type,
                      call.setup.request, call.setup.value, call.setup.index, call.setup.length,
                      call.timeout_ms);
        requests.push_back(text);
    }
    EXPECT_THAT(requests,
                ElementsAre("22 01 0100 0082 3 1000", "A2 81 0100 0082 3 1000",
                            "A1 83 0200 0503 2 1000", "A1 82 0200 0503 2 1000",
                            "21 01 0200 0503 2 2000"));
    EXPECT_THAT(CallsOf("libusb_control_transfer").at(0).data, ElementsAre(0xC0, 0x5D, 0x00));
    EXPECT_TRUE(HasLine(m_log, 4, kEnable,
                        "CLibUSB_UacCtrl::UAC_EnableAudioStream  24000 Hz\r\n"));
}

TEST_F(AudioEnable, TwoTransfersOfTenPacketsAreSubmittedInOrder)
{
    ASSERT_EQ(Init(), 0);
    m_bus.EnableCallLog();
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    const auto submitted = CallsOf("libusb_submit_transfer");
    ASSERT_EQ(submitted.size(), 2u);
    for (const Call& call : submitted) {
        EXPECT_EQ(call.endpoint, 0x82);
        EXPECT_EQ(call.transfer_type, LIBUSB_TRANSFER_TYPE_ISOCHRONOUS);
        EXPECT_EQ(call.iso_packets, 10);
        EXPECT_EQ(call.length, 1920u);
        EXPECT_EQ(call.timeout_ms, 1000u);
    }
    EXPECT_NE(submitted[0].transfer, submitted[1].transfer);
    EXPECT_EQ(CallsOf("libusb_set_interface_alt_setting").at(0).value, 1);
}

TEST_F(AudioEnable, ShortSetOfTheRateFails)
{
    m_camera->SetReply(0x22, 0x01, 0x0100, 0x0082, {{}, TransferStatus::kCompleted, 2});
    ExpectRefused("Failed to SET sampling rate: (2)\n");
}

TEST_F(AudioEnable, RefusedSetOfTheRateFails)
{
    m_camera->SetReply(0x22, 0x01, 0x0100, 0x0082, {{}, TransferStatus::kStall});
    ExpectRefused("Failed to SET sampling rate: (-9)\n");
}

TEST_F(AudioEnable, ShortAnswerToGetOfTheRateFailsAlthoughSetSucceeded)
{
    m_camera->SetReply(0xA2, 0x81, 0x0100, 0x0082, {{0xC0, 0x5D}});
    ExpectRefused("Failed to GET sampling rate: (2)\n");
    EXPECT_EQ(m_camera->Controls(0x22, 0x01, 0x0100, 0x0082).size(), 1u);
}

TEST_F(AudioEnable, OtherRateReadBackIsAccepted)
{
    m_camera->SetReply(0xA2, 0x81, 0x0100, 0x0082, {{0x80, 0xBB, 0x00}});
    InitAndEnable();
}

TEST_F(AudioEnable, ShortVolumeMaximumFails)
{
    m_camera->SetReply(0xA1, 0x83, 0x0200, 0x0503, {{0x00}});
    ExpectRefused("libusb_control_transfer: Error: (1)\n");
}

TEST_F(AudioEnable, RefusedVolumeMinimumFails)
{
    m_camera->SetReply(0xA1, 0x82, 0x0200, 0x0503, {{}, TransferStatus::kStall});
    ExpectRefused("libusb_control_transfer: Error: (-9)\n");
}

TEST_F(AudioEnable, RefusedStreamingSettingFails)
{
    m_bus.FailCall("libusb_set_interface_alt_setting", 2, LIBUSB_ERROR_IO);
    ExpectRefused("UAC_EnableAudioStream Error: IF = 3, Alt = 1");
}

TEST_F(AudioEnable, UnknownPacketSizeFailsAndTheNextEnableStartsClean)
{
    m_bus.FailCall("libusb_get_max_iso_packet_size", 1, LIBUSB_ERROR_NOT_FOUND);
    ExpectRefused("libusb_get_max_iso_packet_size Fail");
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    EXPECT_EQ(m_bus.Counters().transfers, 2);
}

TEST_F(AudioEnable, ExhaustedTransfersFail)
{
    m_bus.FailCall("libusb_alloc_transfer", 2, LIBUSB_ERROR_NO_MEM);
    ASSERT_EQ(Init(), 0);
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), -1);
}

TEST_F(AudioEnable, FailedVolumeAtTheEndIsIgnored)
{
    m_camera->SetReply(0x21, 0x01, 0x0200, 0x0503, {{}, TransferStatus::kStall});
    InitAndEnable();
}

class AudioSubmit : public AudioEnable, public testing::WithParamInterface<int> {};

TEST_P(AudioSubmit, RefusedSubmissionNamesTheTransferAndLeavesTheOther)
{
    const int index = GetParam();
    ASSERT_EQ(Init(), 0);
    m_bus.FailCall("libusb_submit_transfer", static_cast<std::size_t>(index) + 1,
                   LIBUSB_ERROR_IO);
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), -1);
    EXPECT_TRUE(HasLine(m_log, 4, kEnable,
                        "libusb_fill_iso_transfer error: Audio " + std::to_string(index) + "\n"));
    EXPECT_EQ(m_bus.Counters().transfers, 1);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, index);
    m_bus.ClearRules();
    // Streaming counts as running, so the next enable clears up first.
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    EXPECT_EQ(m_bus.Counters().transfers, 2);
}

TEST_P(AudioSubmit, DestructorClearsWhatAFailedEnableLeft)
{
    ASSERT_EQ(Init(), 0);
    m_bus.FailCall("libusb_submit_transfer", static_cast<std::size_t>(GetParam()) + 1,
                   LIBUSB_ERROR_IO);
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), -1);
    m_audio.reset();
    EXPECT_TRUE(m_bus.Counters().AllZero()) << m_bus.Counters().ToString();
}

INSTANTIATE_TEST_SUITE_P(Transfers, AudioSubmit, testing::Values(0, 1));

TEST_F(AudioEnable, EnableWhileStreamingStopsFirst)
{
    InitAndEnable();
    m_bus.EnableCallLog();
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(48000), 0);
    const auto settings = CallsOf("libusb_set_interface_alt_setting");
    ASSERT_EQ(settings.size(), 2u);
    EXPECT_EQ(settings[0].value, 0);
    EXPECT_EQ(settings[1].value, 1);
    EXPECT_EQ(m_bus.Counters().transfers, 2);
}

TEST_F(AudioEnable, DisableCancelsGoesIdleSleepsAndFrees)
{
    InitAndEnable();
    m_bus.EnableCallLog();
    m_sleeps.Clear();
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), 0);
    std::vector<std::string> order;
    for (const Call& call : m_bus.CallLog())
        order.push_back(call.function);
    EXPECT_THAT(order, ElementsAre("libusb_cancel_transfer", "libusb_cancel_transfer",
                                   "libusb_set_interface_alt_setting", "libusb_free_transfer",
                                   "libusb_free_transfer"));
    EXPECT_EQ(m_sleeps.Count(std::chrono::milliseconds(400)), 1u);
    EXPECT_EQ(m_bus.Counters().transfers, 0);
}

TEST_F(AudioEnable, InterfaceThatCannotGoIdleKeepsItsTransfers)
{
    InitAndEnable();
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), -1);
    EXPECT_TRUE(HasLine(m_log, 4, "UAC_DisableAudioStream",
                        "UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!"));
    EXPECT_EQ(m_bus.Counters().transfers, 2);
    EXPECT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0) << "a new start takes them over";
    EXPECT_EQ(m_bus.Counters().transfers, 2);
}

TEST_F(EventThreadTest, StreamStopsWithItsLines)
{
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    m_log.Clear();
    EXPECT_EQ(m_audio->DisableStream(), 0);
    EXPECT_TRUE(InOrder(m_log, {"UAC_DisableAudioStream+\r\n", "UAC_DisableAudioStream-\r\n",
                                "AudioTransferStop+\r\n", "AudioTransferStop+\n",
                                "AudioTransferStop-\n", "AudioTransferStop-\r\n"}));
    EXPECT_TRUE(HasLine(m_log, 4, "DisableStream", "UAC_DisableAudioStream+\r\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "AudioTransferStop", "AudioTransferStop+\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "Run", "CKEL_CAM_LIB::run() Exit libusb thread.\n"));
}

TEST_F(EventThreadTest, StopOfAStoppedStreamDoesNothing)
{
    ASSERT_EQ(Init(), 0);
    m_log.Clear();
    EXPECT_EQ(m_audio->DisableStream(), 0);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(EventThreadTest, EventThreadStartsAlthoughTheEnableFailed)
{
    EXPECT_EQ(m_audio->EnableStream(kRate), -1);
    EXPECT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 1, test_support::kPatience));
    m_audio.reset();
    EXPECT_TRUE(m_log.Contains("CKEL_CAM_LIB::run() Exit libusb thread.\n"));
}

TEST_F(EventThreadTest, TransfersAreFreedByTheStopWhenTheSystemRefusedTheThread)
{
    ASSERT_EQ(Init(), 0);
    test_support::RefuseNextThread();
    ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    EXPECT_EQ(m_audio->DisableStream(), 0);
    EXPECT_EQ(m_bus.Counters().transfers, 0);
}

TEST_F(EventThreadTest, RunningEventThreadIsNotStartedTwice)
{
    EXPECT_EQ(m_audio->EnableStream(kRate), -1);
    EXPECT_EQ(m_audio->EnableStream(kRate), -1);
    ASSERT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 1, test_support::kPatience));
    m_audio.reset();
    EXPECT_EQ(m_log.Count("CKEL_CAM_LIB::run() Exit libusb thread.\n"), 1u);
}

TEST_F(EventThreadTest, StreamCanBeStartedAgainAndAgain)
{
    ASSERT_EQ(Init(), 0);
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(m_audio->EnableStream(kRate), 0);
        m_camera->QueueAudio({Tone(96, static_cast<std::uint8_t>(round))});
        unsigned char* data = nullptr;
        unsigned size = 0;
        ASSERT_TRUE(WaitUntil([&] { return m_audio->DequeFrameBuf(&data, &size) > 0; }));
        EXPECT_EQ(Bytes(data, data + size), Tone(96, static_cast<std::uint8_t>(round)));
        EXPECT_EQ(m_audio->QueueFrameBuf(), 0);
        ASSERT_EQ(m_audio->DisableStream(), 0);
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
}

TEST_F(EventThreadTest, UnpluggedDeviceLeavesReadersEmptyHandedAndStopsCleanly)
{
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    m_camera->Plug(false);
    ASSERT_TRUE(m_log.WaitFor("LIBUSB_TRANSFER_NO_DEVICE \r\n", 2));
    unsigned char data[16];
    EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 0u);
    m_audio->DisableStream();
}

}  // namespace
