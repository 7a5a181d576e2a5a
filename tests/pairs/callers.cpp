#include "tests/pairs/callers.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace pairs {
namespace {

using vcam::standin::Bus;
using vcam::standin::When;

constexpr const char* kRoleNames[] = {"driving thread", "host thread", "loader", "event thread",
                                      "capture thread"};

/// A scene has a process of its own, so the entry never belongs to another one.
thread_local Caller* t_mine = nullptr;

Role RoleByFirstCall(const Call& call)
{
    if (call.function == "libusb_init")
        return Role::kLoader;
    // The transports' threads do nothing but handle events; what they do
    // inside is theirs too.
    if (call.function == "libusb_handle_events_timeout" || call.function == "completion")
        return Role::kEvents;
    return Role::kCapture;
}

std::string Describe(const Call& call)
{
    std::string text = call.function;
    if (call.function == "completion")
        text += " with status " + std::to_string(call.status);
    if (call.function == "libusb_control_transfer") {
        char setup[40];
        std::snprintf(setup, sizeof setup, " %02x %02x %04x %04x", call.setup.request_type,
                      call.setup.request, call.setup.value, call.setup.index);
        text += setup;
    }
    return text;
}

}  // namespace

pid_t ThreadId()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

std::string Caller::Name() const
{
    return std::string(kRoleNames[static_cast<int>(role)]) + " " + std::to_string(number);
}

bool IsWatch(const Call& call)
{
    // A version's reply is read with the same request, but more patience.
    return call.function == "libusb_control_transfer" && call.setup.request_type == 0xA0 &&
           call.setup.value == 0x0200 && call.setup.index == 0x0600 && call.timeout_ms == 500;
}

Callers::Callers(Listener before, Listener after)
    : m_before(std::move(before)), m_after(std::move(after))
{
    Add(Role::kDriver);
    std::vector<std::string> functions = Bus::Functions();
    functions.emplace_back("completion");
    Bus& bus = Bus::Instance();
    for (const std::string& function : functions) {
        m_hooks.push_back(
            bus.OnCall(function, When::kBefore, [this](const Call& call) { Before(call); }));
        m_hooks.push_back(
            bus.OnCall(function, When::kAfter, [this](const Call& call) { After(call); }));
    }
}

Callers::~Callers()
{
    for (const int hook : m_hooks)
        Bus::Instance().RemoveHook(hook);
    t_mine = nullptr;
}

Caller& Callers::Add(Role role)
{
    Caller made;
    made.thread = ThreadId();
    made.role = role;
    const std::lock_guard<std::mutex> guard(m_mutex);
    made.number = 1 + static_cast<unsigned>(std::count_if(
                          m_all.begin(), m_all.end(),
                          [role](const Caller& other) { return other.role == role; }));
    t_mine = &m_all.emplace_back(made);
    return *t_mine;
}

Caller& Callers::Mine(const Call& call)
{
    return t_mine != nullptr ? *t_mine : Add(RoleByFirstCall(call));
}

void Callers::JoinAsHost()
{
    Add(Role::kHost);
}

void Callers::Finish()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    t_mine->finished = true;
}

void Callers::Before(const Call& call)
{
    Caller& mine = Mine(call);
    Caller copy;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        mine.last_call = Describe(call);
        copy = mine;
    }
    m_before(call, copy);
}

void Callers::After(const Call& call)
{
    Caller& mine = Mine(call);
    Caller copy;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        mine.last_call = Describe(call) + " returned " + std::to_string(call.result);
        if (mine.role == Role::kLoader && IsWatch(call) && call.result >= 0)
            ++mine.answers;
        copy = mine;
    }
    m_after(call, copy);
}

Caller Callers::Me() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    if (t_mine != nullptr)
        return *t_mine;
    Caller unknown;
    unknown.thread = ThreadId();
    unknown.role = Role::kCapture;
    return unknown;
}

std::vector<Caller> Callers::All() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return {m_all.begin(), m_all.end()};
}

unsigned Callers::Loaders() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return static_cast<unsigned>(
        std::count_if(m_all.begin(), m_all.end(),
                      [](const Caller& caller) { return caller.role == Role::kLoader; }));
}

}  // namespace pairs
