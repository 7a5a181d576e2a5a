#include "host/stream_clock.h"

#include <cstdlib>

namespace host {
namespace {

/// Far beyond any delay between the driver's stamp and the host's observer,
/// far below the jump.
constexpr std::int64_t kToleranceUs = 500000;
/// The microphone's stamp does not wrap: after enough jumps it stays here.
constexpr std::uint32_t kEndOfStamps = 0xFFFFFFFF;

}  // namespace

void StreamClock::Anchor(std::uint32_t stamp, std::int64_t arrivalUs)
{
    m_last_stamp = stamp;
    m_anchor_time = arrivalUs;
    m_ticks = 0;
    m_started = true;
}

std::int64_t StreamClock::Place(std::uint32_t stamp, std::int64_t arrivalUs)
{
    if (!m_started) {
        Anchor(stamp, arrivalUs);
        return arrivalUs;
    }
    const std::uint32_t step = stamp - m_last_stamp;  // wraps as the stamp does
    const std::int64_t time = m_anchor_time + (m_ticks + step) * 100 / 9;
    const bool standsStill = step == 0 && stamp == kEndOfStamps;
    if (standsStill || std::llabs(time - arrivalUs) > kToleranceUs) {
        Anchor(stamp, arrivalUs);
        ++m_jumps;
        return arrivalUs;
    }
    m_ticks += step;
    m_last_stamp = stamp;
    return time;
}

}  // namespace host
