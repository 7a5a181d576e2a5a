#include "tests/sweep/stage.h"

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <thread>
#include <utility>

#include "tests/support/bus_check.h"
#include "tests/support/wait_until.h"
#include "virtual_camera/standin/bus.h"

// Present in programs with the leak sanitizer.
extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();

/// What a failed open of a device handle leaves behind on purpose is counted by
/// the stand-in, and held against the table of deliberate leaks.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:OpenKelDevice\n";
}

namespace sweep {
namespace {

using test_support::WaitUntil;
using vcam::standin::Bus;
using vcam::standin::CompletionOverride;
using vcam::standin::When;

/// The call that this thread is about to make is the one to disturb.
thread_local bool t_disturb = false;

bool DisturbNow(const Call&)
{
    return std::exchange(t_disturb, false);
}

long Entries(const char* directory)
{
    long count = 0;
    DIR* const opened = opendir(directory);
    while (readdir(opened) != nullptr)
        ++count;
    closedir(opened);
    return count;
}

long Threads()
{
    return Entries("/proc/self/task");
}

/// A sanitizer's own thread is there from the first thread on.
long ThreadsBefore()
{
    std::thread([] {}).join();
    long threads = Threads();
    WaitUntil([&] {
        const long now = Threads();
        return std::exchange(threads, now) == now;
    });
    return threads;
}

pid_t ThreadId()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

}  // namespace

Stage::Stage(const Fault& fault, std::vector<std::string> steps)
    : m_fault(fault),
      m_steps(std::move(steps)),
      m_threads_before(ThreadsBefore()),
      m_files_before(Entries("/proc/self/fd"))
{
    Bus& bus = Bus::Instance();
    std::set<std::string> functions;
    for (std::size_t i = 0; i < kCallCount; ++i)
        functions.insert(kCalls[i].function);
    for (const std::string& function : functions)
        bus.OnCall(function, When::kBefore, [this](const Call& call) { OnCall(call); });

    const CallRow* const row = FindCall(fault.call.c_str());
    const std::string function = row != nullptr ? row->function : "";
    if (fault.kind == Kind::kCode) {
        bus.FailCall(function, 0, fault.code, DisturbNow);
    } else if (fault.kind == Kind::kShortReply) {
        bus.ShortenControlReply(0, static_cast<std::size_t>(fault.code), DisturbNow);
    } else if (fault.kind == Kind::kCompletion) {
        CompletionOverride result;
        result.status = fault.code;
        bus.OverrideCompletion(0, result, DisturbNow);
    }
}

void Stage::Plug(const vcam::CameraOptions& options)
{
    m_model = std::make_shared<vcam::CameraModel>(options);
    vcam::standin::AttachOptions attach;
    attach.kernel_drivers = true;
    // The release of libusb that asks the most of the driver.
    Bus::Instance().SetVersion(26, 11724);
    Bus::Instance().Attach(m_model, attach);
}

void Stage::Begin(const std::string& phase)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_phase = phase;
}

void Stage::OnCall(const Call& call)
{
    bool unplug = false;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        const std::string label = m_labels.Of(call);
        m_labels.Remember(call);
        if (call.function == "libusb_init")
            ++m_inits;
        if (m_loader == 0)
            m_loader = ThreadId();
        if (call.function == "libusb_control_transfer" && IsWatch(call))
            ++m_watches;
        for (std::size_t i = 0; i < kCallCount; ++i) {
            const CallRow& row = kCalls[i];
            if (call.function != row.function || (row.matches != nullptr && !row.matches(call)))
                continue;
            Occurrence occurrence;
            occurrence.call = row.name;
            occurrence.step =
                m_inits > 0 && m_inits <= m_steps.size() ? m_steps[m_inits - 1] : "";
            occurrence.label = label;
            occurrence.in = (call.setup.request_type & 0x80) != 0;
            auto& before = m_facts.calls[m_phase][row.name];
            occurrence.nth_of_label =
                1 + static_cast<std::size_t>(std::count_if(
                        before.begin(), before.end(), [&](const Occurrence& other) {
                            return other.label == occurrence.label &&
                                   other.step == occurrence.step;
                        }));
            before.push_back(occurrence);
            if (m_fault.kind == Kind::kNone || m_phase != m_fault.phase ||
                row.name != m_fault.call || before.size() != m_fault.nth)
                continue;
            m_facts.injected = true;
            m_facts.where = occurrence;
            unplug = m_fault.kind == Kind::kUnplug;
            t_disturb = !unplug;
        }
    }
    if (unplug)
        m_model->Unplug();
}

void Stage::Status(bool ready)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_facts.statuses += ready ? '1' : '0';
}

std::string Stage::Statuses() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_facts.statuses;
}

bool Stage::WaitForStatuses(std::size_t count) const
{
    return WaitUntil([&] { return Statuses().size() >= count; });
}

std::size_t Stage::Watches() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_watches;
}

bool Stage::LoaderEnded() const
{
    pid_t loader;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        loader = m_loader;
    }
    return loader != 0 &&
           access(("/proc/self/task/" + std::to_string(loader)).c_str(), F_OK) != 0;
}

void Stage::WaitForWatch(std::size_t questions) const
{
    WaitUntil([&] { return Watches() >= questions || LoaderEnded(); });
}

void Stage::WaitForUnplug() const
{
    bool unplugged;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        unplugged = m_facts.injected && m_fault.kind == Kind::kUnplug;
    }
    if (unplugged)
        WaitUntil([&] { return LoaderEnded(); });
}

Facts Stage::Finish()
{
    End();
    Bus& bus = Bus::Instance();
    // A joined thread may stay listed for a moment.
    WaitUntil([&] { return Threads() <= m_threads_before; }, std::chrono::milliseconds(2000));
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_facts.threads_left = Threads() - m_threads_before;
    m_facts.files_left = Entries("/proc/self/fd") - m_files_before;
    const auto counters = bus.Counters();
    m_facts.open = counters.AllZero() ? "" : counters.ToString();
    for (const std::string& line : bus.Misuse()) {
        if (line.find(test_support::kAudioReleasesForeignInterface) == std::string::npos)
            m_facts.misuse.push_back(line);
    }
    if (__lsan_do_recoverable_leak_check != nullptr)
        m_facts.memory_left = __lsan_do_recoverable_leak_check() != 0;
    if (m_fault.kind != Kind::kNone)
        m_facts.calls.clear();
    m_facts.complete = true;
    return m_facts;
}

}  // namespace sweep
