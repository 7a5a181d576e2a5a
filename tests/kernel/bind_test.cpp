// The kernel's own class drivers read the camera: nobody here wrote them, so
// they prove descriptors, negotiation, payload headers and packets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>

#include <algorithm>

#include "tests/kernel/camera_client.h"
#include "tests/kernel/kernel_fixture.h"
#include "tests/kernel/pcm_reader.h"
#include "tests/kernel/v4l2_reader.h"
#include "virtual_camera/model/media.h"
#include "virtual_camera/model/microphone.h"

namespace kernel_test
{
namespace
{

constexpr char kVideo[] = "/dev/video0";

class StockDrivers : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_camera.Plug()); }

    /// The driver drops what came before its first whole picture, and after
    /// that nothing.
    void ExpectAsSent(const std::vector<CapturedPicture>& pictures, vcam::Stream stream)
    {
        const std::vector<vcam::SentFrame> sent = m_camera.Frames(stream);
        std::size_t next = 0;
        ASSERT_FALSE(pictures.empty());
        while (next < sent.size() && sent[next].digest != pictures[0].digest) ++next;
        EXPECT_LE(next, 1u);
        for (std::size_t i = 0; i < pictures.size(); ++i, ++next) {
            SCOPED_TRACE(i);
            ASSERT_LT(next, sent.size());
            EXPECT_FALSE(pictures[i].damaged);
            EXPECT_EQ(pictures[i].size, sent[next].size);
            EXPECT_EQ(pictures[i].digest, sent[next].digest);
            EXPECT_EQ(pictures[i].sequence, pictures[0].sequence + i);
        }
    }

    CameraClient m_camera;
};

TEST_F(StockDrivers, BindToVideoAndMicrophone)
{
    const auto device = FindCamera();
    ASSERT_TRUE(device);
    EXPECT_EQ(DriverOf(*device, 0), "uvcvideo");
    EXPECT_EQ(DriverOf(*device, 1), "uvcvideo");
    EXPECT_EQ(DriverOf(*device, 2), "snd-usb-audio");
    EXPECT_EQ(DriverOf(*device, 3), "snd-usb-audio");
    EXPECT_EQ(DriverOf(*device, 4), "");
    EXPECT_THAT(ListFormats(kVideo), testing::ElementsAre("YUYV", "MJPG", "H264"));
    EXPECT_FALSE(FindEntry("/dev/snd", "pcmC", "c").empty());
}

TEST_F(StockDrivers, CaptureRawPicturesAsTheyWereSent)
{
    const auto pictures = CapturePictures(kVideo, V4L2_PIX_FMT_YUYV, 640, 480, 12);
    EXPECT_EQ(pictures.size(), 12u);
    ExpectAsSent(pictures, vcam::Stream::kYuy2);
}

TEST_F(StockDrivers, CaptureJpegPicturesAsTheyWereSent)
{
    const auto pictures = CapturePictures(kVideo, V4L2_PIX_FMT_MJPEG, 1280, 720, 12);
    EXPECT_EQ(pictures.size(), 12u);
    ExpectAsSent(pictures, vcam::Stream::kJpeg);
}

TEST_F(StockDrivers, CaptureSoundAsItWasSent)
{
    constexpr unsigned kRate = 24000;
    constexpr std::size_t kFrames = kRate;
    constexpr std::size_t kPacket = kRate / 1000 * 4;
    constexpr std::size_t kMissed = 100;  // packets of a millisecond
    const std::vector<std::uint8_t> sound =
        CapturePcm(FindEntry("/dev/snd", "pcmC", "c"), kRate, kFrames);
    ASSERT_EQ(sound.size(), kFrames * 4);
    EXPECT_EQ(m_camera.State("audio-rate"), kRate);

    // What the microphone sends from the start of a stream on.
    const auto media = vcam::Media::Load("/media");
    vcam::Microphone microphone(media->Speech());
    microphone.SetRate(kRate);
    microphone.SetVolume(static_cast<std::int16_t>(m_camera.ControlValue(5, 2)),
                         m_camera.ControlValue(5, 1) != 0);
    microphone.Start();
    std::vector<std::uint8_t> sent(kFrames * 4 + kMissed * kPacket);
    for (std::size_t at = 0; at < sent.size();)
        at += microphone.NextPacket(&sent[at], sent.size() - at);
    // The driver starts its transfers before it listens to them, so packets that
    // come in between are dropped; after that nothing is.
    std::size_t missed = 0;
    while (missed < kMissed &&
           !std::equal(sound.begin(), sound.end(), sent.begin() + missed * kPacket))
        ++missed;
    EXPECT_LT(missed, kMissed);
    Shows("%zu packets before the driver listened", missed);
}

}  // namespace
}  // namespace kernel_test
