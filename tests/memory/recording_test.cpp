// Starts of a recording for which there is not memory enough.
#include "tests/memory/memory_fixture.h"

namespace {

struct Way {
    const char* name;
    const char* platform;
    bool with_sound;
    bool starts_again;     ///< otherwise the camera object is destroyed at once
    std::size_t at_least;  ///< allocations of a start, however they are grouped
};

class StartWithoutMemory : public MemoryTest, public testing::WithParamInterface<Way> {};

TEST_P(StartWithoutMemory, IsRefusedAndTheNextOneBeginsAfresh)
{
    const Way& way = GetParam();
    FailEach(way.platform, way.at_least, [&](Story& story, std::size_t nth) {
        CreateAndConnectIn(story);
        product_heap::FailNth(nth);
        story.Doing("StartRecording");
        const bool started = m_camera->StartRecording();
        const CAM_STATE state = m_camera->GetState();
        if (started) {
            // What the library's own threads need.
            story.RequireSoon([this] { return m_pictures.Count() >= 2; }, "no pictures");
            story.RequireSoon(
                [&] { return !way.with_sound || m_sound.Count() > 0 || story.Failure().happened; },
                "no sound");
        }
        product_heap::FailNone();
        if (story.Failure().happened && story.Failure().on_callers_thread) {
            story.Require(!started, "true");
            story.Require(state == CAM_STATE_CONNECTED, "the state is not that of a failed start");
        } else {
            story.Require(started, "false");
            story.Require(state == CAM_STATE_RECORDING, "not recording");
        }
        if (way.starts_again) {
            if (started)
                StopIn(story, "StopRecording");
            RecordIn(story, way.with_sound);
        }
        DestroyIn(story);
    });
}

// Five frames with their buffers, the ring and who writes to it, three
// transfers with their buffers, the capture thread; with sound two more
// transfers, four frames, a ring and a thread.
INSTANTIATE_TEST_SUITE_P(Ways, StartWithoutMemory,
                         testing::Values(Way{"Silent", kBrevan, false, true, 8},
                                         Way{"WithSound", kCalder, true, true, 12},
                                         Way{"WithSoundAndDestroyed", kCalder, true, false, 12}),
                         [](const auto& row) { return row.param.name; });

class RestartWithoutMemory : public MemoryTest {};

TEST_F(RestartWithoutMemory, ByTheResolutionLeavesACameraThatCanBeStarted)
{
    FailEach(kCalder, 12, [&](Story& story, std::size_t nth) {
        CreateAndConnectIn(story);
        StartIn(story, true, "StartRecording");
        m_sound.Clear();
        product_heap::FailNth(nth);
        story.Doing("SetProperty(CAM_PROPERTY_RESOLUTION)");
        const bool set = Set(CAM_PROPERTY_RESOLUTION, 720 << 16 | 1280);
        const CAM_STATE state = m_camera->GetState();
        if (state == CAM_STATE_RECORDING) {
            m_pictures.Clear();
            story.RequireSoon([this] { return m_pictures.Count() >= 2; }, "no pictures");
            const std::size_t heard = m_sound.Count();
            story.RequireSoon([&] { return m_sound.Count() > heard || story.Failure().happened; },
                              "no sound");
        }
        product_heap::FailNone();
        story.Require(set, "false");
        if (story.Failure().happened && story.Failure().on_callers_thread) {
            story.Require(state == CAM_STATE_CONNECTED, "the state is not that of a failed start");
        } else {
            story.Require(state == CAM_STATE_RECORDING, "not recording");
            StopIn(story, "StopRecording");
        }
        RecordIn(story, true);
        DestroyIn(story);
    });
}

}  // namespace
