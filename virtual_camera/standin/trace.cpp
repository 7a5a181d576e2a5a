#include "virtual_camera/standin/trace.h"

#include <algorithm>

namespace vcam::standin {
namespace {

constexpr const char* kNames[] = {
#define VCAM_STANDIN_NAME(name) "libusb_" #name,
    VCAM_STANDIN_FUNCTIONS(VCAM_STANDIN_NAME)
#undef VCAM_STANDIN_NAME
    "completion",
};

Function FunctionNamed(const std::string& name)
{
    const auto* found = std::find(std::begin(kNames), std::end(kNames), name);
    return static_cast<Function>(found - std::begin(kNames));
}

}  // namespace

const char* NameOf(Function function)
{
    return kNames[static_cast<std::size_t>(function)];
}

void Trace::Count(Function function)
{
    if (function == Function::kCompletion)
        return;
    ++m_counts[static_cast<std::size_t>(function)];
    if (m_count_waiters.load() > 0)
        m_counted.Bump();
}

std::size_t Trace::CallCount(const std::string& function) const
{
    const auto index = static_cast<std::size_t>(FunctionNamed(function));
    return index < m_counts.size() ? m_counts[index].load() : 0;
}

void Trace::ResetCounts()
{
    for (auto& count : m_counts)
        count = 0;
}

bool Trace::WaitForCalls(const std::string& function, std::size_t count,
                         std::chrono::milliseconds limit)
{
    const TimeUs deadline = After(Now(), static_cast<TimeUs>(limit.count()) * 1000);
    ++m_count_waiters;
    bool reached = false;
    for (;;) {
        const std::uint64_t seen = m_counted.Value();
        reached = CallCount(function) >= count;
        if (reached || Now() >= deadline)
            break;
        m_counted.WaitWhile(seen, deadline);
    }
    --m_count_waiters;
    return reached;
}

void Trace::EnableLog(bool with_event_calls)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_log_enabled = true;
    m_log_events = with_event_calls;
    UpdateObserved();
}

void Trace::DisableLog()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_log_enabled = false;
    UpdateObserved();
}

void Trace::ClearLog()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_log.clear();
}

std::vector<Call> Trace::Log() const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return {m_log.begin(), m_log.end()};
}

void Trace::AddRule(Function function, std::size_t nth, CallPredicate matches, CallEffects effects)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_rules.push_back({function, nth, std::move(matches), std::move(effects)});
    UpdateObserved();
}

void Trace::FailCall(const std::string& function, std::size_t nth, int code, CallPredicate matches)
{
    CallEffects effects;
    effects.failure = code;
    AddRule(FunctionNamed(function), nth, std::move(matches), std::move(effects));
}

void Trace::ShortenReply(std::size_t nth, std::size_t bytes, CallPredicate matches)
{
    CallEffects effects;
    effects.longest_reply = bytes;
    AddRule(Function::k_control_transfer, nth, std::move(matches), std::move(effects));
}

void Trace::Override(std::size_t nth, CompletionOverride result, CallPredicate matches)
{
    CallEffects effects;
    effects.completion = std::move(result);
    AddRule(Function::k_submit_transfer, nth, std::move(matches), std::move(effects));
}

void Trace::ClearRules()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_rules.clear();
    UpdateObserved();
}

int Trace::AddHook(const std::string& function, When when, CallHook hook)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_hooks.push_back({m_next_hook, function, when, std::move(hook)});
    UpdateObserved();
    return m_next_hook++;
}

void Trace::RemoveHook(int id)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_hooks.erase(std::remove_if(m_hooks.begin(), m_hooks.end(),
                                 [id](const Hook& hook) { return hook.id == id; }),
                  m_hooks.end());
    UpdateObserved();
}

void Trace::ClearHooks()
{
    std::lock_guard<std::mutex> guard(m_mutex);
    m_hooks.clear();
    UpdateObserved();
}

void Trace::UpdateObserved()
{
    m_observed = m_log_enabled || !m_rules.empty() || !m_hooks.empty();
}

void Trace::RunHooks(When when, const Call& call)
{
    std::vector<CallHook> hooks;
    {
        std::lock_guard<std::mutex> guard(m_mutex);
        for (const Hook& hook : m_hooks)
            if (hook.when == when && hook.function == call.function)
                hooks.push_back(hook.hook);
    }
    for (const CallHook& hook : hooks)
        hook(call);
}

CallEffects Trace::Enter(Function function, Call& call)
{
    call.function = NameOf(function);
    call.thread = std::this_thread::get_id();
    call.entered = Now();
    RunHooks(When::kBefore, call);

    CallEffects effects;
    std::lock_guard<std::mutex> guard(m_mutex);
    for (Rule& rule : m_rules) {
        if (rule.function != function || (rule.matches && !rule.matches(call)))
            continue;
        ++rule.seen;
        if (rule.nth != 0 && rule.seen != rule.nth)
            continue;
        if (rule.effects.failure)
            effects.failure = rule.effects.failure;
        if (rule.effects.longest_reply)
            effects.longest_reply = rule.effects.longest_reply;
        if (rule.effects.completion)
            effects.completion = rule.effects.completion;
    }
    call.failed_by_rule = effects.failure.has_value();
    if (m_log_enabled && (m_log_events || !OnlyHandlesEvents(function))) {
        call.number = m_next_number++;
        m_log.push_back(call);
    }
    return effects;
}

void Trace::Leave(const Call& call)
{
    if (call.number != 0) {
        std::lock_guard<std::mutex> guard(m_mutex);
        const auto found = std::lower_bound(
            m_log.begin(), m_log.end(), call.number,
            [](const Call& logged, std::uint64_t number) { return logged.number < number; });
        if (found != m_log.end() && found->number == call.number) {
            *found = call;
            found->returned = Now();
        }
    }
    RunHooks(When::kAfter, call);
}

}  // namespace vcam::standin
