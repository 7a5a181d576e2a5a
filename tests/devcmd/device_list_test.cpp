// Looking for the controller without opening it.
#include "tests/devcmd/controller_fixture.h"
#include "tests/devcmd/libusb_objects.h"

namespace {

constexpr std::uint16_t kVendor = TORVIK_CAM_VENDOR_ID;
constexpr std::uint16_t kProduct = TORVIK_CAM_PRODUCT_ID;

class FindDevice : public BusTest {
protected:
    void SetUp() override
    {
        ASSERT_EQ(libusb_init(&m_context), 0);
        m_bus.DetachAll();
    }
    void TearDown() override
    {
        m_bus.ClearRules();
        libusb_free_device_list(m_list, 1);
        libusb_exit(m_context);
        BusTest::TearDown();
    }
    void Plug(std::uint16_t vendor, std::uint16_t product)
    {
        m_bus.Attach(std::make_shared<ScriptedDevice>(Layout::kBootLoaderUvc, vendor, product));
    }
    void TakeList()
    {
        ASSERT_GE(libusb_get_device_list(m_context, &m_list), 0);
        Forget();
    }

    libusb_context* m_context = nullptr;
    libusb_device** m_list = nullptr;
};

TEST_F(FindDevice, ReturnsTheFirstDeviceWithBothIds)
{
    Plug(0x1234, kProduct);
    Plug(kVendor, 0x4321);
    Plug(kVendor, kProduct);
    Plug(kVendor, kProduct);
    TakeList();
    EXPECT_EQ(FindKelDevice(m_list, kVendor, kProduct), m_list[2]);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_descriptor"), 3U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FindDevice, ReturnsNullAtTheEndOfTheList)
{
    Plug(0x1234, kProduct);
    Plug(kVendor, 0x4321);
    TakeList();
    EXPECT_EQ(FindKelDevice(m_list, kVendor, kProduct), nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FindDevice, ReturnsNullForAnEmptyList)
{
    TakeList();
    EXPECT_EQ(FindKelDevice(m_list, kVendor, kProduct), nullptr);
}

TEST_F(FindDevice, StopsAtTheFirstDeviceWhoseDescriptorCannotBeRead)
{
    Plug(0x1234, 0x4321);
    Plug(0x1234, 0x4322);
    Plug(kVendor, kProduct);
    TakeList();
    m_bus.FailCall("libusb_get_device_descriptor", 2, LIBUSB_ERROR_IO);
    EXPECT_EQ(FindKelDevice(m_list, kVendor, kProduct), nullptr);
    EXPECT_EQ(m_bus.CallCount("libusb_get_device_descriptor"), 2U);
    EXPECT_THAT(Lines(), ElementsAre(Line{1, "FindKelDevice", "failed to get device descriptor"}));
}

using CheckDevice = BusTest;

TEST_F(CheckDevice, FindsTheDeviceAndGivesEverythingBack)
{
    EXPECT_TRUE(CheckDeviceExist(kVendor, kProduct));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_free_device_list",
                            "libusb_exit"));
}

TEST_F(CheckDevice, LogsItsStepsWhenTheDeviceIsThere)
{
    CheckDeviceExist(kVendor, kProduct);
    const char* const name = "CheckDeviceExist";
    EXPECT_THAT(Lines(), ElementsAre(Line{4, name, "lubusb initialized. \r\n"},
                                     Line{4, name, "libusb_get_device_list\r\n"},
                                     Line{4, name, "device count=1.\r\n"},
                                     Line{4, name, "free device list\r\n"},
                                     Line{4, name, "libusb_exit\r\n"}));
}

TEST_F(CheckDevice, LogsItsLastStepsAsFatalWhenTheDeviceIsAbsent)
{
    EXPECT_FALSE(CheckDeviceExist(kVendor, 0x4321));
    const char* const name = "CheckDeviceExist";
    EXPECT_THAT(Lines(), ElementsAre(Line{4, name, "lubusb initialized. \r\n"},
                                     Line{4, name, "libusb_get_device_list\r\n"},
                                     Line{4, name, "device count=1.\r\n"},
                                     Line{1, name, "No KEL device has been detected.\r\n"},
                                     Line{1, name, "free device list\r\n"},
                                     Line{1, name, "libusb_exit\r\n"}));
}

TEST_F(CheckDevice, GivesEverythingBackWhenTheDeviceIsAbsent)
{
    EXPECT_FALSE(CheckDeviceExist(0x4321, kProduct));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list",
                            "libusb_get_device_descriptor", "libusb_free_device_list",
                            "libusb_exit"));
}

