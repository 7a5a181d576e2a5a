// A host that stops recording from inside an observer, which it must not do:
// the stop would wait for the very thread that runs it. It is refused.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <ostream>
#include <tuple>
#include <vector>

#include "tests/camera/camera_fixture.h"
#include "tests/video/container_builder.h"
#include "tests/video/gate.h"

namespace {

using vcam::standin::Call;
using vcam::standin::When;

constexpr std::uint8_t kEndOfFrame = 0x02;

/// Whose capture thread the observer runs on.
enum class Medium { kVideo, kAudio };

std::ostream& operator<<(std::ostream& out, Medium medium)
{
    return out << (medium == Medium::kVideo ? "Video" : "Audio");
}

struct MediumName {
    std::string operator()(const testing::TestParamInfo<Medium>& info) const
    {
        return testing::PrintToString(info.param);
    }
};

/// What hangs cannot be joined, so the whole program fails.
void Insist(bool happened, const char* what)
{
    if (happened)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

class StopFromObserver : public CameraTest {
protected:
    /// An observer that stops recording with each frame; its answers.
    class Stopper : public FrameCollector {
    public:
        Stopper(CKelVeskCamera& camera, Medium medium)
            : FrameCollector(medium == Medium::kVideo ? CAM_STREAM_GRAY : CAM_STREAM_PCM)
        {
            on_frame = [this, &camera](const CCameraData& frame) {
                if (frame.data == nullptr)
                    return;  // the host's own stop ends the stream
                before.Pass();
                if (camera.StopRecording())
                    ++granted;
                else
                    ++refused;
            };
        }
        bool WaitRefused(int times) const
        {
            WaitUntil([this, times] { return granted > 0 || refused >= times; });
            return refused >= times;
        }

        Gate before;
        std::atomic<int> granted{0};
        std::atomic<int> refused{0};
    };

    void Observe(Medium medium)
    {
        m_stopper = std::make_unique<Stopper>(*m_camera, medium);
        ASSERT_TRUE(m_camera->RegisterObserver(m_stopper.get()));
        m_log.Clear();
    }
    /// With an observer on one capture thread.
    void RecordAndObserve(Medium medium)
    {
        Record(kCalder);
        Observe(medium);
    }
    void Send(Medium medium)
    {
        if (medium == Medium::kVideo) {
            m_device->QueuePayload(0, Container({{kGray, Bytes(10)}}));
            m_device->QueuePayload(kEndOfFrame);
        } else {
            m_device->QueueAudio(std::vector<Bytes>(10, Bytes(96)));  // one frame
        }
    }
    /// Nothing of a stop was begun or logged.
    void ExpectNoStop()
    {
        EXPECT_EQ(m_stopper->granted, 0);
        EXPECT_FALSE(m_log.Contains("StopRecording"));
        EXPECT_FALSE(m_log.Contains("TurnOnOffLED"));
        EXPECT_TRUE(Commands().empty());
        EXPECT_EQ(m_sleeps.Count(std::chrono::milliseconds(10)), 0u);
    }
    void TearDown() override
    {
        if (m_stopper)
            m_stopper->before.Open();
        CameraTest::TearDown();
    }

    std::unique_ptr<Stopper> m_stopper;
};

class StopFrom : public StopFromObserver, public testing::WithParamInterface<Medium> {};

TEST_P(StopFrom, CaptureThreadIsRefusedInSilenceAndRecordingGoesOn)
{
    RecordAndObserve(GetParam());
    m_sleeps.Clear();
    m_stopper->before.Open();
    for (int frame = 1; frame <= 3; ++frame) {
        Send(GetParam());
        Insist(m_stopper->WaitRefused(frame), "the stop was not refused");
    }
    ASSERT_TRUE(m_stopper->WaitFor(3));
    ExpectNoStop();
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    EXPECT_TRUE(m_camera->StopRecording()) << "the host's own";
    EXPECT_EQ(m_stopper->granted, 0);
}

TEST_P(StopFrom, CaptureThreadIsRefusedWhileAHostsStopWaitsForThatThread)
{
    RecordAndObserve(GetParam());
    Send(GetParam());
    ASSERT_TRUE(m_stopper->before.WaitArrived());
    std::future<bool> stop =
        std::async(std::launch::async, [this] { return m_camera->StopRecording(); });
    ASSERT_TRUE(m_log.WaitFor(GetParam() == Medium::kVideo
                                  ? "CKelVeskCamera:: stop video capture thread \r\n"
                                  : "CKelVeskCamera:: stop audio capture thread\r\n"));
    m_stopper->before.Open();
    Insist(stop.wait_for(test_support::kPatience) == std::future_status::ready,
           "the stop does not end");
    EXPECT_TRUE(stop.get());
    EXPECT_EQ(m_stopper->refused, 1);
    EXPECT_EQ(m_stopper->granted, 0);
    EXPECT_EQ(m_log.Count("CKelVeskCamera::StopRecording\r\n"), 1u) << "the host's";
    EXPECT_FALSE(m_log.Contains("Abnormal StopRecording.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

TEST_P(StopFrom, CaptureThreadDoesNotDisturbTheDestruction)
{
    RecordAndObserve(GetParam());
    Send(GetParam());
    Send(GetParam());
    ASSERT_TRUE(m_stopper->before.WaitArrived());
    std::future<void> end = std::async(std::launch::async, [this] { m_camera.reset(); });
    ASSERT_TRUE(m_log.WaitFor(GetParam() == Medium::kVideo
                                  ? "CKelVeskCamera:: stop video capture thread \r\n"
                                  : "CKelVeskCamera:: stop audio capture thread\r\n"));
    m_stopper->before.Open();
    Insist(end.wait_for(test_support::kPatience) == std::future_status::ready,
           "the destruction does not end");
    EXPECT_GE(m_stopper->refused, 1);
    EXPECT_EQ(m_stopper->granted, 0);
    EXPECT_EQ(m_log.Count("CKelVeskCamera::StopRecording\r\n"), 1u) << "the destructor's";
}

TEST_P(StopFrom, CaptureThreadIsRefusedAfterARestart)
{
    Record(kCalder);
    ASSERT_TRUE(m_camera->StopRecording());
    ASSERT_TRUE(m_camera->StartRecording());
    m_device->ClearLog();
    Observe(GetParam());
    m_sleeps.Clear();
    m_stopper->before.Open();
    Send(GetParam());
    Insist(m_stopper->WaitRefused(1), "the stop was not refused");
    ExpectNoStop();
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
}

INSTANTIATE_TEST_SUITE_P(Of, StopFrom, testing::Values(Medium::kVideo, Medium::kAudio),
                         MediumName());

// -- Locks ---------------------------------------------------------------------

/// An operation of a host's, and the control request in it at which it is held,
/// with all the locks that it has taken.
struct Holder {
    const char* name;
    bool (*operate)(CKelVeskCamera& camera);
    bool (*is)(const Call& call);
};

std::ostream& operator<<(std::ostream& out, const Holder& holder)
{
    return out << holder.name;
}

const Holder kHolders[] = {
    {"SetProperty",
     [](CKelVeskCamera& camera) {
         CAM_PROP_VALUE zoom{1, {0, 0}};
         return camera.SetProperty(CAM_PROPERTY_ZOOM, &zoom);
     },
     [](const Call& call) { return call.setup.value == 0x0B00 && call.setup.index == 0x0100; }},
    {"GetProperty",
     [](CKelVeskCamera& camera) {
         CAM_PROP_VALUE pan{0, {0, 0}};
         return camera.GetProperty(CAM_PROPERTY_PAN, &pan);
     },
     [](const Call& call) { return call.setup.value == 0x0D00 && call.setup.index == 0x0100; }},
    {"StopRecording", [](CKelVeskCamera& camera) { return camera.StopRecording(); },
     [](const Call& call) { return call.setup.value == 0x0400 && call.setup.index == 0x0600; }},
};

class StopWhile : public StopFromObserver,
                  public testing::WithParamInterface<std::tuple<Medium, Holder>> {
protected:
    void TearDown() override
    {
        m_gate.Open();
        StopFromObserver::TearDown();
    }

    Gate m_gate;
};

TEST_P(StopWhile, AnotherThreadHoldsTheLocksWaitsForNone)
{
    const auto& [medium, holder] = GetParam();
    RecordAndObserve(medium);
    m_bus.OnCall("libusb_control_transfer", When::kBefore,
                 [this, is = holder.is](const Call& call) {
                     if (is(call))
                         m_gate.Pass();
                 });
    std::future<bool> operation = std::async(
        std::launch::async, [this, operate = holder.operate] { return operate(*m_camera); });
    ASSERT_TRUE(m_gate.WaitArrived());
    m_stopper->before.Open();
    Send(medium);
    Insist(m_stopper->WaitRefused(1), "the observer waits");
    m_gate.Open();
    EXPECT_TRUE(operation.get());
    EXPECT_EQ(m_stopper->granted, 0);
}

struct HolderName {
    std::string operator()(const testing::TestParamInfo<std::tuple<Medium, Holder>>& info) const
    {
        return testing::PrintToString(std::get<0>(info.param)) + "_" +
               std::get<1>(info.param).name;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, StopWhile,
                         testing::Combine(testing::Values(Medium::kVideo, Medium::kAudio),
                                          testing::ValuesIn(kHolders)),
                         HolderName());

// -- Threads without a recording -----------------------------------------------

TEST_F(StopFromObserver, ThreadThatAFailedStartLeftIsRefusedToo)
{
    MakeAndConnect(kCalder);
    m_device->SetReply(0x22, 0x01, 0x0100, 0x0082, {{}, TransferStatus::kStall});
    ASSERT_FALSE(m_camera->StartRecording()) << "no sound";
    m_device->ClearLog();
    Observe(Medium::kVideo);
    m_sleeps.Clear();
    m_stopper->before.Open();
    Send(Medium::kVideo);
    Insist(m_stopper->WaitRefused(1), "the stop was not refused");
    Send(Medium::kVideo);
    Insist(m_stopper->WaitRefused(2), "the stop was not refused");
    ExpectNoStop();
    EXPECT_FALSE(m_log.Contains("Exit VideoCapture thread.\r\n"));
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
}

}  // namespace
