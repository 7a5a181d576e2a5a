// A wall clock that is set back while somebody waits by it.
#ifndef TESTS_SUPPORT_SET_BACK_CLOCK_H
#define TESTS_SUPPORT_SET_BACK_CLOCK_H

#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

namespace test_support {

/// While one lives, gettimeofday is ahead of the clock by which the system ends
/// timed waits. So a deadline made now lies as far in the future as one that
/// was made just before the clock was set back by as much. Only for what is
/// linked into a program with --wrap for gettimeofday and
/// pthread_cond_timedwait.
class SetBackClock {
public:
    explicit SetBackClock(std::chrono::microseconds by);
    ~SetBackClock();
    SetBackClock(const SetBackClock&) = delete;
    SetBackClock& operator=(const SetBackClock&) = delete;

    /// How far each timed wait's deadline lay behind what gettimeofday had told
    /// the waiting thread last, for the waits begun since construction.
    std::vector<std::chrono::microseconds> WaitsOf(std::thread::id thread) const;
    /// Threads that have begun such waits.
    std::size_t Waiters() const;
};

}  // namespace test_support

#endif
