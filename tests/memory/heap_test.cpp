// The watch over the driver's memory itself: it sees what it is for.
#include "tests/memory/memory_fixture.h"

namespace {

class WatchedHeap : public MemoryTest {};

TEST_F(WatchedHeap, HoldsWhatARecordingNeedsUntilTheCameraIsDestroyed)
{
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    const long connected = product_heap::Live();
    EXPECT_GE(connected, 3) << "two adapters and a loader";
    ASSERT_TRUE(m_camera->StartRecording());
    EXPECT_GE(product_heap::Live(), connected + 10) << "five frames of two pieces";
    EXPECT_TRUE(m_camera->StopRecording());
    Destroy();
    EXPECT_EQ(product_heap::Live(), 0);
}

TEST_F(WatchedHeap, LeavesOutWhatOthersAllocate)
{
    const long before = product_heap::Total();
    const auto own = std::make_unique<int>(1);
    std::string text(1000, 'x');
    text += *own == 1 ? "by the standard library, for the test" : "";
    { const CameraModel model; }
    m_bus.EnableCallLog();
    EXPECT_EQ(m_bus.CallLog().size(), 0u);
    EXPECT_EQ(product_heap::Total(), before);
}

}  // namespace
