// A slow observer, frames lost all the time, key-frame requests and a host that
// sets controls, all at full speed: delivery goes on, calls return, the stop
// ends.
#include <poll.h>

#include <thread>

#include "tests/library/library_fixture.h"

namespace {

CameraOptions Fast()
{
    CameraOptions options;
    options.video_paced = false;
    return options;
}

/// Keeps every core busy.
class Load {
public:
    explicit Load(bool wanted)
    {
        for (unsigned i = 0; wanted && i < 2 * std::thread::hardware_concurrency(); ++i) {
            m_threads.emplace_back([this] {
                while (!m_stop)
                    m_work = m_work + 1;
            });
        }
    }
    ~Load()
    {
        m_stop = true;
        for (std::thread& thread : m_threads)
            thread.join();
    }
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

private:
    std::atomic<bool> m_stop{false};
    std::atomic<unsigned> m_work{0};
    std::vector<std::thread> m_threads;
};

class Liveness : public LibraryTest, public testing::WithParamInterface<bool> {
protected:
    Liveness() : LibraryTest(Fast()) {}

    FrameCollector m_slow{CAM_STREAM_H264_MAIN};
    FrameCollector m_late{CAM_STREAM_H264_MAIN};
    FrameCollector m_gray{CAM_STREAM_GRAY};
};

TEST_P(Liveness, NothingHangsAtFullSpeedWithASlowObserver)
{
    m_model->AddFaults("container every 3 lose");
    CreateAndInit(kBrevan);
    if (HasFatalFailure())
        return;
    Set(CAM_PROPERTY_SIGNAL_TYPE, CAM_SIGNAL_H264_H264_GRAY);
    m_slow.on_frame = [](const CCameraData&) { ::poll(nullptr, 0, 3); };
    m_camera->RegisterObserver(&m_slow);
    m_camera->RegisterObserver(&m_gray);
    const Load load(GetParam());
    ASSERT_TRUE(m_camera->StartRecording());

    std::atomic<bool> stop{false};
    std::atomic<int> controls{0};
    std::thread host([&] {
        while (!stop) {
            EXPECT_TRUE(Set(CAM_PROPERTY_FORCE_I, 0));
            EXPECT_TRUE(Set(CAM_PROPERTY_PAN, controls % 10));
            ++controls;
        }
    });
    std::thread latecomer([&] {
        while (!stop) {
            m_camera->RegisterObserver(&m_late);  // asks for a key frame
            m_camera->RemoveObserver(&m_late);
            ::poll(nullptr, 0, 5);
        }
    });
    EXPECT_TRUE(m_slow.WaitFor(40)) << m_slow.Count() << " frames";
    EXPECT_TRUE(WaitUntil([&] { return controls > 10; })) << controls << " controls";
    const std::size_t frames = m_gray.Count();
    const int before = controls;
    EXPECT_TRUE(m_gray.WaitFor(frames + 10)) << "delivery goes on";
    EXPECT_TRUE(WaitUntil([&] { return controls > before; })) << "so do the controls";
    EXPECT_GT(m_model->Controller().key_requests, 5u);

    EXPECT_TRUE(m_camera->StopRecording()) << "while the others are still calling";
    stop = true;
    host.join();
    latecomer.join();
    Destroy();
}

INSTANTIATE_TEST_SUITE_P(Machine, Liveness, testing::Bool(), [](const auto& row) {
    return std::string(row.param ? "Loaded" : "Idle");
});

TEST_P(Liveness, NobodyIsCalledAfterTheStop)
{
    CreateAndInit(kBrevan);
    if (HasFatalFailure())
        return;
    m_camera->RegisterObserver(&m_slow);
    m_camera->RegisterObserver(&m_gray);
    const Load load(GetParam());
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(m_camera->StartRecording());
        EXPECT_TRUE(m_slow.WaitFor(m_slow.Count() + 3));
        ASSERT_TRUE(m_camera->StopRecording());
        const std::size_t main = m_slow.Count();
        const std::size_t gray = m_gray.Count();
        EXPECT_TRUE(m_gray.Frames().back().ends_stream) << "the last thing they hear";
        m_camera->GetState();
        EXPECT_EQ(m_slow.Count(), main);
        EXPECT_EQ(m_gray.Count(), gray);
    }
    Destroy();
}

}  // namespace
