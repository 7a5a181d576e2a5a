// Hosts that call operations in any order from several threads.
#include <functional>
#include <random>
#include <thread>

#include "tests/library/library_fixture.h"

namespace {

/// Runs every body in a loop on a thread of its own, until the first one has
/// had its rounds.
void RunTogether(int rounds, const std::vector<std::function<void(std::minstd_rand&)>>& bodies)
{
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 1; i < bodies.size(); ++i) {
        threads.emplace_back([&, i] {
            std::minstd_rand random(static_cast<unsigned>(i));
            while (!stop)
                bodies[i](random);
        });
    }
    std::minstd_rand random(99);
    for (int round = 0; round < rounds; ++round)
        bodies[0](random);
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
}

class Hosts : public LibraryTest {
protected:
    /// Every id but those that restart recording, and the one that runs a shell.
    void SetAnything(std::minstd_rand& random)
    {
        const auto id = static_cast<unsigned>(random() % 75);
        if (id == 3 || id == 15 || id == 24 || id == CAM_PROPERTY_DEBUG_LEVEL)
            return;
        Set(static_cast<CAM_PROPERTY>(id), static_cast<std::int32_t>(random() % 200));
    }
    void GetAnything(std::minstd_rand& random)
    {
        std::int32_t value = 0;
        const auto id = static_cast<unsigned>(random() % 75);
        if (id != CAM_PROPERTY_VIDEO_AUTO_TEST)
            Get(static_cast<CAM_PROPERTY>(id), &value);
        m_camera->GetCapability(static_cast<CAM_CAPABILITY>(random() % 14));
        m_camera->GetState();
        m_camera->SetStreamFormat(static_cast<CAM_STR_FORMAT>(random() % 2));
    }
    void RegisterAndRemove(std::minstd_rand& random)
    {
        FrameCollector& observer = *m_observers[random() % std::size(m_observers)];
        m_camera->RegisterObserver(&observer);
        m_camera->RemoveObserver(&observer);
    }
    void Inject(std::minstd_rand& random)
    {
        unsigned char data[64] = {};
        CCameraCropInfo crop{};
        CCameraData record{};
        record.data = data;
        record.size = sizeof data;
        record.crop_info = &crop;
        record.stream_type = static_cast<CAM_STREAM>(random() % 20);
        m_camera->OnFrameArrival(&record);
    }

    std::unique_ptr<FrameCollector> m_observers[6] = {
        std::make_unique<FrameCollector>(CAM_STREAM_PCM),
        std::make_unique<FrameCollector>(CAM_STREAM_H264_MAIN),
        std::make_unique<FrameCollector>(CAM_STREAM_H264_SUB),
        std::make_unique<FrameCollector>(CAM_STREAM_GRAY),
        std::make_unique<FrameCollector>(CAM_STREAM_NV12),
        std::make_unique<FrameCollector>(CAM_STREAM_JPEG),
    };
};

TEST_F(Hosts, StartAndStopWhileOthersSetAskRegisterAndInject)
{
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    RunTogether(3, {[this](std::minstd_rand&) {
                        m_camera->StartRecording();
                        m_observers[1]->WaitFor(m_observers[1]->Count() + 1,
                                                std::chrono::milliseconds(50));
                        m_camera->StopRecording();
                    },
                    [this](std::minstd_rand& random) { SetAnything(random); },
                    [this](std::minstd_rand& random) { GetAnything(random); },
                    [this](std::minstd_rand& random) { RegisterAndRemove(random); },
                    [this](std::minstd_rand& random) { Inject(random); }});
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    EXPECT_TRUE(m_camera->StartRecording());
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    Destroy();
}

TEST_F(Hosts, RestartingPropertiesWhileOthersSetAskAndRegister)
{
    CreateAndInit(kBrevan);
    if (HasFatalFailure())
        return;
    ASSERT_TRUE(m_camera->StartRecording());
    int round = 0;
    RunTogether(4, {[&](std::minstd_rand&) {
                        static constexpr CAM_PROPERTY kRestarting[] = {
                            CAM_PROPERTY_SIGNAL_TYPE, CAM_PROPERTY_RESOLUTION,
                            CAM_PROPERTY_VIDEOMODE};
                        EXPECT_TRUE(Set(kRestarting[round % 3], round < 3 ? round : 3));
                        ++round;
                    },
                    [this](std::minstd_rand& random) { SetAnything(random); },
                    [this](std::minstd_rand& random) { GetAnything(random); },
                    [this](std::minstd_rand& random) { RegisterAndRemove(random); }});
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_RECORDING);
    EXPECT_TRUE(m_camera->StopRecording());
    Destroy();
}

TEST_F(Hosts, TwoHostsThatStartAndStopDoNotMeetInside)
{
    CreateAndInit(kOther);
    if (HasFatalFailure())
        return;
    const auto start_stop = [this](std::minstd_rand& random) {
        if (random() % 2 == 0)
            m_camera->StartRecording();
        else
            m_camera->StopRecording();
    };
    RunTogether(6, {start_stop, start_stop});
    m_camera->StopRecording();
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    Destroy();
}

TEST_F(Hosts, UnplugWhileEverybodyIsBusy)
{
    CreateAndInit(kCalder);
    if (HasFatalFailure())
        return;
    ASSERT_TRUE(m_camera->StartRecording());
    m_model->AddFaults("control at 60 unplug");
    RunTogether(1, {[](std::minstd_rand&) {
                        EXPECT_TRUE(WaitUntil([] { return g_failed == 1; }));
                    },
                    [this](std::minstd_rand& random) { SetAnything(random); },
                    [this](std::minstd_rand& random) { GetAnything(random); },
                    [this](std::minstd_rand& random) { RegisterAndRemove(random); }});
    EXPECT_EQ(m_camera->GetState(), CAM_STATE_DISCONNECTED);
    Destroy();
}

}  // namespace
