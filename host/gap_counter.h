// How many frames a stream is missing, seen from its times alone.
#ifndef TORVIK_HOST_GAP_COUNTER_H
#define TORVIK_HOST_GAP_COUNTER_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace host {

/// The driver drops damaged sequences before the host sees them and numbers
/// nothing, so a loss shows as a gap of several frame intervals. The interval
/// is the median of the first ones, which a few early losses do not move.
class GapCounter {
public:
    void Frame(std::int64_t timeUs);
    std::uint64_t Lost() const { return m_lost; }

private:
    void CountGap(std::int64_t interval);

    static constexpr std::size_t kLearn = 15;
    std::array<std::int64_t, kLearn> m_first{};
    std::size_t m_learned = 0;
    std::int64_t m_nominal = 0;  ///< 0 while learning
    std::int64_t m_last = 0;
    bool m_started = false;
    std::uint64_t m_lost = 0;
};

}  // namespace host

#endif
