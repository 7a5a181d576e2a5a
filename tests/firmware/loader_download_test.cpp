// A controller that only runs its boot loader.
#include "tests/firmware/loader_fixture.h"

namespace {

class Download : public LoaderTest {
protected:
    void StartWithBootLoader()
    {
        m_bus.Attach(m_boot_loader);
        ReplaceAfter(IsPcsyncBurn, m_camera);
        Start();
    }

    std::string Sent() const
    {
        std::string sent;
        for (const auto& received : m_boot_loader->Of(test_support::Received::kBulkOut))
            sent.append(received.data.begin(), received.data.end());
        return sent;
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

TEST_F(Download, BootLoaderOnInterface2TakesThePcsyncPath)
{
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_EQ(Sent(), "firmware image");
    EXPECT_EQ(Report(), "102.26.304");
}

TEST_F(Download, PcsyncPathIsLoggedStepByStep)
{
    Answer(*m_boot_loader, {0, 0, 0xAA, 0xBB, 0x12, 0x34, 0x56, 0x78});
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    m_loader->Stop();
    auto lines = RunLines();
    ASSERT_GE(lines.size(), 2U);
    lines.erase(lines.begin(), lines.begin() + 2);
    EXPECT_THAT(
        lines,
        ElementsAre(
            RunLine(4, "Exit OpenKelDevice. \r\n"),
            RunLine(1, "BootCode version is 0x12345678\r\n"), RunLine(4, "use_pcsync is 1\n"),
            RunLine(4, "FW file is [/mtd_rwarea/wiru/bin/TorvikFW.bin]\n"),
            RunLine(4, "Enter UpdateFirmwarePcsyncPath. \r\n"),
            RunLine(4, "Exit UpdateFirmwareUvcPath. \r\n"),
            RunLine(1, "Camera-Version:102.26.304"),
            RunLine(4, "Boot code file is [/mtd_rwarea/wiru/bin/TorvikBC.bin]\n"),
            RunLine(4, "Camera firmware ready. change status to CAMERA_STATUS_OK.\r\n"),
            RunLine(4, "Exit device mointer trhead.\r\n")));
}

TEST_F(Download, BootLoaderOnInterface2IsOpenedWithoutWaiting)
{
    m_on_report = [this](unsigned) {
        EXPECT_EQ(m_sleeps.All().size(), 1U);  // before the wait for the camera
        EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 1U);
    };
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
}

TEST_F(Download, BootLoadersHandleIsClosedBeforeTheWaitForTheCamera)
{
    std::atomic<int> open_handles{-1};
    m_bus.OnCall("libusb_get_device_list", When::kBefore, [&](const Call&) {
        if (m_bus.CallCount("libusb_bulk_transfer") > 0 && open_handles < 0)
            open_handles = m_bus.Counters().handles;
    });
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_EQ(open_handles, 0);
}

TEST_F(Download, UnreadableBootVersionIsNotLoggedAndCountsAsUnknown)
{
    WriteBootCode(0xFFFFF);
    m_bus.FailCall("libusb_control_transfer", 1, LIBUSB_ERROR_PIPE);
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_FALSE(m_log.Contains("BootCode version is"));
    EXPECT_TRUE(m_log.Contains("device version is 0xFFFFFFFF\r\n"));
}

TEST_F(Download, NewerBootCodeIsBurntOverTheCamerasExtensionUnitBeforeTheReadyReport)
{
    WriteBootCode(0x20);
    std::atomic<bool> burnt{false};
    m_on_report = [&](unsigned) {
        for (const auto& received : m_camera->Controls(0x20, 0x01, 0x0400, 0x0600))
            if (received.data == Bytes{1, 1, 3, 0, 0, 0, 0, 0})
                burnt = true;
    };
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_TRUE(burnt);
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(3)), 1U);
}

TEST_F(Download, BootCodeOfTheSameVersionIsNotBurnt)
{
    WriteBootCode(0x1F);
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_THAT(m_camera->Controls(0x20, 0x01, 0x0400, 0x0600), IsEmpty());
}

TEST_F(Download, FailedBootCodeUpdateIsIgnored)
{
    WriteBootCode(0x20);
    m_bus.FailCall("libusb_control_transfer", 0, LIBUSB_ERROR_PIPE,
                   [](const Call& call) { return call.setup.value == 0x0400; });
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_THAT(Statuses(), ElementsAre(0U));
}

