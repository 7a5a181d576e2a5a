// Opening and closing the controller.
#include "tests/devcmd/controller_fixture.h"
#include "tests/devcmd/libusb_objects.h"

namespace {

constexpr std::uint16_t kVendor = TORVIK_CAM_VENDOR_ID;
constexpr std::uint16_t kProduct = TORVIK_CAM_PRODUCT_ID;
constexpr char kOpen[] = "OpenKelDevice";

class OpenDevice : public BusTest {
protected:
    const Call* CallOf(const std::string& function)
    {
        m_calls = Calls();
        for (const Call& call : m_calls)
            if (call.function == function)
                return &call;
        return nullptr;
    }
    std::vector<Call> m_calls;
};

TEST_F(OpenDevice, ClaimsTheInterfaceAndKeepsWhatItOpened)
{
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 2);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->handle, libusb_objects::Handle());
    EXPECT_EQ(device->context, libusb_objects::Context());
    EXPECT_EQ(device->interface, 2);
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_open",
                            "libusb_detach_kernel_driver", "libusb_claim_interface",
                            "libusb_free_device_list"));
    EXPECT_EQ(CallOf("libusb_detach_kernel_driver")->interface_number, 2);
    EXPECT_EQ(CallOf("libusb_claim_interface")->interface_number, 2);
    EXPECT_EQ(CallOf("libusb_free_device_list")->value, 1);
    CloseKelDevice(device);
}

TEST_F(OpenDevice, LogsItsSteps)
{
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 2);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"},
                    Line{4, kOpen, "get device list.\r\n"},
                    Line{4, kOpen, "found a usb device.\r\n"},
                    Line{4, kOpen, "OpenKelDevice claim interface. interface=2 hr=0\r\n"}));
    CloseKelDevice(device);
}

TEST_F(OpenDevice, Interface255ClaimsNothingAndLogsResultZero)
{
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 255);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->interface, 255);
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_open",
                            "libusb_free_device_list"));
    EXPECT_THAT(Lines().back(),
                (Line{4, kOpen, "OpenKelDevice claim interface. interface=255 hr=0\r\n"}));
    CloseKelDevice(device);
}

TEST_F(OpenDevice, CloseOfInterface255ReleasesNothing)
{
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 255);
    Forget();
    CloseKelDevice(device);
    EXPECT_THAT(CallNames(), ElementsAre("libusb_close", "libusb_exit"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OpenDevice, CloseReleasesTheInterfaceThenClosesThenExits)
{
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 1);
    const void* const handle = device->handle;
    Forget();
    CloseKelDevice(device);
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_release_interface", "libusb_close", "libusb_exit"));
    EXPECT_EQ(CallOf("libusb_release_interface")->interface_number, 1);
    EXPECT_EQ(CallOf("libusb_close")->handle, handle);
}

TEST_F(OpenDevice, CloseReleasesInterface254AndBelowSigned)
{
    for (const int interface : {254, 0, -1}) {
        auto* const device = new _KelDevHandle{nullptr, nullptr, interface};
        ASSERT_EQ(libusb_init(&device->context), 0);
        device->handle = libusb_open_device_with_vid_pid(device->context, kVendor, kProduct);
        Forget();
        CloseKelDevice(device);
        ASSERT_NE(CallOf("libusb_release_interface"), nullptr) << interface;
        EXPECT_EQ(CallOf("libusb_release_interface")->interface_number, interface);
    }
    m_bus.ClearMisuse();  // none of these were claimed
}

TEST_F(OpenDevice, CloseOfNullIsIgnored)
{
    CloseKelDevice(nullptr);
    EXPECT_THAT(CallNames(), IsEmpty());
}

TEST_F(OpenDevice, CloseDoesNotAttachTheKernelDriverAgain)
{
    m_bus.DetachAll();
    vcam::standin::AttachOptions options;
    options.kernel_drivers = true;
    m_bus.Attach(m_controller, options);
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 0);
    ASSERT_NE(device, nullptr);
    CloseKelDevice(device);
    EXPECT_EQ(m_bus.CallCount("libusb_attach_kernel_driver"), 0U);
}

