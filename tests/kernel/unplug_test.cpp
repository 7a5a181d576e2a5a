// The plug is pulled, and put back.
#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/process_state.h"

namespace kernel_test
{
namespace
{

/// The watch asks every second, with up to half a second for an answer; then
/// come 300 ms, the stop of the recording and the call-back.
constexpr std::chrono::seconds kWatchTime{5};

class Unplug : public KernelTest
{
protected:
    Unplug() : KernelTest(1) {}

    void PullPlug()
    {
        const auto begin = std::chrono::steady_clock::now();
        m_camera.Unplug();
        ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
        const auto took = std::chrono::steady_clock::now() - begin;
        EXPECT_LT(took, kWatchTime);
        Shows("told the host after %.2f s", std::chrono::duration<double>(took).count());
        EXPECT_TRUE(WaitUntil([this] { return m_subject->GetState() == CAM_STATE_DISCONNECTED; }));
        EXPECT_TRUE(m_log.Contains("Camera is disconnected."));
    }
    void ExpectRecords()
    {
        FrameCollector& main = Observe(CAM_STREAM_H264_MAIN);
        ASSERT_TRUE(m_subject->StartRecording());
        EXPECT_TRUE(main.WaitFor(10));
        EXPECT_TRUE(m_subject->StopRecording());
    }
};

TEST_F(Unplug, WhileIdleTellsTheHostAndLeavesNothing)
{
    const ProcessState before;
    CreateAndInit();
    PullPlug();
    Destroy();
    before.ExpectUnchanged();
}

TEST_F(Unplug, WhileRecordingTellsTheHostAndANewObjectRecordsAgainAfterReplug)
{
    const ProcessState before;
    CreateAndInit(kDualH264);
    FrameCollector& main = Observe(CAM_STREAM_H264_MAIN);
    ASSERT_TRUE(m_subject->StartRecording());
    ASSERT_TRUE(main.WaitFor(10));
    const int number = FindCamera()->number;
    PullPlug();
    EXPECT_TRUE(m_log.Contains("LIBUSB_TRANSFER_NO_DEVICE"));
    Destroy();
    before.ExpectUnchanged();

    m_camera.Replug();
    ASSERT_TRUE(m_camera.WaitForArrival(number, TORVIK_CAM_PRODUCT_ID));
    g_ready = g_failed = 0;
    CreateAndInit(kDualH264);
    ExpectRecords();
    Destroy();
    before.ExpectUnchanged();
}

}  // namespace
}  // namespace kernel_test
