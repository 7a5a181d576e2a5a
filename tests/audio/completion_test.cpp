// From completed isochronous transfers to chunks.
#include "tests/audio/audio_fixture.h"

namespace {

using test_support::ScriptedPacket;
using vcam::TransferStatus;
using vcam::standin::CompletionOverride;
using vcam::standin::When;

class AudioCompletion : public TransportTest {
protected:
    void SetUp() override
    {
        InitAndEnable();
        m_log.Clear();
    }
    Bytes NextChunk()
    {
        unsigned char* data = nullptr;
        unsigned size = 0;
        m_audio->DequeFrameBuf(&data, &size);
        Bytes chunk(data, data + size);
        if (size != 0)
            m_audio->QueueFrameBuf();
        return chunk;
    }
    int InFlight() const { return m_bus.Counters().transfers_in_flight; }
};

TEST_F(AudioCompletion, TransferBecomesOneChunk)
{
    m_camera->QueueAudio(std::vector<Bytes>(10, Tone(96, 5)));
    PumpCompletions(1);
    Bytes expected;
    for (int i = 0; i < 10; ++i) {
        const Bytes packet = Tone(96, 5);
        expected.insert(expected.end(), packet.begin(), packet.end());
    }
    EXPECT_EQ(NextChunk(), expected);
    EXPECT_EQ(InFlight(), 2) << "resubmitted";
}

TEST_F(AudioCompletion, ShortAndEmptyPacketsAreJoinedWithoutGaps)
{
    m_camera->QueueAudio({Tone(7, 1), {}, Tone(192, 100), Tone(3, 50)});
    PumpCompletions(1);
    Bytes expected = Tone(7, 1);
    for (const Bytes& packet : {Tone(192, 100), Tone(3, 50)})
        expected.insert(expected.end(), packet.begin(), packet.end());
    EXPECT_EQ(NextChunk(), expected);
}

TEST_F(AudioCompletion, TimedOutTransferGivesWhatArrived)
{
    m_camera->QueueAudio({Tone(96, 9)});
    // The device serves the transfer, then the bus calls it late.
    m_bus.OverrideCompletion(1, {LIBUSB_TRANSFER_TIMED_OUT, {}, true});
    PumpCompletions(1);
    m_camera->QueueAudio({Tone(96, 10)});
    m_camera->QueueAudio({Tone(96, 11)});
    PumpCompletions(3);
    EXPECT_TRUE(HasLine(m_log, 4, "callback", "LIBUSB_TRANSFER_TIMED_OUT! EP = 82\n"));
    EXPECT_EQ(NextChunk(), Tone(96, 9));
    EXPECT_EQ(NextChunk(), Tone(96, 10));
    EXPECT_EQ(NextChunk(), Tone(96, 11));
    EXPECT_EQ(InFlight(), 2);
}

struct Ending {
    int status;
    const char* line;
};

class AudioEnding : public AudioCompletion, public testing::WithParamInterface<Ending> {};

TEST_P(AudioEnding, IsLoggedAndNotResubmitted)
{
    m_camera->QueueAudio({Tone(96, 1)});
    m_camera->QueueAudio({Tone(96, 2)});
    m_bus.OverrideCompletion(1, {GetParam().status});
    PumpCompletions(2);
    m_camera->QueueAudio({Tone(96, 3)});
    PumpCompletions(3);
    EXPECT_TRUE(HasLine(m_log, 4, "callback", GetParam().line));
    EXPECT_EQ(InFlight(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, AudioEnding,
    testing::Values(Ending{LIBUSB_TRANSFER_CANCELLED, "LIBUSB_TRANSFER_CANCELLED!\n"},
                    Ending{LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n"},
                    Ending{LIBUSB_TRANSFER_OVERFLOW, "LIBUSB_TRANSFER_OVERFLOW! EP = 82\n"},
                    Ending{LIBUSB_TRANSFER_ERROR, "Audio Transfer Unknown Status=1\r\n"},
                    Ending{LIBUSB_TRANSFER_STALL, "Audio Transfer Unknown Status=4\r\n"}),
    [](const auto& row) { return "Status" + std::to_string(row.param.status); });

TEST_F(AudioCompletion, StreamIsSilentAfterTwoErrorsUntilItIsEnabledAgain)
{
    m_camera->QueueAudio({Tone(96, 1)});
    m_camera->QueueAudio({Tone(96, 2)});
    m_bus.OverrideCompletion(0, {LIBUSB_TRANSFER_ERROR});
    PumpCompletions(2);
    m_camera->QueueAudio({Tone(96, 3)});
    PumpCompletions(4);
    EXPECT_EQ(InFlight(), 0);
    m_bus.ClearRules();
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    m_camera->QueueAudio({Tone(96, 4)});
    PumpCompletions(5);
    EXPECT_FALSE(NextChunk().empty());
}

TEST_F(AudioCompletion, FullRingDropsTheNextChunkAndResubmits)
{
    for (std::uint8_t i = 0; i < 5; ++i)
        m_camera->QueueAudio({Tone(96, i)});
    PumpCompletions(5);
    EXPECT_TRUE(HasLine(m_log, 4, "FillAudioData", "Audio frame drop. 4 buf, 0 offset\r\n"));
    EXPECT_EQ(m_log.Count("Audio frame drop."), 1u);
    EXPECT_EQ(InFlight(), 2);
    for (std::uint8_t i = 0; i < 4; ++i)
        EXPECT_EQ(NextChunk(), Tone(96, i));
}

TEST_F(AudioCompletion, StoppedStreamDoesNotResubmit)
{
    bool done = false;
    m_bus.OnCall("libusb_cancel_transfer", When::kBefore, [&](const Call&) {
        if (std::exchange(done, true))
            return;
        m_camera->QueueAudio({Tone(96, 1)});  // arrives after the stop began
        m_audio->handle_libusb_event();
    });
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), 0);
    EXPECT_TRUE(HasLine(m_log, 4, "FillAudioData", "Stop submit audio transfer.\r\n"));
}

TEST_F(AudioCompletion, FullRingOfAStoppedStreamDoesNotResubmit)
{
    for (std::uint8_t i = 0; i < 4; ++i)
        m_camera->QueueAudio({Tone(96, i)});
    PumpCompletions(4);
    bool done = false;
    m_bus.OnCall("libusb_cancel_transfer", When::kBefore, [&](const Call&) {
        if (std::exchange(done, true))
            return;
        m_camera->QueueAudio({Tone(96, 9)});
        m_audio->handle_libusb_event();
    });
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), 0);
    EXPECT_TRUE(InOrder(m_log, {"Audio frame drop. 4 buf, 0 offset\r\n",
                                "Stop submit audio transfer.\r\n"}));
}

