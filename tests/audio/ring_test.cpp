// Reading chunks.
#include "tests/audio/audio_fixture.h"

namespace {

class AudioRing : public TransportTest {
protected:
    void SetUp() override { InitAndEnable(); }
    void Receive(const std::vector<Bytes>& chunks)
    {
        for (const Bytes& chunk : chunks)
            m_camera->QueueAudio({chunk});
        m_expected += static_cast<int>(chunks.size());
        PumpCompletions(m_expected);
    }
    int m_expected = 0;
};

TEST_F(AudioRing, EmptyRingAnswersZeroAfterHalfASecond)
{
    unsigned char data[8];
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 0u);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(499));
}

TEST_F(AudioRing, DequeOfAnEmptyRingClearsItsOutputs)
{
    unsigned char byte = 0;
    unsigned char* data = &byte;
    unsigned size = 9;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(AudioRing, ReadCopiesOnlyTheLengthAskedForAndConsumesTheChunk)
{
    Receive({Tone(96, 1), Tone(80, 100)});
    unsigned char data[200] = {};
    EXPECT_EQ(m_audio->ReadFrame(data, 10), 10u);
    EXPECT_EQ(Bytes(data, data + 10), Tone(10, 1));
    EXPECT_EQ(data[10], 0);
    EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 80u);
    EXPECT_EQ(Bytes(data, data + 80), Tone(80, 100));
}

TEST_F(AudioRing, ChunkStaysUntilItIsGivenBack)
{
    Receive({Tone(96, 1), Tone(96, 2)});
    unsigned char* first = nullptr;
    unsigned char* again = nullptr;
    unsigned size = 0;
    EXPECT_EQ(m_audio->DequeFrameBuf(&first, &size), 96);
    EXPECT_EQ(m_audio->DequeFrameBuf(&again, &size), 96);
    EXPECT_EQ(first, again);
    EXPECT_EQ(m_audio->QueueFrameBuf(), 0);
    EXPECT_EQ(m_audio->DequeFrameBuf(&again, &size), 96);
    EXPECT_EQ(again[0], 2);
    EXPECT_NE(first, again);
}

TEST_F(AudioRing, EmptyChunkIsConsumedByDeque)
{
    Receive({{}, Tone(96, 4)});
    unsigned char* data = nullptr;
    unsigned size = 0;
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 0);
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 96);
    EXPECT_EQ(data[0], 4);
}

TEST_F(AudioRing, EmptyChunkIsConsumedByRead)
{
    Receive({{}, Tone(96, 4)});
    unsigned char data[96];
    EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 0u);
    EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 96u);
}

TEST_F(AudioRing, SlotsAreReusedInOrder)
{
    for (std::uint8_t round = 0; round < 11; ++round) {
        Receive({Tone(96, round)});
        unsigned char data[96];
        ASSERT_EQ(m_audio->ReadFrame(data, sizeof data), 96u);
        EXPECT_EQ(data[0], round);
    }
}

TEST_F(AudioRing, DroppedChunksLeaveRoomAfterARead)
{
    Receive({Tone(96, 0), Tone(96, 1), Tone(96, 2), Tone(96, 3), Tone(96, 4)});
    unsigned char data[96];
    ASSERT_EQ(m_audio->ReadFrame(data, sizeof data), 96u);
    Receive({Tone(96, 5)});
    for (const int expected : {1, 2, 3, 5}) {
        ASSERT_EQ(m_audio->ReadFrame(data, sizeof data), 96u);
        EXPECT_EQ(data[0], expected);
    }
}

TEST_F(TransportTest, ReadsWithoutAStreamAnswerZeroAtOnce)
{
    unsigned char byte = 0;
    unsigned char* data = &byte;
    unsigned size = 3;
    EXPECT_EQ(m_audio->ReadFrame(&byte, 1), 0u);
    EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(m_audio->QueueFrameBuf(), 0);
}

TEST_F(EventThreadTest, WaitingReaderWakesWhenAChunkArrives)
{
    ASSERT_EQ(Init(), 0);
    ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    std::thread source([this] { m_camera->QueueAudio({Tone(96, 42)}); });
    unsigned char data[96] = {};
    ASSERT_TRUE(WaitUntil([&] { return m_audio->ReadFrame(data, sizeof data) == 96; }));
    EXPECT_EQ(data[0], 42);
    source.join();
    m_audio->DisableStream();
}

}  // namespace
