// How many frames a stream is missing, seen from its times alone.
#ifndef TORVIK_HOST_GAP_COUNTER_H
#define TORVIK_HOST_GAP_COUNTER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace host {

/// The driver drops damaged sequences before the host sees them and numbers
/// nothing. But a stream that has lost frames lags behind its count for good,
/// while one that was only held up catches up with it. So a lag counts once
/// every frame of the last half second or so has had it.
class GapCounter {
public:
    void Frame(std::int64_t timeUs);
    std::uint64_t Lost() const { return m_lost; }

private:
    void Learn(std::int64_t timeUs);
    void Judge(std::int64_t timeUs);
    void MoveExpectation(std::int64_t byUs);

    static constexpr std::size_t kFrames = 15;

    std::vector<std::int64_t> m_first;  ///< times, until the interval is known
    std::int64_t m_interval = 0;        ///< median of the first ones; 0 while learning
    std::int64_t m_expected = 0;        ///< time of the next frame
    std::deque<std::int64_t> m_late;    ///< of the last frames
    std::uint64_t m_lost = 0;
};

}  // namespace host

#endif
