// Even spacing of pictures in a file.
#ifndef TORVIK_HOST_CADENCE_H
#define TORVIK_HOST_CADENCE_H

#include <cstdint>
#include <deque>

namespace host {

/// An encoder makes pictures evenly; what reaches the host carries the jitter
/// of threads and buses, and two pictures may come almost at once. Players and
/// converters that count in frames then see two pictures on one tick. So
/// pictures are put on the ticks of the nominal rate, one after the other.
///
/// A picture that is late was either held up, and those after it catch up, or
/// some before it were lost, and those after it are late as well. Only the
/// second leaves a gap; so a picture is placed when those of the next half
/// second are known. A held-up picture that were given its late time would
/// push all that follow out of step with the sound. Those first pictures also
/// show when the rate is plainly another than the nominal one.
class Cadence {
public:
    /// `fps` 0: the rate is not known, times stay as they are.
    explicit Cadence(unsigned fps) : m_fps(fps) {}

    /// The next picture's own time, in microseconds from the recording's start.
    void Add(std::int64_t timeUs) { m_waiting.push_back(timeUs); }
    /// Where the oldest picture not yet placed belongs. False while too few
    /// later ones are known; `atEnd` says that no more will come.
    bool Next(bool atEnd, std::int64_t& placedUs);

private:
    std::int64_t TimeOf(std::int64_t tick) const;
    void CheckRate();
    std::int64_t PlaceFront();

    std::int64_t m_fps;
    std::deque<std::int64_t> m_waiting;
    std::int64_t m_tick = -1;
    bool m_squeezed = false;  ///< the last picture lies half a tick behind m_tick
};

}  // namespace host

#endif
