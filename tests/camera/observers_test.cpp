// Observers and the delivery of frames to them.
#include "tests/camera/camera_fixture.h"

namespace {

using test_support::Keep;

class Observers : public CameraTest {
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        if (!IsSkipped())
            Make();
        m_log.Clear();
    }
    int Inject(CAM_STREAM stream, std::uint32_t crop_flag = 0)
    {
        m_record = {};
        m_crop = {};
        m_record.data = m_data;
        m_record.size = sizeof m_data;
        m_record.crop_flag = crop_flag;
        m_record.stream_type = stream;
        m_record.crop_info = &m_crop;
        return m_camera->OnFrameArrival(&m_record);
    }
    std::size_t KeyFrameRequests() const
    {
        return m_device->Controls(0x21, 0x01, 0x0100, 0x0600).size();
    }

    unsigned char m_data[4] = {1, 2, 3, 4};
    CCameraData m_record{};
    CCameraCropInfo m_crop{};
};

TEST_F(Observers, NullIsRefusedSilently)
{
    EXPECT_FALSE(m_camera->RegisterObserver(nullptr));
    EXPECT_FALSE(m_camera->RemoveObserver(nullptr));
    EXPECT_EQ(m_log.Text(), "");
    EXPECT_EQ(m_camera->OnFrameArrival(nullptr), 0);
}

class ObserverOfStream
    : public Observers,
      public testing::WithParamInterface<std::pair<unsigned, const char*>> {};

TEST_P(ObserverOfStream, IsLoggedRegisteredOnceCalledOnceAndRemovedOnce)
{
    const auto stream = static_cast<CAM_STREAM>(GetParam().first);
    const std::string name = std::string(GetParam().second) + "\r\n";
    FrameCollector observer(stream);
    EXPECT_TRUE(m_camera->RegisterObserver(&observer));
    EXPECT_FALSE(m_camera->RegisterObserver(&observer));
    EXPECT_TRUE(HasLine(m_log, 4, "RegisterObserver", "CKelVeskCamera::RegisterObserver : "));
    EXPECT_TRUE(HasLine(m_log, 4, "RegisterObserver", name));
    if (stream == CAM_STREAM_JPEG)
        Set(CAM_PROPERTY_TRIGGER_JPEG, 0);
    Inject(stream);
    EXPECT_EQ(observer.Count(), 1u);
    EXPECT_TRUE(m_camera->RemoveObserver(&observer));
    EXPECT_TRUE(HasLine(m_log, 4, "RemoveObserver", "CKelVeskCamera::RemoveObserver :"));
    EXPECT_TRUE(HasLine(m_log, 4, "RemoveObserver", name));
    EXPECT_FALSE(m_camera->RemoveObserver(&observer));
    if (stream == CAM_STREAM_JPEG)
        Set(CAM_PROPERTY_TRIGGER_JPEG, 0);
    Inject(stream);
    EXPECT_EQ(observer.Count(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Types, ObserverOfStream,
    testing::Values(std::pair(0u, "CAM_STREAM_PCM"), std::pair(1u, "CAM_STREAM_H264_MAIN"),
                    std::pair(2u, "CAM_STREAM_H264_SUB"), std::pair(3u, "CAM_STREAM_MJPEG"),
                    std::pair(4u, "UNKNOWN Stream type. 4"), std::pair(5u, "CAM_STREAM_NV12"),
                    std::pair(6u, "UNKNOWN Stream type. 6"), std::pair(7u, "CAM_STREAM_GRAY"),
                    std::pair(8u, "CAM_STREAM_YUYV"), std::pair(9u, "CAM_STREAM_JPEG"),
                    std::pair(10u, "UNKNOWN Stream type. 10"),
                    std::pair(11u, "UNKNOWN Stream type. 11"), std::pair(12u, "CAM_STREAM_NV21"),
                    std::pair(13u, "UNKNOWN Stream type. 13"),
                    std::pair(17u, "UNKNOWN Stream type. 17")),
    [](const auto& row) { return "Type" + std::to_string(row.param.first); });

TEST_F(Observers, TypeAboveSeventeenIsRefused)
{
    for (const unsigned type : {18u, 1000u, 0xFFFFFFFFu}) {
        const auto stream = static_cast<CAM_STREAM>(type);
        FrameCollector observer(stream);
        EXPECT_FALSE(m_camera->RegisterObserver(&observer));
        EXPECT_FALSE(m_camera->RemoveObserver(&observer));
        const std::string line =
            "UNKNOWN Stream type. " + std::to_string(static_cast<int>(type)) + "\r\n";
        EXPECT_TRUE(HasLine(m_log, 4, "RegisterObserver", line));
        EXPECT_TRUE(HasLine(m_log, 4, "RemoveObserver", line));
        EXPECT_EQ(Inject(stream), 1);
        EXPECT_EQ(observer.Count(), 0u);
    }
}

TEST_F(Observers, AreCalledInOrderOfRegistrationAndOnlyForTheirStream)
{
    std::vector<int> order;
    FrameCollector first(CAM_STREAM_H264_SUB), second(CAM_STREAM_H264_SUB),
        third(CAM_STREAM_H264_SUB), other(CAM_STREAM_YUYV);
    first.on_frame = [&](const CCameraData&) { order.push_back(1); };
    second.on_frame = [&](const CCameraData&) { order.push_back(2); };
    third.on_frame = [&](const CCameraData&) { order.push_back(3); };
    for (FrameCollector* observer : {&first, &second, &third, &other})
        m_camera->RegisterObserver(observer);
    Inject(CAM_STREAM_H264_SUB);
    m_camera->RemoveObserver(&second);
    EXPECT_EQ(Inject(CAM_STREAM_H264_SUB), 1);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 1, 3}));
    EXPECT_EQ(other.Count(), 0u);
    EXPECT_TRUE(HasLine(m_log, 5, "OnFrameArrival", "OnFrameArrival, StreamType=2\r\n"));
}

