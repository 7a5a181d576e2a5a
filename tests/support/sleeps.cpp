#include "tests/support/sleeps.h"

#include <algorithm>
#include <cstring>

#include "tests/support/fast_clock/fast_clock.h"

namespace test_support {

FastSleeps::FastSleeps(unsigned divisor) : m_before(fast_clock_divide(divisor))
{
    fast_clock_clear();
}

FastSleeps::~FastSleeps()
{
    fast_clock_divide(m_before);
}

std::vector<Sleep> FastSleeps::All() const
{
    std::vector<Sleep> sleeps;
    fast_clock_sleep sleep{};
    for (std::size_t i = 0; fast_clock_get(i, &sleep) != 0; ++i) {
        std::thread::id thread;
        static_assert(sizeof thread == sizeof sleep.thread, "std::thread::id holds a pthread_t");
        std::memcpy(static_cast<void*>(&thread), &sleep.thread, sizeof thread);
        sleeps.push_back({std::chrono::microseconds(sleep.microseconds), thread});
    }
    return sleeps;
}

std::vector<Sleep> FastSleeps::OfThread(std::thread::id thread) const
{
    std::vector<Sleep> sleeps = All();
    sleeps.erase(std::remove_if(sleeps.begin(), sleeps.end(),
                                [thread](const Sleep& sleep) { return sleep.thread != thread; }),
                 sleeps.end());
    return sleeps;
}

std::size_t FastSleeps::Count(std::chrono::microseconds asked) const
{
    const std::vector<Sleep> sleeps = All();
    return static_cast<std::size_t>(std::count_if(
        sleeps.begin(), sleeps.end(), [asked](const Sleep& sleep) { return sleep.asked == asked; }));
}

void FastSleeps::Clear()
{
    fast_clock_clear();
}

}  // namespace test_support
