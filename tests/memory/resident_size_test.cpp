// What a recording costs the television before the first picture: buffers take
// memory when they are filled, not when they are made.
#include <sys/prctl.h>

#include <cstdio>

#include "tests/memory/process_size.h"
#include "tests/memory/scripted_fixture.h"

namespace {

struct Offer {
    const char* name;
    std::uint32_t frame_size;
    long limit;  ///< KiB
};

class ResidentSize : public ScriptedMemoryTest, public testing::WithParamInterface<Offer> {};

TEST_P(ResidentSize, OfAStartIsFarBelowThatOfItsFrames)
{
    const Offer& offer = GetParam();
    enum { kBefore, kAfter };
    const Ending ending = PlayOnce(kCalder, [&](Story& story) {
        // A page that is touched counts as a page, and not as two megabytes.
        prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
        CreateAndConnectIn(story);
        WarmUpIn(story);
        m_device->OfferVideo(offer.frame_size, kPayloadSize);
        story.Tell(kBefore, ProcessSize("VmRSS"));
        story.Doing("StartRecording");
        story.Require(m_camera->StartRecording(), "false");
        story.Tell(kAfter, ProcessSize("VmRSS"));
        SendContainer(Container({{kMainH264, H264(kIntra, 100)}}));
        story.RequireSoon([this] { return m_pictures.Count() == 1; }, "no picture");
        StopIn(story, "StopRecording");
        DestroyIn(story);
    });
    const long grown = ending.figures[kAfter] - ending.figures[kBefore];
    std::fprintf(stderr, "resident before %ld KiB, after %ld KiB: %ld KiB for frames of %u KiB\n",
                 ending.figures[kBefore], ending.figures[kAfter], grown, offer.frame_size / 1024);
    EXPECT_GT(ending.figures[kBefore], 0);
    EXPECT_LT(grown, offer.limit);
}

INSTANTIATE_TEST_SUITE_P(Offers, ResidentSize,
                         testing::Values(Offer{"SixtyMegabytes", 60U << 20, 15L << 10},
                                         Offer{"OneMegabyte", 1U << 20, 4L << 10}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
