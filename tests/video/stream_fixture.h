// A running stream whose completions are watched.
#ifndef TESTS_VIDEO_STREAM_FIXTURE_H
#define TESTS_VIDEO_STREAM_FIXTURE_H

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <future>
#include <mutex>
#include <thread>

#include "tests/video/gate.h"
#include "tests/video/video_fixture.h"

/// Runs to its end, or the whole program fails: what hangs cannot be joined.
template <typename Function>
void ExpectEnds(Function function)
{
    std::packaged_task<void()> task(function);
    std::future<void> end = task.get_future();
    std::thread thread(std::move(task));
    if (end.wait_for(test_support::kPatience) != std::future_status::ready) {
        std::fprintf(stderr, "it does not end\n");
        std::abort();
    }
    thread.join();
}

/// Frame k of a test is one payload of its own pattern; the payload of frame
/// k + 1 closes it by the toggled frame id.
class RunningStream : public VideoTest {
protected:
    static constexpr std::size_t kRing = 5;

    void SetUp() override
    {
        m_camera->OfferVideo(4096, 1024);
        m_transport = std::make_unique<Transport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
        m_bus.OnCall("libusb_handle_events_timeout", When::kBefore,
                     [this](const Call& call) { m_event_thread = call.thread; });
        m_bus.OnCall("completion", When::kBefore, [this](const Call& call) {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_threads.push_back(call.thread);
            ++m_entered;
        });
        m_bus.OnCall("completion", When::kAfter, [this](const Call&) { ++m_left; });
        Start();
    }
    virtual void Start()
    {
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
        ASSERT_TRUE(WaitUntil([this] { return EventThread() != std::thread::id{}; }));
        m_log.Clear();
    }
    void TearDown() override
    {
        m_camera->HoldControls(false);
        if (m_requester.joinable())
            m_requester.join();
        ExpectEnds([this] {
            m_transport->DisableStream();
            m_transport.reset();
        });
        EXPECT_TRUE(BusIsClean());
        VideoTest::TearDown();
    }

    static Bytes FrameData(unsigned k) { return Pattern(20 + k, k); }
    void SendFrame(unsigned k) { m_camera->QueuePayload(k % 2 ? kFid : 0, FrameData(k)); }
    void SendFrames(unsigned first, unsigned last)
    {
        for (unsigned k = first; k <= last; ++k)
            SendFrame(k);
    }
    /// Frames 1 to 5 lie in the ring; the event thread is in the completion of
    /// frame 6, which has no room.
    void FillRing()
    {
        SendFrames(1, kRing + 1);
        ASSERT_TRUE(WaitUntil([this] { return m_entered == kRing + 1 && m_left == kRing; }));
    }
    /// Takes the next frame, which is number k.
    testing::AssertionResult Take(unsigned k)
    {
        unsigned char* data = nullptr;
        unsigned int size = 0;
        if (!WaitUntil([&] { return m_transport->DequeFrameBuf(&data, &size) > 0; }))
            return testing::AssertionFailure() << "no frame " << k;
        const bool same = Bytes(data, data + size) == FrameData(k);
        m_transport->QueueFrameBuf();
        if (!same)
            return testing::AssertionFailure() << "not frame " << k;
        return testing::AssertionSuccess();
    }
    void TakeAll(unsigned first, unsigned last)
    {
        for (unsigned k = first; k <= last; ++k)
            ASSERT_TRUE(Take(k));
    }
    /// A control request that lasts until the device answers again.
    void StartHeldRequest()
    {
        m_camera->HoldControls(true);
        const std::size_t before = m_bus.CallCount("libusb_control_transfer");
        m_requester = std::thread([this] {
            unsigned char frame[8] = {4};
            m_request_result = m_transport->UVC_query_ctrl(0x01, 6, 0, 1, frame, 8, 600000);
        });
        m_requester_id = m_requester.get_id();
        ASSERT_TRUE(m_bus.WaitForCalls("libusb_control_transfer", before + 1,
                                       test_support::kPatience));
    }
    void AnswerHeldRequest()
    {
        m_camera->HoldControls(false);
        m_requester.join();
        EXPECT_EQ(m_request_result, 8);
    }
    /// Ring full, payloads 7 and 8 parked behind that of frame 6, a control
    /// request under way.
    void FillRingAndPark()
    {
        FillRing();
        StartHeldRequest();
        ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 1; }));
        SendFrames(kRing + 2, kRing + 3);
        ASSERT_TRUE(WaitUntil([this] { return m_left == kRing + 3; }));
    }
    std::size_t Submissions() const { return m_bus.CallCount("libusb_submit_transfer"); }
    std::thread::id EventThread() const { return m_event_thread.load(); }
    std::vector<std::thread::id> CompletionThreads() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_threads;
    }

    std::unique_ptr<Transport> m_transport;
    std::atomic<std::thread::id> m_event_thread{};
    std::atomic<std::size_t> m_entered{0};  ///< completions begun
    std::atomic<std::size_t> m_left{0};     ///< completions ended
    mutable std::mutex m_mutex;
    std::vector<std::thread::id> m_threads;  ///< of completions, in order
    std::thread m_requester;
    std::thread::id m_requester_id;
    std::atomic<int> m_request_result{0};
};

#endif
