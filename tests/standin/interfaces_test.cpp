// Device lists, claims, kernel drivers, descriptors.
#include "tests/standin/standin_fixture.h"

namespace {

using Interfaces = StandinTest;

class SecondHandle {
public:
    explicit SecondHandle(libusb_device_handle* first)
    {
        EXPECT_EQ(libusb_open(libusb_get_device(first), &m_handle), LIBUSB_SUCCESS);
    }
    ~SecondHandle() { libusb_close(m_handle); }
    libusb_device_handle* Get() { return m_handle; }

private:
    libusb_device_handle* m_handle = nullptr;
};

TEST_F(Interfaces, ClaimIsExclusive)
{
    SecondHandle other(m_handle);
    EXPECT_EQ(libusb_claim_interface(other.Get(), 1), LIBUSB_ERROR_BUSY);
    EXPECT_EQ(libusb_claim_interface(m_handle, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_release_interface(m_handle, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_claim_interface(other.Get(), 1), LIBUSB_SUCCESS);
}

TEST_F(Interfaces, UnknownInterfaceIsNotFound)
{
    EXPECT_EQ(libusb_claim_interface(m_handle, 9), LIBUSB_ERROR_NOT_FOUND);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 9, 0), LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(Interfaces, SettingNeedsAClaim)
{
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 1), LIBUSB_ERROR_NOT_FOUND);
    ASSERT_EQ(libusb_claim_interface(m_handle, 3), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 2), LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(Interfaces, CloseReturnsAStreamingInterfaceToItsIdleSetting)
{
    ASSERT_EQ(libusb_claim_interface(m_handle, 3), LIBUSB_SUCCESS);
    ASSERT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 1), LIBUSB_SUCCESS);
    CloseAll();
    const auto settings = m_camera->Of(test_support::Received::kSetting);
    ASSERT_EQ(settings.size(), 2u);
    EXPECT_EQ(settings[1].interface_number, 3u);
    EXPECT_EQ(settings[1].setting, 0u);
}

TEST_F(Interfaces, FailedSettingIsAnOtherError)
{
    ASSERT_EQ(libusb_claim_interface(m_handle, 3), LIBUSB_SUCCESS);
    m_camera->SetSettingStatus(vcam::TransferStatus::kStall);
    EXPECT_EQ(libusb_set_interface_alt_setting(m_handle, 3, 1), LIBUSB_ERROR_OTHER);
    m_camera->SetSettingStatus(vcam::TransferStatus::kCompleted);
}

TEST_F(Interfaces, KernelDriverBlocksTheClaimUntilDetached)
{
    auto camera = std::make_shared<ScriptedCamera>(0x4242, 0x0001);
    m_bus.Attach(camera, {true});
    libusb_device_handle* const handle = libusb_open_device_with_vid_pid(m_context, 0x4242, 1);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(libusb_kernel_driver_active(handle, 1), 1);
    EXPECT_EQ(libusb_claim_interface(handle, 1), LIBUSB_ERROR_BUSY);
    EXPECT_EQ(libusb_detach_kernel_driver(handle, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_detach_kernel_driver(handle, 1), LIBUSB_ERROR_NOT_FOUND);
    EXPECT_EQ(libusb_kernel_driver_active(handle, 1), 0);
    EXPECT_EQ(libusb_claim_interface(handle, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_kernel_driver_active(handle, 0), 1);
    EXPECT_EQ(libusb_set_auto_detach_kernel_driver(handle, 1), LIBUSB_SUCCESS);
    EXPECT_EQ(libusb_claim_interface(handle, 0), LIBUSB_SUCCESS);
    libusb_close(handle);
}

TEST_F(Interfaces, WithoutKernelDriversNoneIsActive)
{
    EXPECT_EQ(libusb_kernel_driver_active(m_handle, 0), 0);
    EXPECT_EQ(libusb_detach_kernel_driver(m_handle, 0), LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(Interfaces, MaximumPacketSizesComeFromTheDescriptors)
{
    libusb_device* const device = libusb_get_device(m_handle);
    EXPECT_EQ(libusb_get_max_packet_size(device, 0x81), 512);
    EXPECT_EQ(libusb_get_max_iso_packet_size(device, 0x82), 192);
    EXPECT_EQ(libusb_get_max_packet_size(device, 0x8F), LIBUSB_ERROR_NOT_FOUND);
}

TEST_F(Interfaces, DeviceListShowsTheCameraOnce)
{
    libusb_device** list = nullptr;
    ASSERT_EQ(libusb_get_device_list(m_context, &list), 1);
    EXPECT_EQ(list[0], libusb_get_device(m_handle));
    EXPECT_EQ(list[1], nullptr);
    libusb_device_descriptor descriptor{};
    EXPECT_EQ(libusb_get_device_descriptor(list[0], &descriptor), LIBUSB_SUCCESS);
    EXPECT_EQ(descriptor.idVendor, TORVIK_CAM_VENDOR_ID);
    EXPECT_EQ(descriptor.idProduct, TORVIK_CAM_PRODUCT_ID);
    libusb_free_device_list(list, 1);
}

TEST_F(Interfaces, ConfigurationDescriptorIsATree)
{
    libusb_config_descriptor* config = nullptr;
    ASSERT_EQ(libusb_get_active_config_descriptor(libusb_get_device(m_handle), &config),
              LIBUSB_SUCCESS);
    ASSERT_EQ(config->bNumInterfaces, 5);
    EXPECT_EQ(config->interface[1].num_altsetting, 1);
    EXPECT_EQ(config->interface[1].altsetting[0].endpoint[0].bEndpointAddress, 0x81);
    ASSERT_EQ(config->interface[3].num_altsetting, 2);
    EXPECT_EQ(config->interface[3].altsetting[0].bNumEndpoints, 0);
    EXPECT_EQ(config->interface[3].altsetting[1].endpoint[0].wMaxPacketSize, 192);
    EXPECT_EQ(m_bus.Counters().config_descriptors, 1);
    libusb_free_config_descriptor(config);
    EXPECT_EQ(m_bus.Counters().config_descriptors, 0);
}

}  // namespace
