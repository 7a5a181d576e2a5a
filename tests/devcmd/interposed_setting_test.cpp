// A host that takes the selecting of alternate settings in front of libusb: the
// release of the libusb behind says nothing about what it does.
#include <dlfcn.h>

#include "usb/camera_device.h"
#include "tests/devcmd/controller_fixture.h"

namespace {

int g_selected = 0;

}  // namespace

extern "C" int LIBUSB_CALL libusb_set_interface_alt_setting(libusb_device_handle* handle,
                                                            int interface, int setting)
{
    ++g_selected;
    const auto next = reinterpret_cast<decltype(&libusb_set_interface_alt_setting)>(
        dlsym(RTLD_NEXT, "libusb_set_interface_alt_setting"));
    return next(handle, interface, setting);
}

namespace {

class InterposedSetting : public BusTest {
};

TEST_F(InterposedSetting, NeedsNoLookAtTheDeviceList)
{
    m_bus.SetVersion(26, 11724);  // one that must not be asked for an absent device
    UsbContext context;
    CameraDevice camera(context);
    ASSERT_TRUE(camera.Open(TORVIK_CAM_VENDOR_ID, TORVIK_CAM_PRODUCT_ID));
    ASSERT_EQ(camera.Claim(0), 0);
    camera.HeedLoss();
    EXPECT_EQ(camera.SelectSetting(0, 0), 0);
    EXPECT_EQ(g_selected, 1);
    EXPECT_EQ(m_bus.CallCount("libusb_set_interface_alt_setting"), 1U);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_list"), 0U);
    camera.Close();
    context.Exit();
}

}  // namespace
