// A host that takes the selecting of alternate settings in front of libusb: the
// release of the libusb behind says nothing about what it does.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <memory>

#include "tests/support/bus_check.h"
#include "tests/support/scripted_camera.h"
#include "usb/usb_identity.h"
#include "video/video_event_thread.h"
#include "virtual_camera/standin/bus.h"

using test_support::ScriptedCamera;
using vcam::standin::Bus;

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

TEST(InterposedSetting, NeedsNoLookAtTheDeviceList)
{
    Bus& bus = Bus::Instance();
    bus.Attach(std::make_shared<ScriptedCamera>());
    bus.SetVersion(26, 11724);  // one that must not be asked for an absent device
    auto transport = std::make_unique<CKEL_CAM_LIB>();
    ASSERT_EQ(transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
    bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_NO_DEVICE);
    ASSERT_EQ(transport->RequestKeyFrame(), 0) << "the sign that the device is gone";
    transport->DisableStream();
    EXPECT_EQ(g_selected, 2) << "by the opening, too";
    EXPECT_EQ(bus.CallCount("libusb_set_interface_alt_setting"), 2U);
    EXPECT_EQ(bus.CallCount("libusb_get_device_list"), 0U);
    transport.reset();
    EXPECT_TRUE(test_support::BusIsClean());
    bus.Reset();
}

}  // namespace
