// With containers lost on the way only complete, decodable sequences arrive.
#include "tests/library/h264_check.h"
#include "tests/library/library_fixture.h"
#include "tests/library/sent_frames.h"

namespace {

using library_test::DecodeH264;
using library_test::DecodeResult;
using library_test::Match;
using library_test::MatchFrames;

constexpr std::uint64_t kContainers = 240;

CameraOptions Fast()
{
    CameraOptions options;
    options.video_paced = false;
    options.container_limit = kContainers;
    return options;
}

class LostContainers : public LibraryTest {
protected:
    LostContainers() : LibraryTest(Fast()) {}

    void Record(const char* platform, CAM_PROPERTY property, std::int32_t value,
                const std::string& faults)
    {
        m_model->AddFaults(faults);
        CreateAndInit(platform);
        if (HasFatalFailure())
            return;
        Set(property, value);
        for (FrameCollector* observer : {&m_main, &m_sub})
            ASSERT_TRUE(m_camera->RegisterObserver(observer));
        m_model->ClearTraffic();
        ASSERT_TRUE(m_camera->StartRecording());
        ASSERT_TRUE(m_model->Wait(test_support::kPatience,
                                  [this] { return m_model->Containers() == kContainers; }));
        m_camera->StopRecording();
    }
    /// Every frame was sent like this, each gap is followed by a key frame,
    /// and a decoder is content.
    void Check(Stream stream, const FrameCollector& observer, std::size_t least)
    {
        SCOPED_TRACE(stream == Stream::kMain ? "main" : "sub");
        bool everything = false;
        const std::vector<Match> matches =
            MatchFrames(m_model->Frames(stream), observer.Frames(), &everything);
        EXPECT_TRUE(everything) << "something arrived that was never sent";
        EXPECT_GE(matches.size(), least);
        std::vector<std::vector<unsigned char>> units;
        std::size_t restarts = 0;
        const Match* previous = nullptr;
        for (const Match& match : matches) {
            EXPECT_TRUE(match.sent.whole);
            const bool follows =
                previous != nullptr && match.sent.number == previous->sent.number + 1;
            if (!follows) {
                ++restarts;
                EXPECT_TRUE(match.sent.key) << "number " << match.sent.number;
            }
            previous = &match;
            units.push_back(match.data);
        }
        EXPECT_GE(restarts, 3u) << "the faults did nothing";
        const DecodeResult decoded = DecodeH264(units);
        EXPECT_EQ(decoded.pictures, units.size());
        EXPECT_THAT(decoded.errors, testing::IsEmpty());
    }

    FrameCollector m_main{CAM_STREAM_H264_MAIN, Keep::kData};
    FrameCollector m_sub{CAM_STREAM_H264_SUB, Keep::kData};
};

TEST_F(LostContainers, EveryFifthLeavesDecodableSequencesOfBothEncoders)
{
    Record(kCalder, CAM_PROPERTY_MICVOLUME, 30, "container every 5 lose");
    EXPECT_TRUE(m_log.Contains("Main H264, FRAME LOST. "));
    Check(Stream::kMain, m_main, 30);
    Check(Stream::kSub, m_sub, 10);
}

TEST_F(LostContainers, EveryFifthWithWholeKeyFramesLeavesDecodableSequences)
{
    Record(kBrevan, CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_GRAY, "container every 5 lose");
    Check(Stream::kMain, m_main, 30);
}

TEST_F(LostContainers, CheckNoticesAMissingPicture)
{
    Record(kBrevan, CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_GRAY, "");
    bool everything = false;
    const std::vector<Match> matches =
        MatchFrames(m_model->Frames(Stream::kMain), m_main.Frames(), &everything);
    ASSERT_TRUE(everything);
    ASSERT_GT(matches.size(), 30u);
    std::vector<std::vector<unsigned char>> units;
    std::size_t left_out = 0;
    for (std::size_t i = 0; i < matches.size(); ++i) {
        // One that the picture behind it is predicted from.
        const bool needed = !matches[i].sent.key && i + 1 < matches.size() &&
                            !matches[i + 1].sent.key;
        if (left_out == 0 && i > 4 && needed)
            left_out = i;
        else
            units.push_back(matches[i].data);
    }
    ASSERT_NE(left_out, 0u);
    EXPECT_THAT(DecodeH264(units).errors, testing::Not(testing::IsEmpty()));
}

}  // namespace
