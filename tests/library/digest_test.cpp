// What observers get is byte for byte what the camera sent, whichever
// combination of streams it was told to send.
#include "tests/library/library_fixture.h"
#include "tests/library/sent_frames.h"

namespace {

using library_test::Match;
using library_test::MatchFrames;

constexpr std::uint64_t kContainers = 45;

CameraOptions Fast()
{
    CameraOptions options;
    options.video_paced = false;
    options.container_limit = kContainers;
    return options;
}

struct Combination {
    const char* name;
    const char* platform;
    CAM_PROPERTY property;
    std::int32_t value;
    std::vector<Stream> streams;  ///< that have to flow, but for JPEG
    bool option_flag;             ///< audio runs, main key frames come in pieces
    bool still;                   ///< the trigger has an effect
};

void PrintTo(const Combination& combination, std::ostream* out)
{
    *out << combination.name;
}

struct Watched {
    CAM_STREAM type;
    Stream stream;
};
constexpr Watched kWatched[] = {
    {CAM_STREAM_H264_MAIN, Stream::kMain}, {CAM_STREAM_H264_SUB, Stream::kSub},
    {CAM_STREAM_GRAY, Stream::kGray},      {CAM_STREAM_NV12, Stream::kNv12},
    {CAM_STREAM_NV21, Stream::kNv21},      {CAM_STREAM_YUYV, Stream::kYuy2},
};

class Digests : public LibraryTest, public testing::WithParamInterface<Combination> {
protected:
    Digests() : LibraryTest(Fast()) {}

    /// PCM: an unbroken run of what was sent, unless chunks were dropped.
    void CheckSound()
    {
        const auto received = m_sound.Frames();
        const auto sent = m_model->Frames(Stream::kPcm);
        const bool dropped = m_log.Contains("Audio frame drop.");
        for (std::size_t start = 0; start < sent.size(); ++start) {
            std::size_t at = start;
            std::size_t matched = 0;
            for (; at < sent.size() && matched < received.size(); ++at) {
                if (sent[at].size == received[matched].size &&
                    sent[at].digest == received[matched].digest)
                    ++matched;
                else if (!dropped)
                    break;
            }
            if (matched == received.size())
                return;
        }
        ADD_FAILURE() << received.size() << " sound frames are not what was sent";
    }

