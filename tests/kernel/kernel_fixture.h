// The shipped library on the guest's own libusb, with a virtual camera on the
// guest's own bus.
#ifndef TESTS_KERNEL_KERNEL_FIXTURE_H
#define TESTS_KERNEL_KERNEL_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/camera_subject.h"
#include "tests/kernel/camera_client.h"
#include "tests/support/camera_library.h"
#include "tests/support/frame_collector.h"
#include "tests/support/log_capture.h"
#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "tests/support/wait_until.h"

namespace kernel_test
{

using test_support::FastSleeps;
using test_support::FrameCollector;
using test_support::TvRoot;
using test_support::WaitUntil;
using vcam::Stream;

/// First bytes of the platform file: one television configured by signal type,
/// one with two H.264 streams and sound.
constexpr char kBySignalType[] = "xxxxx12";
constexpr char kDualH264[] = "xxxxx10";

/// Outcomes told to the host's call-back, which has no argument of its own.
inline std::atomic<int> g_ready{0};
inline std::atomic<int> g_failed{0};
inline void OnInit(bool ready)
{
    ++(ready ? g_ready : g_failed);
}

/// A line that the test run prints for a test that passes, too.
template <typename... Arguments>
void Shows(const char* format, Arguments... arguments)
{
    std::fprintf(stderr, "SHOWS: ");
    std::fprintf(stderr, format, arguments...);
    std::fprintf(stderr, "\n");
}

class KernelTest : public testing::Test
{
protected:
    /// `divisor`: by what the library's own pauses are shortened.
    explicit KernelTest(unsigned divisor = 10) : m_sleeps(divisor)
    {
        g_ready = 0;
        g_failed = 0;
    }
    void SetUp() override
    {
        TvRoot::Write("/mtd_rwarea/camera_l4", "");
        ASSERT_TRUE(m_camera.Plug(Script()));
    }
    void TearDown() override { Destroy(); }
    virtual std::string Script() const { return {}; }

    void Create(const char* platform = kBySignalType)
    {
        TvRoot::Write("/mtd_exe/.info", platform);
        m_subject = m_library.Create();
    }
    void Destroy()
    {
        if (m_subject != nullptr)
            m_library.Destroy(std::exchange(m_subject, nullptr));
    }
    /// Until the call-back has come.
    void Init()
    {
        const int before = g_ready + g_failed;
        m_subject->Init(OnInit, 0);
        ASSERT_TRUE(
            WaitUntil([before] { return g_ready + g_failed > before; }, std::chrono::seconds(130)));
    }
    void CreateAndInit(const char* platform = kBySignalType)
    {
        Create(platform);
        Init();
        ASSERT_EQ(m_subject->GetState(), CAM_STATE_CONNECTED);
    }
    bool Set(CAM_PROPERTY property, std::int32_t value, std::int32_t first = 0,
             std::int32_t second = 0)
    {
        CAM_PROP_VALUE record{value, {first, second}};
        return m_subject->SetProperty(property, &record);
    }
    std::int32_t Get(CAM_PROPERTY property)
    {
        CAM_PROP_VALUE record{};
        EXPECT_TRUE(m_subject->GetProperty(property, &record));
        return record.value;
    }
    FrameCollector& Observe(CAM_STREAM stream,
                            test_support::Keep keep = test_support::Keep::kDigests)
    {
        m_collectors.push_back(std::make_unique<FrameCollector>(stream, keep));
        EXPECT_TRUE(m_subject->RegisterObserver(m_collectors.back().get()));
        return *m_collectors.back();
    }

    CameraClient m_camera;
    test_support::LogCapture m_log;
    FastSleeps m_sleeps;
    test_support::CameraLibrary m_library{"/lib/libtorvik_camera.so"};
    // They outlive the camera object, which tells them of its end.
    std::vector<std::unique_ptr<FrameCollector>> m_collectors;
    ICameraSubject* m_subject = nullptr;
};

}  // namespace kernel_test

#endif
