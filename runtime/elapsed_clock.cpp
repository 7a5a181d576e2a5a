#include "runtime/elapsed_clock.h"

#include <sys/time.h>

std::uint32_t ElapsedClock::Now()
{
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * 1000000U +
                                      static_cast<std::uint64_t>(now.tv_usec));
}

void ElapsedClock::Advance()
{
    const std::uint32_t now = Now();
    m_elapsed += now > m_previous ? now - m_previous : (0xFFFFFFFFU - m_previous) + now;
    m_previous = now;
}
