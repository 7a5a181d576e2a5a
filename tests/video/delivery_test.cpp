// How each stream arrives at the camera object.
#include "tests/video/capture_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DeliveryTest : public CaptureLoop {
protected:
    DeliveryTest()
    {
        m_capture.before_frame = [this] { m_clock.Add(100); };  // 9 ticks
    }
    Section Image(std::uint16_t type, std::size_t size, std::uint16_t crop_flag = 3)
    {
        Section section{type, Bytes(size, static_cast<std::uint8_t>(type))};
        section.crop_flag = crop_flag;
        return section;
    }
    const Delivery& Last() const { return m_camera.deliveries.back(); }
};

TEST_F(DeliveryTest, MainAndSubCarryTheStamp)
{
    Queue({Main(1), Sub(1)});
    RunLoop();
    ASSERT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_H264_MAIN, CAM_STREAM_H264_SUB));
    const std::vector<std::size_t> sizes{12, 15};
    for (std::size_t i = 0; i < 2; ++i) {
        const Delivery& delivery = m_camera.deliveries[i];
        EXPECT_EQ(delivery.data, H264(kPredicted, sizes[i]));
        EXPECT_EQ(delivery.third, 9u);
        EXPECT_EQ(delivery.detail, 0u);
        EXPECT_FALSE(delivery.has_crop_info);
    }
}

TEST_F(DeliveryTest, JpegCarriesNothingElse)
{
    Queue({Main(1), Image(kJpeg, 7)});
    RunLoop();
    EXPECT_EQ(Last().stream, CAM_STREAM_JPEG);
    EXPECT_EQ(Last().data, Bytes(7, 44));
    EXPECT_EQ(Last().third, 0u);
    EXPECT_EQ(Last().detail, 0u);
    EXPECT_FALSE(Last().has_crop_info);
}

TEST_F(DeliveryTest, GrayCarriesItsCropFlagAndAZeroedCropRecord)
{
    Queue({Image(kGray, 7, 0x1234)});
    RunLoop();
    EXPECT_EQ(Last().stream, CAM_STREAM_GRAY);
    EXPECT_EQ(Last().data, Bytes(7, 45));
    EXPECT_EQ(Last().third, 0x1234u);
    EXPECT_EQ(Last().detail, 12u);
    ASSERT_TRUE(Last().has_crop_info);
    EXPECT_FALSE(Last().crop_info.cropped);
    EXPECT_EQ(Last().crop_info.pos_x, 0u);
    EXPECT_EQ(Last().crop_info.pos_y, 0u);
}

TEST_F(DeliveryTest, Nv12CarriesItsCropFlagAndAZeroedCropRecord)
{
    // The camera object fills the record of the image before; this one is new.
    m_camera.then = [](const CCameraData& data) {
        if (data.crop_info != nullptr)
            *data.crop_info = {true, 5, 6};
    };
    Queue({Image(kGray, 7, 1), Image(kNv12, 8, 2)});
    RunLoop();
    EXPECT_EQ(Last().stream, CAM_STREAM_NV12);
    EXPECT_EQ(Last().data, Bytes(8, 42));
    EXPECT_EQ(Last().third, 2u);
    EXPECT_EQ(Last().detail, 12u);
    ASSERT_TRUE(Last().has_crop_info);
    EXPECT_FALSE(Last().crop_info.cropped);
    EXPECT_EQ(Last().crop_info.pos_y, 0u);
}

TEST_F(DeliveryTest, Nv21AndYuy2OnTheirOwnCarryNothingElse)
{
    Queue({Image(kNv21, 7), Image(kYuy2, 8)});
    RunLoop();
    ASSERT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_NV21, CAM_STREAM_YUYV));
    for (const Delivery& delivery : m_camera.deliveries) {
        EXPECT_EQ(delivery.third, 0u);
        EXPECT_EQ(delivery.detail, 0u);
        EXPECT_FALSE(delivery.has_crop_info);
    }
}

TEST_F(DeliveryTest, Nv21AndYuy2KeepWhatACroppedImageOfTheContainerLeft)
{
    Queue({Image(kYuy2, 8), Image(kNv21, 7), Image(kGray, 6)});
    RunLoop();
    ASSERT_EQ(m_camera.deliveries.size(), 3u);
    for (std::size_t i = 1; i < 3; ++i) {
        EXPECT_EQ(m_camera.deliveries[i].third, 0u);
        EXPECT_EQ(m_camera.deliveries[i].detail, 12u);
        EXPECT_TRUE(m_camera.deliveries[i].has_crop_info);
    }
}

TEST_F(DeliveryTest, NothingIsLeftForTheNextContainer)
{
    Queue({Image(kGray, 6)});
    Queue({Image(kNv21, 7)});
    RunLoop();
    EXPECT_EQ(Last().detail, 0u);
    EXPECT_FALSE(Last().has_crop_info);
}

TEST_F(DeliveryTest, OrderIsFixedWhateverTheContainersIs)
{
    Queue({Image(kYuy2, 1), Image(kNv21, 2), Image(kNv12, 3), Image(kGray, 4), Image(kJpeg, 5),
           Sub(1), Main(1)});
    RunLoop();
    EXPECT_THAT(m_camera.Streams(),
                ElementsAre(CAM_STREAM_H264_MAIN, CAM_STREAM_H264_SUB, CAM_STREAM_JPEG,
                            CAM_STREAM_GRAY, CAM_STREAM_NV12, CAM_STREAM_NV21, CAM_STREAM_YUYV));
}

