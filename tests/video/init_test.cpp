// Opening and closing of the video function.
#include "tests/video/video_fixture.h"

namespace {

constexpr char kStreamingOk[] = "Init/4: libusb_claim_interface (VideoStreaming) ok!\n";
constexpr char kControlOk[] = "Init/4: libusb_claim_interface (VideoControl) ok!\n";

class VideoInit : public VideoTest {
protected:
    VideoInit() { m_bus.EnableCallLog(); }

    /// The opening's result, its calls alone recorded.
    int Open(int vendor_id = CAM_VENDOR_ID, int product_id = CAM_PRODUCT_ID)
    {
        m_transport = std::make_unique<CLibUSB_UvcCtrl>();
        m_bus.ClearCallLog();
        return m_transport->Init(vendor_id, product_id);
    }
    void TearDown() override
    {
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }

    std::unique_ptr<CLibUSB_UvcCtrl> m_transport;
};

TEST_F(VideoInit, ConstructorOnlyStartsLibusb)
{
    m_transport = std::make_unique<CLibUSB_UvcCtrl>();
    EXPECT_THAT(CallLines(), ElementsAre("init"));
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(VideoInit, ClaimsStreamingThenControlAndSelectsSettingZero)
{
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(CallLines(),
                ElementsAre("open 1209:0001", "get_device", "get_configuration",
                            "kernel_driver_active 1", "kernel_driver_active 0",
                            "claim_interface 1", "claim_interface 0", "setting 1 0"));
    EXPECT_THAT(LogLines(m_log), ElementsAre(kStreamingOk, kControlOk));
}

TEST_F(VideoInit, OnlyTheLow16BitsOfTheIdentityCount)
{
    EXPECT_EQ(Open(0x50000 | CAM_VENDOR_ID, 0x70000 | CAM_PRODUCT_ID), 0);
    EXPECT_EQ(CallLines().front(), "open 1209:0001");
}

TEST_F(VideoInit, FallsBackToTheOtherIdentityAndSaysSo)
{
    m_bus.DetachAll();
    m_bus.Attach(std::make_shared<ScriptedCamera>(CTRL_FALLBACK_VENDOR_ID, CTRL_FALLBACK_PRODUCT_ID));
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(CallLines("open"), ElementsAre("open 1209:0001", "open 1209:0003"));
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: Found an KEL device VID=0x1209, PID=0x3\r\n",
                                             kStreamingOk, kControlOk));
}

TEST_F(VideoInit, AbsentDeviceFailsAfterBothIdentities)
{
    m_bus.DetachAll();
    EXPECT_EQ(Open(), -1);
    EXPECT_THAT(CallLines(), ElementsAre("open 1209:0001", "open 1209:0003"));
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: KEL Camera Device not found\n"));
}

TEST_F(VideoInit, WithoutLibusbThereIsNoDevice)
{
    m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(Open(), -1);
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: KEL Camera Device not found\n"));
}

TEST_F(VideoInit, UnreadableConfigurationClosesTheDevice)
{
    m_bus.FailCall("libusb_get_configuration", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(Open(), -1);
    EXPECT_THAT(CallLines(),
                ElementsAre("open 1209:0001", "get_device", "get_configuration", "close"));
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: libusb_get_configuration Error!\n"));
}

TEST_F(VideoInit, ClosedDeviceIsNotClosedAgainByTheDestructor)
{
    m_bus.FailCall("libusb_get_configuration", 1, LIBUSB_ERROR_IO);
    EXPECT_EQ(Open(), -1);
    m_bus.ClearCallLog();
    m_transport.reset();
    EXPECT_THAT(CallLines(), ElementsAre("exit"));
}

TEST_F(VideoInit, KernelDriversAreDetachedInterfaceByInterface)
{
    m_bus.DetachAll();
    m_bus.Attach(m_camera, {true});
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(CallLines(),
                ElementsAre("open 1209:0001", "get_device", "get_configuration",
                            "kernel_driver_active 1", "detach_kernel_driver 1",
                            "kernel_driver_active 0", "detach_kernel_driver 0",
                            "claim_interface 1", "claim_interface 0", "setting 1 0"));
}

TEST_F(VideoInit, FailedQueryForAKernelDriverCountsAsActive)
{
    m_bus.FailCall("libusb_kernel_driver_active", 1, LIBUSB_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(CallLines("detach"), ElementsAre("detach_kernel_driver 1"));
}

TEST_F(VideoInit, FailedDetachIsLoggedAndOpeningGoesOn)
{
    m_bus.DetachAll();
    m_bus.Attach(m_camera, {true});
    m_bus.FailCall("libusb_detach_kernel_driver", 1, LIBUSB_ERROR_NOT_FOUND,
                   [](const Call& call) { return call.interface_number == 0; });
    Open();
    const std::vector<std::string> lines = LogLines(m_log);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], "Init/4: libusb_detach_kernel_driver fail!(-5)\n");
    EXPECT_EQ(lines[1], kStreamingOk);
}

TEST_F(VideoInit, RefusedStreamingInterfaceClosesTheDevice)
{
    m_bus.FailCall("libusb_claim_interface", 1, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(Open(), -1);
    EXPECT_THAT(CallLines("claim"), ElementsAre("claim_interface 1"));
    EXPECT_EQ(CallLines().back(), "close");
    EXPECT_THAT(CallLines("release"), IsEmpty());
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("Init/4: libusb_claim_interface (VideoStreaming) fail!(-6)\n"));
}

TEST_F(VideoInit, RefusedControlInterfaceGivesTheOtherOneBack)
{
    m_bus.FailCall("libusb_claim_interface", 2, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(Open(), -1);
    const std::vector<std::string> calls = CallLines();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[calls.size() - 2], "release_interface 1");
    EXPECT_EQ(calls.back(), "close");
    EXPECT_THAT(LogLines(m_log),
                ElementsAre(kStreamingOk,
                            "Init/4: libusb_claim_interface (VideoControl) fail!(-6)\n"));
}

TEST_F(VideoInit, RefusedSettingIsLoggedAndIgnored)
{
    m_bus.FailCall("libusb_set_interface_alt_setting", 1, LIBUSB_ERROR_OTHER);
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(LogLines(m_log),
                ElementsAre(kStreamingOk, kControlOk,
                            "Init/4: libusb_set_interface_alt_setting (VideoStream) fail!(-99)\n"));
}

TEST_F(VideoInit, FailedOpeningCanBeRepeated)
{
    m_bus.FailCall("libusb_claim_interface", 1, LIBUSB_ERROR_BUSY);
    EXPECT_EQ(Open(), -1);
    EXPECT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
}

TEST_F(VideoInit, DestructorReleasesStreamingThenControlAndCloses)
{
    ASSERT_EQ(Open(), 0);
    m_bus.ClearCallLog();
    m_log.Clear();
    m_transport.reset();
    EXPECT_THAT(CallLines(),
                ElementsAre("release_interface 1", "release_interface 0", "close", "exit"));
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("~CLibUSB_UvcCtrl/4: LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n"));
}

TEST_F(VideoInit, DestructorWithoutADeviceOnlyEndsLibusb)
{
    m_transport = std::make_unique<CLibUSB_UvcCtrl>();
    m_bus.ClearCallLog();
    m_transport.reset();
    EXPECT_THAT(CallLines(), ElementsAre("exit"));
    EXPECT_THAT(LogLines(m_log),
                ElementsAre("~CLibUSB_UvcCtrl/4: LibUSB_UvcCtrl::~CLibUSB_UvcCtrl()\r\n"));
}

}  // namespace
