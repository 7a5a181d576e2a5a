// Everything at once, at full speed: a camera that is always ready, lost
// frames, key-frame requests from the capture thread, controls from host
// threads.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "api/device_commands.h"
#include "control/video_capture_adapter.h"
#include "tests/support/bus_check.h"
#include "tests/support/sleeps.h"
#include "tests/support/wait_until.h"
#include "tests/video/counting_camera.h"
#include "tests/video/fake_camera.h"
#include "usb/usb_identity.h"
#include "video/video_capture_thread.h"
#include "virtual_camera/standin/bus.h"

namespace {

using test_support::WaitUntil;
using vcam::standin::Bus;

/// Checks every delivery against what the camera must have sent.
class CheckingCamera : public BareCamera {
public:
    /// The slower, the more often it keeps the ring full.
    explicit CheckingCamera(unsigned longest_delay_us) : m_longest_delay_us(longest_delay_us) {}

    int OnFrameArrival(const CCameraData* data) override
    {
        switch (data->stream_type) {
        case CAM_STREAM_H264_MAIN:
            CheckPicture(*data, m_main);
            break;
        case CAM_STREAM_H264_SUB:
            CheckPicture(*data, m_sub);
            break;
        case CAM_STREAM_YUYV:
            CheckImage(*data);
            Dawdle();
            break;
        default:
            Fail("unknown stream");
        }
        return 1;
    }
    /// Images delivered.
    std::uint32_t Images() const { return m_images; }
    std::uint32_t Pictures() const { return m_pictures; }
    /// What was wrong first; empty when nothing was.
    std::string Problem() const { return m_wrong ? m_problem : std::string(); }

private:
    struct Sequence {
        std::uint32_t last = 0;
    };

    void Fail(const std::string& problem)
    {
        if (!m_wrong) {
            m_problem = problem;
            m_wrong = true;
        }
    }
    /// A decoder sees complete sequences only: each predicted picture follows
    /// the picture delivered before it.
    void CheckPicture(const CCameraData& data, Sequence& sequence)
    {
        if (data.size < CountingCamera::kSmallestPicture)
            return Fail("short picture");
        const std::uint32_t number = CountingCamera::NumberIn(data.data);
        if (data.data[4] == kPredicted && number != sequence.last + 1)
            Fail("picture " + std::to_string(number) + " after " + std::to_string(sequence.last));
        sequence.last = number;
        ++m_pictures;
    }
    void CheckImage(const CCameraData& data)
    {
        const Bytes image(data.data, data.data + data.size);
        if (image.size() < 4 || CountingCamera::NumberOf(image.data()) != m_images)
            return Fail("image " + std::to_string(m_images) + " is missing");
        if (image != CountingCamera::Image(m_images))
            return Fail("image " + std::to_string(m_images) + " is damaged");
        ++m_images;
    }
    void Dawdle()
    {
        const auto until = std::chrono::steady_clock::now() +
                           std::chrono::microseconds(m_random() % (m_longest_delay_us + 1));
        while (std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
    }

    const unsigned m_longest_delay_us;
    std::minstd_rand m_random{7};
    Sequence m_main;
    Sequence m_sub;
    std::atomic<std::uint32_t> m_images{0};
    std::atomic<std::uint32_t> m_pictures{0};
    std::atomic<bool> m_wrong{false};
    std::string m_problem;  ///< written before m_wrong is set
};

/// Threads that run until the end of the scope.
class Background {
public:
    ~Background()
    {
        m_stop = true;
        for (std::thread& thread : m_threads)
            thread.join();
    }
    template <typename Step>
    void Repeat(Step step)
    {
        m_threads.emplace_back([this, step] {
            for (unsigned i = 0; !m_stop; ++i)
                step(i);
        });
    }

private:
    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

class VideoStress : public testing::Test {
protected:
    void TearDown() override { Bus::Instance().Reset(); }

