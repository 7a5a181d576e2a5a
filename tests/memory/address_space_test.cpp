// A camera that announces larger frames than the television has room for.
#include <malloc.h>
#include <sys/resource.h>

#include <cstdio>

#include "tests/memory/process_size.h"
#include "tests/memory/scripted_fixture.h"

namespace {

constexpr std::uint32_t kFrameSize = 48U << 20;
constexpr int kStarts = 5;
/// What may come and go by itself, KiB: far less than a frame.
constexpr long kTolerance = 8L << 10;

class AddressSpace : public ScriptedMemoryTest, public testing::WithParamInterface<int> {
protected:
    /// Room for so many frames, and a bit for the rest.
    static void LeaveRoomFor(int frames)
    {
        const rlim_t room = static_cast<rlim_t>(frames) * kFrameSize + (20U << 20);
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = static_cast<rlim_t>(ProcessSize("VmSize")) * 1024 + room;
        setrlimit(RLIMIT_AS, &limit);
    }
    static void LiftLimit()
    {
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_AS, &limit);
    }
};

TEST_P(AddressSpace, TooSmallForTheFramesIsToldAndNotUsedUp)
{
    enum { kSizeBefore, kSizeAfterFirst, kSizeAfterLast, kResidentBefore, kResidentAfterLast };
    const Ending ending = PlayOnce(kCalder, [&](Story& story) {
        // The heaps that threads get have room in reserve.
        mallopt(M_ARENA_MAX, 1);
        CreateAndConnectIn(story);
        WarmUpIn(story);
        m_device->OfferVideo(kFrameSize, kPayloadSize);
        story.Tell(kSizeBefore, ProcessSize("VmSize"));
        story.Tell(kResidentBefore, ProcessSize("VmRSS"));
        LeaveRoomFor(GetParam());
        story.Doing(std::to_string(kStarts) + " times StartRecording");
        int started = 0;
        int left_by_exceptions = 0;
        for (int start = 0; start < kStarts; ++start) {
            try {
                started += m_camera->StartRecording();
            } catch (const std::bad_alloc&) {
                ++left_by_exceptions;
            }
            story.Tell(start == 0 ? kSizeAfterFirst : kSizeAfterLast, ProcessSize("VmSize"));
        }
        story.Tell(kResidentAfterLast, ProcessSize("VmRSS"));
        story.Require(left_by_exceptions == 0,
                      "an exception left it " + std::to_string(left_by_exceptions) + " times");
        story.Require(started == 0, "true " + std::to_string(started) + " times");
        story.Require(m_camera->GetState() == CAM_STATE_CONNECTED, "not connected");
        LiftLimit();
        story.Doing("StartRecording with room again");
        story.Require(m_camera->StartRecording(), "false");
        SendContainer(Container({{kMainH264, H264(kIntra, 100)}}));
        story.RequireSoon([this] { return m_pictures.Count() == 1; }, "no picture");
        StopIn(story, "StopRecording");
        DestroyIn(story);
    });
    const auto& figures = ending.figures;
    const long grown = figures[kSizeAfterLast] - figures[kSizeBefore];
    const long resident = figures[kResidentAfterLast] - figures[kResidentBefore];
    std::fprintf(stderr,
                 "size %ld KiB, grown by %ld KiB after one start and by %ld KiB after %d, "
                 "resident by %ld KiB\n",
                 figures[kSizeBefore], figures[kSizeAfterFirst] - figures[kSizeBefore], grown,
                 kStarts, resident);
    EXPECT_GT(figures[kSizeBefore], 0);
    EXPECT_LT(figures[kSizeAfterFirst] - figures[kSizeBefore], kTolerance);
    EXPECT_LT(grown, kTolerance);
    EXPECT_LT(resident, kTolerance);
}

// From the first frame to the last.
INSTANTIATE_TEST_SUITE_P(RoomForFrames, AddressSpace, testing::Range(0, 5));

}  // namespace
