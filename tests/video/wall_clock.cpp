#include "tests/video/wall_clock.h"

#include <sys/time.h>
#include <time.h>

#include <atomic>

namespace {

std::atomic<bool> g_set{false};
std::atomic<std::uint64_t> g_microseconds{0};

}  // namespace

WallClock::WallClock(std::uint64_t microseconds)
{
    Set(microseconds);
    g_set = true;
}

WallClock::~WallClock()
{
    g_set = false;
}

void WallClock::Set(std::uint64_t microseconds)
{
    g_microseconds = microseconds;
}

void WallClock::Add(std::uint64_t microseconds)
{
    g_microseconds += microseconds;
}

// A program's own definition takes the place of the C library's.
extern "C" int gettimeofday(struct timeval* now, void*) noexcept
{
    if (g_set) {
        now->tv_sec = static_cast<time_t>(g_microseconds / 1000000);
        now->tv_usec = static_cast<suseconds_t>(g_microseconds % 1000000);
        return 0;
    }
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    now->tv_sec = real.tv_sec;
    now->tv_usec = static_cast<suseconds_t>(real.tv_nsec / 1000);
    return 0;
}