TEST_F(OpenDevice, DetachesAKernelDriver)
{
    m_bus.DetachAll();
    vcam::standin::AttachOptions options;
    options.kernel_drivers = true;
    m_bus.Attach(m_controller, options);
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 0);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(libusb_kernel_driver_active(device->handle, 0), 0);
    CloseKelDevice(device);
}

TEST_F(OpenDevice, ResultOfTheDetachIsIgnored)
{
    m_bus.FailCall("libusb_detach_kernel_driver", 1, LIBUSB_ERROR_NO_DEVICE);
    _KelDevHandle* const device = OpenKelDevice(kVendor, kProduct, 0);
    EXPECT_NE(device, nullptr);
    CloseKelDevice(device);
}

TEST_F(OpenDevice, EachHandleHasAContextOfItsOwn)
{
    _KelDevHandle* const first = OpenKelDevice(kVendor, kProduct, 255);
    _KelDevHandle* const second = OpenKelDevice(kVendor, kProduct, 255);
    EXPECT_NE(first->context, second->context);
    CloseKelDevice(first);
    CloseKelDevice(second);
}

TEST_F(OpenDevice, FailedInitIsLoggedAndReturnsNull)
{
    m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"},
                            Line{1, kOpen, "libusb_init return error 0xFFFFFFF5,\r\n"}));
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init"));
}

TEST_F(OpenDevice, FailedInitThatSetAContextClosesIt)
{
    libusb_objects::FailNextInitWithContext(LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init", "libusb_exit"));
}

TEST_F(OpenDevice, NegativeCountIsLoggedAndTheContextClosed)
{
    m_bus.FailCall("libusb_get_device_list", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"},
                            Line{1, kOpen, "libusb_get_device_list error 0xffffffff \r\n"}));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list", "libusb_exit"));
}

TEST_F(OpenDevice, NegativeCountWithAListFreesTheList)
{
    libusb_objects::FailNextListWithList(LIBUSB_ERROR_IO);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init", "libusb_get_device_list",
                                         "libusb_free_device_list", "libusb_exit"));
}

TEST_F(OpenDevice, NullListClosesTheContextSilently)
{
    m_bus.FailCall("libusb_get_device_list", 1, 0);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"}));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list", "libusb_exit"));
}

TEST_F(OpenDevice, AbsentDeviceIsLoggedAndEverythingGivenBack)
{
    EXPECT_EQ(OpenKelDevice(kVendor, 0x4321, 0), nullptr);
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"},
                            Line{4, kOpen, "get device list.\r\n"},
                            Line{1, kOpen, "No KEL device has been detected.\r\n"}));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_free_device_list",
                            "libusb_exit"));
}

TEST_F(OpenDevice, FailedOpenFreesTheListAndLeavesTheContextOpen)
{
    m_bus.FailCall("libusb_open", 1, LIBUSB_ERROR_ACCESS);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 0), nullptr);
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_open",
                            "libusb_free_device_list"));
    EXPECT_THAT(Lines(), ElementsAre(Line{4, kOpen, "libusb initialized. \r\n"},
                                     Line{4, kOpen, "get device list.\r\n"},
                                     Line{4, kOpen, "found a usb device.\r\n"}));
    const auto left = m_bus.Counters();
    EXPECT_EQ(left.contexts, 1);
    EXPECT_EQ(left.device_lists, 0);
    libusb_objects::GiveBackLeftovers();
}

TEST_F(OpenDevice, FailedClaimLeavesHandleListAndContextAsTheyAre)
{
    m_bus.FailCall("libusb_claim_interface", 1, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(OpenKelDevice(kVendor, kProduct, 3), nullptr);
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_open",
                            "libusb_detach_kernel_driver", "libusb_claim_interface"));
    EXPECT_THAT(Lines().back(),
                (Line{4, kOpen, "OpenKelDevice claim interface. interface=3 hr=-6\r\n"}));
    const auto left = m_bus.Counters();
    EXPECT_EQ(left.contexts, 1);
    EXPECT_EQ(left.device_lists, 1);
    EXPECT_EQ(left.handles, 1);
    libusb_objects::GiveBackLeftovers();
}

}  // namespace