    // They outlive the camera, which tells them of its end.
    std::vector<std::unique_ptr<FrameCollector>> m_collectors;
    FrameCollector m_stills{CAM_STREAM_JPEG};
    FrameCollector m_sound{CAM_STREAM_PCM};
};

TEST_P(Digests, OfWhatArrivesAreThoseOfWhatWasSent)
{
    const Combination& combination = GetParam();
    CreateAndInit(combination.platform);
    if (HasFatalFailure())
        return;
    Set(combination.property, combination.value);
    EXPECT_TRUE(Set(CAM_PROPERTY_TRIGGER_JPEG, 0));

    for (const Watched& watched : kWatched) {
        const bool keep = watched.stream == Stream::kMain;
        m_collectors.push_back(
            std::make_unique<FrameCollector>(watched.type, keep ? Keep::kData : Keep::kDigests));
        ASSERT_TRUE(m_camera->RegisterObserver(m_collectors.back().get()));
    }
    m_camera->RegisterObserver(&m_stills);
    m_camera->RegisterObserver(&m_sound);

    m_model->ClearTraffic();
    ASSERT_TRUE(m_camera->StartRecording());
    ASSERT_TRUE(m_model->Wait(test_support::kPatience,
                              [this] { return m_model->Containers() == kContainers; }));
    for (std::size_t i = 0; i < m_collectors.size(); ++i) {
        const auto arrived = [&] {
            return m_collectors[i]->TotalBytes() == m_model->Totals(kWatched[i].stream).bytes;
        };
        EXPECT_TRUE(WaitUntil(arrived))
            << "stream " << kWatched[i].type << ": " << m_collectors[i]->TotalBytes() << " of "
            << m_model->Totals(kWatched[i].stream).bytes << " bytes arrived";
    }
    if (combination.option_flag) {
        EXPECT_TRUE(m_sound.WaitFor(8));
    }
    ASSERT_TRUE(m_camera->StopRecording());

    for (std::size_t i = 0; i < m_collectors.size(); ++i) {
        SCOPED_TRACE(kWatched[i].type);
        const auto sent = m_model->Frames(kWatched[i].stream);
        const bool expected =
            std::find(combination.streams.begin(), combination.streams.end(),
                      kWatched[i].stream) != combination.streams.end();
        EXPECT_EQ(!sent.empty(), expected);
        auto received = m_collectors[i]->Frames();
        if (!received.empty() && received.back().ends_stream)
            received.pop_back();
        if (kWatched[i].stream == Stream::kMain) {
            bool everything = false;
            const std::vector<Match> matches = MatchFrames(sent, received, &everything);
            EXPECT_TRUE(everything);
            ASSERT_EQ(matches.size(), sent.size());
            for (const Match& match : matches) {
                // A first picture numbered 0 is not looked at.
                const bool split =
                    combination.option_flag && match.sent.key && match.sent.number != 0;
                EXPECT_EQ(match.pieces, split ? 3u : 1u) << "number " << match.sent.number;
            }
            continue;
        }
        ASSERT_EQ(received.size(), sent.size());
        for (std::size_t k = 0; k < sent.size(); ++k) {
            EXPECT_EQ(received[k].size, sent[k].size);
            EXPECT_EQ(received[k].digest, sent[k].digest) << "frame " << k;
        }
    }

    const auto sent_stills = m_model->Frames(Stream::kJpeg);
    EXPECT_EQ(!sent_stills.empty(), combination.still);
    ASSERT_EQ(m_stills.Count(), combination.still ? 1u : 0u) << "one for one request";
    if (combination.still) {
        EXPECT_EQ(m_stills.Frames()[0].digest, sent_stills[0].digest);
    }
    if (combination.option_flag)
        CheckSound();
    else
        EXPECT_EQ(m_sound.Count(), 0u);
}

Combination SignalType(const char* name, CAM_SIGNAL_TYPE type, std::vector<Stream> streams)
{
    return {name, kBrevan, CAM_PROPERTY_SIGNAL_TYPE, static_cast<std::int32_t>(type),
            std::move(streams), type == CAM_SIGNAL_H264_H264_GRAY, true};
}

INSTANTIATE_TEST_SUITE_P(
    SignalTypes, Digests,
    testing::Values(
        SignalType("Yuyv", CAM_SIGNAL_H264_YUYV, {Stream::kMain, Stream::kYuy2}),
        SignalType("Gray", CAM_SIGNAL_H264_GRAY, {Stream::kMain, Stream::kGray}),
        SignalType("GrayOnly", CAM_SIGNAL_GRAY, {Stream::kGray}),
        SignalType("H264Gray", CAM_SIGNAL_H264_H264_GRAY,
                   {Stream::kMain, Stream::kSub, Stream::kGray}),
        SignalType("Nv21", CAM_SIGNAL_H264_NV21, {Stream::kMain, Stream::kNv21}),
        SignalType("GrayJpeg", CAM_SIGNAL_H264_GRAY_JPEG, {Stream::kMain, Stream::kGray}),
        SignalType("GrayStill", CAM_SIGNAL_H264_GRAY_SI,
                   {Stream::kMain, Stream::kGray, Stream::kNv12}),
        SignalType("H264", CAM_SIGNAL_H264_H264, {Stream::kMain, Stream::kSub}),
        SignalType("Mjpeg", CAM_SIGNAL_H264_MJPEG, {Stream::kMain})),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    VideoModes, Digests,
    testing::Values(Combination{"DualH264", kCalder, CAM_PROPERTY_MICVOLUME, 30,
                                {Stream::kMain, Stream::kSub}, true, false},
                    Combination{"DualH264Silent", kFerrowA, CAM_PROPERTY_BITRATE, 1500000,
                                {Stream::kMain, Stream::kSub}, false, false},
                    Combination{"H264AndJpeg", kFerrowB, CAM_PROPERTY_MICVOLUME, 30,
                                {Stream::kMain}, true, true},
                    Combination{"ModeTwo", kOther, CAM_PROPERTY_VIDEOMODE, 2, {Stream::kMain},
                                false, true}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
