// The probe and commit exchange and the start of the transfers.
#include "tests/video/video_fixture.h"

namespace {

constexpr char kStart[] =
    "UVC_EnableVideoStream/4: UVC_EnableVideoStream start video FormatID:3 FrameID:4\r\n";

/// What the driver proposes for format 3, frame 4 at 30 frames a second.
Bytes Proposal()
{
    return {1, 0, 3, 4, 0x15, 0x16, 0x05, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
            0, 0, 0x10, 0, 0, 0x20, 0, 0};
}

class Negotiation : public VideoTest {
protected:
    void SetUp() override
    {
        m_transport = std::make_unique<PumpedTransport>();
        ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0);
        m_log.Clear();
        m_bus.EnableCallLog();
    }
    void TearDown() override
    {
        if (m_transport && m_transport->IsStreaming())
            m_transport->UVC_DisableVideoStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }
    int Enable(int fps = 30) { return m_transport->UVC_EnableVideoStream(3, 4, fps); }
    Bytes Proposed(std::size_t nth)
    {
        const auto sent = m_camera->Controls(0x21, 0x01, 0x0100, 1);
        return nth < sent.size() ? sent[nth].data : Bytes{};
    }

    std::unique_ptr<PumpedTransport> m_transport;
};

TEST_F(Negotiation, ExchangesProbesCommitsAndSubmitsThreeTransfers)
{
    EXPECT_EQ(Enable(), 0);
    EXPECT_THAT(CallLines(),
                ElementsAre("control 21 01 0100 0001 26 1000ms", "control a1 83 0100 0001 26 1000ms",
                            "control a1 82 0100 0001 26 1000ms", "control 21 01 0100 0001 26 1000ms",
                            "control a1 81 0100 0001 26 1000ms", "control 21 01 0200 0001 26 1500ms",
                            "get_max_packet_size 81", "alloc_transfer", "alloc_transfer",
                            "alloc_transfer", "submit 81 type 2 length 8192 5000ms",
                            "submit 81 type 2 length 8192 5000ms",
                            "submit 81 type 2 length 8192 5000ms"));
    EXPECT_TRUE(m_transport->IsStreaming());
}

TEST_F(Negotiation, LogsIdsAndSizes)
{
    Enable();
    EXPECT_THAT(LogLines(m_log),
                ElementsAre(kStart, "UVC_EnableVideoStream/4: Max Frame Size = 73728\n",
                            "UVC_EnableVideoStream/4: Max Payload Transfer Size = 8192\n"));
}

TEST_F(Negotiation, ProposesAFixedFrameInterval)
{
    Enable();
    EXPECT_EQ(Proposed(0), Proposal());
}

TEST_F(Negotiation, LimitsOfTheDeviceDoNotChangeTheSecondProposal)
{
    m_camera->SetReply(0xA1, 0x83, 0x0100, 1, {Bytes(26, 0xEE)});
    m_camera->SetReply(0xA1, 0x82, 0x0100, 1, {Bytes(26, 0xDD)});
    EXPECT_EQ(Enable(), 0);
    EXPECT_EQ(Proposed(1), Proposal());
}

TEST_F(Negotiation, CommitsTheDevicesAnswerUnchanged)
{
    Bytes answer = ScriptedCamera::Probe(5000, 700);
    for (std::size_t i = 0; i < 18; ++i)
        answer[i] = static_cast<std::uint8_t>(0xA0 + i);
    m_camera->SetReply(0xA1, 0x81, 0x0100, 1, {answer});
    EXPECT_EQ(Enable(), 0);
    const auto commits = m_camera->Controls(0x21, 0x01, 0x0200, 1);
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_EQ(commits[0].data, answer);
}

TEST_F(Negotiation, IdsAreCutToTheirLowByteOnTheWireButLoggedWhole)
{
    m_transport->UVC_EnableVideoStream(0x103, 0x204, 30);
    EXPECT_EQ(Proposed(0), Proposal());
    EXPECT_TRUE(m_log.Contains("start video FormatID:259 FrameID:516\r\n"));
}