TEST_F(AudioCompletion, NothingArrivesAfterDisable)
{
    EXPECT_EQ(m_audio->UAC_DisableAudioStream(), 0);
    EXPECT_EQ(m_log.Count("LIBUSB_TRANSFER_CANCELLED!\n"), 2u);
    m_camera->QueueAudio({Tone(96, 1)});
    m_audio->handle_libusb_event();
    EXPECT_EQ(m_camera->Queued(ScriptedCamera::kAudioEndpoint), 1u);
}

TEST_F(AudioCompletion, IdleEventPassSleepsShortly)
{
    m_audio->UAC_DisableAudioStream();
    m_sleeps.Clear();
    m_audio->handle_libusb_event();
    EXPECT_EQ(m_sleeps.Count(std::chrono::microseconds(500)), 1u);
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    m_sleeps.Clear();
    m_audio->handle_libusb_event();
    EXPECT_EQ(m_sleeps.All().size(), 0u);
}

/// Chunks that reach the wrap at 16000 bytes.
class AudioWrap : public AudioTest<CLibUSB_UacCtrl, LoudCamera> {
protected:
    void SetUp() override
    {
        InitAndEnable();
        m_log.Clear();
    }
    static Bytes Packets(const std::vector<Bytes>& packets)
    {
        Bytes all;
        for (const Bytes& packet : packets)
            all.insert(all.end(), packet.begin(), packet.end());
        return all;
    }
};

TEST_F(AudioWrap, RestOfThePacketThatCrossesGoesToTheFront)
{
    std::vector<Bytes> packets;
    for (std::uint8_t i = 0; i < 6; ++i)
        packets.push_back(Tone(LoudCamera::kPacket, static_cast<std::uint8_t>(17 * i)));
    m_camera->QueueAudio(packets);
    PumpCompletions(1);
    unsigned char* data = nullptr;
    unsigned size = 0;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 2432);
    const Bytes all = Packets(packets);
    EXPECT_EQ(Bytes(data, data + 2432), Bytes(all.begin() + 16000, all.end()));
    EXPECT_EQ(Bytes(data + 2432, data + 16000), Bytes(all.begin() + 2432, all.begin() + 16000));
    EXPECT_TRUE(HasLine(m_log, 4, "FillAudioData", "offset  =15360\n"));
    EXPECT_TRUE(HasLine(m_log, 4, "FillAudioData", "acture = 3072\n"));
}

TEST_F(AudioWrap, ChunkThatEndsAtTheWrapCountsAsEmpty)
{
    std::vector<Bytes> packets(5, Tone(LoudCamera::kPacket, 1));
    packets.push_back(Tone(640, 2));
    m_camera->QueueAudio(packets);
    m_camera->QueueAudio({Tone(96, 3)});
    PumpCompletions(2);
    EXPECT_TRUE(HasLine(m_log, 4, "FillAudioData", "acture = 640\n"));
    unsigned char* data = nullptr;
    unsigned size = 7;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 0) << "consumed by the call itself";
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 96);
}

TEST_F(AudioWrap, OneByteLessDoesNotWrap)
{
    std::vector<Bytes> packets(5, Tone(LoudCamera::kPacket, 1));
    packets.push_back(Tone(639, 2));
    m_camera->QueueAudio(packets);
    PumpCompletions(1);
    unsigned char* data = nullptr;
    unsigned size = 0;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 15999);
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(AudioWrap, TransferLargerThanTheUsualBufferFits)
{
    m_bus.EnableCallLog();
    ASSERT_EQ(m_audio->UAC_EnableAudioStream(kRate), 0);
    EXPECT_EQ(CallsOf("libusb_submit_transfer").at(0).length, 10 * LoudCamera::kPacket);
    m_camera->QueueAudio(std::vector<Bytes>(10, Tone(LoudCamera::kPacket, 1)));
    PumpCompletions(3);  // two were cancelled by the restart
    unsigned char* data = nullptr;
    unsigned size = 0;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 30720 - 16000);
}

}  // namespace
