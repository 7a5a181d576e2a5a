// A device that leaves the bus, and one that comes back.
#include "tests/standin/standin_fixture.h"

namespace {

using Unplug = StandinTest;

TEST_F(Unplug, TransfersCompleteWithNoDeviceInAPass)
{
    TestTransfer first(m_handle, 64);
    TestTransfer second(m_handle, 64);
    ASSERT_EQ(first.Submit(), LIBUSB_SUCCESS);
    ASSERT_EQ(second.Submit(), LIBUSB_SUCCESS);
    m_camera->Plug(false);
    EXPECT_EQ(first.Completions(), 0);
    ASSERT_TRUE(Pump(second));
    EXPECT_EQ(first.Completions(), 1);
    EXPECT_EQ(first.Status(), LIBUSB_TRANSFER_NO_DEVICE);
    EXPECT_EQ(second.Status(), LIBUSB_TRANSFER_NO_DEVICE);
}

TEST_F(Unplug, SleepingEventHandlerNoticesAtOnce)
{
    TestTransfer transfer(m_handle, 64);
    ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
    std::thread handler([&] {
        while (transfer.Completions() == 0)
            HandleEvents(60000);
    });
    ASSERT_TRUE(WaitUntil([&] { return libusb_event_handler_active(m_context) == 1; }));
    m_camera->Plug(false);
    handler.join();
    EXPECT_EQ(transfer.Status(), LIBUSB_TRANSFER_NO_DEVICE);
}

TEST_F(Unplug, CallsFailWithNoDevice)
{
    m_camera->Plug(false);
    Bytes reply(3);
    TestTransfer transfer(m_handle, 64);
    int configuration = 0;
    EXPECT_EQ(GetCur(reply), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(transfer.Submit(), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(libusb_claim_interface(m_handle, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(libusb_get_configuration(m_handle, &configuration), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(libusb_kernel_driver_active(m_handle, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(libusb_release_interface(m_handle, 1), LIBUSB_ERROR_NO_DEVICE);
}

// In that release the handle's lock is broken afterwards.
TEST_F(Unplug, AlternateSettingOfAnAbsentDeviceIsMisuseOfRelease26Only)
{
    m_camera->Plug(false);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 1, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_TRUE(m_bus.Misuse().empty());
    m_bus.SetVersion(26, 11724);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 1, 0), LIBUSB_ERROR_NO_DEVICE);
    ASSERT_EQ(m_bus.Misuse().size(), 1u);
    EXPECT_EQ(m_bus.Misuse()[0], "libusb_set_interface_alt_setting: the device has gone");
    m_bus.ClearMisuse();
}

TEST_F(Unplug, ControlRequestUnderWayFailsWithNoDevice)
{
    m_camera->HoldControls(true);
    std::thread puller([&] {
        m_bus.WaitForCalls("libusb_control_transfer", 1, kPatience);
        m_camera->Plug(false);
    });
    Bytes reply(3);
    EXPECT_EQ(GetCur(reply, 30000), LIBUSB_ERROR_NO_DEVICE);
    puller.join();
}

TEST_F(Unplug, DeviceListNoLongerShowsIt)
{
    m_camera->Plug(false);
    libusb_device** list = nullptr;
    EXPECT_EQ(libusb_get_device_list(m_context, &list), 0);
    libusb_free_device_list(list, 1);
    EXPECT_EQ(libusb_open_device_with_vid_pid(m_context, TORVIK_CAM_VENDOR_ID,
                                              TORVIK_CAM_PRODUCT_ID),
              nullptr);
}

TEST_F(Unplug, ReplugIsANewDevice)
{
    libusb_device* const before = libusb_get_device(m_handle);
    const auto address = libusb_get_device_address(before);
    // Out and in again before anybody looks.
    m_camera->Plug(false);
    m_camera->Plug(true);
    libusb_device_handle* const again = libusb_open_device_with_vid_pid(
        m_context, TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID);
    ASSERT_NE(again, nullptr);
    EXPECT_NE(libusb_get_device(again), before);
    EXPECT_NE(libusb_get_device_address(libusb_get_device(again)), address);
    EXPECT_EQ(libusb_claim_interface(again, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_claim_interface(m_handle, 0), LIBUSB_ERROR_NO_DEVICE);
    libusb_close(again);
}

TEST_F(Unplug, CleanUpAfterUnplugLeavesNothing)
{
    {
        TestTransfer transfer(m_handle, 64);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        m_bus.Detach(m_camera);
        ASSERT_TRUE(Pump(transfer));
    }
    CloseAll();
    EXPECT_TRUE(BusIsClean());
    EXPECT_EQ(m_camera.use_count(), 1);  // the bus holds on to nothing
}

}  // namespace
