// What is left open and what is used wrongly gets noticed.
#include "tests/standin/standin_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Ledger = StandinTest;

TEST_F(Ledger, ProperUseLeavesNothing)
{
    Bytes reply(3);
    GetCur(reply);
    {
        TestTransfer transfer(m_handle, 8);
        EXPECT_EQ(m_bus.Counters().transfers, 1);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        EXPECT_EQ(m_bus.Counters().transfers_in_flight, 1);
        transfer.Cancel();
        ASSERT_TRUE(Pump(transfer));
        EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    }
    const auto open = m_bus.Counters();
    EXPECT_EQ(open.contexts, 1);
    EXPECT_EQ(open.handles, 1);
    EXPECT_EQ(open.claimed_interfaces, 1);
    EXPECT_EQ(open.device_references, 1);
    CloseAll();
    EXPECT_TRUE(BusIsClean());
}

TEST_F(Ledger, DeviceListsAndReferencesAreCounted)
{
    libusb_device** list = nullptr;
    ASSERT_EQ(libusb_get_device_list(m_context, &list), 1);
    libusb_device* const device = list[0];
    EXPECT_EQ(m_bus.Counters().device_lists, 1);
    EXPECT_EQ(m_bus.Counters().device_references, 2);
    libusb_free_device_list(list, 0);
    EXPECT_EQ(m_bus.Counters().device_references, 2);
    libusb_unref_device(device);
    EXPECT_EQ(m_bus.Counters().device_references, 1);
}

TEST_F(Ledger, LeakMakesTheCheckFail)
{
    EXPECT_FALSE(BusIsClean());
}

TEST_F(Ledger, FreeingASubmittedTransferIsReported)
{
    {
        TestTransfer transfer(m_handle, 8);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    }
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("libusb_free_transfer: the transfer is in flight")));
    EXPECT_EQ(HandleEvents(0), LIBUSB_SUCCESS);
}

TEST_F(Ledger, DoubleSubmitIsReported)
{
    TestTransfer transfer(m_handle, 8);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Submit(), LIBUSB_ERROR_BUSY);
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("in flight already")));
    transfer.Cancel();
    ASSERT_TRUE(Pump(transfer));
}

TEST_F(Ledger, DoubleFreeIsReported)
{
    libusb_transfer* const transfer = libusb_alloc_transfer(0);
    libusb_free_transfer(transfer);
    libusb_free_transfer(transfer);
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("not an allocated transfer")));
}

TEST_F(Ledger, ClosedHandleIsReported)
{
    libusb_device_handle* const handle = m_handle;
    libusb_close(handle);
    m_handle = nullptr;
    EXPECT_EQ(libusb_claim_interface(handle, 0), LIBUSB_ERROR_INVALID_PARAM);
    libusb_close(handle);
    unsigned char byte = 0;
    EXPECT_LT(libusb_control_transfer(handle, 0xA1, 0x81, 0, 0, &byte, 1, 10), 0);
    EXPECT_EQ(m_bus.Misuse().size(), 3u);
}

TEST_F(Ledger, ExitedContextIsReported)
{
    libusb_context* const context = m_context;
    CloseAll();
    EXPECT_THAT(m_bus.Misuse(), IsEmpty());
    timeval none{0, 0};
    EXPECT_LT(libusb_handle_events_timeout(context, &none), 0);
    libusb_exit(context);
    EXPECT_EQ(m_bus.Misuse().size(), 2u);
}

TEST_F(Ledger, ExitWithAnOpenHandleIsReported)
{
    libusb_exit(m_context);
    m_context = nullptr;
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("1 handles still open")));
}

TEST_F(Ledger, CloseWithATransferInFlightIsReported)
{
    TestTransfer transfer(m_handle, 8);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    libusb_close(m_handle);
    m_handle = nullptr;
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("1 transfers still in flight")));
    EXPECT_EQ(HandleEvents(0), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Completions(), 0);
}

TEST_F(Ledger, ReleaseWithoutClaimIsReported)
{
    EXPECT_EQ(libusb_release_interface(m_handle, 3), LIBUSB_ERROR_NOT_FOUND);
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("interface 3 is not claimed")));
}

TEST_F(Ledger, TooManyUnreferencesAreReported)
{
    libusb_device* const device = libusb_get_device(m_handle);
    libusb_unref_device(device);
    libusb_unref_device(device);
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("no reference left")));
    libusb_ref_device(device);
}

TEST_F(Ledger, DefaultContextIsShared)
{
    ASSERT_EQ(libusb_init(nullptr), LIBUSB_SUCCESS);
    ASSERT_EQ(libusb_init(nullptr), LIBUSB_SUCCESS);
    EXPECT_EQ(m_bus.Counters().contexts, 2);
    libusb_exit(nullptr);
    EXPECT_EQ(m_bus.Counters().contexts, 2);
    libusb_exit(nullptr);
    EXPECT_EQ(m_bus.Counters().contexts, 1);
    libusb_exit(nullptr);
    EXPECT_THAT(m_bus.Misuse(), ElementsAre(HasSubstr("no default context")));
}

}  // namespace
