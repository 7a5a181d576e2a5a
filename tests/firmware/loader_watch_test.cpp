// The watch over a camera that is ready.
#include "camera/camera.h"
#include "tests/firmware/loader_fixture.h"

namespace {

/// Notes when it is told to stop recording.
class StoppedCamera : public CKelVeskCamera {
public:
    explicit StoppedCamera(std::vector<std::string>& events) : m_events(events) {}
    bool StopRecording() override
    {
        m_events.push_back("stop");
        return true;
    }

private:
    std::vector<std::string>& m_events;
};

const std::string kDisconnected =
    "!!!  KEL Camera Checking :: Camera is disconnected. , hr=";

class Watch : public LoaderTest {
protected:
    void SetUp() override
    {
        LoaderTest::SetUp();
        m_bus.Attach(m_camera);
    }
    /// Makes the nth watch request fail; 0: every one.
    void FailWatch(std::size_t nth, int code)
    {
        m_bus.FailCall("libusb_control_transfer", nth, code, IsWatch);
    }
    std::vector<Line> Checks() const
    {
        std::vector<Line> lines;
        for (Line& line : LinesOf(m_log))
            if (line.message.find(kChecking) == 0)
                lines.push_back(std::move(line));
        return lines;
    }
    static Line Check(int result)
    {
        return RunLine(5, kChecking + std::to_string(result) + "\r\n");
    }
};

TEST_F(Watch, AsksForAnIspResultWith500MillisecondsOnceASecond)
{
    Start();
    ASSERT_TRUE(m_log.WaitFor(kChecking + "0\r\n", 5));
    m_loader->Stop();
    const auto requests = RequestsOf(m_bus.CallLog());
    EXPECT_EQ(requests.back(), XuGet(2, 8, 500));
    const std::size_t checks = Checks().size();
    // Five retries of the boot loader and one before the wait for the camera.
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 6 + checks);
    EXPECT_EQ(m_sleeps.All().size(), 6 + checks);
    EXPECT_THAT(Checks(), testing::Each(Check(0)));
}

TEST_F(Watch, FirstErrorThatIsNoTimeOutIsADisconnection)
{
    FailWatch(1, LIBUSB_ERROR_NO_DEVICE);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(0U, 1U));
    EXPECT_THAT(Checks(), ElementsAre(Check(-4)));
    EXPECT_TRUE(m_log.Contains(kDisconnected + "-4 !!!\r\n"));
}

TEST_F(Watch, SixTimeOutsAreToleratedAndTheSeventhIsADisconnection)
{
    FailWatch(0, LIBUSB_ERROR_TIMEOUT);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(0U, 1U));
    EXPECT_THAT(Checks(), ElementsAre(Check(-7), Check(-7), Check(-7), Check(-7), Check(-7),
                                      Check(-7), Check(-7)));
    EXPECT_TRUE(m_log.Contains(kDisconnected + "-7 !!!\r\n"));
    // Asked again at once.
    EXPECT_EQ(m_sleeps.Count(std::chrono::seconds(1)), 6U);
}

TEST_F(Watch, TimeOutsAreCountedOverGoodAnswers)
{
    for (const std::size_t nth : {2U, 4U, 6U, 8U, 10U, 12U, 14U})
        FailWatch(nth, LIBUSB_ERROR_TIMEOUT);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_EQ(Checks().size(), 14U);
    EXPECT_EQ(m_log.Count(kChecking + "0\r\n"), 7U);
    EXPECT_THAT(Statuses(), ElementsAre(0U, 1U));
}

TEST_F(Watch, SixTimeOutsAloneAreNoDisconnection)
{
    for (std::size_t nth = 1; nth <= 6; ++nth)
        FailWatch(nth, LIBUSB_ERROR_TIMEOUT);
    Start();
    ASSERT_TRUE(m_log.WaitFor(kChecking + "0\r\n", 3));
    m_loader->Stop();
    EXPECT_THAT(Statuses(), ElementsAre(0U));
}

TEST_F(Watch, OtherErrorAfterToleratedTimeOutsIsADisconnection)
{
    FailWatch(1, LIBUSB_ERROR_TIMEOUT);
    FailWatch(2, LIBUSB_ERROR_PIPE);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Checks(), ElementsAre(Check(-7), Check(-9)));
}

TEST_F(Watch, DisconnectionIsLoggedStepByStep)
{
    FailWatch(1, LIBUSB_ERROR_NO_DEVICE);
    Start();
    ASSERT_TRUE(WaitForTheEnd());
    auto lines = RunLines();
    ASSERT_GE(lines.size(), 4U);
    lines.erase(lines.begin(), lines.end() - 4);
    EXPECT_THAT(lines, ElementsAre(RunLine(1, kDisconnected + "-4 !!!\r\n"),
                                   RunLine(4, "CloseKelDevice +\r\n"),
                                   RunLine(4, "CloseKelDevice -\r\n"),
                                   RunLine(4, "Exit device mointer trhead.\r\n")));
}

TEST_F(Watch, DisconnectionClosesSleeps300MillisecondsStopsRecordingAndReports)
{
    std::vector<std::string> events;
    StoppedCamera camera(events);
    g_embedded_cam_dbg_level = 5;  // the constructor loaded it
    FailWatch(1, LIBUSB_ERROR_NO_DEVICE);
    int sleeps_at_stop = -1;
    m_on_report = [&](unsigned status) {
        if (status == 0)
            return;
        events.push_back("report");
        sleeps_at_stop = static_cast<int>(m_sleeps.Count(std::chrono::milliseconds(300)));
        EXPECT_EQ(m_bus.Counters().handles, 0);
    };
    Start(&camera);
    ASSERT_TRUE(WaitForTheEnd());
    m_loader.reset();
    EXPECT_THAT(events, ElementsAre("stop", "report"));
    EXPECT_EQ(sleeps_at_stop, 1);
}

TEST_F(Watch, PulledPlugIsADisconnection)
{
    Start();
    ASSERT_TRUE(WaitForStatuses(1));
    m_camera->Plug(false);
    ASSERT_TRUE(WaitForTheEnd());
    EXPECT_THAT(Statuses(), ElementsAre(0U, 1U));
}

TEST_F(Watch, DisconnectionWithoutCallBackAndCameraEndsTheThread)
{
    FailWatch(1, LIBUSB_ERROR_NO_DEVICE);
    Start(nullptr, false);
    EXPECT_TRUE(WaitForTheEnd());
}

TEST_F(Watch, StopRequestEndsItWithoutAReportAndClosesTheDevice)
{
    Start();
    ASSERT_TRUE(m_log.WaitFor(kChecking + "0\r\n", 2));
    m_loader->Stop();
    EXPECT_THAT(Statuses(), ElementsAre(0U));
    EXPECT_EQ(RunLines().back(), RunLine(4, "Exit device mointer trhead.\r\n"));
    EXPECT_EQ(m_bus.Counters().handles, 0);
    EXPECT_FALSE(m_log.Contains("CloseKelDevice +"));
}

}  // namespace
