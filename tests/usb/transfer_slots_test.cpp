// A transfer's life: every row of the table in usb/transfer_slots.h.
#include "usb/transfer_slots.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "tests/devcmd/array_allocation.h"
#include "tests/devcmd/controller_fixture.h"
#include "tests/support/wait_until.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test_support::WaitUntil;
using vcam::standin::When;

constexpr std::uint8_t kEndpoint = 0x81;
constexpr int kLength = 64;

class TransferLife;

struct TestTransfer : SlottedTransfer {
    TestTransfer(TransferLife& test, unsigned index);
    ~TestTransfer() override;

    TransferLife& test;
};

class TransferLife : public BusTest {
public:
    void OnCompletion(TestTransfer& transfer) { m_handle(transfer); }
    int m_made = 0;
    int m_destroyed = 0;
    int m_nobodys = 0;  ///< completions whose transfer belonged to nobody

protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_camera.Open(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID));
        ASSERT_EQ(m_camera.Claim(1), 0);
        Forget();
    }
    void TearDown() override
    {
        m_bus.ClearRules();
        m_controller->Plug(true);
        for (unsigned i = 0; i < TransferSlots::kCapacity; ++i)
            m_slots.Cancel(i);
        EXPECT_TRUE(WaitUntil([this] {
            HandleEvents();
            return m_bus.Counters().transfers_in_flight == 0;
        }));
        m_slots.Abandon();
        EXPECT_EQ(m_destroyed, m_made);
        EXPECT_EQ(array_allocation::Live(), 0);
        m_camera.Close();
        m_context.Exit();
        BusTest::TearDown();
    }

    static void LIBUSB_CALL Ended(libusb_transfer* transfer)
    {
        auto* const owned = static_cast<TestTransfer*>(TransferSlots::Completed(transfer));
        if (owned != nullptr)
            owned->test.OnCompletion(*owned);
        else
            ++s_test->m_nobodys;
    }

    SlottedTransfer& Fill(unsigned index)
    {
        auto made = std::make_unique<TestTransfer>(*this, index);
        EXPECT_TRUE(made->AllocateBuffer(kLength));
        EXPECT_TRUE(m_slots.Allocate(std::move(made), 0));
        SlottedTransfer& slot = *m_slots.At(index);
        libusb_fill_bulk_transfer(slot.Transfer(), m_camera.Handle(), kEndpoint, slot.Buffer(),
                                  kLength, Ended, &slot, 0);
        return slot;
    }
    SlottedTransfer& FillAndSubmit(unsigned index)
    {
        SlottedTransfer& slot = Fill(index);
        EXPECT_EQ(m_slots.Submit(slot), 0);
        return slot;
    }
    void HandleEvents()
    {
        timeval now = {0, 0};
        libusb_handle_events_timeout(m_context.Get(), &now);
    }
    /// The device answers the oldest transfer in flight.
    void Answer()
    {
        m_controller->QueueIn(kEndpoint, {1, 2, 3});
        ASSERT_TRUE(WaitUntil([this] {
            HandleEvents();
            return m_controller->Queued(kEndpoint) == 0;
        }));
    }
    bool SlotIsEmpty(unsigned index) const { return m_slots.At(index) == nullptr; }
    std::size_t Freed() const { return m_bus.CallCount("libusb_free_transfer"); }

    UsbContext m_context;
    CameraDevice m_camera{m_context};
    TransferSlots m_slots{m_camera};
    int m_handled = 0;
    std::function<void(TestTransfer&)> m_handle = [this](TestTransfer& transfer) {
        if (TransferSlots::SetIdle(transfer))
            ++m_handled;
    };

private:
    static TransferLife* s_test;

protected:
    TransferLife() { s_test = this; }
};

TransferLife* TransferLife::s_test = nullptr;

TestTransfer::TestTransfer(TransferLife& owner, unsigned index) : SlottedTransfer(index), test(owner)
{
    ++test.m_made;
}
TestTransfer::~TestTransfer()
{
    ++test.m_destroyed;
}

