#include "host/gap_counter.h"

#include <algorithm>

namespace host {

void GapCounter::CountGap(std::int64_t interval)
{
    const std::int64_t frames = (interval + m_nominal / 2) / m_nominal;
    if (frames > 1) {
        m_lost += static_cast<std::uint64_t>(frames - 1);
    }
}

void GapCounter::Frame(std::int64_t timeUs)
{
    const std::int64_t interval = timeUs - m_last;
    m_last = timeUs;
    if (!m_started) {
        m_started = true;
        return;
    }
    if (m_nominal != 0) {
        CountGap(interval);
        return;
    }
    m_first[m_learned++] = interval;
    if (m_learned == kLearn) {
        std::array<std::int64_t, kLearn> sorted = m_first;
        std::nth_element(sorted.begin(), sorted.begin() + kLearn / 2, sorted.end());
        m_nominal = std::max<std::int64_t>(sorted[kLearn / 2], 1);
        for (std::int64_t first : m_first) {
            CountGap(first);
        }
    }
}

}  // namespace host
