// The end of a recording: the capture thread first, then the stream.
#include "control/video_capture_adapter.h"
#include "tests/video/fake_camera.h"
#include "tests/video/stream_fixture.h"
#include "video/video_capture_thread.h"

namespace {

/// Adapter and capture thread, stopped as a recording is: thread, then stream.
class StoppingRecording : public VideoTest {
protected:
    class SlowCamera : public BareCamera {
    public:
        int OnFrameArrival(const CCameraData*) override
        {
            gate.Pass();
            return 1;
        }
        Gate gate;
    };

    void SetUp() override
    {
        m_camera->OfferVideo(4096, 1024);
        m_capture = std::make_unique<KelUvcCapture>(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        ASSERT_TRUE(m_capture->ConfigureDev(640, 480, 0, 30));
        m_thread = std::make_unique<CVideoCaptureThread>(&m_observed, m_capture.get(), 5, false);
        ASSERT_EQ(m_thread->Start(nullptr), 0);
    }
    void SendContainers(unsigned first, unsigned last, std::uint32_t step)
    {
        for (unsigned k = first; k <= last; ++k) {
            Section main{kMainH264, H264(k == first ? kIntra : kPredicted)};
            main.frame_number = 1 + k * step;
            m_camera->QueuePayload(0, Container({main, {kGray, Bytes(10)}}));
            m_camera->QueuePayload(kEof);
        }
    }
    void Stop()
    {
        ExpectEnds([this] { m_thread.reset(); });
        ExpectEnds([this] { m_capture->UnConfigureDev(); });
        EXPECT_EQ(m_bus.Counters().transfers, 0);
    }
    void TearDown() override
    {
        CloseCleanly(m_capture);
        VideoTest::TearDown();
    }

    SlowCamera m_observed;
    std::unique_ptr<KelUvcCapture> m_capture;
    std::unique_ptr<CVideoCaptureThread> m_thread;
};

TEST_F(StoppingRecording, WithNothingToDo)
{
    Stop();
}

TEST_F(StoppingRecording, WithASlowObserverAndAFullRing)
{
    SendContainers(1, 20, 1);
    ASSERT_TRUE(m_observed.gate.WaitArrived());
    auto stop = std::async(std::launch::async, [this] { m_thread->Stop(); });
    ASSERT_TRUE(WaitUntil([this] { return m_thread->StopRequested(); }));
    m_observed.gate.Open();
    ExpectEnds([&] { stop.get(); });
    Stop();
}

TEST_F(StoppingRecording, WithACaptureThreadThatWaitsForItsKeyFrameRequest)
{
    m_observed.gate.Open();
    m_camera->HoldControls(true);
    const std::size_t before = m_bus.CallCount("libusb_control_transfer");
    SendContainers(1, 30, 5);  // the second is a loss
    ASSERT_TRUE(
        m_bus.WaitForCalls("libusb_control_transfer", before + 1, test_support::kPatience));
    auto stop = std::async(std::launch::async, [this] { m_thread->Stop(); });
    ASSERT_TRUE(WaitUntil([this] { return m_thread->StopRequested(); }));
    m_camera->HoldControls(false);
    ExpectEnds([&] { stop.get(); });
    Stop();
}

TEST_F(StoppingRecording, WithAKeyFrameRequestThatIsNeverAnswered)
{
    m_observed.gate.Open();
    m_camera->HoldControls(true);
    const std::size_t before = m_bus.CallCount("libusb_control_transfer");
    SendContainers(1, 30, 5);
    ASSERT_TRUE(
        m_bus.WaitForCalls("libusb_control_transfer", before + 1, test_support::kPatience));
    Stop();
    m_camera->HoldControls(false);
}

TEST_F(StoppingRecording, WithoutADevice)
{
    m_observed.gate.Open();
    SendContainers(1, 20, 1);
    m_camera->Plug(false);
    Stop();
}

TEST_F(StoppingRecording, AndStartingAgainWithAFullRing)
{
    SendContainers(1, 20, 1);
    ASSERT_TRUE(m_observed.gate.WaitArrived());
    m_observed.gate.Open();
    ExpectEnds([this] { m_thread.reset(); });
    ExpectEnds([this] { EXPECT_TRUE(m_capture->ResetStream()); });
    ExpectEnds([this] { m_capture.reset(); });
}

}  // namespace
