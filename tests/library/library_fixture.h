// The shared library as a television loads it, with the virtual camera on the
// bus.
#ifndef TESTS_LIBRARY_LIBRARY_FIXTURE_H
#define TESTS_LIBRARY_LIBRARY_FIXTURE_H

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/camera_subject.h"
#include "tests/support/bus_check.h"
#include "tests/support/frame_collector.h"
#include "tests/support/log_capture.h"
#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/standin/bus.h"

using test_support::BusIsClean;
using test_support::CollectedFrame;
using test_support::FastSleeps;
using test_support::FrameCollector;
using test_support::Keep;
using test_support::LogCapture;
using test_support::TvRoot;
using test_support::WaitUntil;
using vcam::CameraModel;
using vcam::CameraOptions;
using vcam::SentFrame;
using vcam::Stream;
using vcam::standin::Bus;

/// First bytes of the platform file.
constexpr char kBrevan[] = "xxxxx12";
constexpr char kCalder[] = "xxxxx10";
constexpr char kFerrowA[] = "xxxxP";
constexpr char kFerrowB[] = "xxxxS";
constexpr char kOther[] = "xxxxx";

/// The three names that a host asks the loader for.
class Library {
public:
    Library()
        : m_library(dlopen(TORVIK_CAMERA_LIBRARY, RTLD_NOW | RTLD_LOCAL))
    {
        if (m_library == nullptr) {
            ADD_FAILURE() << dlerror();
            std::abort();
        }
        Find(create, "cam_create");
        Find(destroy, "cam_destroy");
        Find(version, "cam_version");
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    ICameraSubject* (*create)() = nullptr;
    void (*destroy)(ICameraSubject*) = nullptr;
    int (*version)() = nullptr;

private:
    template <typename Function>
    void Find(Function& function, const char* name)
    {
        function = reinterpret_cast<Function>(dlsym(m_library, name));
        EXPECT_NE(function, nullptr) << name;
    }

    void* m_library;
};

/// Outcomes told to the host's call-back, which has no argument of its own.
inline std::atomic<int> g_ready{0};
inline std::atomic<int> g_failed{0};
inline void OnInit(bool ready)
{
    ++(ready ? g_ready : g_failed);
}

class LibraryTest : public testing::Test {
protected:
    explicit LibraryTest(const CameraOptions& options = {})
        : m_model(std::make_shared<CameraModel>(options))
    {
        g_ready = 0;
        g_failed = 0;
        m_bus.Attach(m_model);
    }
    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        TvRoot::Write("/mtd_rwarea/camera_l4", "");
    }
    void TearDown() override
    {
        Destroy();
        EXPECT_TRUE(BusIsClean({test_support::kAudioReleasesForeignInterface}));
        m_bus.Reset();
    }

    void Create(const char* platform)
    {
        TvRoot::Write("/mtd_exe/.info", platform);
        m_camera = m_library.create();
    }
    void Destroy()
    {
        if (m_camera != nullptr)
            m_library.destroy(std::exchange(m_camera, nullptr));
    }
    void CreateAndInit(const char* platform)
    {
        Create(platform);
        const int before = g_ready;
        m_camera->Init(OnInit, 0);
        ASSERT_TRUE(WaitUntil([before] { return g_ready > before; }));
        ASSERT_EQ(m_camera->GetState(), CAM_STATE_CONNECTED);
    }
    bool Set(CAM_PROPERTY property, std::int32_t value)
    {
        CAM_PROP_VALUE record{value, {0, 0}};
        return m_camera->SetProperty(property, &record);
    }
    bool Get(CAM_PROPERTY property, std::int32_t* value)
    {
        CAM_PROP_VALUE record{};
        const bool result = m_camera->GetProperty(property, &record);
        *value = record.value;
        return result;
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<CameraModel> m_model;
    LogCapture m_log;
    FastSleeps m_sleeps{50};
    Library m_library;
    ICameraSubject* m_camera = nullptr;
};

#endif
