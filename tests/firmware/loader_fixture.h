// The loader at work on a bus, on a fast clock.
#ifndef TESTS_FIRMWARE_LOADER_FIXTURE_H
#define TESTS_FIRMWARE_LOADER_FIXTURE_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "firmware/firmware_loader.h"
#include "tests/devcmd/libusb_objects.h"
#include "tests/firmware/download_fixture.h"
#include "tests/support/sleeps.h"

using test_support::FastSleeps;
using test_support::WaitUntil;
using vcam::standin::When;

constexpr char kBootCodePath[] = "/mtd_rwarea/wiru/bin/TorvikBC.bin";
constexpr char kVersionReport[] = "/dtv/cm_cam_version";
const std::string kChecking = "CCameraFwLoader ****** : KEL Camera Checking hr=";

/// Tells when its body has returned.
class TestedLoader : public CCameraFwLoader {
public:
    using CCameraFwLoader::CCameraFwLoader;
    ~TestedLoader() override { Stop(); }
    void Run() override
    {
        CCameraFwLoader::Run();
        m_finished = true;
    }
    bool HasFinished() const { return m_finished; }

private:
    std::atomic<bool> m_finished{false};
};

class LoaderTest : public testing::Test {
protected:
    LoaderTest() { m_bus.EnableCallLog(); }
    ~LoaderTest() override { m_bus.Reset(); }

    void SetUp() override
    {
        REQUIRE_TV_ROOT();
        TvRoot::Clear();
        TvRoot::Write(kImage, "firmware image");
        Answer(*m_camera, {0, 0, 1, 2, 0, 0, 3, 4});
        Answer(*m_boot_loader, {0, 0, 0, 0, 0, 0, 0, 0x1F});
    }

    void TearDown() override
    {
        m_loader.reset();
        m_bus.ClearRules();
        // Handles that could not be claimed stay open on purpose.
        libusb_objects::GiveBackLeftovers();
        EXPECT_TRUE(BusIsClean());
    }

    /// Answers the read of an ISP result, that of the firmware version among them.
    static void Answer(ScriptedDevice& device, Bytes reply)
    {
        device.SetReply(0xA0, 0x81, 0x0200, 0x0600, {std::move(reply)});
    }

    void Start(ICameraSubject* camera = nullptr, bool with_callback = true)
    {
        m_loader = std::make_unique<TestedLoader>(
            camera, with_callback ? &LoaderTest::OnReport : nullptr, this);
        m_loader->Start("loader");
    }

    bool WaitForStatuses(std::size_t count) const
    {
        return WaitUntil([&] { return Statuses().size() >= count; });
    }
    bool WaitForTheEnd() const
    {
        return WaitUntil([&] { return m_loader->HasFinished(); });
    }

    std::vector<unsigned> Statuses() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_statuses;
    }

    /// Lines of the loader's own body, without those of the watch.
    std::vector<Line> RunLines() const
    {
        std::vector<Line> lines;
        for (Line& line : LinesOf(m_log))
            if (line.function == "Run" && line.message.find(kChecking) == std::string::npos)
                lines.push_back(std::move(line));
        return lines;
    }

    /// Plugs `next` in, in place of what is there, when a request is answered.
    void ReplaceAfter(std::function<bool(const Call&)> wanted, std::shared_ptr<ScriptedDevice> next)
    {
        m_bus.OnCall("libusb_control_transfer", When::kAfter,
                     [this, wanted = std::move(wanted), next = std::move(next)](const Call& call) {
                         if (!wanted(call))
                             return;
                         m_bus.DetachAll();
                         if (next != nullptr)
                             m_bus.Attach(next);
                     });
    }

    static bool IsPcsyncBurn(const Call& call)
    {
        return call.setup.request_type == 0x40 && call.setup.request == 0x08;
    }
    static bool IsUvcBurn(const Call& call)
    {
        return call.setup.value == 0x0400 && call.data == Bytes{1, 1, 3, 0, 0, 0, 0, 0};
    }
    static bool IsWatch(const Call& call)
    {
        return call.setup.value == 0x0200 && call.timeout_ms == 500;
    }

    std::size_t CountRequests(const std::function<bool(const Call&)>& wanted) const
    {
        std::size_t count = 0;
        for (const Call& call : m_bus.CallLog())
            count += call.function == "libusb_control_transfer" && wanted(call);
        return count;
    }

    std::string Report() const { return TvRoot::Read(kVersionReport); }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedDevice> m_camera = std::make_shared<ScriptedDevice>(Layout::kCamera);
    std::shared_ptr<ScriptedDevice> m_boot_loader =
        std::make_shared<ScriptedDevice>(Layout::kBootLoader);
    const FastSleeps m_sleeps{1000};
    CapturedLog m_log;
    std::unique_ptr<TestedLoader> m_loader;
    /// Runs inside the call-back.
    std::function<void(unsigned)> m_on_report;

private:
    static void OnReport(unsigned status, void* context)
    {
        auto* const self = static_cast<LoaderTest*>(context);
        if (self->m_on_report)
            self->m_on_report(status);
        const std::lock_guard<std::mutex> guard(self->m_mutex);
        self->m_statuses.push_back(status);
    }

    mutable std::mutex m_mutex;
    std::vector<unsigned> m_statuses;
};

inline Line RunLine(int level, const std::string& message)
{
    return {level, "Run", message};
}

#endif
