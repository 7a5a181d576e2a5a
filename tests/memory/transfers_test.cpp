// Transfers that libusb has no memory for.
#include <libusb.h>

#include "tests/memory/memory_fixture.h"

namespace {

constexpr int kSoundTransfers = 2;
constexpr int kVideoTransfers = 3;

class TransferWithoutMemory : public MemoryTest, public testing::WithParamInterface<int> {
protected:
    /// The nth transfer from now on cannot be had.
    void FailTransfer(int nth)
    {
        m_bus.FailCall("libusb_alloc_transfer", static_cast<std::size_t>(nth), LIBUSB_ERROR_NO_MEM);
    }
    void ExpectRecording()
    {
        m_bus.ClearRules();
        m_pictures.Clear();
        m_sound.Clear();
        EXPECT_TRUE(m_camera->StartRecording());
        EXPECT_EQ(m_bus.Counters().transfers, kVideoTransfers + kSoundTransfers);
        EXPECT_TRUE(m_pictures.WaitFor(2));
        EXPECT_TRUE(m_sound.WaitFor(2));
        EXPECT_TRUE(m_camera->StopRecording());
        EXPECT_EQ(m_bus.Counters().transfers, 0);
        Destroy();
        EXPECT_EQ(product_heap::Live(), 0);
    }
    void Observe()
    {
        m_camera->RegisterObserver(&m_pictures);
        m_camera->RegisterObserver(&m_sound);
    }
};

class StartWithoutTransfer : public TransferWithoutMemory {};

TEST_P(StartWithoutTransfer, IsRefusedAndTheNextOneBeginsAfresh)
{
    const bool video = GetParam() <= kVideoTransfers;
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    Observe();
    FailTransfer(GetParam());
    EXPECT_FALSE(m_camera->StartRecording());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    // The sound that came with Init stays until a start gets to its own.
    EXPECT_EQ(m_bus.Counters().transfers, video ? kSoundTransfers : kVideoTransfers);
    ExpectRecording();
}

INSTANTIATE_TEST_SUITE_P(Transfers, StartWithoutTransfer, testing::Range(1, 6));

class SearchWithoutTransfer : public TransferWithoutMemory {};

TEST_P(SearchWithoutTransfer, FindsACameraWhoseSoundWaitsForTheRecording)
{
    FailTransfer(GetParam());
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    Observe();
    EXPECT_EQ(m_bus.Counters().transfers, 0);
    ExpectRecording();
}

INSTANTIATE_TEST_SUITE_P(Transfers, SearchWithoutTransfer, testing::Range(1, 3));

}  // namespace
