// Even spacing of pictures in a file.
#ifndef TORVIK_HOST_CADENCE_H
#define TORVIK_HOST_CADENCE_H

#include <cstdint>

namespace host {

/// An encoder makes pictures evenly; what reaches the host carries the jitter
/// of threads and buses, and two pictures may come almost at once. Players and
/// converters that count in frames then see two pictures on one tick. So
/// pictures are put on the ticks of the nominal rate, one after the other, as
/// long as that stays close to their own times; where it does not, a gap is
/// left (pictures were lost), or the times are taken as they are (the rate is
/// not what it was said to be).
class Cadence {
public:
    /// `fps` 0: the rate is not known, times stay as they are.
    explicit Cadence(unsigned fps) : m_fps(fps) {}

    /// Microseconds from the start of the recording, in order of the pictures.
    std::int64_t Place(std::int64_t timeUs);

private:
    std::int64_t TimeOf(std::int64_t tick) const;

    unsigned m_fps;
    std::int64_t m_tick = -1;
};

}  // namespace host

#endif
