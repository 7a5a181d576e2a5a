// What the transport asks of libusb, whatever release that is.
#include "tests/audio/audio_fixture.h"
#include "tests/support/libusb_release.h"
#include "tests/video/usb_calls.h"

namespace {

using test_support::LibusbRelease;
using testing::ElementsAre;

class AudioCalls : public EventThreadTest, public testing::WithParamInterface<LibusbRelease> {
protected:
    void SetUp() override
    {
        test_support::Pretend(GetParam());
        m_bus.EnableCallLog();
    }
    void TearDown() override
    {
        if (m_audio)
            m_audio->DisableStream();
        EventThreadTest::TearDown();
    }
    void Open() { ASSERT_EQ(Init(), 0); }
    void OpenAndStart()
    {
        Open();
        ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    }

    SteadyCalls m_calls;
};

constexpr char kSubmit[] = "submit 82 type 1 length 1920 1000ms";

TEST_P(AudioCalls, OfAnOpening)
{
    m_bus.ClearCallLog();
    Open();
    char open[20];
    std::snprintf(open, sizeof open, "open %04x:%04x", TORVIK_CAM_VENDOR_ID,
                  TORVIK_CAM_PRODUCT_ID);
    EXPECT_THAT(m_calls.Lines(), ElementsAre(open, "get_device", "get_configuration",
                                         "kernel_driver_active 3", "claim_interface 3",
                                         "setting 3 0", "kernel_driver_active 2",
                                         "claim_interface 2"));
}

TEST_P(AudioCalls, OfAStart)
{
    Open();
    m_bus.ClearCallLog();
    ASSERT_EQ(m_audio->EnableStream(kRate), 0);
    EXPECT_THAT(m_calls.Lines(),
                ElementsAre("control 22 01 0100 0082 3 1000ms", "control a2 81 0100 0082 3 1000ms",
                            "control a1 83 0200 0503 2 1000ms", "control a1 82 0200 0503 2 1000ms",
                            "setting 3 1", "alloc_transfer", "alloc_transfer",
                            "get_max_iso_packet_size", kSubmit, kSubmit,
                            "control 21 01 0200 0503 2 2000ms"));
}

TEST_P(AudioCalls, OfPackets)
{
    OpenAndStart();
    m_bus.ClearCallLog();
    m_camera->QueueAudio({Tone(96, 1)});
    m_camera->QueueAudio({Tone(96, 2)});
    ASSERT_TRUE(WaitUntil([this] { return m_calls.Lines().size() >= 2; }));
    unsigned char chunk[96];
    ASSERT_EQ(m_audio->ReadFrame(chunk, sizeof chunk), sizeof chunk);
    ASSERT_EQ(m_audio->ReadFrame(chunk, sizeof chunk), sizeof chunk);
    EXPECT_THAT(m_calls.Lines(), ElementsAre(kSubmit, kSubmit));
}

TEST_P(AudioCalls, OfAStop)
{
    OpenAndStart();
    m_bus.ClearCallLog();
    m_audio->DisableStream();
    EXPECT_THAT(m_calls.Lines(), ElementsAre("cancel_transfer", "cancel_transfer", "setting 3 0",
                                         "free_transfer", "free_transfer"));
}

TEST_P(AudioCalls, OfAClosing)
{
    OpenAndStart();
    m_audio->DisableStream();
    m_bus.ClearCallLog();
    m_audio.reset();
    EXPECT_THAT(m_calls.Lines(), ElementsAre("release_interface 1", "close", "exit"));
}

INSTANTIATE_TEST_SUITE_P(With, AudioCalls, testing::ValuesIn(test_support::kEveryRelease),
                         test_support::ReleaseName());

}  // namespace