    void Plug(const std::shared_ptr<CountingCamera>& camera)
    {
        Bus::Instance().DetachAll();
        Bus::Instance().Attach(camera);
    }
    static void SetControls(KelUvcCapture& capture, unsigned i)
    {
        int zoom = 0;
        unsigned char command[16] = {2, 1};
        switch (i % 4) {
        case 0:
            EXPECT_EQ(capture.SetPU(2, static_cast<int>(i)), 1);
            break;
        case 1:
            EXPECT_EQ(capture.SetPTZ(kControlZoomAbsolute, static_cast<int>(i)), 1);
            break;
        case 2:
            EXPECT_EQ(capture.KelCommandSend(14, command, 16), 16);
            break;
        default:
            capture.GetPTZ(kControlPanAbsolute, &zoom);
            EXPECT_EQ(capture.SetBitrate(i), 1);
        }
    }
    /// All containers arrive, whole and in order, while hosts set controls.
    void RunToTheLastContainer(std::uint32_t containers, unsigned longest_delay_us, int hosts)
    {
        const auto camera = std::make_shared<CountingCamera>(containers);
        Plug(camera);
        CheckingCamera observed(longest_delay_us);
        {
            KelUvcCapture capture(CAM_VENDOR_ID, CAM_PRODUCT_ID);
            ASSERT_TRUE(capture.ConfigureDev(1280, 720, 0, 30));
            {
                CVideoCaptureThread thread(&observed, &capture, 5, false);
                ASSERT_EQ(thread.Start(nullptr), 0);
                Background background;
                for (int host = 0; host < hosts; ++host)
                    background.Repeat([&](unsigned i) { SetControls(capture, i); });
                EXPECT_TRUE(WaitUntil(
                    [&] { return observed.Images() == containers || !observed.Problem().empty(); },
                    std::chrono::minutes(4)));
            }
            capture.UnConfigureDev();
        }
        EXPECT_EQ(observed.Problem(), "");
        EXPECT_EQ(observed.Images(), containers);
        EXPECT_GT(observed.Pictures(), 0u);
        EXPECT_GT(camera->KeyFrameRequests(), containers / 30);
        EXPECT_TRUE(test_support::BusIsClean());
    }

    const test_support::FastSleeps m_sleeps{50};
};

TEST_F(VideoStress, SlowConsumerLosesNothing)
{
    RunToTheLastContainer(1500, 1000, 1);
}

TEST_F(VideoStress, FastConsumerLosesNothing)
{
    RunToTheLastContainer(3000, 0, 1);
}

TEST_F(VideoStress, ManyHostsLoseNothing)
{
    RunToTheLastContainer(800, 300, 4);
}

TEST_F(VideoStress, NoHostLosesNothing)
{
    RunToTheLastContainer(3000, 100, 0);
}

TEST_F(VideoStress, LoadedMachineLosesNothing)
{
    Background load;
    std::atomic<unsigned> sink{0};
    for (int i = 0; i < 4; ++i)
        load.Repeat([&sink](unsigned n) { sink += n; });
    RunToTheLastContainer(300, 300, 2);
}

TEST_F(VideoStress, StreamsThatAreCutShortLoseNothingUpToTheirEnd)
{
    std::minstd_rand random(11);
    for (unsigned round = 0; round < 25; ++round) {
        const auto camera = std::make_shared<CountingCamera>(0xFFFFFFFF, round + 1);
        Plug(camera);
        CheckingCamera observed(static_cast<unsigned>(random() % 3 * 200));
        KelUvcCapture capture(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        ASSERT_TRUE(capture.ConfigureDev(1280, 720, 0, 30));
        {
            Background background;
            background.Repeat([&](unsigned i) { SetControls(capture, i); });
            {
                CVideoCaptureThread thread(&observed, &capture, 5, false);
                ASSERT_EQ(thread.Start(nullptr), 0);
                const auto wanted = static_cast<std::uint32_t>(random() % 40);
                EXPECT_TRUE(WaitUntil([&] {
                    return observed.Images() >= wanted || !observed.Problem().empty();
                }));
            }
            // The thread is gone, the ring fills up, the hosts go on.
            EXPECT_EQ(capture.UnConfigureDev(), 0);
        }
        EXPECT_EQ(observed.Problem(), "") << "round " << round;
    }
    EXPECT_TRUE(test_support::BusIsClean());
}

TEST_F(VideoStress, StreamsThatAreRestartedUnderControlsEnd)
{
    const auto camera = std::make_shared<CountingCamera>(0xFFFFFFFF);
    Plug(camera);
    {
        KelUvcCapture capture(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        Background background;
        for (int host = 0; host < 3; ++host)
            background.Repeat([&](unsigned i) { SetControls(capture, i); });
        for (unsigned round = 0; round < 25; ++round)
            EXPECT_TRUE(capture.ResetStream());
    }
    EXPECT_TRUE(test_support::BusIsClean());
}

}  // namespace
