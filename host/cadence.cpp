#include "host/cadence.h"

namespace host {
namespace {

constexpr std::int64_t kSecondUs = 1000000;
/// Jitter that is smoothed, and how far pictures may run ahead of their times.
constexpr std::int64_t kToleranceTicks = 3;
constexpr std::int64_t kLeadUs = 500000;

}  // namespace

std::int64_t Cadence::TimeOf(std::int64_t tick) const
{
    return tick * kSecondUs / m_fps;
}

std::int64_t Cadence::Place(std::int64_t timeUs)
{
    if (m_fps == 0) {
        return timeUs;
    }
    const std::int64_t own = (timeUs * m_fps + kSecondUs / 2) / kSecondUs;
    const std::int64_t next = m_tick + 1;
    if (m_tick < 0 || own > next + kToleranceTicks) {
        m_tick = own;
    } else if (TimeOf(next) > timeUs + kLeadUs) {
        m_fps = 0;  // pictures come faster than that
        return timeUs;
    } else {
        m_tick = next;
    }
    return TimeOf(m_tick);
}

}  // namespace host
