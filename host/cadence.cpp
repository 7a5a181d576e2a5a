#include "host/cadence.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <vector>

namespace host {
namespace {

constexpr std::int64_t kSecondUs = 1000000;
/// How far pictures may lie behind their own times. A start in a hurry, the
/// first pictures all at once, takes some of it.
constexpr std::int64_t kLagUs = 300000;
/// Beyond this the rate is not at all what it was said to be.
constexpr std::int64_t kHopelessUs = 1000000;
constexpr std::int64_t kMuchTicks = 4;
constexpr std::size_t kEnoughToTell = 5;

}  // namespace

std::int64_t Cadence::TimeOf(std::int64_t tick) const
{
    return tick * kSecondUs / m_fps;
}

bool Cadence::Next(bool atEnd, std::int64_t& placedUs)
{
    const auto ahead = static_cast<std::size_t>(m_fps / 2);
    if (m_waiting.empty() || (!atEnd && m_waiting.size() <= ahead)) {
        return false;
    }
    placedUs = m_fps == 0 ? m_waiting.front() : PlaceFront();
    m_waiting.pop_front();
    return true;
}

void Cadence::CheckRate()
{
    std::vector<std::int64_t> intervals;
    for (std::size_t i = 1; i < m_waiting.size(); ++i) {
        intervals.push_back(m_waiting[i] - m_waiting[i - 1]);
    }
    if (intervals.size() < kEnoughToTell) {
        return;
    }
    const std::int64_t mean = (m_waiting.back() - m_waiting.front()) /
                              static_cast<std::int64_t>(intervals.size());
    const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
    std::nth_element(intervals.begin(), middle, intervals.end());
    // A start in a hurry moves the one, but not the other.
    const bool steady = std::llabs(mean - *middle) * 8 < mean;
    const std::int64_t rate = steady ? (kSecondUs + mean / 2) / mean : m_fps;
    if (rate * 3 > m_fps * 4 || rate * 4 < m_fps * 3) {
        m_fps = rate;
    }
}

std::int64_t Cadence::PlaceFront()
{
    if (m_tick < 0) {
        CheckRate();
    }
    if (m_fps == 0) {
        return m_waiting.front();
    }
    std::int64_t leastLate = std::numeric_limits<std::int64_t>::max();
    std::int64_t mostLate = std::numeric_limits<std::int64_t>::min();
    std::int64_t tick = m_tick;
    for (const std::int64_t time : m_waiting) {
        const std::int64_t late = time - TimeOf(++tick);
        leastLate = std::min(leastLate, late);
        mostLate = std::max(mostLate, late);
    }
    if (mostLate < -kHopelessUs) {
        m_fps = 0;
        return m_waiting.front();
    }
    if (mostLate < -kLagUs && m_tick >= 0 && !m_squeezed) {
        // The camera's clock runs a little faster than ours.
        m_squeezed = true;
        return (TimeOf(m_tick) + TimeOf(m_tick + 1)) / 2;
    }
    m_squeezed = false;
    // Three quarters of a tick are a tick: jitter is seldom that large and
    // even in half a second.
    const std::int64_t missing = (leastLate * m_fps + kSecondUs / 4) / kSecondUs;
    // Of the last pictures too few follow to tell: there, only much counts.
    const bool wellKnown = static_cast<std::int64_t>(m_waiting.size()) > m_fps / 2;
    m_tick += 1 + (missing >= (wellKnown ? 1 : kMuchTicks) ? missing : 0);
    return TimeOf(m_tick);
}

}  // namespace host