// An idle transfer.

TEST_F(TransferLife, BeginsEmpty)
{
    for (unsigned i = 0; i < TransferSlots::kCapacity; ++i) {
        EXPECT_TRUE(SlotIsEmpty(i));
        EXPECT_FALSE(m_slots.IsIdle(i));
    }
    EXPECT_FALSE(m_slots.AnyInFlight());
}

TEST_F(TransferLife, AllocatedTransferIsIdleInItsSlot)
{
    const SlottedTransfer& slot = Fill(1);
    EXPECT_EQ(m_slots.At(1), &slot);
    EXPECT_EQ(slot.Index(), 1U);
    EXPECT_EQ(slot.Transfer()->user_data, &slot);
    EXPECT_TRUE(m_slots.IsIdle(1));
    EXPECT_FALSE(m_slots.AnyInFlight());
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_TRUE(SlotIsEmpty(2));
}

TEST_F(TransferLife, RoomForPacketsIsAsked)
{
    ASSERT_TRUE(m_slots.Allocate(std::make_unique<TestTransfer>(*this, 0), 10));
    const std::vector<Call> calls = Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].function, "libusb_alloc_transfer");
    EXPECT_EQ(calls[0].iso_packets, 10);
}

TEST_F(TransferLife, FreeEmptiesOneSlot)
{
    Fill(0);
    Fill(1);
    m_slots.Free(0);
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_FALSE(m_slots.IsIdle(0));
    EXPECT_TRUE(m_slots.IsIdle(1));
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(Freed(), 1U);
    EXPECT_EQ(array_allocation::Live(), 1);
}

TEST_F(TransferLife, AbandonedWhileIdleIsFreedAtOnce)
{
    Fill(0);
    Fill(2);
    m_slots.Abandon();
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_TRUE(SlotIsEmpty(2));
    EXPECT_EQ(m_destroyed, 2);
    EXPECT_EQ(Freed(), 2U);
}

TEST_F(TransferLife, EmptySlotsAreLeftAlone)
{
    m_slots.Cancel(0);
    m_slots.Free(0);
    m_slots.FreeIdle();
    m_slots.Abandon();
    EXPECT_THAT(CallNames(), IsEmpty());
}

// A transfer in flight.

TEST_F(TransferLife, SubmittedIsInFlight)
{
    FillAndSubmit(0);
    EXPECT_FALSE(m_slots.IsIdle(0));
    EXPECT_TRUE(m_slots.AnyInFlight());
}

TEST_F(TransferLife, IsInFlightBeforeLibusbTakesIt)
{
    SlottedTransfer& slot = Fill(0);
    bool in_flight = false;
    m_bus.OnCall("libusb_submit_transfer", When::kBefore,
                 [&](const Call&) { in_flight = m_slots.AnyInFlight(); });
    ASSERT_EQ(m_slots.Submit(slot), 0);
    EXPECT_TRUE(in_flight);
}

TEST_F(TransferLife, CompletedBeforeSubmitReturnsStaysIdle)
{
    SlottedTransfer& slot = Fill(0);
    m_controller->QueueIn(kEndpoint, {1});
    m_bus.OnCall("libusb_submit_transfer", When::kAfter, [&](const Call&) {
        EXPECT_TRUE(WaitUntil([this] {
            HandleEvents();
            return m_handled == 1;
        }));
    });
    EXPECT_EQ(m_slots.Submit(slot), 0);
    EXPECT_TRUE(m_slots.IsIdle(0));
}

