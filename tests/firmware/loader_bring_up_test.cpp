// A camera that already runs its firmware, or none at all; the version report
// and the boot-code check.
#include "tests/firmware/loader_fixture.h"

namespace {

class BringUp : public LoaderTest {
protected:
    void StartWithCamera()
    {
        m_bus.Attach(m_camera);
        Start();
        ASSERT_TRUE(WaitForStatuses(1));
    }

    static void WriteBootCode(std::uint32_t version)
    {
        constexpr std::uint32_t kMagic = static_cast<std::uint32_t>(BOOTCODE_MAGIC) << 20;
        std::string image(0x2036, '\0');
        for (std::size_t i = 0; i < 4; ++i)
            image[0x2032 + i] = static_cast<char>((kMagic | version) >> (8 * i));
        TvRoot::Write(kBootCodePath, image);
    }
};

const Line kStart = RunLine(4, "CCameraFwLoader::Run()\r\n");
const Line kOpen =
    RunLine(4, "CCameraFwLoader::Run() Open device VID=0x1209, PID=0x2, Interface=2 \r\n");

TEST_F(BringUp, RunningCameraIsReadyWithoutADownload)
{
    StartWithCamera();
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_EQ(m_bus.CallCount("libusb_bulk_transfer"), 0U);
    EXPECT_EQ(CountRequests([](const Call& call) { return call.setup.value == 0x0400; }), 0U);
}

TEST_F(BringUp, RunningCameraIsLoggedStepByStep)
{
    if (TORVIK_CAM_VENDOR_ID != 0x1209 || TORVIK_CAM_BOOT_PRODUCT_ID != 2)
        GTEST_SKIP() << "other identities";
    StartWithCamera();
    m_loader->Stop();
    EXPECT_THAT(
        RunLines(),
        ElementsAre(
            kStart, kOpen, RunLine(4, "Exit OpenKelDevice. \r\n"),
            RunLine(4, "!!!!!!!!!!!! CCameraFwLoader:: Found a device with CAMERA vid/pid. "
                       "!!!!!!!!!!!!!\r\n"),
            RunLine(1, "Camera-Version:102.26.304"),
            RunLine(4, "Boot code file is [/mtd_rwarea/wiru/bin/TorvikBC.bin]\n"),
            RunLine(4, "Camera firmware ready. change status to CAMERA_STATUS_OK.\r\n"),
            RunLine(4, "Exit device mointer trhead.\r\n")));
}

TEST_F(BringUp, RunningCameraIsFoundAfterFiveRetriesAndOneSecond)
{
    m_on_report = [this](unsigned) {
        const auto sleeps = m_sleeps.All();
        EXPECT_EQ(sleeps.size(), 6U);
        EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 6U);
    };
    StartWithCamera();
}

TEST_F(BringUp, RunningCameraIsOpenedWithoutAnInterface)
{
    StartWithCamera();
    EXPECT_EQ(m_bus.CallCount("libusb_claim_interface"), 0U);
}

TEST_F(BringUp, RunningCameraNeverGetsABootCodeUpdate)
{
    WriteBootCode(0xFFFFF);
    StartWithCamera();
    EXPECT_EQ(CountRequests([](const Call& call) { return call.setup.value == 0x0400; }), 0U);
    EXPECT_TRUE(m_log.Contains("binary version is 0xFFFFF, device version is 0xFFFFFFFF\r\n"));
}

TEST_F(BringUp, VersionBytes010200000304GiveTheFileContents102Point26Point304)
{
    StartWithCamera();
    EXPECT_EQ(Report(), "102.26.304");
}

TEST_F(BringUp, VersionReportReplacesAnOlderOne)
{
    TvRoot::Write(kVersionReport, "a longer old version text");
    StartWithCamera();
    EXPECT_EQ(Report(), "102.26.304");
}

TEST_F(BringUp, MinorVersionHasAtLeastTwoDigits)
{
    Answer(*m_camera, {0, 0, 0, 1, 0xEE, 0xEE, 0, 5});
    StartWithCamera();
    EXPECT_EQ(Report(), "1.26.05");
}

TEST_F(BringUp, UnreadableVersionIsReportedAsZero)
{
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    StartWithCamera();
    EXPECT_EQ(Report(), "0.26.00");
    EXPECT_THAT(Statuses(), ElementsAre(0U));
}

TEST_F(BringUp, ReportThatCannotBeOpenedIsLoggedAndTheCameraIsReady)
{
    TvRoot::Write(std::string(kVersionReport) + "/file", "");
    StartWithCamera();
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_THAT(RunLines(), testing::Contains(RunLine(
                                1, "Can't open file. /dtv/cm_cam_version!!!\r\n")));
}

TEST_F(BringUp, WithoutACallBackItDoesNotSayReadyButWatches)
{
    m_bus.Attach(m_camera);
    Start(nullptr, false);
    ASSERT_TRUE(m_log.WaitFor(kChecking + "0\r\n"));
    EXPECT_FALSE(m_log.Contains("Camera firmware ready."));
}

TEST_F(BringUp, NobodyOnTheBusIsStatus1AfterFiveSeconds)
{
    m_bus.MarkConfigured();
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(1U));
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 5U);
    EXPECT_EQ(m_sleeps.All().size(), 5U);
    EXPECT_EQ(RunLines().back(),
              RunLine(1, "CCameraFwLoader: Libusb failed to open KEL device.\r\n"));
    EXPECT_FALSE(TvRoot::Exists(kVersionReport));
}

TEST_F(BringUp, NobodyOnTheBusIsLoggedBeforeItIsReported)
{
    m_on_report = [this](unsigned) {
        EXPECT_TRUE(m_log.Contains("CCameraFwLoader: Libusb failed to open KEL device.\r\n"));
    };
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(Statuses().size(), 1U);
}

TEST_F(BringUp, NobodyOnTheBusWithoutACallBackEndsTheThread)
{
    Start(nullptr, false);
    EXPECT_TRUE(WaitForTheEnd());
}

TEST_F(BringUp, CameraThatCannotBeOpenedIsStatus1)
{
    m_on_report = [this](unsigned) {
        EXPECT_FALSE(m_log.Contains("Failed to open camera device."));
    };
    m_bus.Attach(m_camera);
    m_bus.FailCall("libusb_open", 1, LIBUSB_ERROR_ACCESS);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(1U));
    EXPECT_EQ(RunLines().back(),
              RunLine(1, "CCameraFwLoader: Failed to open camera device. exit \r\n"));
    EXPECT_FALSE(TvRoot::Exists(kVersionReport));
}

TEST_F(BringUp, CameraThatCannotBeOpenedWithoutACallBackEndsTheThread)
{
    m_bus.Attach(m_camera);
    m_bus.FailCall("libusb_open", 1, LIBUSB_ERROR_ACCESS);
    Start(nullptr, false);
    EXPECT_TRUE(WaitForTheEnd());
}

TEST_F(BringUp, CallBackRunsOnTheLoadersThread)
{
    std::atomic<bool> on_loader{false};
    m_on_report = [&](unsigned) { on_loader = m_loader->IsCurrentThread(); };
    StartWithCamera();
    EXPECT_TRUE(on_loader);
}

TEST_F(BringUp, CallBackComesAfterTheVersionReport)
{
    std::atomic<bool> reported{false};
    m_on_report = [&](unsigned) { reported = TvRoot::Exists(kVersionReport); };
    StartWithCamera();
    EXPECT_TRUE(reported);
}

}  // namespace
