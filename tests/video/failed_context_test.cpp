// A transport to which libusb gave no context.
#include "tests/video/video_fixture.h"

namespace {

class VideoWithoutLibusb : public VideoTest {
protected:
    void SetUp() override
    {
        m_bus.EnableCallLog(true);
        m_bus.FailCall("libusb_init", 1, LIBUSB_ERROR_NO_MEM);
        m_transport = std::make_unique<Transport>();
        EXPECT_THAT(CallLines(), ElementsAre("init"));
        m_bus.ClearCallLog();
    }
    void TearDown() override
    {
        CloseCleanly(m_transport);
        VideoTest::TearDown();
    }

    std::unique_ptr<Transport> m_transport;
};

TEST_F(VideoWithoutLibusb, OpensNothingAndSaysWhatAnAbsentDeviceDoes)
{
    EXPECT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), -1);
    EXPECT_THAT(CallLines(), IsEmpty());
    EXPECT_THAT(LogLines(m_log), ElementsAre("Init/4: KEL Camera Device not found\n"));
}

TEST_F(VideoWithoutLibusb, LeavesTheDefaultContextToItsOwner)
{
    ASSERT_EQ(libusb_init(nullptr), 0);
    m_bus.ClearCallLog();
    EXPECT_EQ(m_transport->Init(CAM_VENDOR_ID, CAM_PRODUCT_ID), -1);
    m_transport.reset();
    EXPECT_THAT(CallLines(), IsEmpty());
    EXPECT_EQ(m_bus.Counters().contexts, 1);
    libusb_exit(nullptr);
}

TEST_F(VideoWithoutLibusb, ExitsNothing)
{
    m_transport.reset();
    EXPECT_THAT(CallLines(), IsEmpty());
}

TEST_F(VideoWithoutLibusb, AsksForNothingLater)
{
    EXPECT_EQ(m_transport->EnableStream(3, 4, 30), -1);
    EXPECT_EQ(m_transport->RequestKeyFrame(), 0);
    m_transport->handle_libusb_event();
    EXPECT_EQ(m_transport->DisableStream(), 0);
    EXPECT_THAT(CallLines(), IsEmpty());
}

}  // namespace
