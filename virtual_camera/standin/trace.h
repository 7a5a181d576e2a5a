// Counts, log, rules and hooks of the calls into the stand-in.
#ifndef VIRTUAL_CAMERA_STANDIN_TRACE_H
#define VIRTUAL_CAMERA_STANDIN_TRACE_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "virtual_camera/standin/call.h"
#include "virtual_camera/standin/clock.h"
#include "virtual_camera/standin/functions.h"

namespace vcam::standin {

const char* NameOf(Function function);

/// What the rules want of one call.
struct CallEffects {
    std::optional<int> failure;
    std::optional<std::size_t> longest_reply;
    std::optional<CompletionOverride> completion;
};

class Trace {
public:
    /// Nobody looks: calls need not describe themselves.
    bool Idle() const { return !m_observed.load(std::memory_order_relaxed); }

    void Count(Function function);
    std::size_t CallCount(const std::string& function) const;
    void ResetCounts();
    bool WaitForCalls(const std::string& function, std::size_t count,
                      std::chrono::milliseconds limit);

    void EnableLog(bool with_event_calls);
    void DisableLog();
    void ClearLog();
    std::vector<Call> Log() const;

    void FailCall(const std::string& function, std::size_t nth, int code, CallPredicate matches);
    void ShortenReply(std::size_t nth, std::size_t bytes, CallPredicate matches);
    void Override(std::size_t nth, CompletionOverride result, CallPredicate matches);
    void ClearRules();

    int AddHook(const std::string& function, When when, CallHook hook);
    void RemoveHook(int id);
    void ClearHooks();

    /// Runs the hooks that come before the call, logs it and applies the rules.
    CallEffects Enter(Function function, Call& call);
    void Leave(const Call& call);

private:
    struct Rule {
        Function function;
        std::size_t nth;
        CallPredicate matches;
        CallEffects effects;
        std::size_t seen = 0;
    };
    struct Hook {
        int id;
        std::string function;
        When when;
        CallHook hook;
    };

    void AddRule(Function function, std::size_t nth, CallPredicate matches, CallEffects effects);
    void RunHooks(When when, const Call& call);
    void UpdateObserved();

    std::atomic<bool> m_observed{false};
    std::array<std::atomic<std::size_t>, static_cast<std::size_t>(Function::kCount)> m_counts{};
    std::atomic<int> m_count_waiters{0};
    WakeCounter m_counted;

    mutable std::mutex m_mutex;  // a leaf; guards everything below
    bool m_log_enabled = false;
    bool m_log_events = false;
    std::uint64_t m_next_number = 1;
    std::deque<Call> m_log;
    std::vector<Rule> m_rules;
    std::vector<Hook> m_hooks;
    int m_next_hook = 1;
};

/// One call from entry to return.
class CallScope {
public:
    CallScope(Trace& trace, Function function) : m_trace(trace), m_function(function)
    {
        m_trace.Count(function);
        m_idle = m_trace.Idle();
    }

    /// Lets the call describe its arguments when somebody looks. True: a rule
    /// makes it fail with Failure().
    template <typename Describe>
    bool Begin(Describe describe)
    {
        if (m_idle)
            return false;
        describe(m_call);
        m_effects = m_trace.Enter(m_function, m_call);
        return m_effects.failure.has_value();
    }
    int Failure() const { return *m_effects.failure; }
    const CallEffects& Effects() const { return m_effects; }

    /// Adds results to the description.
    template <typename Describe>
    void Add(Describe describe)
    {
        if (!m_idle)
            describe(m_call);
    }

    template <typename Result>
    Result End(Result result)
    {
        Finish(static_cast<long>(result));
        return result;
    }
    template <typename Object>
    Object* End(Object* object)
    {
        Finish(object ? 0 : -1);
        return object;
    }
    void End() { Finish(0); }

private:
    void Finish(long result)
    {
        if (m_idle)
            return;
        m_call.result = result;
        m_trace.Leave(m_call);
    }

    Trace& m_trace;
    Function m_function;
    bool m_idle = true;
    Call m_call;
    CallEffects m_effects;
};

}  // namespace vcam::standin

#endif
