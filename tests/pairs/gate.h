// A gate across an operation's way: it lets so many of the operation's steps
// through and holds whoever comes to the next one.
#ifndef TESTS_PAIRS_GATE_H
#define TESTS_PAIRS_GATE_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

#include "tests/pairs/callers.h"

namespace pairs {

class Gate {
public:
    /// `step` counts from 1; 0 holds nobody and only counts.
    explicit Gate(std::size_t step) : m_step(step) {}
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// One step of the operation. Returns when nobody is held here any more.
    void Pass(const Caller& who, const std::string& where)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_opened || ++m_passed != m_step)
            return;
        m_who = who;
        m_where = where;
        m_held = true;
        m_changed.wait(lock, [this] { return m_opened; });
        m_held = false;
    }
    void Open()
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_opened = true;
        m_changed.notify_all();
    }

    /// Who is held at this moment.
    std::optional<Caller> Held() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_held && !m_opened ? std::optional<Caller>(m_who) : std::nullopt;
    }
    /// Where it held somebody; empty when it never did.
    std::string Where() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_where.empty() ? "" : m_who.Name() + " at " + m_where;
    }
    std::size_t Passed() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_passed;
    }

private:
    const std::size_t m_step;
    mutable std::mutex m_mutex;  // a leaf; guards everything below
    std::condition_variable m_changed;
    std::size_t m_passed = 0;
    bool m_held = false;
    bool m_opened = false;
    Caller m_who;
    std::string m_where;
};

}  // namespace pairs

#endif
