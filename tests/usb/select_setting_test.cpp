// Choosing alternate settings while the device may go.
#include "tests/devcmd/controller_fixture.h"
#include "usb/camera_device.h"

namespace {

class SelectSettingOf : public BusTest {
protected:
    void SetUp() override
    {
        m_bus.SetVersion(26, 11724);  // one that must not be asked for an absent device
        ASSERT_TRUE(m_camera.Open(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID));
        ASSERT_EQ(m_camera.Claim(0), 0);
        m_camera.HeedLoss();
    }
    void TearDown() override
    {
        m_camera.Close();
        m_context.Exit();
        BusTest::TearDown();
    }
    std::size_t Asked() const { return m_bus.CallCount("libusb_set_interface_alt_setting"); }

    UsbContext m_context;
    CameraDevice m_camera{m_context};
};

TEST_F(SelectSettingOf, PresentDeviceIsLibusbsOwnResult)
{
    EXPECT_EQ(m_camera.SelectSetting(0, 0), 0);
    EXPECT_EQ(m_camera.SelectSetting(0, 7), LIBUSB_ERROR_NOT_FOUND);
    EXPECT_EQ(Asked(), 2U);
}

TEST_F(SelectSettingOf, DeviceThatNothingSaysIsGoneIsNotLookedFor)
{
    m_camera.Close();
    ASSERT_TRUE(m_camera.Open(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID));
    ASSERT_EQ(m_camera.Claim(0), 0);
    EXPECT_EQ(m_camera.SelectSetting(0, 0), 0);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U);
}

TEST_F(SelectSettingOf, CallThatSaidNoDeviceIsEnough)
{
    m_camera.Close();
    ASSERT_TRUE(m_camera.Open(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID));
    m_controller->Plug(false);
    EXPECT_EQ(m_camera.Claim(0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(m_camera.SelectSetting(0, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Asked(), 0U);
}

TEST_F(SelectSettingOf, AbsentDeviceIsNotAskedFor)
{
    m_controller->Plug(false);
    EXPECT_EQ(m_camera.SelectSetting(0, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Asked(), 0U);
}

TEST_F(SelectSettingOf, AbsentDeviceIsLeftToEveryOtherLibusb)
{
    m_controller->Plug(false);
    for (const auto& [micro, nano] : {std::pair{26, 0}, {24, 11584}, {27, 11882}}) {
        m_bus.SetVersion(static_cast<std::uint16_t>(micro), static_cast<std::uint16_t>(nano));
        EXPECT_EQ(m_camera.SelectSetting(0, 0), LIBUSB_ERROR_NO_DEVICE);
    }
    EXPECT_EQ(Asked(), 3U);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U);
}

TEST_F(SelectSettingOf, PresentDeviceIsLookedForInTheList)
{
    EXPECT_EQ(m_camera.SelectSetting(0, 0), 0);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 1U);
}

TEST_F(SelectSettingOf, DeviceThatIsBackIsAnotherOne)
{
    m_controller->Plug(false);
    libusb_device** list = nullptr;
    ASSERT_EQ(libusb_get_device_list(m_context.Get(), &list), 0);
    libusb_free_device_list(list, 1);
    m_controller->Plug(true);
    EXPECT_EQ(m_camera.SelectSetting(0, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Asked(), 0U);
}

TEST_F(SelectSettingOf, DeviceIsNotAskedWhenTheListFails)
{
    m_bus.FailCall("libusb_get_device_list", 0, LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(m_camera.SelectSetting(0, 0), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Asked(), 0U);
}

}  // namespace
