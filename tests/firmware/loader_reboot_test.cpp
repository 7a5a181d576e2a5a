// The wait for the camera after the download.
#include "tests/firmware/loader_fixture.h"

namespace {

constexpr std::size_t kTests = 152;

class Reboot : public LoaderTest {
protected:
    /// The boot loader disappears once it has burnt.
    void StartWithBootLoader()
    {
        m_bus.Attach(m_boot_loader);
        ReplaceAfter(IsPcsyncBurn, nullptr);
        Start();
    }

    std::size_t PresenceTests() const { return m_log.Count("lubusb initialized. \r\n"); }

    /// Plugs the camera in for presence test `nth`.
    void PlugInForTest(std::size_t nth)
    {
        // The boot loader was opened with the first context.
        m_bus.OnCall("libusb_init", When::kBefore, [this, nth](const Call&) {
            if (m_bus.CallCount("libusb_init") == nth + 1)
                m_bus.Attach(m_camera);
        });
    }
};

TEST_F(Reboot, CameraThatStaysAwayIsStatus2AfterExactly152PresenceTests)
{
    StartWithBootLoader();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(2U));
    EXPECT_EQ(PresenceTests(), kTests);
    EXPECT_EQ(RunLines().back(), RunLine(1, "Camera reboot failed. \r\n"));
    EXPECT_FALSE(TvRoot::Exists(kVersionReport));
}

TEST_F(Reboot, WaitsOneSecondAndThen100MillisecondsAfterEachNegativeTest)
{
    StartWithBootLoader();
    ASSERT_TRUE(WaitForTheEnd());
    const auto sleeps = m_sleeps.All();
    ASSERT_EQ(sleeps.size(), 1 + kTests);
    EXPECT_EQ(sleeps[0].asked, std::chrono::seconds(1));
    EXPECT_EQ(m_sleeps.Count(std::chrono::milliseconds(100)), kTests);
}

TEST_F(Reboot, FailureIsReportedBeforeItIsLogged)
{
    std::atomic<bool> logged{true};
    m_on_report = [&](unsigned) { logged = m_log.Contains("Camera reboot failed."); };
    StartWithBootLoader();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_FALSE(logged);
}

TEST_F(Reboot, FailureWithoutACallBackEndsTheThread)
{
    m_bus.Attach(m_boot_loader);
    ReplaceAfter(IsPcsyncBurn, nullptr);
    Start(nullptr, false);
    EXPECT_TRUE(WaitForTheEnd());
    EXPECT_TRUE(m_log.Contains("Camera reboot failed. \r\n"));
}

class LateCamera : public Reboot, public testing::WithParamInterface<std::size_t> {};

TEST_P(LateCamera, ThatIsBackForThisTestIsReady)
{
    PlugInForTest(GetParam());
    StartWithBootLoader();
    ASSERT_TRUE(WaitForStatuses(1));
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_EQ(PresenceTests(), GetParam());
    EXPECT_EQ(m_sleeps.Count(std::chrono::milliseconds(100)), GetParam() - 1);
}

INSTANTIATE_TEST_SUITE_P(Tests, LateCamera, testing::Values(1U, 2U, 75U, 151U, 152U));

TEST_F(Reboot, CameraThatIsBackOnlyAfterTheLastTestIsTooLate)
{
    PlugInForTest(kTests + 1);
    StartWithBootLoader();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(2U));
}

TEST_F(Reboot, StopRequestIsNotHonouredWhileWaiting)
{
    m_bus.OnCall("libusb_init", When::kBefore, [this](const Call&) {
        if (m_bus.CallCount("libusb_init") == 10)
            WaitUntil([this] { return m_loader->StopRequested(); });
    });
    StartWithBootLoader();
    m_loader->Stop();
    EXPECT_THAT(Statuses(), ElementsAre(2U));
    EXPECT_EQ(PresenceTests(), kTests);
}

}  // namespace
