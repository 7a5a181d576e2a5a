// The reader's wait for a chunk, when the wall clock is set back meanwhile.
#include "tests/support/set_back_clock.h"

#include "tests/audio/audio_fixture.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using test_support::SetBackClock;

class AudioWaitWithTheClockSetBack : public EventThreadTest {
protected:
    void SetUp() override
    {
        // Ends both transfers for the rest of the stream. Those that circulate
        // time out after a second and bring an empty chunk.
        for (int i = 0; i < 2; ++i)
            m_camera->QueueIso(ScriptedCamera::kAudioEndpoint, {}, vcam::TransferStatus::kStall);
        ASSERT_EQ(Init(), 0);
        ASSERT_EQ(m_audio->EnableStream(kRate), 0);
        ASSERT_TRUE(WaitUntil([this] { return m_completions == 2; }));
    }
    void TearDown() override
    {
        m_audio->DisableStream();
        EventThreadTest::TearDown();
    }

    /// Reads while nothing arrives.
    template <typename Read>
    void ExpectHalfASecond(Read read)
    {
        const SetBackClock clock(4s);
        const auto begin = steady_clock::now();
        read();
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(
            steady_clock::now() - begin);
        EXPECT_GE(time.count(), 499);
        EXPECT_LE(time.count(), 1500) << "half a second, and a second for a busy machine";
        const auto waits = clock.WaitsOf(std::this_thread::get_id());
        ASSERT_FALSE(waits.empty());
        EXPECT_EQ(waits.front(), 500ms);
    }
};

TEST_F(AudioWaitWithTheClockSetBack, DequeLastsHalfASecond)
{
    ExpectHalfASecond([this] {
        unsigned char byte = 0;
        unsigned char* data = &byte;
        unsigned size = 9;
        EXPECT_EQ(m_audio->DequeFrameBuf(&data, &size), 0);
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(size, 0u);
    });
}

TEST_F(AudioWaitWithTheClockSetBack, ReadLastsHalfASecond)
{
    ExpectHalfASecond([this] {
        unsigned char data[96];
        EXPECT_EQ(m_audio->ReadFrame(data, sizeof data), 0u);
    });
}

}  // namespace
