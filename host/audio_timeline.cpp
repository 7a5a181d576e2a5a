#include "host/audio_timeline.h"

#include <algorithm>

#include "host/streams.h"

namespace host {

void AudioTimeline::EndWindow()
{
    if (m_least_late > kGapUs) {
        m_missing_us += m_least_late;
        m_next += m_least_late;
    } else if (m_least_late > kDriftUs || m_least_late < -kDriftUs) {
        m_next += std::clamp(m_least_late, -kNudgeUs, kNudgeUs);
    }
    m_blocks = 0;
}

std::int64_t AudioTimeline::Place(std::int64_t placedUs, std::size_t bytes)
{
    if (!m_started) {
        m_started = true;
        m_next = placedUs;
    }
    const std::int64_t late = placedUs - m_next;
    m_least_late = m_blocks == 0 ? late : std::min(m_least_late, late);
    if (++m_blocks == kWindowBlocks) {
        EndWindow();
    }
    const std::int64_t time = m_next;
    m_next += static_cast<std::int64_t>(bytes) * 1000 / kAudioBytesPerMs;
    return time;
}

}  // namespace host
