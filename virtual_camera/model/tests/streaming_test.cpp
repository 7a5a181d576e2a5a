#include <gtest/gtest.h>

#include "host_side.h"

namespace vcam::test {
namespace {

const std::map<std::uint16_t, Stream> kIds = {
    {0x29, Stream::kYuy2}, {0x2A, Stream::kNv12}, {0x2B, Stream::kMain}, {0x2C, Stream::kJpeg},
    {0x2D, Stream::kGray}, {0x2F, Stream::kNv21}, {0x35, Stream::kSub}};

class Streaming : public testing::TestWithParam<bool>
{
protected:
    static CameraOptions Options()
    {
        CameraOptions options;
        options.video_paced = GetParam();
        return options;
    }
    CameraModel m_camera{Options()};
    HostSide m_host{m_camera};

    std::map<Stream, StreamTotals> Receive(std::size_t containers)
    {
        std::map<Stream, StreamTotals> totals;
        for (const Bytes& container : m_host.ReadFrames(containers)) {
            for (const Section& section : ParseContainer(container)) {
                StreamTotals& sum = totals[kIds.at(section.id)];
                ++sum.frames;
                sum.bytes += section.data.size();
                sum.digest =
                    ChainDigest(sum.digest, Digest(section.data.data(), section.data.size()));
            }
        }
        return totals;
    }
};

TEST_P(Streaming, EverySignalTypeArrivesAsSent)
{
    for (std::uint8_t type = 0; type < kSignals.size(); ++type) {
        SCOPED_TRACE(kSignals[type].name);
        m_host.Mmp({1, type});
        m_host.StartVideo();
        m_camera.ClearTraffic();
        const auto received = Receive(40);
        m_host.StopVideo();
        const Signal& signal = kSignals[type];
        EXPECT_EQ(received.count(Stream::kMain), signal.main);
        EXPECT_EQ(received.count(Stream::kSub), signal.sub);
        EXPECT_EQ(received.count(Stream::kJpeg), signal.jpeg);
        EXPECT_EQ(received.count(Stream::kGray), signal.gray);
        EXPECT_EQ(received.count(Stream::kNv12), signal.nv12);
        EXPECT_EQ(received.count(Stream::kNv21), signal.nv21);
        EXPECT_EQ(received.count(Stream::kYuy2), signal.yuy2);
        for (const auto& [stream, totals] : received) {
            EXPECT_EQ(m_camera.Totals(stream).frames, totals.frames);
            EXPECT_EQ(m_camera.Totals(stream).bytes, totals.bytes);
            EXPECT_EQ(m_camera.Totals(stream).digest, totals.digest);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Pacing, Streaming, testing::Bool(),
                         [](const auto& pacing) { return pacing.param ? "Paced" : "Unpaced"; });

TEST(Pace, ThirtyContainersTakeASecondOfTheCarriersClock)
{
    CameraModel camera;
    HostSide host(camera);
    host.StartVideo();
    const TimeUs start = host.now;
    EXPECT_EQ(host.ReadFrames(1).size(), 1U);
    EXPECT_EQ(host.now - start, CameraOptions().startup_time);
    EXPECT_EQ(host.ReadFrames(30).size(), 30U);
    EXPECT_EQ(host.now - start, CameraOptions().startup_time + 1000000U);
}

TEST(Limit, TheStreamFallsSilentAndGoesOn)
{
    CameraModel camera;
    HostSide host(camera);
    camera.SetContainerLimit(3);
    host.StartVideo();
    EXPECT_EQ(host.ReadFrames(10).size(), 3U);
    EXPECT_EQ(camera.Containers(), 3U);
    camera.SetContainerLimit(5);
    EXPECT_EQ(host.ReadFrames(10).size(), 2U);
}

TEST(Encoder, NumbersRunOnOverKeyFramesAndAStreamBeginsAtZero)
{
    CameraModel camera;
    HostSide host(camera);
    for (int run = 0; run < 2; ++run) {
        host.StartVideo();
        std::uint32_t number = 0;
        for (const Bytes& container : host.ReadFrames(70)) {
            const Section main = ParseContainer(container).at(0);
            EXPECT_EQ(main.number, number);
            EXPECT_EQ(main.data.at(4), number % 30 == 0 ? 0x67 : 0x41) << number;
            ++number;
        }
        host.StopVideo();
    }
}

TEST(Encoder, AKeyRequestRestartsBothStreamsAtAnIdrPicture)
{
    CameraModel camera;
    HostSide host(camera);
    host.StartVideo();
    host.ReadFrames(6);
    host.Isp({4});
    bool main_key = false, sub_key = false;
    for (const Bytes& container : host.ReadFrames(2)) {
        for (const Section& section : ParseContainer(container)) {
            main_key |= section.id == 0x2B && section.data[4] == 0x67;
            sub_key |= section.id == 0x35 && section.data[4] == 0x67;
        }
    }
    EXPECT_TRUE(main_key);
    EXPECT_TRUE(sub_key);
    EXPECT_EQ(camera.Controller().key_requests, 1U);
}

TEST(Encoder, EveryKeyFrameHasTheShapeThatTheSplitterNeeds)
{
    const auto media = Media::Load(CameraOptions().media_dir);
    for (const Clip& clip : media->Clips()) {
        EXPECT_EQ(clip.frames.size(), clip.fps * 8U);
        for (const ClipFrame& frame : clip.frames) {
            const std::uint8_t* data = clip.data.data() + frame.offset;
            ASSERT_EQ(LoadLe(data, 4), 0x01000000U);
            if (!frame.key)
                continue;
            std::size_t pps = 0;
            while (LoadLe(data + pps, 4) != 0x01000000U || data[pps + 4] != 0x68) ++pps;
            EXPECT_EQ(LoadLe(data + pps + 8, 4), 0x01000000U);
            EXPECT_EQ(data[pps + 12], 0x65);
        }
    }
}

TEST(Still, ATriggerPutsOneIntoTheNextContainer)
{
    CameraModel camera;
    HostSide host(camera);
    host.StartVideo();
    host.ReadFrames(3);
    EXPECT_EQ(camera.Totals(Stream::kJpeg).frames, 0U);
    host.Mmp({3});
    host.ReadFrames(5);
    EXPECT_EQ(camera.Totals(Stream::kJpeg).frames, 1U);
}

TEST(Plain, TheOtherFormatsCarryPicturesWithoutContainers)
{
    CameraModel camera;
    HostSide host(camera);
    host.StartVideo(1, kFormatYuy2);
    for (const Bytes& frame : host.ReadFrames(3)) EXPECT_EQ(frame.size(), 640U * 480 * 2);
    host.StartVideo(4, kFormatMjpeg);
    const auto frames = host.ReadFrames(2);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0][0], 0xFF);
    EXPECT_EQ(frames[0][1], 0xD8);
}

TEST(Microphone, TenPacketsMakeAChunkOf960BytesInTenMilliseconds)
{
    CameraModel camera;
    HostSide host(camera);
    ASSERT_EQ(host.Out(0x22, kSetCur, 0x0100, 0x0082, {0xC0, 0x5D, 0x00}).length, 3U);
    EXPECT_EQ(host.In(0xA2, kGetCur, 0x0100, 0x0082, 3), (Bytes{0xC0, 0x5D, 0x00}));
    camera.SetAlternateSetting(kAudioStreaming, 1, host.now);
    unsigned char buffer[10][192];
    std::uint64_t digest = kDigestStart, loud = 0;
    for (int transfer = 0; transfer < 300; ++transfer) {
        IsoPacket packets[10];
        for (int i = 0; i < 10; ++i) packets[i] = {buffer[i], 192, 0, TransferStatus::kError};
        TransferResult result = camera.IsoIn(kAudioEndpoint, packets, 10, host.now);
        ASSERT_EQ(result.status, TransferStatus::kNotReady);
        ASSERT_EQ(result.ready_at - host.now, 10000U);
        host.now = result.ready_at;
        result = camera.IsoIn(kAudioEndpoint, packets, 10, host.now);
        ASSERT_EQ(result.length, 960U);
        std::uint64_t chunk = kDigestStart;
        for (auto& packet : packets) {
            EXPECT_EQ(packet.length, 96U);
            chunk = Digest(packet.data, packet.length, chunk);
            loud += packet.data[1] != 0 && packet.data[1] != 0xFF;
        }
        digest = ChainDigest(digest, chunk);
    }
    EXPECT_EQ(camera.Totals(Stream::kPcm).digest, digest);
    EXPECT_EQ(camera.Totals(Stream::kPcm).bytes, 288000U);
    EXPECT_GT(loud, 500U);
}

}  // namespace
}  // namespace vcam::test
