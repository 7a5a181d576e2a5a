// Time base of the 90 kHz stamps.
#ifndef TORVIK_RUNTIME_ELAPSED_CLOCK_H
#define TORVIK_RUNTIME_ELAPSED_CLOCK_H

#include <cstdint>

/// Microseconds since construction, summed from readings of the wall clock that
/// wrap at 32 bits. A step that is not forward counts as a wrap, also when two
/// readings are equal: the sum then jumps by 2^32 - 1 microseconds. Receivers
/// of the stamps know this and expect it.
class ElapsedClock
{
public:
    static constexpr double kTicksPerMicrosecond = 0.09;

    ElapsedClock() : m_previous(Now()), m_elapsed(0) {}

    /// Reads the clock once and adds the step.
    void Advance();
    std::uint64_t Microseconds() const { return m_elapsed; }
    /// The same in 90 kHz ticks, before any cut to 32 bits.
    double Ticks() const { return static_cast<double>(m_elapsed) * kTicksPerMicrosecond; }

private:
    static std::uint32_t Now();

    std::uint32_t m_previous;
    std::uint64_t m_elapsed;
};

#endif
