// From chunks to PCM frames. The microphone, the camera object and the wall
// clock are the test's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <deque>
#include <mutex>

#include "audio/audio_capture_thread.h"
#include "tests/support/log_level.h"
#include "tests/support/log_lines.h"
#include "tests/support/wait_until.h"

namespace {
std::atomic<std::uint64_t> g_clock{0};  ///< microseconds; 0: the real one
}

// In place of the system's, so that a test decides what time it is.
extern "C" int gettimeofday(timeval* __restrict time, void* __restrict) noexcept
{
    std::uint64_t now = g_clock;
    if (now == 0) {
        timespec real{};
        clock_gettime(CLOCK_REALTIME, &real);
        now = static_cast<std::uint64_t>(real.tv_sec) * 1000000 +
              static_cast<std::uint64_t>(real.tv_nsec) / 1000;
    }
    time->tv_sec = static_cast<time_t>(now / 1000000);
    time->tv_usec = static_cast<suseconds_t>(now % 1000000);
    return 0;
}

namespace {

using test_support::CapturedLog;
using test_support::HasLine;
using test_support::WaitUntil;
using testing::ElementsAre;
using Bytes = std::vector<unsigned char>;

/// Gives the queued chunks, each after its time step, and then nothing.
class FakeMicrophone : public IAudioCapture {
public:
    struct Chunk {
        Bytes data;
        std::uint64_t step = 10000;  ///< microseconds before it
        bool null_data = false;
        int result = -2;  ///< -2: the size
    };

    bool ConfigureDev(unsigned char, unsigned int, unsigned int) override { return true; }
    int UnConfigureDev() override { return 0; }
    int ReadAudioData(unsigned char*, unsigned int) override { return 0; }
    bool SetVolume(int) override { return true; }
    int GetBuf(unsigned char** data, unsigned int* size) override
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        ++m_asked;
        if (m_next == m_chunks.size()) {
            m_drained = true;
            g_clock += 1;
            return 0;
        }
        Chunk& chunk = m_chunks[m_next++];
        g_clock += chunk.step;
        *data = chunk.null_data ? nullptr : chunk.data.data();
        *size = static_cast<unsigned>(chunk.data.size());
        return chunk.result == -2 ? static_cast<int>(chunk.data.size()) : chunk.result;
    }
    int RetBuf() override { return ++m_returned, 0; }

    void Add(Chunk chunk) { m_chunks.push_back(std::move(chunk)); }
    bool Drained() const { return m_drained; }
    int Returned() const { return m_returned; }

private:
    std::mutex m_mutex;
    std::deque<Chunk> m_chunks;
    std::size_t m_next = 0;
    int m_asked = 0;
    std::atomic<bool> m_drained{false};
    std::atomic<int> m_returned{0};
};

struct Frame {
    Bytes data;
    std::uint32_t timestamp;
    bool plain;  ///< stream type 0, remaining fields 0
};

/// A camera object that only takes frames.
class FrameTaker : public ICameraSubject {
public:
    void Init(void (*)(bool), int) override {}
    bool RegisterObserver(ICameraObserver*) override { return false; }
    bool RemoveObserver(ICameraObserver*) override { return false; }
    int OnFrameArrival(const CCameraData* data) override
    {
        frames.push_back({Bytes(data->data, data->data + data->size), data->timestamp,
                          data->stream_type == CAM_STREAM_PCM && data->format_detail == 0 &&
                              data->crop_info == nullptr});
        return 0;
    }
    bool StartRecording() override { return false; }
    bool StopRecording() override { return false; }
    bool SetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetCapability(CAM_CAPABILITY) override { return false; }
    bool SetStreamFormat(CAM_STR_FORMAT) override { return false; }
    bool Execute(int, const char**) override { return false; }
    bool StartTest() override { return false; }
    bool StopTest() override { return false; }
    bool PrintStatus() override { return false; }

    std::vector<Frame> frames;  ///< read after the thread has ended
};

class AudioThread : public testing::Test {
protected:
    AudioThread() { g_clock = 1000000; }
    ~AudioThread() override { g_clock = 0; }

    void Chunk(Bytes data, std::uint64_t step = 10000)
    {
        m_microphone.Add({std::move(data), step});
    }
    static Bytes Fill(std::size_t size, unsigned char value) { return Bytes(size, value); }
    void Play()
    {
        CAudioCaptureThread thread(&m_camera, &m_microphone);
        thread.Start(nullptr);
        ASSERT_TRUE(WaitUntil([this] { return m_microphone.Drained(); }));
        thread.Stop();
    }
    std::vector<std::uint32_t> Stamps() const
    {
        std::vector<std::uint32_t> stamps;
        for (const Frame& frame : m_camera.frames)
            stamps.push_back(frame.timestamp);
        return stamps;
    }

    FakeMicrophone m_microphone;
    FrameTaker m_camera;
    CapturedLog m_log;
};

TEST_F(AudioThread, ChunksOfOneFrameGiveOneFrameEachTenMillisecondsApart)
{
    for (unsigned char i = 1; i <= 4; ++i)
        Chunk(Fill(960, i));
    Play();
    ASSERT_EQ(m_camera.frames.size(), 4u);
    for (unsigned char i = 1; i <= 4; ++i) {
        EXPECT_EQ(m_camera.frames[i - 1u].data, Fill(960, i));
        EXPECT_TRUE(m_camera.frames[i - 1u].plain);
    }
    EXPECT_THAT(Stamps(), ElementsAre(900u, 1800u, 2700u, 3600u));
    EXPECT_EQ(m_microphone.Returned(), 4);
}

