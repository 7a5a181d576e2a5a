// Transfers: submitted, completed, cancelled, timed out.
#include "tests/standin/standin_fixture.h"

namespace {

using AsyncTransfer = StandinTest;

TEST_F(AsyncTransfer, CompletesOnlyInsideAnEventPass)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1, 2, 3});
    EXPECT_EQ(transfer.Completions(), 0);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_COMPLETED);
    EXPECT_EQ(transfer.Data(), (Bytes{1, 2, 3}));
    EXPECT_EQ(transfer.Thread(), std::this_thread::get_id());
}

TEST_F(AsyncTransfer, CompletesInOrderOfSubmission)
{
    TestTransfer first(m_handle, 64);
    TestTransfer second(m_handle, 64);
    ASSERT_EQ(first.Submit(), LIBUSB_SUCCESS);
    ASSERT_EQ(second.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    m_camera->QueueIn(0x81, {2});
    ASSERT_TRUE(Pump(second));
    EXPECT_EQ(first.Data(), Bytes{1});
    EXPECT_EQ(second.Data(), Bytes{2});
}

TEST_F(AsyncTransfer, ResubmittedInItsCallBackWaitsForTheNextPass)
{
    m_camera->SetSource(0x81, [](unsigned char* data, std::size_t) {
        data[0] = 7;
        return vcam::TransferResult{vcam::TransferStatus::kCompleted, 1, vcam::kNever};
    });
    TestTransfer transfer(m_handle, 64);
    transfer.then = [&] {
        if (transfer.Completions() < 2) {
            EXPECT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        }
    };
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    HandleEvents(0);
    EXPECT_EQ(transfer.Completions(), 1);
    HandleEvents(0);
    EXPECT_EQ(transfer.Completions(), 2);
    HandleEvents(0);
    EXPECT_EQ(transfer.Completions(), 3);
    HandleEvents(0);
    EXPECT_EQ(transfer.Completions(), 3);
}

TEST_F(AsyncTransfer, CancellationIsDeliveredInALaterPassOnTheCallingThread)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    std::thread([&] { EXPECT_EQ(transfer.Cancel(), LIBUSB_SUCCESS); }).join();
    EXPECT_EQ(transfer.Completions(), 0);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_CANCELLED);
    EXPECT_EQ(transfer.Thread(), std::this_thread::get_id());
    EXPECT_EQ(m_camera->Of(test_support::Received::kCancelled).size(), 1u);
}

TEST_F(AsyncTransfer, CancelOfIdleOrCancelledTransferIsNotFound)
{
    TestTransfer transfer(m_handle, 64);
    EXPECT_EQ(transfer.Cancel(), LIBUSB_ERROR_NOT_FOUND);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Cancel(), LIBUSB_SUCCESS);
    EXPECT_EQ(transfer.Cancel(), LIBUSB_ERROR_NOT_FOUND);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Cancel(), LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(AsyncTransfer, CancelledTransferTakesNoDataOfAReadyDevice)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    ASSERT_EQ(transfer.Cancel(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_CANCELLED);
    EXPECT_EQ(m_camera->Queued(0x81), 1u);
}

TEST_F(AsyncTransfer, RunsIntoItsTimeOut)
{
    TestTransfer transfer(m_handle, 64, 20);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_TIMED_OUT);
    EXPECT_EQ(transfer.Get()->actual_length, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST_F(AsyncTransfer, SilentDeviceRunsIntoTheTimeOut)
{
    m_camera->QueueIn(0x81, {}, vcam::TransferStatus::kTimeout);
    TestTransfer transfer(m_handle, 64, 20);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_TIMED_OUT);
}

TEST_F(AsyncTransfer, EachDeviceResultHasItsStatus)
{
    const std::vector<std::pair<vcam::TransferStatus, libusb_transfer_status>> table{
        {vcam::TransferStatus::kCompleted, LIBUSB_TRANSFER_COMPLETED},
        {vcam::TransferStatus::kStall, LIBUSB_TRANSFER_STALL},
        {vcam::TransferStatus::kOverflow, LIBUSB_TRANSFER_OVERFLOW},
        {vcam::TransferStatus::kError, LIBUSB_TRANSFER_ERROR},
        {vcam::TransferStatus::kNoDevice, LIBUSB_TRANSFER_NO_DEVICE},
    };
    TestTransfer transfer(m_handle, 64);
    int completions = 0;
    for (const auto& [device, expected] : table) {
        m_camera->QueueIn(0x81, {9}, device);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        ASSERT_TRUE(Pump(transfer, ++completions));
        EXPECT_EQ(transfer.Status(), expected);
    }
}

TEST_F(AsyncTransfer, IsochronousPacketsLieAtTheirNominalPlaces)
{
    ASSERT_EQ(libusb_claim_interface(m_handle, 3), LIBUSB_SUCCESS);
    ASSERT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 1), LIBUSB_SUCCESS);
    m_camera->QueueIso(0x82, {{{1, 2}}, {{}}, {{3}, vcam::TransferStatus::kError}});
    std::vector<unsigned char> buffer(3 * 8);
    libusb_transfer* const transfer = libusb_alloc_transfer(3);
    bool done = false;
    libusb_fill_iso_transfer(
        transfer, m_handle, 0x82, buffer.data(), static_cast<int>(buffer.size()), 3,
        [](libusb_transfer* completed) { *static_cast<bool*>(completed->user_data) = true; }, &done,
        1000);
    libusb_set_iso_packet_lengths(transfer, 8);
    ASSERT_EQ(libusb_submit_transfer(transfer), LIBUSB_SUCCESS);
    ASSERT_TRUE(WaitUntil([&] {
        HandleEvents(10);
        return done;
    }));
    EXPECT_EQ(transfer->status, LIBUSB_TRANSFER_COMPLETED);
    EXPECT_EQ(transfer->iso_packet_desc[0].actual_length, 2u);
    EXPECT_EQ(transfer->iso_packet_desc[1].actual_length, 0u);
    EXPECT_EQ(transfer->iso_packet_desc[2].actual_length, 1u);
    EXPECT_EQ(transfer->iso_packet_desc[2].status, LIBUSB_TRANSFER_ERROR);
    EXPECT_EQ(buffer[1], 2);
    EXPECT_EQ(buffer[16], 3);
    libusb_free_transfer(transfer);
}

TEST_F(AsyncTransfer, EndpointOfAnotherSettingCannotBeUsed)
{
    ASSERT_EQ(libusb_claim_interface(m_handle, 3), LIBUSB_SUCCESS);
    TestTransfer transfer(m_handle, 64, 0, 0x82);
    EXPECT_EQ(transfer.Submit(), LIBUSB_ERROR_IO);
}

}  // namespace
