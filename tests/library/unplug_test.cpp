// The plug is pulled at many points of the camera's life.
#include "tests/library/library_fixture.h"

namespace {

class Unplug : public LibraryTest, public testing::WithParamInterface<const char*> {};

TEST_P(Unplug, EndsInOneFalseCallbackAndACleanDestruction)
{
    m_model->AddFaults(GetParam());
    Create(kCalder);
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready + g_failed > 0; }));
    if (g_ready == 1) {
        m_camera->StartRecording();
        // Whatever comes first of the stream and the watch gets to the fault.
        ASSERT_TRUE(WaitUntil([] { return g_failed > 0; }));
    }
    EXPECT_EQ(g_failed, 1);
    EXPECT_TRUE(WaitUntil([this] { return m_camera->GetState() == CAM_STATE_DISCONNECTED; }));
    std::int32_t value = 0;
    EXPECT_FALSE(Get(CAM_PROPERTY_ISP_STATUS, &value));
    Destroy();
}

INSTANTIATE_TEST_SUITE_P(
    Points, Unplug,
    testing::Values("control at 1 unplug", "control at 2 unplug", "control at 3 unplug",
                    "control at 4 unplug", "control at 5 unplug", "control at 6 unplug",
                    "control at 7 unplug", "control at 8 unplug", "control at 10 unplug",
                    "control at 13 unplug", "control at 17 unplug", "control at 20 unplug",
                    "control at 23 unplug", "control at 26 unplug", "control at 29 unplug",
                    "control at 32 unplug", "control at 40 unplug", "iso at 1 unplug",
                    "iso at 2 unplug", "iso at 9 unplug", "iso at 30 unplug",
                    "payload at 1 unplug", "payload at 2 unplug", "payload at 5 unplug",
                    "payload at 60 unplug", "container at 1 unplug", "container at 2 unplug",
                    "container at 12 unplug"));

TEST_F(LibraryTest, ReplugedCameraNeedsANewObject)
{
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    ASSERT_TRUE(m_camera->StartRecording());
    m_model->Unplug();
    ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
    m_model->Replug();
    // The old object finds the camera but keeps its dead handles.
    m_camera->Init(OnInit, 0);
    ASSERT_TRUE(WaitUntil([] { return g_ready + g_failed == 3; }));
    const bool recorded = m_camera->StartRecording() &&
                          m_camera->GetState() == CAM_STATE_RECORDING;
    EXPECT_FALSE(recorded);
    Destroy();

    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    FrameCollector main(CAM_STREAM_H264_MAIN);
    m_camera->RegisterObserver(&main);
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_TRUE(main.WaitFor(3));
    EXPECT_TRUE(m_camera->StopRecording());
    Destroy();
}

TEST_F(LibraryTest, EverythingReceivedBeforeTheUnplugIsDelivered)
{
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    FrameCollector main(CAM_STREAM_H264_MAIN);
    m_camera->RegisterObserver(&main);
    m_model->ClearTraffic();
    ASSERT_TRUE(m_camera->StartRecording());
    // The loader sees the loss and stops recording after its real pauses, not
    // ahead of the frames under way.
    const FastSleeps real(1);
    m_model->AddFaults("container at 12 unplug");
    ASSERT_TRUE(WaitUntil([] { return g_failed == 1; }));
    const std::uint64_t sent = m_model->Totals(Stream::kMain).bytes;
    EXPECT_GT(sent, 0u);
    EXPECT_EQ(main.TotalBytes(), sent);
    Destroy();
}

}  // namespace