TEST_F(AudioThread, SecondHalfOfADoubleChunkWaitsForTheNextData)
{
    Bytes both = Fill(960, 1);
    const Bytes second = Fill(960, 2);
    both.insert(both.end(), second.begin(), second.end());
    Chunk(both);
    m_microphone.Add({{}, 10000});  // a pass without data sends nothing
    Chunk(Fill(960, 3));
    Play();
    ASSERT_EQ(m_camera.frames.size(), 2u);
    EXPECT_EQ(m_camera.frames[0].data, Fill(960, 1));
    EXPECT_EQ(m_camera.frames[1].data, second);
    EXPECT_THAT(Stamps(), ElementsAre(900u, 2700u));
}

TEST_F(AudioThread, ChunkThatOverfillsTheStagingBufferIsCut)
{
    Chunk(Fill(4000, 1));  // 3040 stay
    Chunk(Fill(2000, 2));  // 1056 fit
    Chunk(Fill(4096, 3));
    Play();
    EXPECT_EQ(m_log.Count("Audio buffer : 4096 overflow !!!! \r\n"), 2u);
    EXPECT_TRUE(HasLine(m_log, 3, "Run", "Audio buffer : 4096 overflow !!!! \r\n"));
    EXPECT_EQ(m_camera.frames.size(), 3u);
    EXPECT_EQ(m_microphone.Returned(), 3) << "the rest goes back with its chunk";
}

TEST_F(AudioThread, FullStagingBufferFitsWithoutOverflow)
{
    Chunk(Fill(4096, 1));
    Play();
    EXPECT_FALSE(m_log.Contains("overflow"));
    EXPECT_EQ(m_camera.frames.size(), 1u);
}

TEST_F(AudioThread, ShortChunkIsOverwrittenByTheBytesBehindTheFirstFrame)
{
    // 500 bytes do not make a frame; the move puts what lies at offset 960 over
    // them, and the staging buffer began zeroed.
    Chunk(Fill(500, 7));
    Chunk(Fill(460, 8));
    Play();
    ASSERT_EQ(m_camera.frames.size(), 1u);
    Bytes expected = Fill(500, 0);
    const Bytes rest = Fill(460, 8);
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(m_camera.frames[0].data, expected);
}

TEST_F(AudioThread, EmptyAnswersReturnNothingAndTimeGoesOn)
{
    m_microphone.Add({{}, 500000});
    m_microphone.Add({{}, 500000});
    Chunk(Fill(960, 1));
    Play();
    EXPECT_EQ(m_microphone.Returned(), 1);
    EXPECT_THAT(Stamps(), ElementsAre(90900u));
}

TEST_F(AudioThread, NegativeResultAndMissingDataReturnNothing)
{
    m_microphone.Add({Fill(960, 1), 10, false, -1});
    m_microphone.Add({Fill(960, 1), 10, true});
    Play();
    EXPECT_EQ(m_microphone.Returned(), 0);
    EXPECT_TRUE(m_camera.frames.empty());
}

TEST_F(AudioThread, EqualReadingsMakeTheStampJump)
{
    Chunk(Fill(960, 1), 0);
    Chunk(Fill(960, 2), 10000);
    Play();
    // 0xFFFFFFFF microseconds
    EXPECT_THAT(Stamps(), ElementsAre(386547056u, 386547956u));
}

TEST_F(AudioThread, WrappedClockCountsOneMicrosecondLess)
{
    g_clock = (std::uint64_t{1} << 32) - 5000;
    Chunk(Fill(960, 1), 10000);
    Play();
    EXPECT_THAT(Stamps(), ElementsAre(899u));  // 9999 microseconds
}

TEST_F(AudioThread, StampStaysAtTheLargestNumber)
{
    for (int i = 0; i < 12; ++i)
        Chunk(Fill(960, 1), 0);
    Play();
    ASSERT_EQ(m_camera.frames.size(), 12u);
    EXPECT_EQ(m_camera.frames[10].timestamp, 4252017622u);
    EXPECT_EQ(m_camera.frames[11].timestamp, 0xFFFFFFFFu);
}

TEST_F(AudioThread, EveryStartCountsFromZero)
{
    Chunk(Fill(960, 1));
    Play();
    g_clock += 5000000;
    FakeMicrophone again;
    again.Add({Fill(960, 2), 20000});
    CAudioCaptureThread thread(&m_camera, &again);
    thread.Start(nullptr);
    ASSERT_TRUE(WaitUntil([&] { return again.Drained(); }));
    thread.Stop();
    EXPECT_THAT(Stamps(), ElementsAre(900u, 1800u));
}

TEST_F(AudioThread, StopEndsTheThreadWithOneLine)
{
    Play();
    EXPECT_EQ(m_log.Count("Exit Audio capture thread.\r\n"), 1u);
    EXPECT_TRUE(HasLine(m_log, 4, "Run", "Exit Audio capture thread.\r\n"));
}

TEST_F(AudioThread, DestructorStopsTheThread)
{
    {
        CAudioCaptureThread thread(&m_camera, &m_microphone);
        thread.Start(nullptr);
    }
    EXPECT_EQ(m_log.Count("Exit Audio capture thread.\r\n"), 1u);
}

}  // namespace
