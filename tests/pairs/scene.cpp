#include "tests/pairs/scene.h"

#include <libusb.h>
#include <poll.h>

#include <algorithm>
#include <future>

#include "tests/support/wait_until.h"

namespace pairs {
namespace {

using test_support::WaitUntil;
using vcam::Identity;
using vcam::standin::Bus;

/// Sleeps last a two-hundredth: seconds of settling cost next to nothing, and
/// the loader's watch still leaves the processor alone.
constexpr unsigned kClock = 200;

/// The call-back has no argument of its own.
Scene* g_scene = nullptr;

std::shared_ptr<vcam::CameraModel> MakeCamera(Identity identity)
{
    vcam::CameraOptions options;
    options.identity = identity;
    options.startup_time = 1000;
    options.burn_time = 0;
    options.reboot_time = 1000;
    return std::make_shared<vcam::CameraModel>(options);
}

/// How many of them there are depends on what else the thread meets.
bool IsIncidental(const Call& call)
{
    return call.function == "completion" || call.function == "libusb_interrupt_event_handler" ||
           call.function.compare(0, 20, "libusb_handle_events") == 0;
}

bool ClaimsSound(const Call& call)
{
    return call.interface_number == 3;
}

}  // namespace

Scene::Scene(From from, Name held, std::size_t step, Complain complain)
    : m_from(from),
      m_held(held),
      m_complain(std::move(complain)),
      m_sleeps(kClock),
      m_gate(step),
      m_library(test_support::LoadCameraLibrary()),
      m_model(MakeCamera(from == kBoot ? Identity::kBootLoaderBulk : Identity::kCamera)),
      m_tasks_before(Tasks()),
      m_callers([this](const Call& call, const Caller& who) { Before(call, who); },
                [this](const Call& call, const Caller& who) { After(call, who); })
{
    g_scene = this;
    Bus& bus = Bus::Instance();
    if (from != kAbsent)
        bus.Attach(m_model);
    if (from == kMute)
        bus.FailCall("libusb_claim_interface", 1, LIBUSB_ERROR_BUSY, ClaimsSound);
}

Scene::~Scene()
{
    JoinHosts();
}

void Scene::Create()
{
    m_camera = m_library.Create();
    Camera().RegisterObserver(&m_frames);
    Camera().RegisterObserver(&m_sound);
}

void Scene::InitAndWait()
{
    Init();
    WaitUntil([this] { return !Outcomes().empty(); });
    if (Outcomes() != "1")
        m_complain("not ready: call-backs '" + Outcomes() + "'");
}

void Scene::Prepare()
{
    Create();
    if (m_from != kReady && m_from != kRecording)
        return;
    InitAndWait();
    BeginCalm();
    WaitUntil([this] { return IsCalm(false); });
    if (m_from == kRecording &&
        (!Camera().StartRecording() || !WaitForFrames(1) || !m_sound.WaitFor(1)))
        m_complain("no recording to begin with");
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_outcomes.clear();
}

void Scene::Arm()
{
    m_held_host = ThreadId();
    m_loaders_before = m_callers.Loaders();
    m_armed = true;
}

void Scene::Unplug()
{
    m_lost = true;
    m_model->Unplug();
}

void Scene::PlugInForRetry()
{
    // Otherwise the retry is not what the pair is about.
    if (m_held != kRetry)
        return;
    if (m_from == kAbsent)
        Bus::Instance().Attach(m_model);
    else
        m_model->Replug();
}

void Scene::PlugInBootLoader()
{
    Bus::Instance().Attach(MakeCamera(Identity::kBootLoaderBulk));
}

bool Scene::SetNewResolution()
{
    static constexpr std::int32_t kSizes[] = {0x02D00500, 0x00F00140, 0x00780 << 16 | 0xA0};
    CAM_PROP_VALUE record{kSizes[m_resolutions++ % 3], {0, 0}};
    return Camera().SetProperty(CAM_PROPERTY_RESOLUTION, &record);
}

void Scene::Destroy()
{
    m_library.Destroy(m_camera);
    if (const auto held = m_gate.Held())
        m_complain("cam_destroy returned while " + m_gate.Where() + " was held");
    m_destroyed = true;
}

pid_t Scene::Launch(std::function<void()> body)
{
    auto id = std::make_shared<std::promise<pid_t>>();
    std::future<pid_t> told = id->get_future();
    std::thread host([this, id, body = std::move(body)] {
        m_callers.JoinAsHost();
        id->set_value(ThreadId());
        body();
        m_callers.Finish();
    });
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_hosts.push_back(std::move(host));
    }
    return told.get();
}

void Scene::JoinHosts()
{
    std::vector<std::thread> hosts;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        hosts.swap(m_hosts);
    }
    for (std::thread& host : hosts)
        host.join();
}

bool Scene::HostFinished(pid_t host) const
{
    const auto all = m_callers.All();
    return std::any_of(all.begin(), all.end(), [host](const Caller& caller) {
        return caller.thread == host && caller.finished;
    });
}

