// Synchronous transfers finish through event passes.
#include "tests/standin/standin_fixture.h"

namespace {

using Sync = StandinTest;

TEST_F(Sync, ControlRequestHandlesEventsItselfWhenNobodyDoes)
{
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply), 3);
    EXPECT_EQ(reply, (Bytes{0xC0, 0x5D, 0x00}));
}

TEST_F(Sync, OtherCompletionsRunOnTheThreadThatSendsAControlRequest)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply), 3);
    EXPECT_EQ(transfer.Completions(), 1);
    EXPECT_EQ(transfer.Thread(), std::this_thread::get_id());
}

TEST_F(Sync, ControlRequestFinishesThroughTheThreadThatHandlesEvents)
{
    EventThread events(m_context);
    ASSERT_TRUE(WaitUntil([&] { return libusb_event_handler_active(m_context) == 1; }));
    for (int i = 0; i < 50; ++i) {
        Bytes reply(3);
        ASSERT_EQ(GetCur(reply), 3);
    }
}

TEST_F(Sync, ControlRequestWaitsWhileTheHandlerIsStuckInACallBack)
{
    TestTransfer transfer(m_handle, 64);
    std::atomic<bool> inside{false};
    std::atomic<bool> leave{false};
    transfer.then = [&] {
        inside = true;
        WaitUntil([&] { return leave.load(); });
    };
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    EventThread events(m_context);
    ASSERT_TRUE(WaitUntil([&] { return inside.load(); }));

    std::atomic<int> result{0};
    std::thread control([&] {
        Bytes reply(3);
        result = GetCur(reply);
    });
    // The request reaches the device, but nobody brings its answer back.
    ASSERT_TRUE(m_camera->WaitReceived([](const test_support::Received& received) {
        return received.kind == test_support::Received::kControl;
    }));
    EXPECT_EQ(result, 0);
    leave = true;
    control.join();
    EXPECT_EQ(result, 3);
}

TEST_F(Sync, ControlRequestInsideACallBackIsBusy)
{
    TestTransfer transfer(m_handle, 64);
    int result = 0;
    transfer.then = [&] {
        Bytes reply(3);
        result = GetCur(reply);
    };
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    ASSERT_TRUE(Pump(transfer));
    EXPECT_EQ(result, LIBUSB_ERROR_BUSY);
}

TEST_F(Sync, CallBackMaySubmitAndCancel)
{
    TestTransfer first(m_handle, 64);
    TestTransfer second(m_handle, 64);
    first.then = [&] {
        EXPECT_EQ(second.Submit(), LIBUSB_SUCCESS);
        EXPECT_EQ(second.Cancel(), LIBUSB_SUCCESS);
    };
    ASSERT_EQ(first.Submit(), LIBUSB_SUCCESS);
    m_camera->QueueIn(0x81, {1});
    ASSERT_TRUE(Pump(second));
    EXPECT_EQ(second.Status(), LIBUSB_TRANSFER_CANCELLED);
}

TEST_F(Sync, SlowDeviceRunsIntoTheTimeOutAndRecovers)
{
    m_camera->HoldControls(true);
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply, 20), LIBUSB_ERROR_TIMEOUT);
    m_camera->HoldControls(false);
    EXPECT_EQ(GetCur(reply), 3);
}

TEST_F(Sync, DelayedAnswerArrives)
{
    m_camera->HoldControls(true);
    std::thread device([&] {
        m_bus.WaitForCalls("libusb_control_transfer", 1, kPatience);
        m_camera->HoldControls(false);
    });
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply, 30000), 3);
    device.join();
}

TEST_F(Sync, ControlRequestsOfTwoContextsShareThePipe)
{
    libusb_context* other = nullptr;
    ASSERT_EQ(libusb_init(&other), LIBUSB_SUCCESS);
    libusb_device_handle* const handle =
        libusb_open_device_with_vid_pid(other, TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    ASSERT_NE(handle, nullptr);
    const auto ask = [](libusb_device_handle* device) {
        for (int i = 0; i < 100; ++i) {
            unsigned char reply[3];
            ASSERT_EQ(
                libusb_control_transfer(device, 0xA2, 0x81, 0x0100, 0x0082, reply, 3, 30000), 3);
        }
    };
    std::thread second(ask, handle);
    ask(m_handle);
    second.join();
    libusb_close(handle);
    libusb_exit(other);
}

TEST_F(Sync, UnknownRequestIsAPipeError)
{
    unsigned char reply[4];
    EXPECT_EQ(libusb_control_transfer(m_handle, 0xA1, 0x81, 0x7700, 0, reply, 4, 1000),
              LIBUSB_ERROR_PIPE);
}

TEST_F(Sync, StandardRequestsAreAnsweredFromTheDescriptors)
{
    unsigned char descriptor[18];
    ASSERT_EQ(libusb_get_descriptor(m_handle, LIBUSB_DT_DEVICE, 0, descriptor, 18), 18);
    EXPECT_EQ(Bytes(descriptor, descriptor + 18), m_camera->DeviceDescriptor());
    unsigned char text[16];
    EXPECT_EQ(libusb_get_string_descriptor_ascii(m_handle, 2, text, sizeof text), 3);
    EXPECT_STREQ(reinterpret_cast<const char*>(text), "Cam");
}

TEST_F(Sync, BulkOutReachesTheDevice)
{
    ASSERT_EQ(libusb_claim_interface(m_handle, 4), LIBUSB_SUCCESS);
    unsigned char data[] = {5, 6, 7};
    int moved = 0;
    EXPECT_EQ(libusb_bulk_transfer(m_handle, 0x01, data, 3, &moved, 1000), LIBUSB_SUCCESS);
    EXPECT_EQ(moved, 3);
    const auto received = m_camera->Of(test_support::Received::kBulkOut);
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].data, (Bytes{5, 6, 7}));
}

TEST_F(Sync, BulkInReturnsWhatCame)
{
    m_camera->QueueIn(0x81, {1, 2});
    unsigned char data[8];
    int moved = 0;
    EXPECT_EQ(libusb_bulk_transfer(m_handle, 0x81, data, sizeof data, &moved, 1000),
              LIBUSB_SUCCESS);
    EXPECT_EQ(moved, 2);
    EXPECT_EQ(libusb_bulk_transfer(m_handle, 0x81, data, sizeof data, &moved, 10),
              LIBUSB_ERROR_TIMEOUT);
    EXPECT_EQ(moved, 0);
}

}  // namespace