TEST_F(Observers, PcmReturnsTheLastObserversResult)
{
    EXPECT_EQ(Inject(CAM_STREAM_PCM), 0);
    FrameCollector first(CAM_STREAM_PCM, Keep::kDigests, 7);
    FrameCollector last(CAM_STREAM_PCM, Keep::kDigests, -3);
    m_camera->RegisterObserver(&first);
    EXPECT_EQ(Inject(CAM_STREAM_PCM), 7);
    m_camera->RegisterObserver(&last);
    EXPECT_EQ(Inject(CAM_STREAM_PCM), -3);
    EXPECT_FALSE(m_log.Contains("OnFrameArrival, StreamType="));
}

TEST_F(Observers, VideoResultsAreIgnored)
{
    FrameCollector observer(CAM_STREAM_H264_MAIN, Keep::kDigests, 99);
    m_camera->RegisterObserver(&observer);
    EXPECT_EQ(Inject(CAM_STREAM_H264_MAIN), 1);
}

TEST_F(Observers, PcmDoesNotWaitForASlowPicture)
{
    FrameCollector picture(CAM_STREAM_YUYV), sound(CAM_STREAM_PCM);
    m_camera->RegisterObserver(&picture);
    m_camera->RegisterObserver(&sound);
    std::thread speaker;
    picture.on_frame = [&](const CCameraData&) {
        speaker = std::thread([this] {
            CCameraData pcm{};
            pcm.stream_type = CAM_STREAM_PCM;
            m_camera->OnFrameArrival(&pcm);
        });
        EXPECT_TRUE(sound.WaitFor(1)) << "while the picture is still being delivered";
    };
    Inject(CAM_STREAM_YUYV);
    speaker.join();
}

TEST_F(Observers, JpegIsDeliveredOncePerRequest)
{
    FrameCollector observer(CAM_STREAM_JPEG);
    m_camera->RegisterObserver(&observer);
    EXPECT_EQ(Inject(CAM_STREAM_JPEG), 1);
    EXPECT_EQ(observer.Count(), 0u);
    EXPECT_FALSE(m_log.Contains("OnFrameArrival, StreamType=9\r\n"));
    EXPECT_TRUE(Set(CAM_PROPERTY_TRIGGER_JPEG, 0));
    EXPECT_TRUE(Set(CAM_PROPERTY_TRIGGER_JPEG, 0)) << "two requests in a row are one";
    EXPECT_EQ(Inject(CAM_STREAM_JPEG), 1);
    EXPECT_EQ(Inject(CAM_STREAM_JPEG), 1);
    EXPECT_EQ(observer.Count(), 1u);
    EXPECT_TRUE(HasLine(m_log, 4, "OnFrameArrival", "Send a JPEG to AP.\r\n"));
    EXPECT_EQ(m_log.Count("Send a JPEG to AP.\r\n"), 1u);
}

