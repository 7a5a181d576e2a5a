// The end of a recording from which nothing arrives, when the wall clock is set
// back meanwhile.
#include "tests/support/set_back_clock.h"

#include <future>

#include "tests/camera/camera_fixture.h"

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using test_support::SetBackClock;

class StopWithTheClockSetBack : public CameraTest {
protected:
    /// Capture threads that wait for half a second each, one after the other at
    /// the worst, and the second that a clock may add.
    static constexpr auto kLimit = 2500ms;

    /// Stops when each of the capture threads is in a wait by the clock. `rescue`
    /// runs again and again when it has lasted for far too long.
    template <typename Rescue>
    void ExpectStopInTime(std::chrono::seconds set_back_by, std::size_t capture_threads,
                          Rescue rescue)
    {
        const SetBackClock clock(set_back_by);
        ASSERT_TRUE(WaitUntil([&] { return clock.Waiters() == capture_threads; }));
        auto stopped = std::async(std::launch::async, [this] {
            const auto begin = steady_clock::now();
            EXPECT_TRUE(m_camera->StopRecording());
            return steady_clock::now() - begin;
        });
        if (stopped.wait_for(kLimit + 500ms) != std::future_status::ready) {
            while (stopped.wait_for(10ms) != std::future_status::ready)
                rescue();
        }
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(stopped.get());
        EXPECT_LE(time.count(), std::chrono::milliseconds(kLimit).count());
        EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    }
    void Send()
    {
        m_device->QueueAudio({Bytes(96)});
        m_device->QueuePayload(0, Bytes(10));
        m_device->QueuePayload(2);  // end of frame
    }
};

TEST_F(StopWithTheClockSetBack, VideoAloneEndsInTime)
{
    ASSERT_NO_FATAL_FAILURE(Record(kBrevan));
    ExpectStopInTime(30s, 1, [this] { Send(); });
}

TEST_F(StopWithTheClockSetBack, VideoAndAudioEndInTime)
{
    ASSERT_NO_FATAL_FAILURE(Record(kCalder));
    ExpectStopInTime(30s, 2, [this] { Send(); });
}

TEST_F(StopWithTheClockSetBack, RecordingOfACameraThatIsGoneEndsInTime)
{
    ASSERT_NO_FATAL_FAILURE(Record(kCalder));
    m_device->Plug(false);
    // Nothing can arrive any more, so it lasts as long as it does.
    ExpectStopInTime(5s, 2, [] {});
}

}  // namespace
