// From a capture thread's 90 kHz stamps to the host's own time line.
#ifndef TORVIK_HOST_STREAM_CLOCK_H
#define TORVIK_HOST_STREAM_CLOCK_H

#include <cstdint>

namespace host {

/// Stamps count from the start of their capture thread, so they say how far
/// apart two frames are, but not where they lie beside the other medium. The
/// arrival of the first frame ties them to the host's clock.
///
/// A stamp jumps forward by some 71.6 minutes whenever the driver reads its
/// clock twice within a microsecond. So a stamp is believed only as long as it
/// agrees with the arrival times; where it does not, arrival takes over and
/// the stamps count on from there.
class StreamClock {
public:
    /// Host time in microseconds of a frame. Frames in order of arrival; all
    /// streams of one capture thread share one clock.
    std::int64_t Place(std::uint32_t stamp, std::int64_t arrivalUs);

    unsigned Jumps() const { return m_jumps; }

private:
    void Anchor(std::uint32_t stamp, std::int64_t arrivalUs);

    bool m_started = false;
    std::uint32_t m_last_stamp = 0;
    std::int64_t m_anchor_time = 0;
    std::int64_t m_ticks = 0;  ///< since the anchor
    unsigned m_jumps = 0;
};

}  // namespace host

#endif