TEST_F(Negotiation, FrameIntervalIsTenMillionByTheRate)
{
    const std::vector<std::pair<int, Bytes>> table{
        {0, {0, 0, 0, 0}},
        {1, {0x80, 0x96, 0x98, 0}},
        {7, {0x5B, 0xCC, 0x15, 0}},
        {15, {0x2A, 0x2C, 0x0A, 0}},
    };
    for (const auto& [fps, interval] : table) {
        m_camera->ClearLog();
        EXPECT_EQ(Enable(fps), 0);
        const Bytes probe = Proposed(0);
        ASSERT_EQ(probe.size(), 26u);
        EXPECT_EQ(Bytes(probe.begin() + 4, probe.begin() + 8), interval) << fps;
    }
}

struct FailingStep {
    std::size_t request;  ///< counted from 1
    const char* message;
};

class FailedNegotiation : public Negotiation, public testing::WithParamInterface<FailingStep> {
protected:
    void ExpectGivenUp()
    {
        EXPECT_EQ(CallLines("control").size(), GetParam().request);
        EXPECT_THAT(CallLines("alloc"), IsEmpty());
        EXPECT_FALSE(m_transport->IsStreaming());
        EXPECT_THAT(LogLines(m_log),
                    ElementsAre(kStart, std::string("UVC_EnableVideoStream/4: ") +
                                            GetParam().message));
    }
};

TEST_P(FailedNegotiation, ErrorEndsTheEnable)
{
    m_bus.FailCall("libusb_control_transfer", GetParam().request, LIBUSB_ERROR_PIPE);
    EXPECT_EQ(Enable(), -1);
    ExpectGivenUp();
}

TEST_P(FailedNegotiation, ShortTransferEndsTheEnable)
{
    m_bus.ShortenControlReply(GetParam().request, 25);
    EXPECT_EQ(Enable(), -1);
    ExpectGivenUp();
}

INSTANTIATE_TEST_SUITE_P(
    EachStep, FailedNegotiation,
    testing::Values(FailingStep{1, "UVC_query_ctrl Error:Probe UVC_SET_CUR\n"},
                    FailingStep{2, "UVC_query_ctrl Error:Probe UVC_GET_MAX\n"},
                    FailingStep{3, "UVC_query_ctrl Error:Probe UVC_GET_MIN\n"},
                    FailingStep{4, "UVC_query_ctrl Error:Probe UVC_SET_CUR\n"},
                    FailingStep{5, "UVC_query_ctrl Error:Probe UVC_GET_CUR\n"},
                    FailingStep{6, "UVC_query_ctrl Error:Commit UVC_SET_CUR\n"}),
    [](const auto& row) { return "Request" + std::to_string(row.param.request); });

TEST_F(Negotiation, PacketSizeBelowOneEndsTheEnable)
{
    for (const int answer : {0, static_cast<int>(LIBUSB_ERROR_NOT_FOUND)}) {
        m_bus.FailCall("libusb_get_max_packet_size", 1, answer);
        m_log.Clear();
        EXPECT_EQ(Enable(), -1);
        EXPECT_THAT(LogLines(m_log),
                    ElementsAre(kStart, "UVC_EnableVideoStream/4: libusb_get_max_packet_size Fail"));
        m_bus.ClearRules();
    }
    EXPECT_THAT(CallLines("alloc"), IsEmpty());
}

TEST_F(Negotiation, PacketSizeOfOneWillDo)
{
    m_bus.FailCall("libusb_get_max_packet_size", 1, 1);
    EXPECT_EQ(Enable(), 0);
}

struct RefusedSize {
    const char* name;
    std::uint32_t frame;
    std::uint32_t payload;
    const char* frame_line;
    const char* payload_line;
};

class RefusedSizes : public Negotiation, public testing::WithParamInterface<RefusedSize> {};

