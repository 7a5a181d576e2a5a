// The stream of sound without memory enough.
#include "tests/audio/audio_fixture.h"
#include "tests/memory/parts_fixture.h"

namespace {

class AudioEnableWithoutMemory : public TransportTest {
protected:
    void SetUp() override { product_heap::WatchScopes(); }

    void Reopen()
    {
        m_audio = std::make_unique<CLibUSB_UacCtrl>();
        ASSERT_EQ(Init(), 0);
    }
    void ExpectNothingLeft(long live)
    {
        EXPECT_EQ(m_bus.Counters().transfers, 0);
        EXPECT_EQ(product_heap::Live(), live);
    }
    void ExpectStream()
    {
        ASSERT_EQ(Watched([this] { return m_audio->UAC_EnableAudioStream(kRate); }), 0);
        EXPECT_EQ(m_bus.Counters().transfers, 2);
        m_camera->QueueAudio({Tone(96, 7)});
        PumpCompletions(m_completions + 1);
        unsigned char* data = nullptr;
        unsigned size = 0;
        ASSERT_GT(m_audio->DequeFrameBuf(&data, &size), 0);
        EXPECT_EQ(Bytes(data, data + size), Tone(96, 7));
        m_audio->QueueFrameBuf();
        EXPECT_EQ(m_audio->UAC_DisableAudioStream(), 0);
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
};

TEST_F(AudioEnableWithoutMemory, FailsFreesWhatItMadeAndCanBeRepeated)
{
    // Two transfers and four frames with their buffers, and the ring.
    ForEachAllocation(5, [this](std::size_t nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        Reopen();
        const long live = product_heap::Live();
        const auto result =
            WithoutAllocation(nth, [this] { return m_audio->UAC_EnableAudioStream(kRate); });
        if (!product_heap::LastFailure().happened) {
            EXPECT_EQ(result, 0);
            m_audio->UAC_DisableAudioStream();
            return;
        }
        if (!result.has_value())
            return;
        EXPECT_EQ(*result, -1);
        ExpectNothingLeft(live);
        ExpectStream();
        EXPECT_EQ(product_heap::Live(), live);
    });
}

class AudioEnableWithoutTransfer : public AudioEnableWithoutMemory,
                                   public testing::WithParamInterface<std::size_t> {};

TEST_P(AudioEnableWithoutTransfer, FailsFreesWhatItMadeAndCanBeRepeated)
{
    ASSERT_EQ(Init(), 0);
    const long live = product_heap::Live();
    m_bus.FailCall("libusb_alloc_transfer", GetParam(), LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(Watched([this] { return m_audio->UAC_EnableAudioStream(kRate); }), -1);
    ExpectNothingLeft(live);
    m_bus.ClearRules();
    ExpectStream();
    EXPECT_EQ(product_heap::Live(), live);
}

INSTANTIATE_TEST_SUITE_P(EachTransfer, AudioEnableWithoutTransfer, testing::Values(1u, 2u));

}  // namespace
