#include "tests/pairs/play.h"

#include <malloc.h>
#include <poll.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <regex>
#include <thread>

#include "tests/pairs/scene.h"
#include "tests/pairs/stacks.h"
#include "tests/support/bus_check.h"
#include "tests/support/wait_until.h"

// Present in programs with the leak sanitizer.
extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();

/// What a failed opening leaves behind on purpose is counted by the scene.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:OpenKelDevice\n";
}

namespace pairs {
namespace {

using test_support::WaitUntil;
using vcam::standin::Bus;

constexpr std::chrono::milliseconds kThreadEnd{2000};
constexpr int kHung = 3;

/// Lines in one piece each, from any thread.
class Report {
public:
    explicit Report(int file) : m_file(file) {}
    void Line(const std::string& text) const
    {
        const std::string line = text + "\n";
        if (write(m_file, line.data(), line.size()) < 0)
            _exit(1);
    }
    void Fail(const std::string& text) const { Line("fail " + text); }
    int File() const { return m_file; }

private:
    const int m_file;
};

/// Ends the process with all stacks when it lives too long.
class Watchdog {
public:
    Watchdog(const Report& report, std::chrono::seconds limit)
        : m_report(report), m_thread([this, limit] { Watch(limit); })
    {
    }
    ~Watchdog()
    {
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_over = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void Expect(const char* what)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_expected = what;
    }
    void Know(const Scene* scene)
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_scene = scene;
    }

private:
    void Watch(std::chrono::seconds limit)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto deadline = std::chrono::steady_clock::now() + limit;
        if (m_changed.wait_until(lock, deadline, [this] { return m_over; }))
            return;
        m_report.Fail(std::string("hangs: no end of ") + m_expected);
        m_report.Line("stacks");
        if (m_scene != nullptr)
            WriteStacks(m_report.File(), m_scene->Threads());
        std::fflush(stdout);
        _exit(kHung);
    }

    const Report& m_report;
    std::mutex m_mutex;  // a leaf; guards everything below
    std::condition_variable m_changed;
    bool m_over = false;
    const char* m_expected = "the preparation";
    const Scene* m_scene = nullptr;
    std::thread m_thread;  ///< last: it uses the others
};

void WaitUntilCalm(Scene& scene, bool waiting_will_do)
{
    scene.BeginCalm();
    while (!scene.IsCalm(waiting_will_do))
        ::poll(nullptr, 0, 2);
}

void CheckResult(const Report& report, const char* whose, Name name, Result wanted, Result got)
{
    if (wanted == got || (wanted == kAny && got != kNothing))
        return;
    report.Fail(std::string(whose) + " " + OperationOf(name).name + " returned " + TextOf(got) +
                " instead of " + TextOf(wanted));
}

char StateLetter(CAM_STATE state)
{
    return "DCKR"[state];
}

void CheckEnd(Scene& scene, const Row& row, const Report& report)
{
    const std::string outcomes = scene.Outcomes();
    if (!std::regex_match(outcomes, std::regex(row.outcomes)))
        report.Fail("call-backs '" + outcomes + "' instead of '" + row.outcomes + "'");
    if (scene.Destroyed()) {
        if (std::strcmp(row.ends, "-") != 0)
            report.Fail("the camera object is gone");
        return;
    }
    const char state = StateLetter(scene.Camera().GetState());
    if (std::strchr(row.ends, state) == nullptr)
        report.Fail(std::string("ends in state ") + state + " instead of " + row.ends);
}

/// A camera that has been there all the time can be used as ever.
void UseCamera(Scene& scene, const Report& report)
{
    ICameraSubject& camera = scene.Camera();
    const CAM_STATE state = camera.GetState();
    if (scene.Lost() || (state != CAM_STATE_CONNECTED && state != CAM_STATE_RECORDING))
        return;
    const bool stopped = camera.StopRecording();
    if (stopped != (state == CAM_STATE_RECORDING))
        report.Fail("afterwards: StopRecording gave the wrong answer");
    if (!camera.StartRecording() || camera.GetState() != CAM_STATE_RECORDING)
        report.Fail("afterwards: does not start");
    else if (!scene.WaitForFrames(2))
        report.Fail("afterwards: no frames");
    if (!camera.StopRecording())
        report.Fail("afterwards: does not stop");
}

void CheckLeftovers(const Scene& scene, const Report& report, std::size_t tasks)
{
    const std::string open = scene.LeftOpen();
    if (!open.empty())
        report.Fail("libusb has open: " + open);
    for (const std::string& line : Bus::Instance().Misuse()) {
        if (line.find(test_support::kAudioReleasesForeignInterface) == std::string::npos)
            report.Fail("misuse of libusb: " + line);
    }
    // A thread that was joined may stay listed for a moment.
    if (!WaitUntil([tasks] { return Tasks().size() <= tasks; }, kThreadEnd))
        report.Fail("threads left: " + std::to_string(Tasks().size() - tasks));
}

}  // namespace

void Play(const Trial& trial, int report_file)
{
    // Whoever reads freed memory shall not find it as it was.
    mallopt(M_PERTURB, 0x5A);
    PrepareStacks();
    const Report report(report_file);
    WriteStackOfCrash(report_file);
    const Row& row = *trial.row;
    Watchdog watchdog(report, trial.limit);
    const std::size_t tasks = Tasks().size();
    const long files = OpenFiles();
    {
        Scene scene(row.from, row.held, trial.step,
                    [&report](const std::string& what) { report.Fail(what); });
        watchdog.Know(&scene);
        scene.Prepare();

        watchdog.Expect("what is to be held");
        Result held = kNothing;
        scene.Launch([&] {
            scene.Arm();
            held = OperationOf(row.held).run(scene, Part::kHeld);
        });
        scene.BeginCalm();
        while (!scene.TheGate().Held() && !scene.IsCalm(false))
            ::poll(nullptr, 0, 1);
        if (trial.step == 0) {
            // Nothing was disturbed, so there is nothing to look at.
            report.Line("steps " + std::to_string(scene.TheGate().Passed()));
            scene.JoinHosts();
            if (!scene.Destroyed())
                scene.Destroy();
            return;
        }
        if (scene.TheGate().Held())
            report.Line("held " + scene.TheGate().Where());

        watchdog.Expect("the other one, or a sign that it waits");
        Result other = kNothing;
        scene.Launch([&] { other = OperationOf(row.other).run(scene, Part::kOther); });
        WaitUntilCalm(scene, true);

        watchdog.Expect("the two, after the gate was opened");
        if (!trial.never_open)
            scene.TheGate().Open();
        scene.JoinHosts();
        WaitUntilCalm(scene, false);
        CheckResult(report, "held", row.held, row.held_result, held);
        CheckResult(report, "other", row.other, row.other_result, other);
        CheckEnd(scene, row, report);

        watchdog.Expect("using the camera afterwards");
        if (!scene.Destroyed()) {
            UseCamera(scene, report);
            watchdog.Expect("cam_destroy at the end");
            scene.Destroy();
        }
        CheckLeftovers(scene, report, tasks);
        watchdog.Expect("another camera object");
        scene.TryAnotherObject();
        CheckLeftovers(scene, report, tasks);
        // While the library is there, whose functions the reports name.
        if (__lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0)
            report.Fail("memory left");
        watchdog.Know(nullptr);
    }
    if (OpenFiles() != files)
        report.Fail("files left open: " + std::to_string(OpenFiles() - files));
    report.Line("complete");
}

}  // namespace pairs