TEST_F(DeliveryTest, EmptySectionsAreAbsent)
{
    Queue({{kMainH264, {}}, {kJpeg, {}}, {kGray, Bytes(3)}});
    RunLoop();
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_GRAY));
    EXPECT_FALSE(m_log.Contains("RESET"));
}

TEST_F(DeliveryTest, SectionsOfAMalformedContainerThatWereFoundAreDelivered)
{
    Bytes bytes = Container({Main(1)});
    bytes.resize(bytes.size() + 10);
    m_capture.frames.push_back(bytes);
    RunLoop();
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_H264_MAIN));
}

TEST_F(DeliveryTest, DataIsNotCopied)
{
    Queue({Image(kJpeg, 7), Image(kGray, 9)});
    RunLoop();
    ASSERT_EQ(m_camera.deliveries.size(), 2u);
    EXPECT_EQ(m_camera.deliveries[1].address - m_camera.deliveries[0].address, 7 + 32);
}

class SplitKeyFrames : public DeliveryTest {
protected:
    static Section Key(std::uint32_t number, const Bytes& data)
    {
        Section section{kMainH264, data};
        section.frame_number = number;
        return section;
    }
};

TEST_F(SplitKeyFrames, ArriveInThreePiecesOfOneStamp)
{
    Queue({Key(1, KeyFrame(100))});
    RunLoop(true);
    ASSERT_EQ(m_camera.deliveries.size(), 3u);
    EXPECT_EQ(m_camera.deliveries[0].data, H264(0x67, 20));
    EXPECT_EQ(m_camera.deliveries[1].data, H264(0x68, 8));
    EXPECT_EQ(m_camera.deliveries[2].data, H264(kIntra, 72));
    for (const Delivery& delivery : m_camera.deliveries) {
        EXPECT_EQ(delivery.stream, CAM_STREAM_H264_MAIN);
        EXPECT_EQ(delivery.third, 9u);
    }
}

TEST_F(SplitKeyFrames, AreWholeWithoutTheFlag)
{
    Queue({Key(1, KeyFrame(100))});
    RunLoop(false);
    ASSERT_EQ(m_camera.deliveries.size(), 1u);
    EXPECT_EQ(Last().data, KeyFrame(100));
}

TEST_F(SplitKeyFrames, PredictedFramesStayWhole)
{
    Queue({Main(1)});
    RunLoop(true);
    EXPECT_EQ(m_camera.deliveries.size(), 1u);
}

TEST_F(SplitKeyFrames, SubKeyFramesStayWhole)
{
    Section sub{kSubH264, KeyFrame(100)};
    sub.frame_number = 1;
    Queue({sub});
    RunLoop(true);
    ASSERT_EQ(m_camera.deliveries.size(), 1u);
    EXPECT_EQ(Last().data, KeyFrame(100));
}

TEST_F(SplitKeyFrames, FailedSplitIsLoggedAndDeliversNothing)
{
    Queue({Key(1, H264(kIntra, 50)), Image(kJpeg, 5)});
    RunLoop(true);
    EXPECT_THAT(m_camera.Streams(), ElementsAre(CAM_STREAM_JPEG));
    EXPECT_THAT(LoopLines(), ElementsAre("1: Failed to parsing H264 key frame !!!"));
}

TEST_F(SplitKeyFrames, PieceThatRunsPastTheFrameIsCut)
{
    Bytes data = H264(0x67, 20);
    data.insert(data.end(), {0, 0, 0, 1, 0x68, 9});
    Queue({Key(1, data)});
    RunLoop(true);
    ASSERT_EQ(m_camera.deliveries.size(), 2u);
    EXPECT_EQ(m_camera.deliveries[1].data, (Bytes{0, 0, 0, 1, 0x68, 9}));
}

TEST_F(SplitKeyFrames, EmptyPictureIsNotDelivered)
{
    Bytes data = H264(0x67, 20);
    const Bytes rest = H264(0x68, 8);
    data.insert(data.end(), rest.begin(), rest.end());
    Queue({Key(1, data)});
    RunLoop(true);
    EXPECT_EQ(m_camera.deliveries.size(), 2u);
}

TEST_F(SplitKeyFrames, NumberZeroLeavesTheKeyFrameFlagAsItWas)
{
    Queue({Key(0, KeyFrame(100))});  // no key frame yet: delivered whole
    Queue({Key(1, KeyFrame(100))});
    Queue({Key(0, KeyFrame(60))});  // the one before was one: split
    RunLoop(true);
    EXPECT_EQ(m_camera.deliveries.size(), 7u);
}

TEST_F(SplitKeyFrames, PieceCanBeDeliveredByItself)
{
    CVideoCaptureThread thread(&m_camera, &m_capture, 5, true);
    Bytes piece{1, 2, 3};
    thread.UpdateH264Frame(piece.data(), 3, 0x12345);
    ASSERT_EQ(m_camera.deliveries.size(), 1u);
    EXPECT_EQ(Last().stream, CAM_STREAM_H264_MAIN);
    EXPECT_EQ(Last().data, piece);
    EXPECT_EQ(Last().third, 0x12345u);
}

}  // namespace
