// Where a block of microphone samples lies in time.
#ifndef TORVIK_HOST_AUDIO_TIMELINE_H
#define TORVIK_HOST_AUDIO_TIMELINE_H

#include <cstddef>
#include <cstdint>

namespace host {

/// Samples follow each other without a hole, however late the block that
/// carries them is handed over; so the number of samples is the better clock,
/// and the stamps only correct it. A block may come late, never early: what
/// even the most punctual block of half a second lacks is really missing.
class AudioTimeline {
public:
    /// Start of a block of `bytes` that was placed at `placedUs` by its stamp.
    std::int64_t Place(std::int64_t placedUs, std::size_t bytes);

    std::int64_t MissingMs() const { return m_missing_us / 1000; }

private:
    void EndWindow();

    static constexpr int kWindowBlocks = 50;
    static constexpr std::int64_t kGapUs = 100000;   ///< lost, rather than drifted
    static constexpr std::int64_t kDriftUs = 10000;  ///< inaudible
    static constexpr std::int64_t kNudgeUs = 5000;

    bool m_started = false;
    std::int64_t m_next = 0;
    std::int64_t m_least_late = 0;  ///< in the current window
    int m_blocks = 0;
    std::int64_t m_missing_us = 0;
};

}  // namespace host

#endif
