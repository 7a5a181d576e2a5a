// Waiting for something to become true, with a generous limit.
#ifndef TESTS_SUPPORT_WAIT_UNTIL_H
#define TESTS_SUPPORT_WAIT_UNTIL_H

#include <poll.h>

#include <chrono>

namespace test_support {

constexpr std::chrono::milliseconds kPatience{30000};

/// Asks until `predicate` holds or the limit is over; the result is its last
/// answer. The pause between two questions is a poll(), which the fast clock
/// leaves alone.
template <typename Predicate>
bool WaitUntil(Predicate predicate, std::chrono::milliseconds limit = kPatience)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return predicate();
        ::poll(nullptr, 0, 1);
    }
    return true;
}

}  // namespace test_support

#endif
