// The shared library as a television loads it, whose memory runs out at a
// moment that the test chooses.
#ifndef TESTS_MEMORY_MEMORY_FIXTURE_H
#define TESTS_MEMORY_MEMORY_FIXTURE_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/library/library_fixture.h"
#include "tests/memory/child.h"
#include "tests/memory/product_heap.h"

using child::Ending;
using child::Story;

/// Everything below "In the child" runs in the process of a story.
class MemoryTest : public LibraryTest {
protected:
    explicit MemoryTest(const CameraOptions& options = QuickCamera()) : LibraryTest(options) {}

    static CameraOptions QuickCamera()
    {
        CameraOptions options;
        options.startup_time = 1000;
        options.burn_time = 0;
        options.reboot_time = 1000;
        return options;
    }
    void SetUp() override
    {
        LibraryTest::SetUp();
        product_heap::Watch(reinterpret_cast<const void*>(m_library.create));
    }

    /// Plays the story once for each allocation of the driver in it, which
    /// fails, and once more. There have to be `at_least` of them.
    void FailEach(const char* platform, std::size_t at_least,
                  const std::function<void(Story&, std::size_t nth)>& story)
    {
        TvRoot::Write("/mtd_exe/.info", platform);
        const std::vector<Ending> endings = child::PlayEach(story);
        std::string report;
        std::string output;
        std::size_t bad = 0;
        for (std::size_t i = 0; i < endings.size(); ++i) {
            const Ending& ending = endings[i];
            if (ending.good)
                continue;
            ++bad;
            report += "\n  " + Describe(ending, i + 1) + ": " + ending.what;
            if (output.empty())
                output = ending.output;
        }
        std::fprintf(stderr, "%zu allocations failed in turn, %zu badly\n", endings.size() - 1,
                     bad);
        EXPECT_EQ(bad, 0u) << report << "\nlast words of the first one:\n" << output;
        EXPECT_GE(endings.size(), at_least + 1) << "the story allocates less than it should";
    }
    /// Plays the story in a process of its own.
    Ending PlayOnce(const char* platform, const std::function<void(Story&)>& story)
    {
        TvRoot::Write("/mtd_exe/.info", platform);
        const Ending ending = child::Play(story);
        EXPECT_TRUE(ending.good) << ending.what << "\nlast words:\n" << ending.output;
        return ending;
    }

    /// @name In the child
    /// @{
    void CreateIn(Story& story)
    {
        story.Doing("cam_create");
        m_live_before = product_heap::Live();
        m_camera = m_library.create();
    }
    /// Init, which has to find the camera.
    void ConnectIn(Story& story, const std::string& doing = "Init")
    {
        story.Doing(doing);
        const int before = g_ready;
        m_camera->Init(OnInit, 0);
        story.RequireSoon([before] { return g_ready > before; }, "the camera was not found");
        story.Require(m_camera->GetState() == CAM_STATE_CONNECTED, "not connected");
    }
    void CreateAndConnectIn(Story& story)
    {
        CreateIn(story);
        ConnectIn(story);
        m_camera->RegisterObserver(&m_pictures);
        m_camera->RegisterObserver(&m_sound);
    }
    void RequireFlow(Story& story, bool with_sound)
    {
        m_pictures.Clear();
        m_sound.Clear();
        story.RequireSoon([this] { return m_pictures.Count() >= 2; }, "no pictures");
        if (with_sound)
            story.RequireSoon([this] { return m_sound.Count() >= 2; }, "no sound");
    }
    void StartIn(Story& story, bool with_sound, const std::string& doing)
    {
        story.Doing(doing);
        story.Require(m_camera->StartRecording(), "false");
        story.Require(m_camera->GetState() == CAM_STATE_RECORDING, "not recording");
        RequireFlow(story, with_sound);
    }
    void StopIn(Story& story, const std::string& doing)
    {
        story.Doing(doing);
        story.Require(m_camera->StopRecording(), "false");
        story.Require(m_camera->GetState() == CAM_STATE_CONNECTED, "not connected");
        story.Require(m_bus.Counters().transfers == 0,
                      "left behind: " + m_bus.Counters().ToString());
    }
    /// The camera works as if nothing had happened.
    void RecordIn(Story& story, bool with_sound)
    {
        StartIn(story, with_sound, "StartRecording with memory again");
        StopIn(story, "StopRecording with memory again");
    }
    void DestroyAndRequireFreedIn(Story& story)
    {
        story.Doing("cam_destroy");
        Destroy();
        const long left = product_heap::Live() - m_live_before;
        story.Require(left == 0, std::to_string(left) + " allocations were not freed");
    }
    /// Nothing of libusb's and nothing of the heap is left.
    void DestroyIn(Story& story)
    {
        DestroyAndRequireFreedIn(story);
        const auto clean = BusIsClean({test_support::kAudioReleasesForeignInterface});
        story.Require(clean, clean.message());
    }
    /// @}

    FrameCollector m_pictures{CAM_STREAM_H264_MAIN};
    FrameCollector m_sound{CAM_STREAM_PCM};

private:
    static std::string Describe(const Ending& ending, std::size_t nth)
    {
        if (!ending.failed)
            return "none failing";
        return "allocation " + std::to_string(nth) + " (" + std::to_string(ending.size) +
               " bytes, " + (ending.on_callers_thread ? "caller's" : "library's") + " thread)";
    }

    long m_live_before = 0;
};

#endif