class LateBootLoader : public LoaderTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(LateBootLoader, OnInterface0AfterThatManySecondsTakesTheUvcPath)
{
    const auto boot_loader = std::make_shared<ScriptedDevice>(Layout::kBootLoaderUvc);
    Answer(*boot_loader, {0, 0, 0, 0, 0, 0, 0, 1});
    std::atomic<std::size_t> sleeps_before{0};
    m_bus.OnCall("libusb_init", When::kBefore, [&](const Call&) {
        if (m_bus.CallCount("libusb_init") == GetParam() + 1 && sleeps_before == 0) {
            sleeps_before = m_sleeps.Count(std::chrono::seconds(1));
            m_bus.Attach(boot_loader);
        }
    });
    ReplaceAfter(IsUvcBurn, m_camera);
    Start();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_EQ(sleeps_before, GetParam());
    const auto blocks = boot_loader->Controls(0x20, 0x01, 0x0300, 0x0600);
    ASSERT_EQ(blocks.size(), 1U);
    EXPECT_EQ(std::string(blocks[0].data.begin(), blocks[0].data.begin() + 14), "firmware image");
    EXPECT_EQ(m_bus.CallCount("libusb_bulk_transfer"), 0U);
}

INSTANTIATE_TEST_SUITE_P(Seconds, LateBootLoader, testing::Range<std::size_t>(1, 6));

TEST_F(Download, UvcPathIsLoggedStepByStep)
{
    const auto boot_loader = std::make_shared<ScriptedDevice>(Layout::kBootLoaderUvc);
    Answer(*boot_loader, {0, 0, 0, 0, 0, 0, 0, 1});
    m_bus.Attach(boot_loader);
    ReplaceAfter(IsUvcBurn, m_camera);
    Start();
    ASSERT_TRUE(WaitForStatuses(1));
    auto lines = RunLines();
    ASSERT_GE(lines.size(), 8U);
    lines.erase(lines.begin(), lines.begin() + 2);
    lines.resize(7, {0, "", ""});
    EXPECT_THAT(lines,
                ElementsAre(RunLine(4, "Current boot code is using UVC interface.\r\n"),
                            RunLine(4, "Exit OpenKelDevice. \r\n"),
                            RunLine(1, "BootCode version is 0x1\r\n"),
                            RunLine(4, "use_pcsync is 0\n"),
                            RunLine(4, "FW file is [/mtd_rwarea/wiru/bin/TorvikFW.bin]\n"),
                            RunLine(4, "Enter UpdateFirmwareUvcPath. \r\n"),
                            RunLine(4, "Exit UpdateFirmwareUvcPath. \r\n")));
}

class FailedDownload : public LoaderTest, public testing::WithParamInterface<Layout> {
protected:
    void SetUp() override
    {
        LoaderTest::SetUp();
        TvRoot::Remove(kImage);
        m_boot_loader = std::make_shared<ScriptedDevice>(GetParam());
        Answer(*m_boot_loader, {0, 0, 0, 0, 0, 0, 0, 1});
        m_bus.Attach(m_boot_loader);
    }
};

TEST_P(FailedDownload, IsStatus2AndEndsTheThread)
{
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(2U));
    EXPECT_EQ(RunLines().back(),
              RunLine(1, "CCameraFwLoader :Failed to load firmware, exit. \r\n"));
    EXPECT_FALSE(TvRoot::Exists(kVersionReport));
}

TEST_P(FailedDownload, IsReportedBeforeItIsLoggedAndClosed)
{
    std::atomic<bool> logged{true};
    std::atomic<bool> closed{true};
    m_on_report = [&](unsigned) {
        logged = m_log.Contains("Failed to load firmware, exit.");
        closed = m_bus.CallCount("libusb_close") > 0;
    };
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_FALSE(logged);
    EXPECT_FALSE(closed);
    EXPECT_EQ(m_bus.CallCount("libusb_close"), 1U);
}

TEST_P(FailedDownload, WithoutACallBackEndsTheThread)
{
    Start(nullptr, false);
    EXPECT_TRUE(WaitForTheEnd());
}

INSTANTIATE_TEST_SUITE_P(Paths, FailedDownload,
                         testing::Values(Layout::kBootLoader, Layout::kBootLoaderUvc),
                         [](const auto& row) {
                             return std::string(row.index == 0 ? "Pcsync" : "Uvc");
                         });

TEST_F(Download, UsesTheWritablePathBuffer)
{
    TvRoot::Write("/mtd_rwarea/other.bin", "another image");
    const std::string before = fw_path_name;
    std::snprintf(fw_path_name, sizeof fw_path_name, "/mtd_rwarea/other.bin");
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_EQ(Sent(), "another image");
    std::snprintf(fw_path_name, sizeof fw_path_name, "%s", before.c_str());
}

}  // namespace