TEST_F(Observers, CropChangeStampsThePendingPositionAndIsLoggedOnce)
{
    FrameCollector observer(CAM_STREAM_NV12);
    std::uint32_t flag_seen = 99;
    observer.on_frame = [&](const CCameraData& data) { flag_seen = data.crop_flag; };
    m_camera->RegisterObserver(&observer);
    Inject(CAM_STREAM_NV12, 0);
    EXPECT_TRUE(HasLine(m_log, 5, "OnFrameArrival", "Croped image, PosX=0, PosY=0, Flag=0\r\n"));
    ASSERT_TRUE(Set(CAM_PROPERTY_CROP_VGA, 0x00140028));
    Inject(CAM_STREAM_NV12, 0);
    EXPECT_EQ(m_crop.pos_x, 0u) << "not before the camera's flag changes";
    m_log.Clear();
    Inject(CAM_STREAM_NV12, 1);
    EXPECT_EQ(flag_seen, 0u);
    EXPECT_TRUE(m_crop.cropped);
    EXPECT_EQ(m_crop.pos_x, 40u);
    EXPECT_EQ(m_crop.pos_y, 20u);
    ASSERT_TRUE(Set(CAM_PROPERTY_CROP_GRAY, 0));
    Inject(CAM_STREAM_NV12, 1);
    Inject(CAM_STREAM_GRAY, 1);
    EXPECT_EQ(m_crop.pos_x, 40u);
    EXPECT_EQ(m_log.Count("Croped image"), 1u);
    EXPECT_TRUE(m_log.Contains("Croped image, PosX=40, PosY=20, Flag=1\r\n"));
    Inject(CAM_STREAM_GRAY, 0);
    EXPECT_FALSE(m_crop.cropped);
    EXPECT_EQ(m_crop.pos_x, 0u);
}

TEST_F(Observers, CropFlagIsComparedWideAndKeptInSixteenBits)
{
    Inject(CAM_STREAM_GRAY, 0x10002);
    Inject(CAM_STREAM_GRAY, 0x10002);
    EXPECT_EQ(m_log.Count("Croped image, PosX=0, PosY=0, Flag=2\r\n"), 2u);
}

TEST_F(Observers, OtherImagesKeepTheirCropFields)
{
    FrameCollector observer(CAM_STREAM_NV21);
    std::uint32_t flag_seen = 0;
    observer.on_frame = [&](const CCameraData& data) { flag_seen = data.crop_flag; };
    m_camera->RegisterObserver(&observer);
    Inject(CAM_STREAM_NV21, 5);
    EXPECT_EQ(flag_seen, 5u);
    EXPECT_FALSE(m_log.Contains("Croped image"));
}

TEST_F(Observers, EmptyImageIsLoggedAndDeliveredAsItIs)
{
    FrameCollector observer(CAM_STREAM_GRAY);
    m_camera->RegisterObserver(&observer);
    CCameraData record{};
    record.stream_type = CAM_STREAM_GRAY;
    record.data = m_data;  // size 0
    EXPECT_EQ(m_camera->OnFrameArrival(&record), 1);
    EXPECT_TRUE(
        HasLine(m_log, 1, "OnFrameArrival", "Null Gray or NV12 Data is received !!!\r\n"));
    EXPECT_EQ(observer.Count(), 1u);
}

TEST_F(Observers, ImageWithoutACropRecordIsDelivered)
{
    FrameCollector observer(CAM_STREAM_GRAY);
    m_camera->RegisterObserver(&observer);
    CCameraData record{};
    record.stream_type = CAM_STREAM_GRAY;
    record.data = m_data;
    record.size = sizeof m_data;
    EXPECT_EQ(m_camera->OnFrameArrival(&record), 1);
    EXPECT_EQ(observer.Count(), 1u);
}

TEST_F(Observers, EndOfStreamReachesNv12AndGrayOnly)
{
    FrameCollector nv12(CAM_STREAM_NV12), gray(CAM_STREAM_GRAY), nv21(CAM_STREAM_NV21);
    for (FrameCollector* observer : {&nv12, &gray, &nv21})
        m_camera->RegisterObserver(observer);
    EXPECT_TRUE(m_camera->SendTerminateFrame());
    for (FrameCollector* observer : {&nv12, &gray}) {
        ASSERT_EQ(observer->Count(), 1u);
        EXPECT_TRUE(observer->Frames()[0].ends_stream);
        EXPECT_EQ(observer->Frames()[0].size, 0u);
    }
    EXPECT_EQ(nv21.Count(), 0u);
    EXPECT_EQ(m_log.Count("Null Gray or NV12 Data is received !!!\r\n"), 2u);
    EXPECT_TRUE(InOrder(m_log, {"StreamType=5\r\n", "StreamType=7\r\n"}));
}

TEST_F(CameraTest, MainObserverOfARecordingCameraAsksForOneKeyFrame)
{
    MakeAndConnect(kOther);
    FrameCollector early(CAM_STREAM_H264_MAIN), late(CAM_STREAM_H264_MAIN),
        sub(CAM_STREAM_H264_SUB);
    m_camera->RegisterObserver(&early);
    EXPECT_TRUE(Commands().empty()) << "not recording";
    ASSERT_TRUE(m_camera->StartRecording());
    m_device->ClearLog();
    m_camera->RegisterObserver(&sub);
    EXPECT_TRUE(Commands().empty());
    EXPECT_TRUE(m_camera->RegisterObserver(&late));
    EXPECT_FALSE(m_camera->RegisterObserver(&late));
    EXPECT_EQ(Commands(), std::vector<std::string>{"1: 4 0"});
}

}  // namespace