TEST_F(TransferLife, RefusedIsIdleAgain)
{
    SlottedTransfer& slot = Fill(0);
    m_bus.FailCall("libusb_submit_transfer", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(m_slots.Submit(slot), LIBUSB_ERROR_IO);
    EXPECT_TRUE(m_slots.IsIdle(0));
    EXPECT_FALSE(m_slots.AnyInFlight());
    EXPECT_EQ(m_destroyed, 0);
    EXPECT_EQ(m_slots.Submit(slot), 0);
    EXPECT_TRUE(m_slots.AnyInFlight());
}

TEST_F(TransferLife, CompletionFindsItsTransferStillInFlight)
{
    const SlottedTransfer& slot = FillAndSubmit(1);
    const SlottedTransfer* found = nullptr;
    bool in_flight = false;
    m_handle = [&](TestTransfer& transfer) {
        found = &transfer;
        in_flight = m_slots.AnyInFlight();
        EXPECT_TRUE(TransferSlots::SetIdle(transfer));
        EXPECT_FALSE(m_slots.AnyInFlight());
    };
    Answer();
    EXPECT_EQ(found, &slot);
    EXPECT_TRUE(in_flight);
    EXPECT_TRUE(m_slots.IsIdle(1));
    EXPECT_EQ(slot.Transfer()->actual_length, 3);
    EXPECT_EQ(slot.Buffer()[2], 3);
    EXPECT_EQ(m_destroyed, 0);
}

TEST_F(TransferLife, GoesRoundFromItsCompletion)
{
    FillAndSubmit(0);
    m_handle = [this](TestTransfer& transfer) {
        ASSERT_TRUE(TransferSlots::SetIdle(transfer));
        EXPECT_EQ(m_slots.Submit(transfer), 0);
        ++m_handled;
    };
    for (int i = 0; i < 10; ++i)
        Answer();
    EXPECT_EQ(m_handled, 10);
    EXPECT_TRUE(m_slots.AnyInFlight());
    m_handle = [](TestTransfer& transfer) { TransferSlots::SetIdle(transfer); };
}

TEST_F(TransferLife, CancelledCompletesAllTheSame)
{
    const SlottedTransfer& slot = FillAndSubmit(0);
    m_slots.Cancel(0);
    EXPECT_TRUE(m_slots.AnyInFlight());
    EXPECT_TRUE(WaitUntil([this] {
        HandleEvents();
        return m_handled == 1;
    }));
    EXPECT_TRUE(m_slots.IsIdle(0));
    EXPECT_EQ(slot.Transfer()->status, LIBUSB_TRANSFER_CANCELLED);
}

TEST_F(TransferLife, FreeIdleLeavesWhatIsInFlight)
{
    FillAndSubmit(0);
    Fill(1);
    FillAndSubmit(2);
    Answer();  // the oldest, which is idle then
    m_slots.FreeIdle();
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_TRUE(SlotIsEmpty(1));
    EXPECT_FALSE(SlotIsEmpty(2));
    EXPECT_TRUE(m_slots.AnyInFlight());
    EXPECT_EQ(m_destroyed, 2);
    EXPECT_EQ(Freed(), 2U);
}

// An abandoned transfer.

TEST_F(TransferLife, AbandonedInFlightLeavesItsSlotAndStaysAllocated)
{
    FillAndSubmit(0);
    m_slots.Abandon();
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_FALSE(m_slots.AnyInFlight());
    EXPECT_EQ(m_destroyed, 0);
    EXPECT_EQ(Freed(), 0U);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 1);
    Answer();
}

TEST_F(TransferLife, LateCompletionFreesTheAbandonedOnce)
{
    FillAndSubmit(0);
    m_slots.Abandon();
    Answer();
    EXPECT_EQ(m_nobodys, 1);
    EXPECT_EQ(m_handled, 0);
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(Freed(), 1U);
    EXPECT_EQ(array_allocation::Live(), 0);
    m_slots.FreeIdle();
    m_slots.Abandon();
    HandleEvents();
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(Freed(), 1U);
}

TEST_F(TransferLife, AbandonedBetweenCompletionAndHandlingIsFreedOnce)
{
    FillAndSubmit(0);
    bool handled = true;
    m_handle = [&](TestTransfer& transfer) {
        m_slots.Abandon();
        EXPECT_EQ(m_destroyed, 0);
        handled = TransferSlots::SetIdle(transfer);
        EXPECT_EQ(m_destroyed, 1);
    };
    Answer();
    EXPECT_FALSE(handled);
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(Freed(), 1U);
}

