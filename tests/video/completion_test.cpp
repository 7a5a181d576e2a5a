// Every way a transfer can end.
#include "tests/video/video_fixture.h"

namespace {

class Completion : public PumpedTest {
protected:
    /// The first transfer of the next stream ends like this.
    void FirstEnds(int status, const Bytes& data = {})
    {
        CompletionOverride ending;
        ending.status = status;
        ending.data = data;
        ending.actual_length = data.size();
        m_bus.OverrideCompletion(1, ending);
    }
    /// Handles the completion that is due.
    void HandleDue()
    {
        const int before = m_bus.Counters().transfers_in_flight;
        ASSERT_EQ(before, 3);
        m_submitted = Submissions();
        m_transport->handle_libusb_event();
    }
    bool Resubmitted() const { return Submissions() == m_submitted + 1; }

    std::size_t m_submitted = 0;
};

struct Ending {
    const char* name;
    int status;
    const char* line;
};

class FinalCompletion : public Completion, public testing::WithParamInterface<Ending> {};

TEST_P(FinalCompletion, IsLoggedAndNotSubmittedAgain)
{
    FirstEnds(GetParam().status, test_support::Payload(0, Pattern(10, 1)));
    Enable();
    HandleDue();
    EXPECT_FALSE(Resubmitted());
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 2);
    EXPECT_THAT(LogLines(m_log), ElementsAre(std::string("callback/4: ") + GetParam().line));
}

TEST_P(FinalCompletion, LeavesTheStreamToTheOthers)
{
    FirstEnds(GetParam().status);
    Enable();
    HandleDue();
    for (unsigned i = 0; i < 6; ++i) {
        Send(0, Pattern(20, i));
        Send(kEof);
        EXPECT_EQ(NextFrame(), Pattern(20, i));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, FinalCompletion,
    testing::Values(Ending{"Cancelled", LIBUSB_TRANSFER_CANCELLED, "LIBUSB_TRANSFER_CANCELLED!\n"},
                    Ending{"NoDevice", LIBUSB_TRANSFER_NO_DEVICE, "LIBUSB_TRANSFER_NO_DEVICE \r\n"},
                    Ending{"Overflow", LIBUSB_TRANSFER_OVERFLOW,
                           "LIBUSB_TRANSFER_OVERFLOW! EP = 81\n"},
                    Ending{"Error", LIBUSB_TRANSFER_ERROR, "Audio Transfer Unknown Status=1\r\n"},
                    Ending{"Stall", LIBUSB_TRANSFER_STALL, "Audio Transfer Unknown Status=4\r\n"},
                    Ending{"Unknown", 7, "Audio Transfer Unknown Status=7\r\n"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Completion, TimedOutTransferIsSubmittedAgainAndItsDataLost)
{
    FirstEnds(LIBUSB_TRANSFER_TIMED_OUT, test_support::Payload(0, Pattern(10, 1)));
    Enable();
    HandleDue();
    EXPECT_TRUE(Resubmitted());
    EXPECT_THAT(LogLines(m_log), ElementsAre("callback/4: LIBUSB_TRANSFER_TIMED_OUT! EP = 81\n"));
    Send(0, Pattern(5, 2));
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(5, 2));
}

TEST_F(Completion, CompletedTransferIsSubmittedAgainSilently)
{
    FirstEnds(LIBUSB_TRANSFER_COMPLETED, test_support::Payload(0, Pattern(10, 1)));
    Enable();
    HandleDue();
    EXPECT_TRUE(Resubmitted());
    EXPECT_EQ(m_log.Text(), "");
}

TEST_F(Completion, StreamOutlivesItsLastTransfer)
{
    Enable();
    for (int i = 0; i < 3; ++i)
        m_camera->QueueIn(0x81, {}, vcam::TransferStatus::kError);
    Pump();
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 0);
    EXPECT_TRUE(m_transport->IsStreaming());
    EXPECT_EQ(NextFrame(), Bytes{});
    EXPECT_EQ(m_transport->RequestKeyFrame(), 1);
}

TEST_F(Completion, FailedResubmissionCostsTheTransferSilently)
{
    Enable();
    m_bus.FailCall("libusb_submit_transfer", 1, LIBUSB_ERROR_IO);
    Send(0, Pattern(10, 1));
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 2);
    EXPECT_EQ(m_log.Text(), "");
    Send(kEof);
    EXPECT_EQ(NextFrame(), Pattern(10, 1));
}

TEST_F(Completion, UnpluggedDeviceEndsAllTransfers)
{
    Enable();
    m_camera->Plug(false);
    EXPECT_TRUE(WaitUntil([this] {
        m_transport->handle_libusb_event();
        return m_bus.Counters().transfers_in_flight == 0;
    }));
    EXPECT_EQ(m_log.Count("LIBUSB_TRANSFER_NO_DEVICE \r\n"), 3u);
}

}  // namespace
