// A slow observer behind a full ring, lost pictures and the key-frame requests
// that follow them, and a host thread that sets controls all the while: each
// control request has to finish although the event thread may be the one that
// waits for room.
#include <poll.h>

#include <atomic>
#include <thread>

#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/received_frames.h"

namespace kernel_test
{
namespace
{

class Contention : public KernelTest
{
protected:
    std::string Script() const override { return "container every 9 lose\n"; }

    /// What a host may get: nothing between a lost picture and the next key
    /// picture.
    static std::vector<vcam::SentFrame> Deliverable(const std::vector<vcam::SentFrame>& sent)
    {
        std::vector<vcam::SentFrame> deliverable;
        bool broken = false;
        for (const vcam::SentFrame& frame : sent) {
            broken = !frame.whole || (broken && !frame.key);
            if (!broken)
                deliverable.push_back(frame);
        }
        return deliverable;
    }
};

TEST_F(Contention, SlowObserverLostPicturesAndControlsAllAtOnce)
{
    CreateAndInit(kDualH264);
    FrameCollector& main = Observe(CAM_STREAM_H264_MAIN, test_support::Keep::kData);
    std::atomic<bool> slow{true};
    main.on_frame = [&slow](const CCameraData&) {
        if (slow)
            poll(nullptr, 0, 150);  // five pictures come meanwhile
    };
    m_camera.ClearTraffic();
    ASSERT_TRUE(m_subject->StartRecording());

    std::atomic<bool> go_on{true};
    std::atomic<unsigned> set{0}, refused{0};
    std::thread host([&] {
        for (std::int32_t value = 0; go_on; value = (value + 1) % 100) {
            CAM_PROP_VALUE record{1000 + value, {0, 0}};
            ++(m_subject->SetProperty(CAM_PROPERTY_ZOOM, &record) ? set : refused);
        }
    });
    EXPECT_TRUE(main.WaitFor(30));
    slow = false;
    EXPECT_TRUE(main.WaitFor(60));
    go_on = false;
    host.join();

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_subject->StopRecording());
    const std::chrono::duration<double> stop = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(stop.count(), 15.0);

    const auto received = Whole(main, CAM_STREAM_H264_MAIN);
    const Comparison comparison = Compare(received, Deliverable(m_camera.Frames(Stream::kMain)));
    EXPECT_TRUE(comparison.equal);
    EXPECT_EQ(comparison.lost, 0u);
    EXPECT_EQ(refused, 0u);
    EXPECT_GT(set, 20u);
    EXPECT_GT(m_camera.State("key-requests"), 2u);
    Shows(
        "%zu pictures, %zu lost beside the camera's own losses; %u controls set, %u key frames "
        "asked for; stopped after %.2f s",
        received.size(), comparison.lost, set.load(),
        static_cast<unsigned>(m_camera.State("key-requests")), stop.count());
}

}  // namespace
}  // namespace kernel_test
