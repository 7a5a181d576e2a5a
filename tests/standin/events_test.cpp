// Who handles events, and for how long.
#include "tests/standin/standin_fixture.h"

namespace {

using Events = StandinTest;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

TEST_F(Events, PassWithoutEventsLastsItsTimeOut)
{
    const auto start = steady_clock::now();
    EXPECT_EQ(HandleEvents(30), LIBUSB_SUCCESS);
    EXPECT_GE(steady_clock::now() - start, milliseconds(30));
}

TEST_F(Events, ZeroTimeOutReturnsAtOnce)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    EXPECT_EQ(HandleEvents(0), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Completions(), 0);
    transfer.Cancel();
    ASSERT_TRUE(Pump(transfer));
}

TEST_F(Events, PassEndsAsSoonAsATransferCompleted)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    std::thread device([&] { m_camera->QueueIn(0x81, {1}); });
    const auto start = steady_clock::now();
    EXPECT_EQ(HandleEvents(60000), LIBUSB_SUCCESS);
    EXPECT_LT(steady_clock::now() - start, milliseconds(50000));
    EXPECT_EQ(transfer.Completions(), 1);
    device.join();
}

TEST_F(Events, DeviceIsAskedAgainWhenItSaid)
{
    std::atomic<int> asked{0};
    m_camera->SetSource(0x81, [&asked](unsigned char*, std::size_t) -> vcam::TransferResult {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const auto us = static_cast<vcam::TimeUs>(now.tv_sec) * 1000000 +
                        static_cast<vcam::TimeUs>(now.tv_nsec) / 1000;
        if (++asked == 1)
            return {vcam::TransferStatus::kNotReady, 0, us + 10000};
        return {vcam::TransferStatus::kCompleted, 0, vcam::kNever};
    });
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    EXPECT_EQ(HandleEvents(60000), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Completions(), 1);
    EXPECT_EQ(asked, 2);
}

TEST_F(Events, InterruptEndsThePass)
{
    std::thread other([&] {
        // Whether it comes before or in the middle of the pass: the pass ends.
        libusb_interrupt_event_handler(m_context);
    });
    const auto start = steady_clock::now();
    EXPECT_EQ(HandleEvents(60000), LIBUSB_SUCCESS);
    EXPECT_LT(steady_clock::now() - start, milliseconds(50000));
    other.join();
}

TEST_F(Events, SecondHandlerWaitsUntilATransferCompletes)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    std::atomic<bool> first_runs{false};
    const int hook = m_bus.OnCall("libusb_handle_events_timeout", vcam::standin::When::kBefore,
                                  [&](const vcam::standin::Call&) { first_runs = true; });
    std::thread first([&] {
        while (transfer.Completions() == 0)
            HandleEvents(60000);
    });
    ASSERT_TRUE(WaitUntil([&] { return first_runs.load(); }));
    ASSERT_TRUE(WaitUntil([&] { return libusb_event_handler_active(m_context) == 1; }));
    std::atomic<int> returned{0};
    std::thread second([&] {
        timeval limit{60, 0};
        EXPECT_EQ(libusb_handle_events_timeout(m_context, &limit), LIBUSB_SUCCESS);
        ++returned;
    });
    ASSERT_TRUE(m_bus.WaitForCalls("libusb_handle_events_timeout", 2, kPatience));
    EXPECT_EQ(returned, 0);
    m_camera->QueueIn(0x81, {1});
    first.join();
    // The second one either saw the completion, or came late and waits for
    // events itself.
    libusb_interrupt_event_handler(m_context);
    second.join();
    EXPECT_EQ(returned, 1);
    EXPECT_EQ(transfer.Completions(), 1);
    m_bus.RemoveHook(hook);
}

TEST_F(Events, OnlyOneThreadHoldsTheEventLock)
{
    ASSERT_EQ(libusb_try_lock_events(m_context), 0);
    int other = 0;
    std::thread([&] { other = libusb_try_lock_events(m_context); }).join();
    EXPECT_EQ(other, 1);
    EXPECT_EQ(libusb_event_handler_active(m_context), 1);
    EXPECT_EQ(libusb_event_handling_ok(m_context), 1);
    libusb_unlock_events(m_context);
    EXPECT_EQ(libusb_event_handler_active(m_context), 0);
}

TEST_F(Events, WaiterWakesWhenTheHandlerLeaves)
{
    libusb_lock_events(m_context);
    std::atomic<bool> waiting{false};
    std::thread waiter([&] {
        libusb_lock_event_waiters(m_context);
        waiting = true;
        while (libusb_event_handler_active(m_context) == 1)
            libusb_wait_for_event(m_context, nullptr);
        libusb_unlock_event_waiters(m_context);
    });
    ASSERT_TRUE(WaitUntil([&] { return waiting.load(); }));
    libusb_unlock_events(m_context);
    waiter.join();
}

TEST_F(Events, HandlingEventsInsideACallBackIsRefused)
{
    TestTransfer transfer(m_handle, 64);
    int inside = 0;
    transfer.then = [&] { inside = HandleEvents(0); };
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(inside, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(m_bus.Misuse().size(), 1u);
    m_bus.ClearMisuse();
}

TEST_F(Events, ContextsAreIndependent)
{
    libusb_context* other = nullptr;
    ASSERT_EQ(libusb_init(&other), LIBUSB_SUCCESS);
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    timeval none{0, 0};
    EXPECT_EQ(libusb_handle_events_timeout(other, &none), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Completions(), 0);
    ASSERT_TRUE(Pump(transfer));
    libusb_exit(other);
}

TEST_F(Events, CloseGetsTheHandlerOutOfItsPass)
{
    std::thread handler([&] {
        timeval limit{60, 0};
        libusb_handle_events_timeout(m_context, &limit);
    });
    ASSERT_TRUE(WaitUntil([&] { return libusb_event_handler_active(m_context) == 1; }));
    const auto start = steady_clock::now();
    libusb_close(m_handle);
    m_handle = nullptr;
    handler.join();
    EXPECT_LT(steady_clock::now() - start, milliseconds(50000));
}

}  // namespace