TEST_F(TransferLife, AbandonedWhileItsCompletionIsHandledIsFreedOnce)
{
    FillAndSubmit(0);
    m_handle = [this](TestTransfer& transfer) {
        EXPECT_TRUE(TransferSlots::SetIdle(transfer));
        m_slots.Abandon();
        EXPECT_EQ(m_destroyed, 1);
    };
    Answer();
    EXPECT_TRUE(SlotIsEmpty(0));
    EXPECT_EQ(Freed(), 1U);
}

TEST_F(TransferLife, AbandonEmptiesEverySlot)
{
    FillAndSubmit(0);
    Fill(1);
    FillAndSubmit(2);
    m_slots.Abandon();
    for (unsigned i = 0; i < TransferSlots::kCapacity; ++i)
        EXPECT_TRUE(SlotIsEmpty(i));
    EXPECT_EQ(m_destroyed, 1);
    Answer();
    Answer();
    EXPECT_EQ(m_nobodys, 2);
    EXPECT_EQ(m_destroyed, 3);
}

TEST_F(TransferLife, SlotOfAnAbandonedTransferTakesAnotherOne)
{
    FillAndSubmit(0);
    m_slots.Abandon();
    const SlottedTransfer& next = FillAndSubmit(0);
    Answer();
    EXPECT_EQ(m_nobodys, 1);
    EXPECT_EQ(m_slots.At(0), &next);
    EXPECT_TRUE(m_slots.AnyInFlight());
    Answer();
    EXPECT_EQ(m_handled, 1);
    EXPECT_TRUE(m_slots.IsIdle(0));
    EXPECT_EQ(m_destroyed, 1);
}

TEST_F(TransferLife, IsFreedOnceWhicheverComesFirst)
{
    constexpr int kRounds = 300;
    m_handle = [](TestTransfer& transfer) { TransferSlots::SetIdle(transfer); };
    for (int round = 0; round < kRounds; ++round) {
        FillAndSubmit(0);
        m_slots.Cancel(0);
        std::atomic<bool> go{false};
        std::thread completing([&] {
            while (!go) {
            }
            HandleEvents();
        });
        go = true;
        m_slots.Abandon();
        completing.join();
        ASSERT_TRUE(WaitUntil([this] {
            HandleEvents();
            return m_bus.Counters().transfers == 0;
        }));
        ASSERT_EQ(m_destroyed, round + 1);
    }
    EXPECT_EQ(Freed(), static_cast<std::size_t>(kRounds));
    EXPECT_THAT(m_bus.Misuse(), IsEmpty());
}

TEST_F(TransferLife, CompletionWithoutUserDataBelongsToNobody)
{
    libusb_transfer stranger = {};
    EXPECT_EQ(TransferSlots::Completed(&stranger), nullptr);
    EXPECT_EQ(Freed(), 0U);
}

// Waiting.

TEST_F(TransferLife, NothingInFlightIsNotWaitedFor)
{
    Fill(0);
    int passes = 0;
    m_slots.WaitUntilIdle([&] { ++passes; });
    EXPECT_EQ(passes, 0);
}

TEST_F(TransferLife, WaitEndsWithTheLastCompletion)
{
    for (unsigned i = 0; i < TransferSlots::kCapacity; ++i) {
        FillAndSubmit(i);
        m_controller->QueueIn(kEndpoint, {1});
    }
    m_slots.WaitUntilIdle([this] {
        EXPECT_LT(m_handled, 3);
        HandleEvents();
    });
    EXPECT_EQ(m_handled, 3);
    EXPECT_FALSE(m_slots.AnyInFlight());
}

