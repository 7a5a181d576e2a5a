// What the transport asks of libusb, whatever release that is.
#include "tests/support/libusb_release.h"
#include "tests/video/video_fixture.h"

namespace {

using test_support::LibusbRelease;

class VideoCalls : public VideoTest, public testing::WithParamInterface<LibusbRelease> {
protected:
    void SetUp() override
    {
        test_support::Pretend(GetParam());
        m_camera->OfferVideo(4096, 1024);
        m_transport = std::make_unique<Transport>();
        m_bus.EnableCallLog();
    }
    void TearDown() override
    {
        if (m_transport)
            m_transport->DisableStream();
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }
    void Open() { ASSERT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), 0); }
    void OpenAndStart()
    {
        Open();
        ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    }

    SteadyCalls m_calls;
    std::unique_ptr<Transport> m_transport;
};

constexpr char kSubmit[] = "submit 81 type 2 length 1024 5000ms";

TEST_P(VideoCalls, OfAnOpening)
{
    Open();
    char open[20];
    std::snprintf(open, sizeof open, "open %04x:%04x", CAM_VENDOR_ID, CAM_PRODUCT_ID);
    EXPECT_THAT(m_calls.Lines(), ElementsAre(open, "get_device", "get_configuration",
                                         "kernel_driver_active 1", "kernel_driver_active 0",
                                         "claim_interface 1", "claim_interface 0", "setting 1 0"));
}

TEST_P(VideoCalls, OfAStart)
{
    Open();
    m_bus.ClearCallLog();
    ASSERT_EQ(m_transport->EnableStream(3, 4, 30), 0);
    EXPECT_THAT(m_calls.Lines(),
                ElementsAre("control 21 01 0100 0001 26 1000ms",
                            "control a1 83 0100 0001 26 1000ms",
                            "control a1 82 0100 0001 26 1000ms",
                            "control 21 01 0100 0001 26 1000ms",
                            "control a1 81 0100 0001 26 1000ms",
                            "control 21 01 0200 0001 26 1500ms",
                            "get_max_packet_size 81", "alloc_transfer", "alloc_transfer",
                            "alloc_transfer", kSubmit, kSubmit, kSubmit));
}

TEST_P(VideoCalls, OfPayloads)
{
    OpenAndStart();
    m_bus.ClearCallLog();
    m_camera->QueuePayload(0, Pattern(100, 1));
    m_camera->QueuePayload(kEof);
    ASSERT_TRUE(WaitUntil([this] { return m_calls.Lines().size() >= 2; }));
    unsigned char* data = nullptr;
    unsigned int size = 0;
    ASSERT_EQ(m_transport->DequeFrameBuf(&data, &size), 100);
    m_transport->QueueFrameBuf();
    EXPECT_THAT(m_calls.Lines(), ElementsAre(kSubmit, kSubmit));
}

TEST_P(VideoCalls, OfAStop)
{
    OpenAndStart();
    m_bus.ClearCallLog();
    m_transport->DisableStream();
    EXPECT_THAT(m_calls.Lines(),
                ElementsAre("cancel_transfer", "cancel_transfer", "cancel_transfer", "setting 1 0",
                            "free_transfer", "free_transfer", "free_transfer", "setting 1 0"));
}

TEST_P(VideoCalls, OfAClosing)
{
    OpenAndStart();
    m_transport->DisableStream();
    m_bus.ClearCallLog();
    m_transport.reset();
    EXPECT_THAT(m_calls.Lines(),
                ElementsAre("release_interface 1", "release_interface 0", "close", "exit"));
}

INSTANTIATE_TEST_SUITE_P(With, VideoCalls, testing::ValuesIn(test_support::kEveryRelease),
                         test_support::ReleaseName());

}  // namespace
