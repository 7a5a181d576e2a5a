// The wall clock of this test program, under the tests' control.
#ifndef TESTS_VIDEO_WALL_CLOCK_H
#define TESTS_VIDEO_WALL_CLOCK_H

#include <cstdint>

/// While one lives, gettimeofday answers with what it was set to.
class WallClock {
public:
    explicit WallClock(std::uint64_t microseconds);
    ~WallClock();
    WallClock(const WallClock&) = delete;
    WallClock& operator=(const WallClock&) = delete;

    void Set(std::uint64_t microseconds);
    void Add(std::uint64_t microseconds);
};

#endif
