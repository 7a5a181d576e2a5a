// What may come of two things at the same time: the table of pairs.
#ifndef TESTS_PAIRS_ROW_H
#define TESTS_PAIRS_ROW_H

#include <cstddef>

#include "tests/pairs/operation.h"

namespace pairs {

/// `held` is stopped at one of its steps; then `other` runs until it is through
/// or waits; then `held` goes on. Each of its steps in turn.
struct Row {
    Name held;
    From from;
    Name other;
    Result held_result;
    Result other_result;
    /// A regular expression of the call-backs from the beginning on: 1 is
    /// ready, 0 is not.
    const char* outcomes;
    /// Which states it may end in: K connected, R recording, D disconnected;
    /// a dash where there is no camera object any more.
    const char* ends;
    const char* why;
};

extern const Row kRows[];
extern const std::size_t kRowCount;

}  // namespace pairs

#endif
