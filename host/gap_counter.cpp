#include "host/gap_counter.h"

#include <algorithm>
#include <utility>

namespace host {

void GapCounter::Frame(std::int64_t timeUs)
{
    if (m_interval == 0) {
        Learn(timeUs);
    } else {
        Judge(timeUs);
    }
}

void GapCounter::Learn(std::int64_t timeUs)
{
    m_first.push_back(timeUs);
    if (m_first.size() <= kFrames) {
        return;
    }
    std::vector<std::int64_t> intervals;
    for (std::size_t i = 1; i < m_first.size(); ++i) {
        intervals.push_back(m_first[i] - m_first[i - 1]);
    }
    const auto middle = intervals.begin() + kFrames / 2;
    std::nth_element(intervals.begin(), middle, intervals.end());
    m_interval = std::max<std::int64_t>(*middle, 1);
    m_expected = m_first.front();
    for (std::int64_t time : std::exchange(m_first, {})) {
        Judge(time);
    }
}

void GapCounter::MoveExpectation(std::int64_t byUs)
{
    m_expected += byUs;
    for (std::int64_t& late : m_late) {
        late -= byUs;
    }
}

void GapCounter::Judge(std::int64_t timeUs)
{
    const std::int64_t early = m_expected - timeUs;
    if (m_lost != 0 && early > m_interval * 3 / 4) {
        // It caught up after all: what counted as lost was held up for longer.
        --m_lost;
        MoveExpectation(-m_interval);
    }
    m_late.push_back(timeUs - m_expected);
    m_expected += m_interval;
    if (m_late.size() <= kFrames) {
        return;
    }
    m_late.pop_front();
    const std::int64_t least = *std::min_element(m_late.begin(), m_late.end());
    if (least > m_interval * 3 / 4) {
        const std::int64_t frames = (least + m_interval / 2) / m_interval;
        m_lost += static_cast<std::uint64_t>(frames);
        MoveExpectation(frames * m_interval);
    } else {
        MoveExpectation(least / 16);  // the interval is not quite the camera's
    }
}

}  // namespace host
