// A transport to which libusb gave no context.
#include "tests/audio/audio_fixture.h"
#include "tests/video/usb_calls.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AudioWithoutLibusb : public EventThreadTest {
protected:
    void SetUp() override
    {
        m_audio.reset();
        m_bus.EnableCallLog(true);
        m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_NO_MEM);
        m_log.Clear();
        m_audio = std::make_unique<CKEL_AUDIO_LIB>();
        EXPECT_THAT(CallLines(), ElementsAre("init"));
        m_bus.ClearCallLog();
    }
};

TEST_F(AudioWithoutLibusb, OpensNothingAndSaysWhatAnAbsentDeviceDoes)
{
    EXPECT_EQ(Init(), -1);
    EXPECT_THAT(CallLines(), IsEmpty());
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: KEL Camera Device not found\n"));
}

TEST_F(AudioWithoutLibusb, LeavesTheDefaultContextToItsOwner)
{
    ASSERT_EQ(libusb_init(nullptr), 0);
    m_bus.ClearCallLog();
    EXPECT_EQ(Init(), -1);
    m_audio.reset();
    EXPECT_THAT(CallLines(), IsEmpty());
    EXPECT_EQ(m_bus.Counters().contexts, 1);
    libusb_exit(nullptr);
}

TEST_F(AudioWithoutLibusb, ExitsNothing)
{
    m_audio.reset();
    EXPECT_THAT(CallLines(), IsEmpty());
}

TEST_F(AudioWithoutLibusb, AsksForNothingLater)
{
    EXPECT_EQ(m_audio->EnableStream(kRate), -1) << "its event thread runs all the same";
    EXPECT_EQ(m_audio->SetSamplingRate(kRate), -1);
    m_audio->handle_libusb_event();
    m_audio.reset();
    EXPECT_THAT(CallLines(), IsEmpty());
}

}  // namespace
