// The search for the camera, on the loader's thread, without memory enough.
#include <atomic>

#include "tests/memory/memory_fixture.h"

namespace {

int Outcomes()
{
    return g_ready + g_failed;
}

std::atomic<ICameraSubject*> g_retry{nullptr};  ///< Init is called on it from the call-back, once
std::atomic<std::size_t> g_retry_failure{0};    ///< the allocation that fails from then on

void OnInitRetrying(bool ready)
{
    ICameraSubject* const camera = g_retry.exchange(nullptr);
    if (camera != nullptr) {
        product_heap::FailNth(g_retry_failure);
        camera->Init(OnInit, 0);
    }
    OnInit(ready);
}

class SearchWithoutMemory : public MemoryTest {
protected:
    explicit SearchWithoutMemory(const CameraOptions& options = QuickCamera()) : MemoryTest(options)
    {
    }

    /// What fails once the interface of the sound has been set to work costs the
    /// sound, and not the camera.
    void WatchForSound()
    {
        m_sound_was_on = false;
        const std::size_t before = Settings();
        product_heap::OnFailure([this, before] {
            m_sound_was_on = Settings() > before && m_model->AlternateSetting(3) == 1;
        });
    }
    std::size_t Settings() const { return m_bus.CallCount("libusb_set_interface_alt_setting"); }
    /// Init with the nth allocation failing, to its call-back: what it said.
    bool SearchIn(Story& story, std::size_t nth, const std::string& doing)
    {
        story.Doing(doing);
        const int before = Outcomes();
        const int ready_before = g_ready;
        product_heap::FailNth(nth);
        m_camera->Init(OnInit, 0);
        story.RequireSoon([before] { return Outcomes() > before; }, "no outcome was told");
        const bool ready = g_ready > ready_before;
        const CAM_STATE state = m_camera->GetState();
        story.Require(state == (ready ? CAM_STATE_CONNECTED : CAM_STATE_DISCONNECTED),
                      "the state is not what the call-back was told");
        return ready;
    }
    void RequireOutcome(Story& story, bool ready)
    {
        if (!story.Failure().happened || m_sound_was_on)
            story.Require(ready, "the call-back was told false");
        else
            story.Require(!ready, "the call-back was told true");
    }

    std::atomic<bool> m_sound_was_on{false};
};

TEST_F(SearchWithoutMemory, IsToldAndTheNextOneBeginsAfresh)
{
    // The loader, its handle, two adapters; two transfers and four frames of
    // sound with their buffers, and the ring.
    FailEach(kCalder, 6, [&](Story& story, std::size_t nth) {
        CreateIn(story);
        WatchForSound();
        const bool ready = SearchIn(story, nth, "Init");
        product_heap::FailNone();
        RequireOutcome(story, ready);
        story.Require(Outcomes() == 1, "more than one outcome was told");
        if (!ready)
            ConnectIn(story, "Init with memory again");
        m_camera->RegisterObserver(&m_pictures);
        m_camera->RegisterObserver(&m_sound);
        RecordIn(story, true);
        DestroyIn(story);
    });
}

TEST_F(SearchWithoutMemory, LeavesNothingToADestroyerInAHurry)
{
    FailEach(kBrevan, 6, [&](Story& story, std::size_t nth) {
        CreateIn(story);
        WatchForSound();
        RequireOutcome(story, SearchIn(story, nth, "Init"));
        product_heap::FailNone();
        DestroyIn(story);
    });
}

TEST_F(SearchWithoutMemory, WhileRecordingLeavesACameraThatCanBeFoundAgain)
{
    // As above, without the adapters, and the capture thread of the sound with
    // its buffer.
    FailEach(kCalder, 6, [&](Story& story, std::size_t nth) {
        CreateAndConnectIn(story);
        StartIn(story, true, "StartRecording");
        WatchForSound();
        const bool ready = SearchIn(story, nth, "Init while recording");
        if (ready) {
            m_sound.Clear();
            story.RequireSoon([&] { return m_sound.Count() > 0 || story.Failure().happened; },
                              "no sound");
        }
        product_heap::FailNone();
        RequireOutcome(story, ready);
        if (!ready)
            ConnectIn(story, "Init with memory again");
        story.Doing("StopRecording");
        m_camera->StopRecording();  // the state is not that of a recording any more
        RecordIn(story, true);
        DestroyIn(story);
    });
}

TEST_F(SearchWithoutMemory, AskedForInTheCallbackLeavesACameraThatCanBeFound)
{
    FailEach(kCalder, 3, [&](Story& story, std::size_t nth) {
        CreateIn(story);
        m_model->Unplug();
        g_retry_failure = nth;
        g_retry = m_camera;
        story.Doing("Init in the call-back of Init");
        m_camera->Init(OnInitRetrying, 0);
        story.RequireSoon([] { return Outcomes() == 2; }, "no second outcome was told");
        story.Require(g_failed == 2, "a camera was found that is not there");
        m_model->Replug();
        // What is left of the loaders before is taken away here.
        story.Doing("Init after the one in the call-back");
        m_camera->Init(OnInit, 0);
        story.RequireSoon([] { return Outcomes() == 3; }, "no third outcome was told");
        product_heap::FailNone();
        if (g_ready == 0)
            ConnectIn(story, "Init with memory again");
        m_camera->RegisterObserver(&m_pictures);
        m_camera->RegisterObserver(&m_sound);
        RecordIn(story, true);
        DestroyIn(story);
    });
}

class DownloadWithoutMemory : public SearchWithoutMemory,
                              public testing::WithParamInterface<vcam::Identity> {
protected:
    DownloadWithoutMemory() : SearchWithoutMemory(BootLoader(GetParam()))
    {
        m_bus.OnCall(
            "libusb_claim_interface", vcam::standin::When::kAfter,
            [this](const vcam::standin::Call& call) { m_refused_claims += call.result < 0; });
    }

    static CameraOptions BootLoader(vcam::Identity identity)
    {
        CameraOptions options = QuickCamera();
        options.identity = identity;
        return options;
    }

    std::atomic<int> m_refused_claims{0};
};

TEST_P(DownloadWithoutMemory, IsToldAndTheNextOneFindsTheCamera)
{
    TvRoot::Write("/mtd_rwarea/wiru/bin/TorvikFW.bin", std::string(1300, 'f'));
    // Another handle and the image.
    FailEach(kBrevan, 7, [&](Story& story, std::size_t nth) {
        CreateIn(story);
        // A handle of the boot loader that is missed may be got the other way.
        const bool ready = SearchIn(story, nth, "Init with a boot loader");
        product_heap::FailNone();
        story.Require(ready || story.Failure().happened, "the call-back was told false");
        if (!ready)
            ConnectIn(story, "Init with memory again");
        m_camera->RegisterObserver(&m_pictures);
        RecordIn(story, false);
        DestroyAndRequireFreedIn(story);
        // What a boot loader's refused interface leaves open is left on purpose.
        const auto open = m_bus.Counters();
        story.Require(open.handles == m_refused_claims && open.contexts == m_refused_claims &&
                          open.device_lists == m_refused_claims && open.transfers == 0,
                      "left open: " + open.ToString() + " by " + std::to_string(m_refused_claims) +
                          " refused claims");
    });
}

INSTANTIATE_TEST_SUITE_P(BootLoaders, DownloadWithoutMemory,
                         testing::Values(vcam::Identity::kBootLoaderBulk,
                                         vcam::Identity::kBootLoaderUvc),
                         [](const auto& row) {
                             return row.param == vcam::Identity::kBootLoaderBulk ? "Bulk" : "Uvc";
                         });

}  // namespace
