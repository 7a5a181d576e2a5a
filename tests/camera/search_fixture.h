// A host whose call-back does something, and the loader's searches counted: one
// begins with the first call to libusb on a loader's thread.
#ifndef TESTS_CAMERA_SEARCH_FIXTURE_H
#define TESTS_CAMERA_SEARCH_FIXTURE_H

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "tests/camera/camera_fixture.h"
#include "tests/camera/held_thread.h"
#include "tests/camera/host_call.h"

using test_support::Layout;
using test_support::ScriptedDevice;
using vcam::standin::Call;
using vcam::standin::When;

/// The call-back has no argument of its own, so there is one host.
struct Host {
    std::function<void(bool ready, int report)> on_report;  ///< reports are numbered from 1
    std::atomic<int> reports{0};
    std::atomic<bool> other_heard_last{false};  ///< the last one went to OnOtherReport
    std::atomic<int> inside{0};                 ///< call-backs that have not returned

    void Report(bool ready, bool to_other)
    {
        ++inside;
        other_heard_last = to_other;
        const int report = ++reports;
        if (on_report)
            on_report(ready, report);
        --inside;
    }
};

inline Host g_host;

inline void OnReport(bool ready)
{
    g_host.Report(ready, false);
}

/// What a host may pass instead.
inline void OnOtherReport(bool ready)
{
    g_host.Report(ready, true);
}

class SearchTest : public CameraTest {
protected:
    SearchTest()
    {
        g_host.on_report = nullptr;
        g_host.reports = 0;
        g_host.other_heard_last = false;
        g_host.inside = 0;
        m_bus.DetachAll();
        // With the first thread a sanitizer starts one of its own, which is not
        // to be taken for one that is left.
        std::thread([] {}).join();
        // A camera that answers with a version.
        m_device->SetReply(0xA0, 0x81, 0x0200, 0x0600, {Bytes{0, 0, 1, 2, 0, 0, 3, 4}});
        m_boot_loader->SetReply(0xA0, 0x81, 0x0200, 0x0600, {Bytes{0, 0, 0, 0, 0, 0, 0, 0x1F}});
    }
    void TearDown() override
    {
        CameraTest::TearDown();
        g_host.on_report = nullptr;
    }

    /// From here on every thread that comes to libusb is a loader's.
    void CountSearches()
    {
        m_bus.OnCall("libusb_init", When::kBefore, [this](const Call&) {
            thread_local bool begun = false;
            if (begun)
                return;
            begun = true;
            const int search = ++m_searches;
            if (m_on_search)
                m_on_search(search);
        });
        m_bus.OnCall("libusb_open", When::kBefore, [this](const Call&) {
            if (m_bus.Counters().handles != 0)
                ++m_opened_beside_another;
        });
    }
    /// Frees the camera when no call-back uses it any more. What a call-back
    /// refers to must live until then: a loader that has not begun its search
    /// yet will report, too.
    void EndCamera()
    {
        EXPECT_TRUE(WaitUntil([this] {
            return g_host.inside == 0 && g_host.reports == m_searches;
        }));
        m_camera.reset();
    }

    const FastSleeps m_faster{1000};
    std::shared_ptr<ScriptedDevice> m_boot_loader =
        std::make_shared<ScriptedDevice>(Layout::kBootLoader);
    std::atomic<int> m_searches{0};
    std::atomic<int> m_opened_beside_another{0};
    /// Runs on the thread of the search.
    std::function<void(int search)> m_on_search;
    Gate m_first_search;
    Gate m_second_search;
};

#endif