TEST_F(CheckDevice, LogsTheWholeEndBeforeItFreesTheListWhenTheDeviceIsAbsent)
{
    bool logged = false;
    m_bus.OnCall("libusb_free_device_list", vcam::standin::When::kBefore,
                 [&](const Call&) { logged = m_log.Contains("libusb_exit\r\n"); });
    CheckDeviceExist(kVendor, 0x4321);
    EXPECT_TRUE(logged);
}

TEST_F(CheckDevice, FreesTheListBetweenItsLastLinesWhenTheDeviceIsThere)
{
    bool free_logged = false;
    bool exit_logged = true;
    m_bus.OnCall("libusb_free_device_list", vcam::standin::When::kBefore, [&](const Call&) {
        free_logged = m_log.Contains("free device list\r\n");
        exit_logged = m_log.Contains("libusb_exit\r\n");
    });
    CheckDeviceExist(kVendor, kProduct);
    EXPECT_TRUE(free_logged);
    EXPECT_FALSE(exit_logged);
}

TEST_F(CheckDevice, FreesTheListWithTheCountSoThatDevicesAreUnreferenced)
{
    m_bus.Attach(std::make_shared<ScriptedDevice>(Layout::kBootLoaderUvc, 0x1234, 0x4321));
    CheckDeviceExist(kVendor, kProduct);
    for (const Call& call : Calls()) {
        if (call.function == "libusb_free_device_list") {
            EXPECT_EQ(call.value, 2);
        }
    }
    EXPECT_EQ(m_bus.CallCount("libusb_free_device_list"), 1U);
}

TEST_F(CheckDevice, FailedInitIsLoggedAfterTheOptimisticLine)
{
    m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_OTHER);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, "CheckDeviceExist", "lubusb initialized. \r\n"},
                            Line{1, "CheckDeviceExist",
                                 "libusb_init return error 0xFFFFFF9D,\r\n"}));
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init"));
}

TEST_F(CheckDevice, FailedInitThatSetAContextClosesIt)
{
    libusb_objects::FailNextInitWithContext(LIBUSB_ERROR_NO_MEM);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init", "libusb_exit"));
}

TEST_F(CheckDevice, NegativeCountIsLoggedAndTheContextClosed)
{
    m_bus.FailCall("libusb_get_device_list", 1, LIBUSB_ERROR_NO_MEM);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
    const char* const name = "CheckDeviceExist";
    EXPECT_THAT(Lines(),
                ElementsAre(Line{4, name, "lubusb initialized. \r\n"},
                            Line{4, name, "libusb_get_device_list\r\n"},
                            Line{4, name, "device count=-11.\r\n"},
                            Line{1, name, "libusb_get_device_list error 0xfffffff5 \r\n"}));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list", "libusb_exit"));
}

TEST_F(CheckDevice, NegativeCountWithAListFreesTheList)
{
    libusb_objects::FailNextListWithList(LIBUSB_ERROR_NO_MEM);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
    EXPECT_THAT(CallNames(), ElementsAre("libusb_init", "libusb_get_device_list",
                                         "libusb_free_device_list", "libusb_exit"));
}

TEST_F(CheckDevice, NullListClosesTheContextSilently)
{
    m_bus.FailCall("libusb_get_device_list", 1, 0);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
    const char* const name = "CheckDeviceExist";
    EXPECT_THAT(Lines(), ElementsAre(Line{4, name, "lubusb initialized. \r\n"},
                                     Line{4, name, "libusb_get_device_list\r\n"},
                                     Line{4, name, "device count=0.\r\n"}));
    EXPECT_THAT(CallNames(),
                ElementsAre("libusb_init", "libusb_get_device_list", "libusb_exit"));
}

TEST_F(CheckDevice, UnreadableDescriptorCountsAsAbsent)
{
    m_bus.FailCall("libusb_get_device_descriptor", 1, LIBUSB_ERROR_IO);
    EXPECT_FALSE(CheckDeviceExist(kVendor, kProduct));
}

}  // namespace