void Scene::WaitUntilWaiting(pid_t host)
{
    SleepWatch watch;
    while (!HostFinished(host) && !watch.Waits(host))
        ::poll(nullptr, 0, 2);
}

std::string Scene::Outcomes() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_outcomes;
}

bool Scene::WaitForFrames(std::size_t more)
{
    return m_frames.WaitFor(m_frames.Count() + more);
}

void Scene::OnInit(bool ready)
{
    g_scene->CallBack(ready);
}

void Scene::CallBack(bool ready)
{
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_outcomes += ready ? '1' : '0';
    }
    int allowed = m_retries;
    while (!ready && allowed > 0 && !m_retries.compare_exchange_weak(allowed, allowed - 1)) {
    }
    const bool retry = !ready && allowed > 0;
    if (retry) {
        PlugInForRetry();
        m_retried = true;
    }
    Step("the call-back's begin");
    if (retry) {
        Init();
        Step("the call-back's end");
    }
}

void Scene::Step(const std::string& where)
{
    Call call;
    call.function = where;
    const Caller me = m_callers.Me();
    if (Counts(call, me))
        m_gate.Pass(me, where);
}

bool Scene::Counts(const Call& call, const Caller& who) const
{
    if (!m_armed)
        return false;
    if (who.thread == m_held_host && !IsIncidental(call))
        return true;
    const bool incidental = IsIncidental(call) && m_held != kUnplug && m_held != kReplug;
    return !incidental && OperationOf(m_held).counts(*this, who, call);
}

void Scene::Before(const Call& call, const Caller& who)
{
    if (m_destroyed && who.OfLibrary() && !m_called_late.exchange(true))
        m_complain(who.Name() + " calls " + call.function + " after cam_destroy");
    if (Counts(call, who))
        m_gate.Pass(who, call.function);
}

void Scene::After(const Call& call, const Caller& who)
{
    if (who.role != Role::kLoader)
        return;
    if (m_lost && IsWatch(call) && call.result < 0) {
        m_loss_seen = true;
        if (Counts(call, who))
            m_gate.Pass(who, "the end of " + call.function);
    }
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (call.function == "libusb_open") {
        if (call.result < 0)
            ++m_contexts_left;
        else
            m_loader_handles.push_back(call.handle);
    }
    if (call.function == "libusb_claim_interface" && call.result < 0 &&
        std::count(m_loader_handles.begin(), m_loader_handles.end(), call.handle) > 0) {
        ++m_contexts_left;
        ++m_handles_left;
    }
}

/// A thread of the library that has made no call yet may be a loader; one that
/// sleeps again and again without any is a capture thread.
bool Scene::StrangersAreCalm(const std::vector<Caller>& known, bool waiting_will_do)
{
    static constexpr unsigned kSleepsOfCapture = 40;
    bool calm = true;
    for (const pid_t task : Tasks()) {
        if (std::count(m_tasks_before.begin(), m_tasks_before.end(), task) > 0 ||
            std::any_of(known.begin(), known.end(),
                        [task](const Caller& caller) { return caller.thread == task; }))
            continue;
        // A busy machine may keep it from its first call for long: then it does
        // not sleep.
        const bool waits = m_sleep_watch.Waits(task);
        const bool asleep = m_sleep_watch.Asleep(task);
        unsigned& sleeps = m_strangers[task];
        sleeps += asleep ? 1 : 0;
        calm = calm && asleep && (sleeps >= kSleepsOfCapture || (waits && waiting_will_do));
    }
    return calm;
}

bool Scene::IsCalm(bool waiting_will_do)
{
    const std::vector<Caller> all = m_callers.All();
    const auto held = m_gate.Held();
    bool calm = StrangersAreCalm(all, waiting_will_do);
    for (const Caller& caller : all) {
        if (held && held->thread == caller.thread)
            continue;
        bool done = true;
        if (caller.role == Role::kHost) {
            done = caller.finished;
        } else if (caller.role == Role::kLoader) {
            // The first answer may be to a question from before.
            const unsigned before = m_answers.emplace(caller.thread, caller.answers).first->second;
            done = caller.answers >= before + 2 || !TaskLives(caller.thread);
        }
        if (!done)
            calm = m_sleep_watch.Waits(caller.thread) && waiting_will_do && calm;
    }
    return calm;
}

void Scene::TryAnotherObject()
{
    m_armed = false;
    m_destroyed = false;
    m_retries = 0;
    Bus::Instance().ClearRules();
    m_model->Replug();
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_outcomes.clear();
    }
    Create();
    InitAndWait();
    Destroy();
}

std::string Scene::LeftOpen() const
{
    auto counters = Bus::Instance().Counters();
    const std::lock_guard<std::mutex> guard(m_mutex);
    counters.contexts -= m_contexts_left;
    counters.handles -= m_handles_left;
    counters.device_lists -= m_handles_left;
    if (m_handles_left > 0)
        counters.device_references = 0;  // as many as devices were listed
    return counters.AllZero() ? "" : counters.ToString();
}

}  // namespace pairs