TEST_P(RefusedSizes, EndTheEnableAfterTheirLines)
{
    m_camera->OfferVideo(GetParam().frame, GetParam().payload);
    EXPECT_EQ(Enable(), -1);
    EXPECT_THAT(LogLines(m_log),
                ElementsAre(kStart,
                            std::string("UVC_EnableVideoStream/4: ") + GetParam().frame_line,
                            std::string("UVC_EnableVideoStream/4: ") + GetParam().payload_line));
    EXPECT_THAT(CallLines("alloc"), IsEmpty());
    EXPECT_FALSE(m_transport->IsStreaming());
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedSizes,
    testing::Values(RefusedSize{"NoPayload", 65536, 0, "Max Frame Size = 65536\n",
                                "Max Payload Transfer Size = 0\n"},
                    RefusedSize{"PayloadAbove16MiB", 0, (16 << 20) + 1,
                                "Max Frame Size = 16777217\n",
                                "Max Payload Transfer Size = 16777217\n"},
                    RefusedSize{"SumAbove64MiB", (64 << 20) - 8191, 8192,
                                "Max Frame Size = 67108865\n",
                                "Max Payload Transfer Size = 8192\n"},
                    RefusedSize{"SumThatWraps32Bits", 0xFFFFFFFF, 2, "Max Frame Size = 1\n",
                                "Max Payload Transfer Size = 2\n"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Negotiation, PayloadOf16MiBIsAccepted)
{
    m_camera->OfferVideo(0, 16 << 20);
    EXPECT_EQ(Enable(), 0);
}

TEST_F(Negotiation, NothingIsSentWithoutADevice)
{
    CLibUSB_UvcCtrl closed;
    EXPECT_EQ(closed.UVC_EnableVideoStream(3, 4, 30), -1);
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_THAT(CallLines("control"), IsEmpty());
}

class FailedSubmission : public Negotiation, public testing::WithParamInterface<std::size_t> {};

TEST_P(FailedSubmission, CostsThatTransferOnly)
{
    const bool last = GetParam() == 3;
    m_bus.FailCall("libusb_submit_transfer", GetParam(), LIBUSB_ERROR_IO);
    EXPECT_EQ(Enable(), last ? static_cast<int>(LIBUSB_ERROR_IO) : 0);
    EXPECT_TRUE(m_transport->IsStreaming());
    EXPECT_EQ(CallLines("submit").size(), 3u);
    EXPECT_EQ(m_bus.Counters().transfers, 2);
    EXPECT_EQ(m_bus.Counters().transfers_in_flight, 2);
    EXPECT_EQ(LogLines(m_log).back(),
              "UVC_EnableVideoStream/4: libusb_submit_transfer error: Video 3\n");
    EXPECT_EQ(m_log.Count("libusb_submit_transfer error"), 1u);
}

INSTANTIATE_TEST_SUITE_P(EachTransfer, FailedSubmission, testing::Values(1u, 2u, 3u));

TEST_F(Negotiation, StreamingIsDeclaredThoughEverySubmissionFailed)
{
    m_bus.FailCall("libusb_submit_transfer", 0, LIBUSB_ERROR_NO_DEVICE);
    EXPECT_EQ(Enable(), LIBUSB_ERROR_NO_DEVICE);
    EXPECT_TRUE(m_transport->IsStreaming());
    EXPECT_EQ(m_bus.Counters().transfers, 0);
    EXPECT_EQ(m_log.Count("libusb_submit_transfer error: Video 3\n"), 3u);
}

TEST_F(Negotiation, TransferThatCannotBeAllocatedFailsTheEnable)
{
    m_bus.FailCall("libusb_alloc_transfer", 2, LIBUSB_ERROR_NO_MEM);
    EXPECT_EQ(Enable(), -1);
    EXPECT_EQ(CallLines("submit").size(), 0u);
    EXPECT_EQ(m_bus.Counters().transfers, 0);
    EXPECT_EQ(Enable(), 0);
}

TEST_F(Negotiation, EnablingAStreamStopsTheOneBefore)
{
    ASSERT_EQ(Enable(), 0);
    m_bus.ClearCallLog();
    EXPECT_EQ(Enable(), 0);
    const std::vector<std::string> calls = CallLines();
    ASSERT_GE(calls.size(), 8u);
    EXPECT_THAT(std::vector<std::string>(calls.begin(), calls.begin() + 8),
                ElementsAre("cancel_transfer", "cancel_transfer", "cancel_transfer", "setting 1 0",
                            "free_transfer", "free_transfer", "free_transfer",
                            "control 21 01 0100 0001 26 1000ms"));
    EXPECT_EQ(m_bus.Counters().transfers, 3);
}

TEST_F(Negotiation, FailedEnableCanBeRepeated)
{
    m_bus.FailCall("libusb_control_transfer", 3, LIBUSB_ERROR_PIPE);
    ASSERT_EQ(Enable(), -1);
    EXPECT_EQ(Enable(), 0);
}

}  // namespace