TEST_F(TransferLife, WaitForASilentDeviceEndsAfterASecond)
{
    FillAndSubmit(0);
    const auto start = Clock::now();
    m_slots.WaitUntilIdle([this] {
        timeval slice = {0, 10000};
        libusb_handle_events_timeout(m_context.Get(), &slice);
    });
    // Whole milliseconds are compared.
    EXPECT_GE(Clock::now() - start, 999ms);
    EXPECT_LT(Clock::now() - start, test_support::kPatience);
    EXPECT_TRUE(m_slots.AnyInFlight());
    EXPECT_EQ(m_destroyed, 0);
}

TEST_F(TransferLife, AbandonedTransfersAreNotWaitedFor)
{
    FillAndSubmit(0);
    m_slots.Abandon();
    int passes = 0;
    m_slots.WaitUntilIdle([&] { ++passes; });
    EXPECT_EQ(passes, 0);
    Answer();
}

// Without memory.

TEST_F(TransferLife, FailedAllocationOfTheObjectLeavesAnEmptySlot)
{
    EXPECT_FALSE(m_slots.Allocate(nullptr, 0));
    EXPECT_THAT(CallNames(), IsEmpty());
    EXPECT_TRUE(SlotIsEmpty(0));
}

TEST_F(TransferLife, FailedAllocationOfTheTransferLeavesAnEmptySlot)
{
    auto made = std::make_unique<TestTransfer>(*this, 1);
    ASSERT_TRUE(made->AllocateBuffer(kLength));
    m_bus.FailCall("libusb_alloc_transfer", 1, -1);
    EXPECT_FALSE(m_slots.Allocate(std::move(made), 0));
    EXPECT_TRUE(SlotIsEmpty(1));
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(Freed(), 0U);  // there is nothing to free
    EXPECT_EQ(array_allocation::Live(), 0);
    Fill(1);
    EXPECT_TRUE(m_slots.IsIdle(1));
}

TEST_F(TransferLife, FailedAllocationOfTheBufferIsTold)
{
    TestTransfer made(*this, 0);
    array_allocation::FailNext();
    EXPECT_FALSE(made.AllocateBuffer(kLength));
    EXPECT_EQ(made.Buffer(), nullptr);
    EXPECT_TRUE(made.AllocateBuffer(kLength));
    EXPECT_EQ(array_allocation::LastSize(), static_cast<std::size_t>(kLength));
}

// "No device" is remembered by the camera, which then looks for itself before
// it selects a setting where that is dangerous.

class TransferOfALostDevice : public TransferLife {
protected:
    void SetUp() override
    {
        m_bus.SetVersion(26, 11724);
        TransferLife::SetUp();
    }
    /// Whether the device is looked for now, and not asked.
    bool IsHeeded()
    {
        const std::size_t asked = m_bus.CallCount("libusb_set_interface_alt_setting");
        const std::size_t looked = m_bus.CallCount("libusb_get_device_list");
        m_camera.SelectSetting(1, 0);
        return m_bus.CallCount("libusb_get_device_list") == looked + 1 &&
               m_bus.CallCount("libusb_set_interface_alt_setting") == asked;
    }
};

TEST_F(TransferOfALostDevice, RefusedSubmissionIsHeeded)
{
    SlottedTransfer& slot = Fill(0);
    m_controller->Plug(false);
    EXPECT_EQ(m_slots.Submit(slot), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_TRUE(m_slots.IsIdle(0));
    EXPECT_TRUE(IsHeeded());
}

TEST_F(TransferOfALostDevice, RefusedCancellationIsHeeded)
{
    FillAndSubmit(0);
    m_controller->Plug(false);
    m_slots.Cancel(0);
    EXPECT_TRUE(IsHeeded());
}

TEST_F(TransferOfALostDevice, OtherRefusalsSayNothingOfIt)
{
    SlottedTransfer& slot = Fill(0);
    m_bus.FailCall("libusb_submit_transfer", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(m_slots.Submit(slot), LIBUSB_ERROR_IO);
    m_slots.Cancel(0);  // not found: it is not in flight
    EXPECT_FALSE(IsHeeded());
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U);
}

}  // namespace
