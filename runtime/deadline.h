// A limit on the monotonic clock.
#ifndef TORVIK_RUNTIME_DEADLINE_H
#define TORVIK_RUNTIME_DEADLINE_H

#include <cstdint>
#include <time.h>

/// Starts when constructed.
class Deadline
{
public:
    explicit Deadline(int milliseconds) : m_end(NowMs() + milliseconds) {}
    /// Milliseconds left, 0 or less when the time is over.
    int LeftMs() const { return static_cast<int>(m_end - NowMs()); }
    bool Passed() const { return LeftMs() <= 0; }

    /// The limit in a form that other threads can read in one piece, good for
    /// three weeks before and after it; never 0.
    std::uint32_t Stamp() const { return static_cast<std::uint32_t>(m_end) | 1U; }
    static bool HasPassed(std::uint32_t stamp)
    {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(NowMs()) - stamp) >= 0;
    }

private:
    static std::int64_t NowMs()
    {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
    }

    std::int64_t m_end;
};

#endif
