// What the process asked to sleep, and how long it really does.
#ifndef TESTS_SUPPORT_SLEEPS_H
#define TESTS_SUPPORT_SLEEPS_H

#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

namespace test_support {

struct Sleep {
    std::chrono::microseconds asked;
    std::thread::id thread;
};

/// Sleeps from construction to destruction last 1/divisor of what was asked.
/// sleep, usleep, nanosleep and clock_nanosleep are covered, of whatever
/// thread; waits on conditions are not.
class FastSleeps {
public:
    explicit FastSleeps(unsigned divisor);
    ~FastSleeps();
    FastSleeps(const FastSleeps&) = delete;
    FastSleeps& operator=(const FastSleeps&) = delete;

    /// Sleeps asked for since construction or Clear, in order.
    std::vector<Sleep> All() const;
    std::vector<Sleep> OfThread(std::thread::id thread) const;
    /// How many sleeps of exactly this length there were.
    std::size_t Count(std::chrono::microseconds asked) const;
    void Clear();

private:
    const unsigned m_before;
};

}  // namespace test_support

#endif
